"""Cameras of the Orvex library, with images as numpy arrays.

    import orvex

    print(orvex.cameras())
    with orvex.Camera("SoftCCD-1024") as camera:
        image = camera.snap(exposure_ms=20, roi=(100, 100, 640, 480), binning=2)

The library is the file that ORVEX_LIBRARY names, else the one in build/dev beside this package,
else the system's. The constants of the headers are here by their names: ``orvex.C2_NOT_AVAILABLE``.
"""

from . import headers
from .camera import Camera, Frame
from .library import Error, cameras, stop
from .parameters import EnumValue, Parameter

__all__ = ["Camera", "EnumValue", "Error", "Frame", "Parameter", "cameras", "stop"]


def __getattr__(name):
    try:
        return headers.CONSTANTS[name]
    except KeyError:
        raise AttributeError(f"orvex has no {name!r}") from None
