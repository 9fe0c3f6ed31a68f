"""Sharpness of pictures over the position of a stage, and where it is best.

    focus_sweep.py [PICTURE]

A stage is not part of the library: put the move of yours into move(). Without one, the pictures of
a camera that stands still are blurred here, the more the farther the stage is from its focus.
"""

import sys

import matplotlib
import numpy
import orvex

ROI = (256, 256, 512, 512)
POSITIONS_UM = numpy.linspace(-20, 20, 21)
FOCUS_UM = 3.7  # of the stage that is played


def move(position_um):
    """Would move a stage."""


def blurred(image, position_um):
    """What a lens would make of it, by a convolution with a normal distribution."""
    width = numpy.hypot(0.4, abs(position_um - FOCUS_UM) / 4)  # pixels
    across, along = (numpy.fft.fftfreq(length) for length in image.shape)
    lens = numpy.exp(-2 * (numpy.pi * width) ** 2 * (across[:, None] ** 2 + along ** 2))
    return numpy.fft.ifft2(numpy.fft.fft2(image) * lens).real


def sharpness(image):
    """Variance of the differences of neighbours over the square of the mean."""
    return (numpy.diff(image, axis=0).var() + numpy.diff(image, axis=1).var()) / image.mean() ** 2


def main(picture="focus_sweep.png"):
    matplotlib.use("Agg")
    import matplotlib.pyplot as plot

    images = []
    with orvex.Camera(0) as camera:
        # One set-up serves all pictures, as it is the same for each.
        for position in POSITIONS_UM:
            move(position)
            images.append(blurred(camera.snap(20, ROI), position))
    values = numpy.array([sharpness(image) for image in images])
    best = int(values.argmax())
    near = slice(max(best - 2, 0), best + 3)
    curve = numpy.polyfit(POSITIONS_UM[near], values[near], 2)
    focus = -curve[1] / (2 * curve[0])
    print(f"focus at {focus:.2f} um, the stage that is played has {FOCUS_UM} um")

    figure, (graph, *shown) = plot.subplots(1, 4, figsize=(12, 3.4), layout="constrained")
    graph.plot(POSITIONS_UM, values, "o-")
    graph.axvline(focus, linestyle="--", color="gray")
    graph.set(xlabel="position [um]", ylabel="sharpness", title=f"focus at {focus:.2f} um")
    for axes, index in zip(shown, (0, best, len(images) - 1)):
        axes.imshow(images[index], cmap="gray")
        axes.set_title(f"{POSITIONS_UM[index]:g} um")
        axes.axis("off")
    figure.savefig(picture, dpi=120)


if __name__ == "__main__":
    main(*sys.argv[1:])
