"""Cameras: parameters, sequences, continuous runs."""

from __future__ import annotations

import asyncio
import ctypes
import time
import weakref
from collections.abc import AsyncIterator, Callable, Iterator, Sequence
from contextlib import contextmanager
from typing import Any

import numpy

from . import interface
from .acquisition import Patience, Run, SetUp, ring_frames
from .events import Events, Listener
from .frames import Frame, Image, Roi
from .library import Connection, call, cameras
from .parameters import Parameter, parameter_name

_C = interface.CONSTANTS
_SEQUENCE_MAX = 0xFFFF  # frames
_NEAR_DEGREES = 0.5
_TEMPERATURE_SECONDS = 0.1


class Camera:
    """An open camera, by its name or its number in ``orvex.cameras()``.

    Parameters are read and set by name, ``camera["TEMP"]`` or ``camera.temp``; ``parameter()``
    gives ranges, lists and units. What the library refuses raises Error. The camera closes with
    ``close()``, at the end of ``with``, or when nothing refers to it any more. In a forked child it
    is closed, and the parent's runs on.

    What runs have in common: ``exposure_ms`` is in milliseconds, in steps of 1 us where the camera
    has such a resolution. ``roi`` is ``(x, y, width, height)`` in unbinned pixels, a list of such
    where the camera takes several (which switches its metadata on), None for the whole sensor.
    ``binning`` is a number or ``(columns, rows)``. ``trigger`` and ``expose_out`` are modes by the
    camera's text (``parameter("EXPOSURE_MODE").members``), by the name of the constant, or a
    number; without a trigger exposures follow one another. A frame that does not come within
    ``timeout`` seconds raises TimeoutError; by default these are exposure, readout and 5 s, for
    ever with a trigger, and 0 is for ever. What cannot be meant raises ValueError before the camera is asked.
    Ctrl-C, and every other error, stops the camera.
    """

    name: str
    _connection: Connection
    _events: Events
    _run: Run | None
    _known: list[str]

    def __init__(self, name: str | int = 0) -> None:
        known = cameras()
        if isinstance(name, int):
            if not 0 <= name < len(known):
                raise ValueError(f"there are {len(known)} cameras, and no number {name}")
            name = known[name]
        connection = Connection(name)
        self.__dict__.update(name=name, _connection=connection, _events=Events(), _run=None,
                             _known=list(interface.LISTS["ORVEX_PARAMS"]))
        weakref.finalize(self, connection.close)

    @property
    def handle(self) -> int:
        """Number of the camera for the functions of the library; -1 when it is closed."""
        return self._connection.handle

    def close(self) -> None:
        """Stops any run and closes the camera; harmless when it is closed."""
        self._connection.close()
        self._over()

    def __enter__(self) -> Camera:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        state = "closed" if self.handle < 0 else "running" if self._connection.buffer is not None \
            else "open"
        return f"<Camera {self.name!r}, {state}>"

    # Parameters

    def parameter(self, name: str) -> Parameter:
        """A Parameter, available or not; KeyError when there is none of that name."""
        return Parameter(self._connection, name)

    def parameters(self) -> list[Parameter]:
        """All parameters that the camera has."""
        every = (self.parameter(name) for name in interface.LISTS["ORVEX_PARAMS"])
        return [parameter for parameter in every if parameter.available]

    def __contains__(self, name: str) -> bool:
        return self.parameter(name).available

    def __getitem__(self, name: str) -> Any:
        return self.parameter(name).value

    def __setitem__(self, name: str, value: Any) -> None:
        self.parameter(name).value = value

    def __getattr__(self, name: str) -> Any:
        return self[_attribute(name)]

    def __setattr__(self, name: str, value: Any) -> None:
        self[_attribute(name)] = value

    def _names(self) -> list[str]:
        # Whether there are some has to be asked of the camera, which would end a run.
        if self._connection.buffer is None:
            self.__dict__["_known"] = [parameter.name for parameter in self.parameters()]
        return [name.removeprefix("PARAM_") for name in self._known]

    def __dir__(self) -> list[str]:
        return [*super().__dir__(), *(name.lower() for name in self._names())]

    def _ipython_key_completions_(self) -> list[str]:
        return self._names()

    def wait_for_temperature(self, setpoint: float | None = None, timeout: float | None = None,
                             near: float = _NEAR_DEGREES) -> float:
        """Waits until the sensor is as warm as it is to be; gives its temperature.

        All in degrees Celsius: a new set-point, if any, and how near to it is near enough.
        TimeoutError tells that it was not there after some seconds. Not for the time of a run,
        which ends when the temperature is asked for.
        """
        wanted, now = self.parameter("TEMP_SETPOINT"), self.parameter("TEMP")
        if setpoint is not None:
            wanted.amount = setpoint
        start = time.monotonic()
        while abs(now.amount - wanted.amount) > near:
            if timeout is not None and time.monotonic() - start > timeout:
                raise TimeoutError(f"the sensor is at {now.amount:.2f} C after {timeout:g} s, and "
                                   f"not at its set-point of {wanted.amount:.2f} C")
            time.sleep(_TEMPERATURE_SECONDS)
        return now.amount

    # Events

    def on(self, event: str, function: Listener) -> Callable[[], None]:
        """Has a function called with a FrameInfo on an event; calling the result ends that.

        Events: ``"BOF"`` and ``"EOF"``, begin and end of a frame; ``"CHECK_CAMS"``, cameras may
        have come or gone; ``"CAM_REMOVED"`` and ``"CAM_RESUMED"``, which come with number 0. The
        function runs on a thread of the library. One that is slower than the camera is not told of
        each frame, but always of the newest; an error in it goes to sys.unraisablehook. It may use
        the camera, but must not wait for a thread that does.
        """
        if f"OX_CALLBACK_{event}" not in interface.LISTS["ORVEX_CALLBACK_EVENTS"]:
            raise ValueError(f"there is no event {event!r}")
        return self._events.listen(self._connection, event, function)

    def on_frame(self, function: Callable[[Frame], object]) -> Callable[[], None]:
        """Has a function called with each Frame of whatever runs; otherwise as ``on("EOF")``."""
        camera = weakref.ref(self)

        def deliver(info: Any) -> None:
            seen = camera()
            run = seen._run if seen else None
            if run is not None and info.number:
                function(Frame(run, info.number))

        return self._events.listen(self._connection, "EOF", deliver)

    def trigger(self) -> None:
        """Fires the trigger input of a software camera, by its service console; a run goes on.

        Other cameras have their triggers from a wire, and need not know what this asks for.
        """
        words = b"trigger"
        # Class of a command, length, the command of the console, and a text with its length.
        text = bytes([52, 0, len(words)]) + words
        message = bytes([63, 0, len(text)]) + text
        call("the trigger was refused", "ox_internal_cam_write_read_passthrough", self.handle,
             len(message), message, 0, None)

    # Runs

    def snap(self, exposure_ms: float = 10, roi: Roi | Sequence[Roi] | None = None,
             binning: int | tuple[int, int] = 1, *, trigger: str | int | None = None,
             expose_out: str | int | None = None, timeout: float | None = None) -> Image:
        """Takes one exposure: an array of rows x columns, 16 bits."""
        return self.record(1, exposure_ms, roi, binning, trigger=trigger, expose_out=expose_out,
                           timeout=timeout)[0].array

    def sequence(self, frames: int, exposure_ms: float = 10,
                 roi: Roi | Sequence[Roi] | None = None, binning: int | tuple[int, int] = 1, *,
                 trigger: str | int | None = None, expose_out: str | int | None = None,
                 timeout: float | None = None) -> Image:
        """Takes up to 65535 exposures: an array of frames x rows x columns, 16 bits.

        The camera fills it without a copy; frames with metadata are copied out of their headers.
        """
        taken = self.record(frames, exposure_ms, roi, binning, trigger=trigger,
                            expose_out=expose_out, timeout=timeout)
        run = taken[0].run
        if run.has_metadata:
            return numpy.stack([frame.array for frame in taken])
        return run.slots.view("<u2").reshape(len(taken), *run.shape)

    def record(self, frames: int, exposure_ms: float = 10,
               roi: Roi | Sequence[Roi] | None = None, binning: int | tuple[int, int] = 1, *,
               trigger: str | int | None = None, expose_out: str | int | None = None,
               timeout: float | None = None) -> list[Frame]:
        """As ``sequence()``, with what is known of each frame: time stamps, regions, metadata."""
        if not 1 <= frames <= _SEQUENCE_MAX:
            raise ValueError(f"a sequence has 1 to {_SEQUENCE_MAX} frames")
        set_up = SetUp.of(self, exposure_ms, roi, binning, trigger, expose_out, timeout)
        size = interface.TYPES["uns32"]()
        call("the set-up was refused", "ox_exp_setup_seq", self.handle, frames,
             len(set_up.regions), set_up.regions, set_up.mode, set_up.exposure, ctypes.byref(size))
        patience = set_up.patience(self)
        with self._running(set_up, size.value // frames, frames, "ox_exp_start_seq") as run:
            while True:
                seen = self._events.count
                status, arrived = run.status()
                if status == _C["READOUT_COMPLETE"]:
                    break
                if status in (_C["READOUT_NOT_ACTIVE"], _C["READOUT_FAILED"]):
                    raise RuntimeError("the sequence ended before its last frame")
                self._events.wait(seen, patience.look(arrived, arrived // run.slots.shape[1]))
            call("the end was refused", "ox_exp_finish_seq", self.handle, run.buffer.ctypes.data, 0)
        return [Frame(run, number) for number in range(1, frames + 1)]

    def start(self, exposure_ms: float = 10, roi: Roi | Sequence[Roi] | None = None,
              binning: int | tuple[int, int] = 1, *, ring: int | None = None,
              trigger: str | int | None = None, expose_out: str | int | None = None) -> None:
        """Starts a continuous run for those who listen with ``on_frame()``; ``abort()`` ends it."""
        set_up, frame_bytes = self._continuous(
            SetUp.of(self, exposure_ms, roi, binning, trigger, expose_out, None), True)
        self._begin(set_up, frame_bytes, ring_frames(ring, frame_bytes), "ox_exp_start_cont")

    def stream(self, exposure_ms: float = 10, roi: Roi | Sequence[Roi] | None = None,
               binning: int | tuple[int, int] = 1, *, ring: int | None = None,
               overwrite: bool = True, frames: int | None = None, trigger: str | int | None = None,
               expose_out: str | int | None = None,
               timeout: float | None = None) -> Iterator[Frame]:
        """Runs without end and gives one Frame after the other, in their order; the end of the loop
        stops the camera.

        The ring has ``ring`` frames, at least 3 (by default about 256 MB). A loop that is too slow
        for the camera misses frames, which ``Frame.lost`` tells, or with ``overwrite=False`` gets
        an Error with C3_BUFFER_OVERRUN. ``frames`` ends the loop after so many.
        """
        set_up, frame_bytes = self._continuous(
            SetUp.of(self, exposure_ms, roi, binning, trigger, expose_out, timeout), overwrite)
        slots, given = ring_frames(ring, frame_bytes), 0
        patience = set_up.patience(self)
        with self._running(set_up, frame_bytes, slots, "ox_exp_start_cont") as run:
            while frames is None or given < frames:
                seen = self._events.count
                frame = run.take(overwrite)
                if frame is None:
                    self._events.wait(seen, patience.look(run.taken, run.taken))
                    continue
                yield frame
                run.give_back()
                given += 1

    async def stream_async(self, exposure_ms: float = 10, roi: Roi | Sequence[Roi] | None = None,
                           binning: int | tuple[int, int] = 1, *, ring: int | None = None,
                           overwrite: bool = True, frames: int | None = None,
                           trigger: str | int | None = None, expose_out: str | int | None = None,
                           timeout: float | None = None) -> AsyncIterator[Frame]:
        """As ``stream()``, for ``async for``: other tasks run while no frame is there.

        A loop that is left by break stops the camera a little later, at once when the stream is in
        contextlib.aclosing().
        """
        def begin() -> tuple[Run, Patience]:
            set_up, frame_bytes = self._continuous(
                SetUp.of(self, exposure_ms, roi, binning, trigger, expose_out, timeout), overwrite)
            patience = set_up.patience(self)
            return self._begin(set_up, frame_bytes, ring_frames(ring, frame_bytes),
                               "ox_exp_start_cont"), patience

        given, begun = 0, asyncio.ensure_future(asyncio.to_thread(begin))
        try:
            run, patience = await asyncio.shield(begun)
            while frames is None or given < frames:
                seen = self._events.count
                frame = run.take(overwrite)
                if frame is None:
                    await self._events.wait_async(seen, patience.look(run.taken, run.taken))
                    continue
                yield frame
                run.give_back()
                given += 1
        finally:
            await asyncio.wait([begun])  # a start that is under way can't be called back
            await asyncio.to_thread(self.abort)

    def abort(self) -> None:
        """Stops an acquisition; harmless when none runs."""
        if self.handle >= 0:
            call("cannot stop the camera", "ox_exp_abort", self.handle, _C["CCS_HALT_CLOSE_SHTR"])
        self._over()
        self._connection.buffer = None

    def _continuous(self, set_up: SetUp, overwrite: bool) -> tuple[SetUp, int]:
        size = interface.TYPES["uns32"]()
        mode = _C["CIRC_OVERWRITE" if overwrite else "CIRC_NO_OVERWRITE"]
        call("the set-up was refused", "ox_exp_setup_cont", self.handle, len(set_up.regions),
             set_up.regions, set_up.mode, set_up.exposure, ctypes.byref(size), mode)
        return set_up, size.value

    def _begin(self, set_up: SetUp, frame_bytes: int, count: int, function: str) -> Run:
        for event in ("EOF", "CAM_REMOVED"):
            self._events.listen(self._connection, event)
        ring = function == "ox_exp_start_cont"
        self._over()
        run = Run(self._connection, self._events, set_up, frame_bytes, count, ring)
        # From here on the memory has to stay, whatever becomes of this object.
        self._connection.buffer = run.buffer
        self.__dict__["_run"] = run
        size = (run.buffer.nbytes,) if ring else ()
        try:
            call("the start was refused", function, self.handle, run.buffer.ctypes.data, *size)
        except BaseException:
            self.abort()
            raise
        return run

    @contextmanager
    def _running(self, set_up: SetUp, frame_bytes: int, count: int,
                 function: str) -> Iterator[Run]:
        """A run that is over when the block is left, however it is left."""
        try:
            yield self._begin(set_up, frame_bytes, count, function)
        finally:
            self.abort()

    def _over(self) -> None:
        if self._run is not None:
            self._run.end()
        self.__dict__["_run"] = None


def _attribute(name: str) -> str:
    try:
        return parameter_name(name)
    except KeyError as error:
        raise AttributeError(error.args[0]) from None
