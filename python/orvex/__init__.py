"""Cameras of the Orvex library, with images as numpy arrays.

    import orvex

    print(orvex.cameras())
    with orvex.Camera("SoftCCD-1024") as camera:
        image = camera.snap(exposure_ms=20, roi=(100, 100, 640, 480), binning=2)

The library is the file that ORVEX_LIBRARY names, else the one that was installed with this package,
or built beside it, else the system's. The constants of the headers are here by their names:
``orvex.C2_NOT_AVAILABLE``.
"""

from . import interface as _interface
from .camera import Camera
from .events import FrameInfo
from .frames import Frame, Metadata, Region, decode, recompose
from .library import Error, cameras, stop
from .parameters import EnumValue, Parameter

__all__ = ["Camera", "EnumValue", "Error", "Frame", "FrameInfo", "Metadata", "Parameter", "Region",
           "cameras", "decode", "recompose", "stop"]


def __getattr__(name: str) -> int:
    try:
        return _interface.CONSTANTS[name]
    except KeyError:
        raise AttributeError(f"orvex has no {name!r}") from None


def __dir__() -> list[str]:
    return [*__all__, *_interface.CONSTANTS]
