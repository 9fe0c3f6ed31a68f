"""A time lapse as a FITS cube, with the times of its frames in a table.

    time_lapse.py [CUBE [PICTURE]]

Ctrl-C ends it early, and what was taken is in the cube.
"""

import datetime
import sys
import time

import matplotlib
import numpy
import orvex
from astropy.io import fits

ROI = (0, 0, 1024, 1024)
FRAMES = 12
EVERY_SECONDS = 0.25
EXPOSURE_MS = 20


def take(camera):
    """Images, the times of their starts (UTC) and the begins of their readouts, driver's units."""
    images, times, stamps = [], [], []
    start = time.monotonic()
    try:
        for number in range(FRAMES):
            time.sleep(max(start + number * EVERY_SECONDS - time.monotonic(), 0))
            times.append(datetime.datetime.now(datetime.timezone.utc).isoformat())
            frame = camera.record(1, EXPOSURE_MS, ROI, 2)[0]
            images.append(frame.array)
            stamps.append(frame.info.time_stamp_begin if frame.info else -1)
    except KeyboardInterrupt:
        print("ended early")
    return numpy.array(images), times[:len(images)], stamps


def main(cube="time_lapse.fits", picture="time_lapse.png"):
    with orvex.Camera("SoftCMOS-2048") as camera:
        images, times, stamps = take(camera)
        image = fits.PrimaryHDU(images)  # signed numbers with an offset, as FITS has them
        image.header["INSTRUME"] = camera.name, "camera"
        image.header["EXPTIME"] = EXPOSURE_MS / 1000, "exposure [s]"
        image.header["XBINNING"] = image.header["YBINNING"] = 2
        image.header["CCD-TEMP"] = camera.parameter("TEMP").amount, "sensor [degree Celsius]"
    table = fits.BinTableHDU.from_columns(
        [fits.Column("TIME", "A32", array=times), fits.Column("STAMP", "K", array=stamps)],
        name="FRAMES")
    fits.HDUList([image, table]).writeto(cube, overwrite=True)

    with fits.open(cube) as stored:
        stored.verify("exception")
        stack, rows = stored[0].data, stored["FRAMES"].data
        print(f"{cube}: {stack.shape} {stack.dtype}, from {rows['TIME'][0]} to {rows['TIME'][-1]}")
    matplotlib.use("Agg")
    import matplotlib.pyplot as plot

    figure, (first, graph) = plot.subplots(1, 2, figsize=(10, 4.2), layout="constrained")
    shown = first.imshow(stack[0], cmap="gray")
    first.set_title(rows["TIME"][0][:23])
    figure.colorbar(shown, ax=first, label="counts")
    graph.plot((rows["STAMP"] - rows["STAMP"][0]) / 1e7, stack.mean((1, 2)), "o-")
    graph.set(xlabel="time of the camera [s]", ylabel="mean [counts]",
              title=f"{len(stack)} frames every {EVERY_SECONDS:g} s")
    figure.savefig(picture, dpi=120)


if __name__ == "__main__":
    main(*sys.argv[1:])
