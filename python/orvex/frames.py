"""Frames: images, what is known of each, and the metadata that a camera sends with them."""

from __future__ import annotations

import ctypes
from collections.abc import Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy
import numpy.typing

from . import interface
from .events import FrameInfo
from .library import call

if TYPE_CHECKING:
    from .acquisition import Run

#: x, y, width and height in unbinned pixels of the sensor.
Roi = tuple[int, int, int, int]
Image = numpy.typing.NDArray[numpy.uint16]
Bytes = numpy.typing.NDArray[numpy.uint8]

_TYPES = {code: name.removeprefix("TYPE_").lower()
          for name, code in interface.LISTS["ORVEX_TYPES"].items()}
_HEADER = interface.TYPES["md_frame_header"]
_REGION = interface.TYPES["md_frame_roi_header"]


@dataclass(frozen=True)
class Region:
    """One region of a frame, with its pixels and what the camera tells of it."""

    roi: Roi  #: the place on the sensor
    binning: tuple[int, int]  #: columns and rows that became one pixel
    array: Image | None  #: rows x columns, a view of the frame; None where a header came alone
    header: bytes = b""  #: the header as the camera sent it, 32 bytes
    tags: tuple[tuple[str, Any], ...] = ()  #: names and values of extended metadata, in their order


@dataclass(frozen=True)
class Metadata:
    """A frame with metadata, decoded. The arrays are views of the frame's bytes."""

    header: bytes  #: the header as the camera sent it, 48 bytes
    tags: tuple[tuple[str, Any], ...]  #: names and values of extended metadata, in their order
    regions: tuple[Region, ...]
    box: Roi  #: around all regions


def outline(region: Any) -> tuple[Roi, tuple[int, int]]:
    """Place and binning of a rgn_type."""
    place = region.s1, region.p1, region.s2 - region.s1 + 1, region.p2 - region.p1 + 1
    return place, (region.sbin, region.pbin)


@contextmanager
def _decoded(data: Bytes) -> Iterator[Any]:
    """The md_frame of a frame's bytes."""
    regions = 1
    if data.size >= ctypes.sizeof(_HEADER):
        regions = max(_HEADER.from_buffer_copy(data[:ctypes.sizeof(_HEADER)]).roiCount, 1)
    frame = ctypes.c_void_p()
    call("cannot decode", "ox_md_create_frame_struct_cont", ctypes.byref(frame), regions)
    try:
        call("cannot decode the frame", "ox_md_frame_decode", frame, data.ctypes.data, data.size)
        yield interface.TYPES["md_frame"].from_address(frame.value)
    finally:
        call("cannot release", "ox_md_release_frame_struct", frame)


def _tags(address: int | None, size: int) -> tuple[tuple[str, Any], ...]:
    if not address:
        return ()
    found = interface.TYPES["md_ext_item_collection"]()
    call("cannot read the tags", "ox_md_read_extended", ctypes.byref(found), address, size)
    tags = []
    for item in found.list[:found.count]:
        info = interface.TYPES["md_ext_item_info"].from_address(item.tagInfo)
        raw = ctypes.string_at(item.value, info.size)
        value = interface.TYPES[_TYPES[info.type]].from_buffer_copy(raw).value
        tags.append((ctypes.string_at(info.name).decode("latin-1"), value))
    return tuple(tags)


def decode(data: Bytes) -> Metadata:
    """Finds headers, tags and regions in the bytes of a frame with metadata, and copies no pixel.

    Needs no camera: bytes that were stored are as good. Error with C0_BUFFER_TOO_SMALL or
    C0_INVALID_DATA tells that it is no such frame, or not all of it.
    """
    with _decoded(data) as frame:
        regions = []
        entries = (interface.TYPES["md_frame_roi"] * frame.roiCount).from_address(frame.roiArray)
        for entry in entries:
            header = _REGION.from_address(entry.header)
            (roi, binning), array = outline(header.roi), None
            if entry.data:
                at = entry.data - data.ctypes.data
                array = data[at:at + entry.dataSize].view("<u2").reshape(
                    roi[3] // binning[1], roi[2] // binning[0])
            regions.append(Region(roi, binning, array, bytes(header),
                                  _tags(entry.extMdData, entry.extMdDataSize)))
        return Metadata(bytes(_HEADER.from_address(frame.header)),
                        _tags(frame.extMdData, frame.extMdDataSize), tuple(regions),
                        outline(frame.impliedRoi)[0] if regions else (0, 0, 0, 0))


def recompose(data: Bytes, box: Roi, binning: tuple[int, int] = (1, 1)) -> Image:
    """The regions of a frame with metadata in one new image of a box of the sensor, rows x columns.

    What no region covers is 0. ValueError when a region sticks out of the box.
    """
    image = numpy.zeros((box[3] // binning[1], box[2] // binning[0]), numpy.uint16)
    with _decoded(data) as frame:
        if frame.roiCount:
            (x, y, width, height), _ = outline(frame.impliedRoi)
            left = x // binning[0] - box[0] // binning[0]
            top = y // binning[1] - box[1] // binning[1]
            if (left < 0 or left + width // binning[0] > image.shape[1]
                    or top < 0 or top + height // binning[1] > image.shape[0]):
                raise ValueError(f"the regions reach from {(x, y)} over {width} x {height} pixels, "
                                 f"out of {box}")
            call("cannot recompose the frame", "ox_md_frame_recompose", image.ctypes.data, left,
                 top, image.shape[1], image.shape[0], ctypes.byref(frame))
    return image


class Frame:
    """A frame of a sequence, or in the ring of a continuous run.

    Its arrays are views of the buffer. In a ring, the camera writes there again when it has come
    round: look at a frame, or copy it, before the next is asked for, and ask ``intact`` afterwards.
    """

    def __init__(self, run: Run, number: int, lost: int = 0, data: Bytes | None = None) -> None:
        #: The run that it belongs to.
        self.run = run
        #: From 1 at every start.
        self.number = number
        #: Frames before this one that were overwritten before they were taken.
        self.lost = lost
        #: The bytes as they came.
        self.data: Bytes = run.slots[(number - 1) % len(run.slots)] if data is None else data

    def __repr__(self) -> str:
        return f"<Frame {self.number}{f', {self.lost} lost before it' if self.lost else ''}>"

    @property
    def metadata(self) -> Metadata | None:
        """Headers, tags and regions; None where the camera sends no metadata."""
        return decode(self.data) if self.run.has_metadata else None

    @property
    def regions(self) -> tuple[Region, ...]:
        """The regions with an array each; those that the camera tells, where it tells any."""
        metadata = self.metadata
        return metadata.regions if metadata else (
            Region(self.run.box, self.run.binning, self.array),)

    @property
    def array(self) -> Image:
        """The image, rows x columns: a view, or of several regions a new image of the box around
        those that were asked for."""
        run = self.run
        if not run.has_metadata:
            return self.data.view("<u2").reshape(run.shape)
        regions = decode(self.data).regions
        if len(regions) == 1 and regions[0].array is not None and regions[0].roi == run.box:
            return regions[0].array
        return recompose(self.data, run.box, run.binning)

    @property
    def info(self) -> FrameInfo | None:
        """Number and time stamps; None when the library left the frame out, as it does for those
        who listen too slowly."""
        return self.run.info(self.number)

    @property
    def intact(self) -> bool:
        """Whether the camera has not begun to write there again."""
        return self.run.intact(self.number)
