"""The library itself: loading it, its start and end, its errors, and cameras that it has open."""

from __future__ import annotations

import atexit
import ctypes
import os
import pathlib
import threading
import weakref
from collections.abc import Iterable
from typing import Any

from . import interface

_C = interface.CONSTANTS
_NAMES = {code: name for name, code in interface.LISTS["ORVEX_ERRORS"].items()}


class Error(Exception):
    """A call that the library refused.

    ``code`` is the library's error code (``orvex.C2_NOT_AVAILABLE`` and so on), ``name`` its name
    and ``text`` its text. The library keeps one error for the process: with calls from several
    threads at once, code and text may be those of another thread.
    """

    def __init__(self, what: str, code: int | None = None) -> None:
        self.code: int = _lib.ox_error_code() if code is None else code
        self.name = _NAMES.get(self.code, "")
        text = ctypes.create_string_buffer(_C["ERROR_MSG_LEN"])
        _lib.ox_error_message(self.code, text)
        self.text = text.value.decode("latin-1")
        super().__init__(f"{what}: {self.text} [error {self.code}]")


def _candidates() -> Iterable[str]:
    package = pathlib.Path(__file__).resolve().parent
    if interface.LIBRARY:
        yield str(package / interface.LIBRARY)
    yield str(package.parents[1] / "build" / "dev" / "lib" / "liborvex.so")


def _load() -> ctypes.CDLL:
    chosen = os.environ.get("ORVEX_LIBRARY")
    if not chosen:
        chosen = next((path for path in _candidates() if os.path.isfile(path)), "liborvex.so.1")
    try:
        library = ctypes.CDLL(chosen)  # whose calls let other threads of Python run
    except OSError as error:
        raise ImportError(f"{error}; ORVEX_LIBRARY names the file of the library") from None
    interface.declare(library)
    return library


_lib = _load()
_starting = threading.Lock()
_starts = 0
_session: tuple[int, int] | None = None  # the process, and which of its starts it was
_connections: weakref.WeakSet[Connection] = weakref.WeakSet()


def call(what: str, name: str, *arguments: Any) -> None:
    """Calls a function of the library; raises Error with ``what`` when it is refused."""
    if not getattr(_lib, name)(*arguments):
        raise Error(what)


def _current() -> tuple[int, int] | None:
    """The library as this process has started it; a forked child has to do so for itself."""
    return _session if _session and _session[0] == os.getpid() else None


def _forked() -> None:
    global _starting
    _starting = threading.Lock()  # whoever held it is no thread of the child


os.register_at_fork(after_in_child=_forked)


def start() -> None:
    """Starts the library if it isn't running; it ends with the process, or with stop()."""
    global _session, _starts
    with _starting:
        if _current() is None:
            call("cannot start the library", "ox_orvex_init")
            _starts += 1
            _session = (os.getpid(), _starts)


@atexit.register
def stop() -> None:
    """Closes all cameras and ends the library. The next use starts it, and looks for cameras, anew.

    No other thread may use a camera meanwhile.
    """
    global _session
    with _starting:
        if _current() is not None:
            for connection in list(_connections):
                connection.close()
            _lib.ox_orvex_uninit()
        _session = None


def cameras() -> list[str]:
    """Names of the cameras that were there when the library was started."""
    start()
    total = interface.TYPES["int16"]()
    call("cannot count the cameras", "ox_cam_get_total", ctypes.byref(total))
    names = []
    for number in range(total.value):
        name = ctypes.create_string_buffer(_C["CAM_NAME_LEN"] + 1)
        call(f"cannot name camera {number}", "ox_cam_get_name", number, name)
        names.append(name.value.decode())
    return names


class Connection:
    """An open camera of the library, and what has to live for as long as the library uses it.

    It outlives the Camera that it belongs to by the time that the close takes.
    """

    def __init__(self, name: str) -> None:
        handle = interface.TYPES["int16"](-1)
        call(f"cannot open camera {name!r}", "ox_cam_open", name.encode(), ctypes.byref(handle),
             _C["EXT_OPEN_EXCLUSIVE"])
        self._session = _current()
        self._open: list[int] = [handle.value]
        #: Where the camera writes, until it has been stopped.
        self.buffer: Any = None
        _connections.add(self)

    @property
    def handle(self) -> int:
        """-1 once it was closed, the library ended, or in a forked child."""
        try:
            return self._open[0] if self._session == _current() else -1
        except IndexError:
            return -1

    def close(self) -> None:
        """Stops any run and closes the camera; harmless when it is closed."""
        try:
            handle = self._open.pop()  # by one thread alone
        except IndexError:
            return
        if self._session == _current():
            _lib.ox_cam_close(handle)
        self.buffer = None
