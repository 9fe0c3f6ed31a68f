"""Cameras: settings, sequences, continuous runs."""

import ctypes
import time

import numpy

from . import headers
from .library import Error, call, cameras
from .parameters import Parameter, parameter_name

_C = headers.CONSTANTS
_POLL_SECONDS = 0.0005
_RING_BYTES = 256 << 20
_RING_BYTES_MAX = 0xFFFFFFFF  # the library tells the size of a ring in 32 bits
_FRAME_MARGIN_SECONDS = 5  # what shutter, clearing and transport take on top of a frame


class _Patience:
    """Says how long nothing may come; raises TimeoutError when it was longer."""

    def __init__(self, seconds):
        self._seconds = seconds
        self._seen, self._since = 0, time.monotonic()

    def look(self, seen, last_frame):
        now = time.monotonic()
        if seen != self._seen:
            self._seen, self._since = seen, now
        elif self._seconds and now - self._since > self._seconds:
            last = f"the last was frame {last_frame}" if last_frame else "there was none before"
            raise TimeoutError(f"no frame within {self._seconds:.3g} s; {last}")


class Frame:
    """A frame in the ring of a continuous run.

    ``array`` is a view of the ring: rows x columns of 16 bits, or plain bytes where frames carry
    metadata. The camera writes there again when it has come round the ring: look at it, or copy it,
    before the next frame is asked for, and ask ``intact`` afterwards.
    """

    def __init__(self, camera, array, number, lost, info, ring_frames):
        self.array = array
        self.number = number  # from 1
        self.lost = lost  # frames before this one that were overwritten before they were taken
        self.info = info  # FRAME_INFO of the newest frame: FrameNr, TimeStampBOF, TimeStampEOF, ...
        self._camera = camera
        self._ring_frames = ring_frames

    @property
    def intact(self):
        """Whether the camera has not begun to write there again; for the time of the run."""
        return self._camera._finished_after(self.number, self.array.nbytes) + 1 < self._ring_frames


class Camera:
    """An open camera, by its name or its number in ``orvex.cameras()``.

    Parameters are read and set by name, ``camera["TEMP"]`` or ``camera.temp``; ``parameter()``
    gives ranges and lists. What the library refuses raises Error. Close it with ``close()`` or
    ``with``.

    Regions are ``(x, y, width, height)`` in unbinned pixels, None for the whole sensor; a binning
    is a number or ``(columns, rows)``; exposures are in milliseconds, in steps of 1 us where the
    camera has such a resolution. A frame that does not come within ``timeout`` seconds raises
    TimeoutError; by default these are exposure, readout and 5 s, and 0 is for ever.
    """

    def __init__(self, name=0):
        known = cameras()
        if isinstance(name, int):
            if not 0 <= name < len(known):
                raise ValueError(f"there are {len(known)} cameras, and no number {name}")
            name = known[name]
        handle = headers.TYPES["int16"](-1)
        call(f"cannot open camera {name!r}", "ox_cam_open", name.encode(), ctypes.byref(handle),
             _C["EXT_OPEN_EXCLUSIVE"])
        self.__dict__.update(name=name, handle=handle.value)

    def close(self):
        """Stops any run and closes the camera; harmless when it is closed."""
        if self.handle >= 0:
            handle = self.handle
            self.__dict__["handle"] = -1
            call(f"cannot close {self.name}", "ox_cam_close", handle)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def parameter(self, name):
        """A Parameter, available or not; KeyError when there is none of that name."""
        return Parameter(self, name)

    def parameters(self):
        """All parameters that the camera has."""
        every = (Parameter(self, name) for name in headers.LISTS["ORVEX_PARAMS"])
        return [parameter for parameter in every if parameter.available]

    def __contains__(self, name):
        return self.parameter(name).available

    def __getitem__(self, name):
        return self.parameter(name).value

    def __setitem__(self, name, value):
        self.parameter(name).value = value

    def __getattr__(self, name):
        return self[_attribute(name)]

    def __setattr__(self, name, value):
        self[_attribute(name)] = value

    def snap(self, exposure_ms=10, roi=None, binning=1, timeout=None):
        """Takes one exposure: an array of rows x columns, 16 bits."""
        return self.sequence(1, exposure_ms, roi, binning, timeout)[0]

    def sequence(self, frames, exposure_ms=10, roi=None, binning=1, timeout=None):
        """Takes some exposures: an array of frames x rows x columns, 16 bits, or of frames x bytes
        where frames carry metadata. The camera fills it without a copy."""
        region, shape = self._region(roi, binning)
        time_units = self._exposure(exposure_ms)
        size = headers.TYPES["uns32"]()
        call("the set-up was refused", "ox_exp_setup_seq", self.handle, frames, 1,
             ctypes.byref(region), _C["TIMED_MODE"], time_units, ctypes.byref(size))
        data = numpy.empty(size.value, numpy.uint8)
        patience = self._patience(timeout, exposure_ms)
        try:
            call("the start was refused", "ox_exp_start_seq", self.handle, data.ctypes.data)
            while (status := self._status())[0] != _C["READOUT_COMPLETE"]:
                if status[0] == _C["READOUT_NOT_ACTIVE"]:
                    raise RuntimeError("the sequence ended before its last frame")
                patience.look(status[1], status[1] * frames // size.value)
                time.sleep(_POLL_SECONDS)
            call("the end was refused", "ox_exp_finish_seq", self.handle, data.ctypes.data, 0)
        except BaseException:
            self.abort()
            raise
        return _shaped(data.reshape(frames, -1), shape)

    def stream(self, exposure_ms=10, roi=None, binning=1, ring=None, overwrite=True, frames=None,
               timeout=None):
        """Runs without end and gives one Frame after the other, in their order; the end of the loop
        stops the camera.

        The ring has ``ring`` frames, at least 3 (by default about 256 MB). A loop that is too slow
        for the camera misses frames, which ``Frame.lost`` tells, or with ``overwrite=False`` gets
        an Error with C3_BUFFER_OVERRUN. ``frames`` ends the loop after so many.
        """
        region, shape = self._region(roi, binning)
        size = headers.TYPES["uns32"]()
        mode = _C["CIRC_OVERWRITE" if overwrite else "CIRC_NO_OVERWRITE"]
        call("the set-up was refused", "ox_exp_setup_cont", self.handle, 1, ctypes.byref(region),
             _C["TIMED_MODE"], self._exposure(exposure_ms), ctypes.byref(size), mode)
        ring = ring or min(max(_RING_BYTES // size.value, 8), 1000)
        if not 3 <= ring <= _RING_BYTES_MAX // size.value:
            raise ValueError("a ring has 3 frames or more and ends at 4 GiB")
        data = numpy.empty(ring * size.value, numpy.uint8)
        slots = _shaped(data.reshape(ring, -1), shape)
        patience = self._patience(timeout, exposure_ms)
        try:
            call("the start was refused", "ox_exp_start_cont", self.handle, data.ctypes.data,
                 data.nbytes)
            yield from self._frames(slots, ring, size.value, overwrite, frames, patience)
        finally:
            self.abort()

    def abort(self):
        """Stops an acquisition; harmless when none runs."""
        if self.handle >= 0:
            call("cannot stop the camera", "ox_exp_abort", self.handle, _C["CCS_HALT_CLOSE_SHTR"])

    def _frames(self, slots, ring, frame_bytes, overwrite, wanted, patience):
        given, taken, lost = 0, 0, 0
        while wanted is None or given < wanted:
            newest = headers.TYPES["FRAME_INFO"]()
            place = ctypes.c_void_p()
            status = self._status(newest)[0]
            if newest.FrameNr <= taken:
                if status == _C["READOUT_NOT_ACTIVE"]:
                    raise RuntimeError("the camera stopped by itself")
                patience.look(taken, taken)
                time.sleep(_POLL_SECONDS)
                continue
            call("cannot take a frame", "ox_exp_get_oldest_frame", self.handle, ctypes.byref(place))
            after = self._finished_after(taken + 1, frame_bytes)
            if after + 1 >= ring:
                if not overwrite:
                    raise Error("the ring was full", _C["C3_BUFFER_OVERRUN"])
                # Half of the ring is given up, so that the other half can be taken in peace.
                behind = after - ring // 2 + 1
                self._give_back(behind)
                taken, lost = taken + behind, lost + behind
                continue
            yield Frame(self, slots[taken % ring], taken + 1, lost, newest, ring)
            self._give_back(1)
            given, taken, lost = given + 1, taken + 1, 0

    def _patience(self, timeout, exposure_ms):
        if timeout is not None:
            return _Patience(timeout)
        # Of the whole sensor, where the camera does not know better; microseconds.
        columns = self["SER_SIZE"] + self["PRESCAN"] + self["POSTSCAN"]
        rows = self["PAR_SIZE"] + self["PREMASK"] + self["POSTMASK"]
        readout = columns * rows * self["PIX_TIME"] / 1e3
        if "READOUT_TIME" in self:
            readout = self["READOUT_TIME"]
        return _Patience(exposure_ms / 1e3 + readout / 1e6 + _FRAME_MARGIN_SECONDS)

    def _give_back(self, count):
        for _ in range(count):
            call("cannot give a frame back", "ox_exp_unlock_oldest_frame", self.handle)

    def _status(self, newest=None):
        status, size = headers.TYPES["int16"](), headers.TYPES["uns32"]()
        if newest is None:
            call("the readout failed", "ox_exp_check_status", self.handle, ctypes.byref(status),
                 ctypes.byref(size))
        else:
            call("the readout failed", "ox_exp_check_cont_status_ex", self.handle,
                 ctypes.byref(status), ctypes.byref(size),
                 ctypes.byref(headers.TYPES["uns32"]()), ctypes.byref(newest))
        return status.value, size.value

    def _finished_after(self, number, frame_bytes):
        # The driver's count of bytes wraps at 32 bits, and so does the place of the frame.
        return ((self._status()[1] - number * frame_bytes) & 0xFFFFFFFF) // frame_bytes

    def _exposure(self, exposure_ms):
        if not 0 <= exposure_ms <= 0xFFFFFFFF:
            raise ValueError("an exposure lies between 0 and 4294967295 ms")
        whole = exposure_ms == int(exposure_ms)
        if "EXP_RES" in self:
            self["EXP_RES"] = _C["EXP_RES_ONE_MILLISEC" if whole else "EXP_RES_ONE_MICROSEC"]
        elif not whole:
            raise ValueError("this camera takes exposures in whole milliseconds only")
        units = round(exposure_ms if whole else exposure_ms * 1000)
        if units > 0xFFFFFFFF:
            raise ValueError("exposures beyond 4294967 ms are whole milliseconds")
        return units

    def _region(self, roi, binning):
        columns, rows = (binning, binning) if isinstance(binning, int) else binning
        x, y, width, height = roi or (0, 0, self["SER_SIZE"], self["PAR_SIZE"])
        edges = (x, x + width - 1, columns, y, y + height - 1, rows)
        if min(x, y) < 0 or min(width, height, columns, rows) < 1 or max(edges) > 0xFFFF:
            raise ValueError(f"a region of {roi} with binning {binning} is on no sensor")
        return headers.TYPES["rgn_type"](*edges), (height // rows, width // columns)


def _attribute(name):
    try:
        return parameter_name(name)
    except KeyError as error:
        raise AttributeError(error.args[0]) from None


def _shaped(data, shape):
    """Frames of bytes as images, where they are plain images."""
    if data.shape[1] != 2 * shape[0] * shape[1]:
        return data
    return data.view("<u2").reshape(len(data), *shape)
