"""The photon-transfer curve of a camera, and the gain and read noise that it tells.

    photon_transfer.py [PICTURE]

Pairs of evenly lit frames are taken at growing exposures. Differences of the two of a pair are free
of what differs from pixel to pixel; the variance of a pair, over its mean above the bias, grows by
one count for each gain of electrons. Without a camera that is evenly lit, the software camera is.
"""

import json
import os
import pathlib
import sys
import tempfile

import matplotlib
import numpy

ROI = (400, 400, 256, 256)
EXPOSURES_MS = [0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 40, 60, 75, 79, 85]


def light_a_software_camera(folder):
    """A flat scene, as fast as it goes; the driver reads this when the library starts."""
    scene = {"time_scale": 0, "flux": 25, "scene": {"kind": "flat", "level": 2000},
             "cameras": [{"model": "cmos"}]}
    file = pathlib.Path(folder, "flat.json")
    file.write_text(json.dumps(scene))
    os.environ.setdefault("ORVEX_SOFTCAM", str(file))


def pair(camera, exposure_ms):
    """Mean and variance of a pair, counts and square counts."""
    first, second = camera.sequence(2, exposure_ms, ROI).astype(float)
    return (first + second).mean() / 2, (first - second).var() / 2


def main(picture="photon_transfer.png"):
    matplotlib.use("Agg")
    import matplotlib.pyplot as plot
    import orvex

    with orvex.Camera(0) as camera:
        told = {name: camera.parameter(name).amount for name in ("ACTUAL_GAIN", "READ_NOISE")
                if name in camera}
        bias, floor = pair(camera, 0)
        points = numpy.array([pair(camera, exposure) for exposure in EXPOSURES_MS])
        bits = camera.bit_depth
    signal, variance = points[:, 0] - bias, points[:, 1]
    linear = (signal > 0) & (points[:, 0] < 0.8 * 2 ** bits)
    slope = numpy.polyfit(signal[linear], variance[linear] - floor, 1, w=1 / variance[linear])[0]
    gain = 1 / slope  # electrons a count
    noise = gain * floor ** 0.5
    print(f"gain {gain:.3f} e-/count, read noise {noise:.2f} e-, bias {bias:.1f} counts")
    print("the camera says", ", ".join(f"{name} {value:g}" for name, value in told.items()))

    figure, axes = plot.subplots(figsize=(7, 5), layout="constrained")
    axes.loglog(signal, variance ** 0.5, "o", label="pairs of frames")
    x = numpy.geomspace(max(signal.min() / 3, 0.1), signal.max())
    axes.loglog(x, (floor + x / gain) ** 0.5,
                label=f"{gain:.2f} e-/count, {noise:.2f} e- read noise")
    axes.loglog(x, (x / gain) ** 0.5, "--", linewidth=1, label="photons alone")
    axes.axvline(2 ** bits - bias, color="gray", linewidth=1, label=f"{bits} bits")
    axes.set(ylim=(floor ** 0.5 / 1.5, None), xlabel="mean above bias [counts]",
             ylabel="noise [counts]", title=camera.name)
    axes.grid(which="both", alpha=0.3)
    axes.legend()
    figure.savefig(picture, dpi=120)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as settings:
        light_a_software_camera(settings)
        main(*sys.argv[1:])
