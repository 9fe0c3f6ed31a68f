"""Runs of a camera: how they are set up, and how frames are found in their buffer."""

from __future__ import annotations

import ctypes
import time
from collections.abc import Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy

from . import interface
from .events import Events, FrameInfo
from .frames import Bytes, Frame, Roi
from .library import Connection, Error, call
from .parameters import EnumValue, Parameter, find

if TYPE_CHECKING:
    from .camera import Camera

_C = interface.CONSTANTS
_UNS32_MAX = 0xFFFFFFFF  # the library tells sizes in 32 bits
_RING_BYTES = 256 << 20
_LOOK_SECONDS = 0.25  # how soon a run that ends without an event is seen to have ended
_FRAME_MARGIN_SECONDS = 5  # what shutter, clearing and transport take on top of a frame
_UNTRIGGERED = ("TIMED_MODE", "FLASH_MODE", "VARIABLE_TIMED_MODE", "EXT_TRIG_INTERNAL")


class Patience:
    """Says how long nothing may come; raises TimeoutError when it was longer."""

    def __init__(self, seconds: float) -> None:
        self._seconds = seconds
        self._seen, self._since = 0, time.monotonic()

    def look(self, seen: int, last_frame: int) -> float:
        """Takes how much has come; gives the seconds that may pass until the next look."""
        now = time.monotonic()
        if seen != self._seen:
            self._seen, self._since = seen, now
        if not self._seconds:
            return _LOOK_SECONDS
        left = self._since + self._seconds - now
        if left < 0:
            last = f"the last was frame {last_frame}" if last_frame else "there was none before"
            raise TimeoutError(f"no frame within {self._seconds:.3g} s; {last}")
        return min(left + 0.001, _LOOK_SECONDS)


def _mode_entries(parameter: Parameter, names: str) -> list[EnumValue]:
    """Modes by the camera's texts and by the names of their constants, where the camera lists them;
    a camera that lists nothing is trusted to refuse what it can't do."""
    known = interface.LISTS[names]
    listed = parameter.entries if parameter.available else []
    constants = [EnumValue(value, name) for name, value in known.items()
                 if not listed or value in listed or value == _C["TIMED_MODE"]]
    return listed + constants


def exposure_mode(camera: Camera, trigger: str | int | None, expose_out: str | int | None) -> int:
    """Number of a mode of exposures and expose-out signals, as set-ups take it."""
    mode = _C["TIMED_MODE"] if trigger is None else trigger
    if isinstance(mode, str):
        mode = int(find(mode, _mode_entries(camera.parameter("EXPOSURE_MODE"),
                                            "ORVEX_EXPOSURE_MODES"), "the exposure mode"))
    if expose_out is None:
        return mode
    parameter = camera.parameter("EXPOSE_OUT_MODE")
    if not parameter.available:
        raise ValueError(f"{camera.name} has no expose-out signal")
    if isinstance(expose_out, str):
        expose_out = int(find(expose_out, _mode_entries(parameter, "ORVEX_EXPOSE_OUT_MODES"),
                              "the expose-out mode"))
    # The plain modes leave no room for it.
    mode = _C["EXT_TRIG_INTERNAL"] if mode == _C["TIMED_MODE"] else mode
    if mode < 256:
        raise ValueError(f"an expose-out mode does not go with trigger {trigger!r}")
    return mode | expose_out


def waits_for_trigger(mode: int) -> bool:
    """Whether a frame of such a set-up may take for ever."""
    return (mode if mode < 256 else mode & 0xFF00) not in [_C[name] for name in _UNTRIGGERED]


@dataclass(frozen=True)
class SetUp:
    """What a run is to do, as the library takes it."""

    regions: Any  #: an array of rgn_type
    box: Roi  #: around the regions
    binning: tuple[int, int]
    mode: int
    exposure: int  #: in the unit of EXP_RES
    timeout: float | None  #: seconds that a frame may take; 0 is for ever

    @property
    def shape(self) -> tuple[int, int]:
        """Rows and columns of an image of the box."""
        return self.box[3] // self.binning[1], self.box[2] // self.binning[0]

    @property
    def pixel_bytes(self) -> int:
        """Bytes of the pixels of a frame."""
        return sum(2 * ((r.s2 - r.s1 + 1) // r.sbin) * ((r.p2 - r.p1 + 1) // r.pbin)
                   for r in self.regions)

    @classmethod
    def of(cls, camera: Camera, exposure_ms: float, roi: Roi | Sequence[Roi] | None,
           binning: int | tuple[int, int], trigger: str | int | None,
           expose_out: str | int | None, timeout: float | None) -> SetUp:
        """Checks what a caller asks for, and sets what of it is a parameter; ValueError."""
        columns, rows = (binning, binning) if isinstance(binning, int) else binning
        rois: list[Any] = [(0, 0, camera["SER_SIZE"], camera["PAR_SIZE"])]
        if roi:
            rois = [roi] if isinstance(roi[0], (int, numpy.integer)) else list(roi)
        regions = (interface.TYPES["rgn_type"] * len(rois))()
        for region, (x, y, width, height) in zip(regions, rois):
            edges = (x, x + width - 1, columns, y, y + height - 1, rows)
            if min(x, y) < 0 or min(width, height, columns, rows) < 1 or max(edges) > 0xFFFF:
                raise ValueError(f"a region of {roi} with binning {binning} is on no sensor")
            region.s1, region.s2, region.sbin, region.p1, region.p2, region.pbin = edges
        left, top = min(r.s1 for r in regions), min(r.p1 for r in regions)
        box = (left, top, max(r.s2 for r in regions) - left + 1,
               max(r.p2 for r in regions) - top + 1)
        exposure = _exposure(camera, exposure_ms)
        mode = exposure_mode(camera, trigger, expose_out)
        if len(rois) > 1 and not camera["METADATA_ENABLED"]:
            camera["METADATA_ENABLED"] = True  # regions come with it only
        return cls(regions, box, (columns, rows), mode, exposure, timeout)

    def patience(self, camera: Camera) -> Patience:
        """For the frames of this set-up, which the camera has been told."""
        if self.timeout is not None:
            return Patience(self.timeout)
        return Patience(0 if waits_for_trigger(self.mode) else _frame_seconds(camera, self))


def _exposure(camera: Camera, exposure_ms: float) -> int:
    """An exposure in the unit that the camera is told to count in: ms where it is a whole one."""
    if not 0 <= exposure_ms <= _UNS32_MAX:
        raise ValueError("an exposure lies between 0 and 4294967295 ms")
    whole = exposure_ms == int(exposure_ms)
    units = round(exposure_ms if whole else exposure_ms * 1000)
    if units > _UNS32_MAX:
        raise ValueError("exposures beyond 4294967 ms are whole milliseconds")
    if "EXP_RES" in camera:
        resolution = _C["EXP_RES_ONE_MILLISEC" if whole else "EXP_RES_ONE_MICROSEC"]
        if camera["EXP_RES"] != resolution:
            camera["EXP_RES"] = resolution
    elif not whole:
        raise ValueError("this camera takes exposures in whole milliseconds only")
    return units


def _frame_seconds(camera: Camera, set_up: SetUp) -> float:
    """How long a frame may take to come; of the whole sensor, where the camera knows no better."""
    columns = camera["SER_SIZE"] + camera["PRESCAN"] + camera["POSTSCAN"]
    rows = camera["PAR_SIZE"] + camera["PREMASK"] + camera["POSTMASK"]
    readout_us = columns * rows * camera["PIX_TIME"] / 1e3
    if "READOUT_TIME" in camera:
        readout_us = camera["READOUT_TIME"]
    exposures = [set_up.exposure]
    if set_up.mode == _C["VARIABLE_TIMED_MODE"]:
        exposures = [camera["EXP_TIME"]]
    if "TIDAL_STREAM_MODE_ENABLED" in camera and camera["TIDAL_STREAM_MODE_ENABLED"]:
        exposures = camera["TIDAL_STREAM_EXP_PARAMS"] or exposures
    fine = "EXP_RES" in camera and camera["EXP_RES"] == _C["EXP_RES_ONE_MICROSEC"]
    exposure = max(exposures) / (1e6 if fine else 1e3)
    return float(exposure + readout_us / 1e6 + _FRAME_MARGIN_SECONDS)


def ring_frames(wanted: int | None, frame_bytes: int) -> int:
    """Frames of a ring; ValueError when there can be no such ring."""
    frames = wanted or min(max(_RING_BYTES // frame_bytes, 8), 1000)
    if not 3 <= frames <= _UNS32_MAX // frame_bytes:
        raise ValueError("a ring has 3 frames or more and ends at 4 GiB")
    return frames


class Run:
    """An acquisition: its buffer, and what is known of its frames."""

    def __init__(self, connection: Connection, events: Events, set_up: SetUp, frame_bytes: int,
                 count: int, ring: bool) -> None:
        if frame_bytes * count > _UNS32_MAX:
            raise ValueError(f"a buffer ends at 4 GiB, {_UNS32_MAX // frame_bytes} such frames")
        self._connection = connection
        self._events = events
        self._ring = ring
        self.box, self.binning, self.shape = set_up.box, set_up.binning, set_up.shape
        self.buffer: Bytes = numpy.empty(count * frame_bytes, numpy.uint8)
        self.slots = self.buffer.reshape(count, frame_bytes)
        self.has_metadata = frame_bytes != set_up.pixel_bytes or len(set_up.regions) > 1
        self._infos = events.begin(count)
        self._taken = 0
        self._lost = 0
        self._finished: int | None = None

    def info(self, number: int) -> FrameInfo | None:
        """What the library told of a frame."""
        return self._events.info(self._infos, number)

    def intact(self, number: int) -> bool:
        """Whether the camera has not begun to write over a frame."""
        return not self._ring or self._finished_after(number) + 1 < len(self.slots)

    def end(self) -> None:
        """Keeps what is asked of the driver during the run; the camera has been stopped."""
        if self._finished is None:
            newest = max(self._taken, *self._infos, 0)
            try:
                self._finished = newest + self._finished_after(newest)
            except Error:
                self._finished = newest + len(self.slots)

    def status(self) -> tuple[int, int]:
        """State of the readout, and bytes that have come, as far as 32 bits can tell."""
        status, size = interface.TYPES["int16"](), interface.TYPES["uns32"]()
        call("the readout failed", "ox_exp_check_status", self._connection.handle,
             ctypes.byref(status), ctypes.byref(size))
        return status.value, size.value

    def _finished_after(self, number: int) -> int:
        if self._finished is not None:
            return self._finished - number
        # The driver's count of bytes wraps at 32 bits, and so does the place of the frame.
        frame_bytes = self.slots.shape[1]
        return ((self.status()[1] - number * frame_bytes) & _UNS32_MAX) // frame_bytes

    def take(self, overwrite: bool) -> Frame | None:
        """The oldest frame that was not taken, None when there is none yet; RuntimeError or Error
        when none will come."""
        status, newest = interface.TYPES["int16"](), interface.TYPES["FRAME_INFO"]()
        unused, place = interface.TYPES["uns32"](), ctypes.c_void_p()
        handle, ring = self._connection.handle, len(self.slots)
        while True:
            call("the readout failed", "ox_exp_check_cont_status_ex", handle, ctypes.byref(status),
                 ctypes.byref(unused), ctypes.byref(unused), ctypes.byref(newest))
            if newest.FrameNr <= self._taken:
                if status.value == _C["READOUT_NOT_ACTIVE"]:
                    raise RuntimeError("the camera stopped by itself")
                return None
            self._events.note(FrameInfo.of(newest))
            call("cannot take a frame", "ox_exp_get_oldest_frame", handle, ctypes.byref(place))
            after = self._finished_after(self._taken + 1)
            if after + 1 < ring:
                return Frame(self, self._taken + 1, self._lost, self._at(place.value))
            if not overwrite:
                raise Error("the ring was full", _C["C3_BUFFER_OVERRUN"])
            if after < 2 * ring:
                # Half of the ring is given up, so that the other half can be taken in peace.
                behind = after - ring // 2 + 1
                for _ in range(behind):
                    call("cannot give a frame back", "ox_exp_unlock_oldest_frame", handle)
                self._taken, self._lost = self._taken + behind, self._lost + behind
                continue
            # All is given up at once; the camera may be faster than a loop over its frames.
            call("cannot take a frame", "ox_exp_get_latest_frame_ex", handle, ctypes.byref(place),
                 ctypes.byref(newest))
            self._taken, self._lost = newest.FrameNr, self._lost + newest.FrameNr - self._taken

    def _at(self, place: int | None) -> Bytes | None:
        """A frame that a plug-in keeps outside of the ring; None in the ring."""
        if place is None or 0 <= place - self.buffer.ctypes.data < self.buffer.nbytes:
            return None
        memory = (ctypes.c_uint8 * self.slots.shape[1]).from_address(place)
        frame: Bytes = numpy.ctypeslib.as_array(memory)
        return frame

    def give_back(self) -> None:
        """Lets the camera have the frame that was taken."""
        call("cannot give a frame back", "ox_exp_unlock_oldest_frame", self._connection.handle)
        self._taken += 1
        self._lost = 0

    @property
    def taken(self) -> int:
        """Frames taken or lost so far."""
        return self._taken
