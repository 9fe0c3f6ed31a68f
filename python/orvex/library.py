"""The library itself: loading it, its start and end, and its errors."""

import atexit
import ctypes
import os
import pathlib

from . import headers


class Error(Exception):
    """A call that the library refused.

    ``code`` is the library's error code (``orvex.C2_NOT_AVAILABLE`` and so on), ``text`` its text.
    The library keeps one error for the process: with calls from several threads at once, code and
    text may be those of another thread.
    """

    def __init__(self, what, code=None):
        self.code = _lib.ox_error_code() if code is None else code
        text = ctypes.create_string_buffer(headers.CONSTANTS["ERROR_MSG_LEN"])
        _lib.ox_error_message(self.code, text)
        self.text = text.value.decode("latin-1")
        super().__init__(f"{what}: {self.text} [error {self.code}]")


def _load():
    build = pathlib.Path(__file__).resolve().parents[2] / "build" / "dev" / "lib" / "liborvex.so"
    chosen = os.environ.get("ORVEX_LIBRARY")
    if not chosen:
        chosen = str(build) if build.is_file() else "liborvex.so.1"
    try:
        library = ctypes.CDLL(chosen)
    except OSError as error:
        raise ImportError(f"{error}; ORVEX_LIBRARY names the file of the library") from None
    headers.declare(library)
    return library


_lib = _load()
_started_in = None  # the process; a forked child has to start the library for itself


def call(what, name, *arguments):
    """Calls a function of the library; raises Error with ``what`` when it is refused."""
    if not getattr(_lib, name)(*arguments):
        raise Error(what)


def start():
    """Starts the library if it isn't running; it ends with the process, or with stop()."""
    global _started_in
    if _started_in != os.getpid():
        call("cannot start the library", "ox_orvex_init")
        _started_in = os.getpid()


@atexit.register
def stop():
    """Ends the library and closes all cameras. The next use starts it, and looks for cameras, anew.

    No other thread may use a camera meanwhile.
    """
    global _started_in
    if _started_in == os.getpid():
        _lib.ox_orvex_uninit()
    _started_in = None


def cameras():
    """Names of the cameras that were there when the library was started."""
    start()
    total = headers.TYPES["int16"]()
    call("cannot count the cameras", "ox_cam_get_total", ctypes.byref(total))
    names = []
    for number in range(total.value):
        name = ctypes.create_string_buffer(headers.CONSTANTS["CAM_NAME_LEN"] + 1)
        call(f"cannot name camera {number}", "ox_cam_get_name", number, name)
        names.append(name.value.decode())
    return names
