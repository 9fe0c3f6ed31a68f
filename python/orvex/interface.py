"""The interface of the library as Python sees it: constants, lists, units and ctypes types."""

from __future__ import annotations

import ctypes
import importlib
import os
import pathlib
from typing import Any

from . import headers


def _data() -> dict[str, Any]:
    try:
        return vars(importlib.import_module("._interface", __package__))
    except ImportError:
        pass  # a source tree
    folder = pathlib.Path(__file__).resolve().parents[2] / "include"
    folder = pathlib.Path(os.environ.get("ORVEX_INCLUDE", folder)) / "orvex"
    try:
        return headers.read(folder)
    except FileNotFoundError as error:
        raise ImportError(f"{error}; ORVEX_INCLUDE names the folder of the headers") from None


_DATA = _data()

#: Entries of each list in their order: ``LISTS["ORVEX_PARAMS"]["PARAM_TEMP"]`` is an id.
LISTS: dict[str, dict[str, int]] = _DATA["LISTS"]

#: All constants by name.
CONSTANTS: dict[str, int] = {
    name: value for rows in LISTS.values() for name, value in rows.items()} | _DATA["CONSTANTS"]

#: Steps and name of a parameter's unit: ``UNITS["PARAM_TEMP"]`` is ``(100, "C")``.
UNITS: dict[str, tuple[int, str]] = _DATA["UNITS"]

#: What a parameter is, in words.
DESCRIPTIONS: dict[str, str] = _DATA["DESCRIPTIONS"]

#: Where the library is installed, seen from this package; None when it is not known.
LIBRARY: str | None = _DATA.get("LIBRARY")

#: The ctypes type of each value type and record: ``TYPES["uns16"]``, ``TYPES["rgn_type"]``.
TYPES: dict[str, Any] = {
    name: getattr(ctypes, "c_" + base) for name, base in _DATA["TYPES"].items()}
TYPES["*"] = ctypes.c_void_p

for _name, _record in _DATA["RECORDS"].items():
    _fields = [(field, TYPES[kind] * length if length else TYPES[kind])
               for field, kind, length in _record["fields"]]
    _body = {"_pack_": 1, "_fields_": _fields} if _record["packed"] else {"_fields_": _fields}
    TYPES[_name] = type(_name, (ctypes.Structure,), _body)


def declare(library: ctypes.CDLL) -> None:
    """Gives the functions of a loaded library their arguments and results."""
    for name, (result, arguments) in _DATA["FUNCTIONS"].items():
        function = getattr(library, name)
        function.restype = TYPES[result]
        function.argtypes = [TYPES[argument] for argument in arguments]
