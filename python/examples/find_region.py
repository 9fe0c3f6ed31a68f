"""A picture of the whole sensor, and the region around its brightest part at full speed.

    find_region.py [PICTURE]

The software camera is shown a field of stars.
"""

import json
import os
import pathlib
import sys
import tempfile
import time

import matplotlib
import numpy

SIZE = 96  # columns and rows of the region
FRAMES = 100


def brightest(image, binning):
    """x and y of the brightest square of the region's size, in unbinned pixels."""
    cell = SIZE // binning
    signal = image - float(numpy.median(image))
    sums = numpy.pad(signal, ((1, 0), (1, 0))).cumsum(0).cumsum(1)
    squares = sums[cell:, cell:] - sums[:-cell, cell:] - sums[cell:, :-cell] + sums[:-cell, :-cell]
    y, x = numpy.unravel_index(squares.argmax(), squares.shape)
    return int(x) * binning, int(y) * binning


def main(picture="find_region.png"):
    matplotlib.use("Agg")
    import matplotlib.pyplot as plot
    import orvex

    with orvex.Camera("SoftCMOS-2048") as camera:
        overview = camera.snap(50, binning=4)
        x, y = brightest(overview, 4)
        start, total = time.monotonic(), numpy.zeros((SIZE, SIZE))
        for frame in camera.stream(2, (x, y, SIZE, SIZE), frames=FRAMES):
            total += frame.array
        rate = FRAMES / (time.monotonic() - start)
    print(f"region {SIZE} x {SIZE} at {x}, {y}: {rate:.0f} frames a second")

    figure, (whole, part) = plot.subplots(1, 2, figsize=(10, 5), layout="constrained")
    low, high = numpy.percentile(overview, (1, 99.8))
    whole.imshow(overview, cmap="gray", vmin=low, vmax=high,
                 extent=(0, 4 * overview.shape[1], 4 * overview.shape[0], 0))
    whole.add_patch(plot.Rectangle((x, y), SIZE, SIZE, fill=False, color="tab:orange", linewidth=2))
    whole.set_title("whole sensor, binned by 4")
    shown = part.imshow(total / FRAMES, cmap="gray", extent=(x, x + SIZE, y + SIZE, y))
    part.set_title(f"mean of {FRAMES} frames")
    figure.colorbar(shown, ax=part, label="counts", shrink=0.8)
    figure.savefig(picture, dpi=120)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as settings:
        stars = pathlib.Path(settings, "stars.json")
        stars.write_text(json.dumps({"flux": 200, "scene": {"kind": "stars", "count": 150},
                                     "cameras": [{"model": "cmos"}]}))
        os.environ.setdefault("ORVEX_SOFTCAM", str(stars))
        main(*sys.argv[1:])
