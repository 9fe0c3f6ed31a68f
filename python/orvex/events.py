"""What the library tells of a camera: the end of a frame, and rarer things."""

from __future__ import annotations

import asyncio
import ctypes
import itertools
import sys
import threading
import types
import weakref
from collections.abc import Callable
from typing import Any, NamedTuple, cast

from . import interface
from .library import Connection, call

_C = interface.CONSTANTS
_EVENTS = interface.LISTS["ORVEX_CALLBACK_EVENTS"]
_EVENT_BITS = 3  # room for the number of an event
_LATE_SECONDS = 0.1  # a thread may see a frame before it is told of


class FrameInfo(NamedTuple):
    """What the library tells of one frame. Time stamps count as the driver does, the software
    camera in units of 100 ns."""

    number: int  #: from 1 at every start
    time_stamp_begin: int
    time_stamp_end: int

    @classmethod
    def of(cls, record: Any) -> FrameInfo:
        """From a FRAME_INFO."""
        return cls(record.FrameNr, record.TimeStampBOF, record.TimeStampEOF)


#: What is called on an event.
Listener = Callable[[FrameInfo], object]

_told: weakref.WeakValueDictionary[int, Events] = weakref.WeakValueDictionary()
_keys = itertools.count(1)


def _deliver(record: int | None, context: int) -> None:
    events = _told.get(context >> _EVENT_BITS)
    if events is not None:
        info = FrameInfo(0, 0, 0)
        if record:
            info = FrameInfo.of(interface.TYPES["FRAME_INFO"].from_address(record))
        events.deliver(context & ((1 << _EVENT_BITS) - 1), info)


# One function for all cameras, which is there for as long as the process: the library still has to
# return through it when it has closed a camera itself.
_DELIVER = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p)(_deliver)


def _told_of(function: Callable[..., object], *arguments: object) -> None:
    """Calls a function; its error goes where Python tells of errors that nobody can catch."""
    try:
        function(*arguments)
    except BaseException as error:
        sys.unraisablehook(cast("sys.UnraisableHookArgs", types.SimpleNamespace(
            exc_type=type(error), exc_value=error, exc_traceback=error.__traceback__,
            err_msg="Exception ignored in a callback", object=function)))


class Events:
    """The news of one camera. A thread of the library brings them, any number of threads wait."""

    def __init__(self) -> None:
        self._news = threading.Condition()
        self._wakers: set[Callable[[], None]] = set()
        self._listeners: dict[int, list[Listener]] = {}
        self._key = next(_keys)
        _told[self._key] = self
        #: How often there was news; what has grown is worth a look.
        self.count = 0
        self._infos: dict[int, FrameInfo] = {}
        self._newest = 0
        self._room = 0

    def begin(self, frames: int) -> dict[int, FrameInfo]:
        """Keeps what is told from now on of the newest frames of a run, by their numbers."""
        with self._news:
            self._infos, self._newest, self._room = {}, 0, frames
            return self._infos

    def note(self, info: FrameInfo) -> None:
        """Keeps what is known of a frame, from whatever source."""
        with self._news:
            self._infos[info.number] = info
            while len(self._infos) > self._room:
                del self._infos[next(iter(self._infos))]

    def listen(self, connection: Connection, event: str,
               function: Listener | None = None) -> Callable[[], None]:
        """Calls a function on an event; the result ends that. Without one, waits are woken."""
        number = _EVENTS["OX_CALLBACK_" + event]
        if number not in self._listeners:
            call(f"cannot hear of {event}", "ox_cam_register_callback_ex3", connection.handle,
                 number, ctypes.cast(_DELIVER, ctypes.c_void_p), self._key << _EVENT_BITS | number)
        listeners = self._listeners.setdefault(number, [])
        if function is None:
            return lambda: None
        listeners.append(function)

        def end() -> None:
            if function in listeners:
                listeners.remove(function)

        return end

    def deliver(self, event: int, info: FrameInfo) -> None:
        """Takes news, on the thread that brings them."""
        with self._news:
            if event == _C["OX_CALLBACK_EOF"]:
                self.note(info)
                self._newest = info.number
            self.count += 1
            self._news.notify_all()
            wakers = list(self._wakers)
        for waker in wakers:
            _told_of(waker)
        for listener in list(self._listeners.get(event, ())):
            _told_of(listener, info)

    def wait(self, seen: int, seconds: float) -> None:
        """Waits until there is more news than ``seen``, but not longer than some seconds."""
        with self._news:
            self._news.wait_for(lambda: self.count != seen, seconds)

    async def wait_async(self, seen: int, seconds: float) -> None:
        """As wait(), for a task."""
        loop, news = asyncio.get_running_loop(), asyncio.Event()

        def waker() -> None:
            loop.call_soon_threadsafe(news.set)

        with self._news:
            if self.count != seen:
                return
            self._wakers.add(waker)
        try:
            await asyncio.wait_for(news.wait(), seconds)
        except asyncio.TimeoutError:
            pass
        finally:
            with self._news:
                self._wakers.discard(waker)

    def info(self, infos: dict[int, FrameInfo], number: int) -> FrameInfo | None:
        """What was told of a frame of a run that is there; None when the library left it out."""
        with self._news:
            if infos is self._infos:
                self._news.wait_for(lambda: number in infos or self._newest >= number
                                    or infos is not self._infos, _LATE_SECONDS)
            return infos.get(number)
