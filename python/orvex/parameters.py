"""Parameters of a camera by name."""

from __future__ import annotations

import ctypes
import difflib
import re
from collections.abc import Iterable
from typing import Any

from . import interface
from .library import Connection, Error, call

_C = interface.CONSTANTS
_PARAMETERS = interface.LISTS["ORVEX_PARAMS"]
_TYPES = {code: name.removeprefix("TYPE_") for name, code in interface.LISTS["ORVEX_TYPES"].items()}
_STREAMS = ("TIDAL_STREAM_TYPE", "TIDAL_STREAM_TYPE_PTR")
_TEXT_ROOM = 4096


def parameter_name(name: str) -> str:
    """The full name, ``"PARAM_TEMP"`` for ``"temp"``; KeyError with the nearest names."""
    full = str(name).upper()
    full = full if full.startswith("PARAM_") else "PARAM_" + full
    if full not in _PARAMETERS:
        near = difflib.get_close_matches(full, _PARAMETERS, 3)
        hint = "; did you mean " + ", ".join(n.removeprefix("PARAM_") for n in near) if near else ""
        raise KeyError(f"there is no parameter '{name}'{hint}")
    return full


def plain(text: str) -> str:
    """A text as it is compared: small letters, and one dash for all that is no letter or digit."""
    return re.sub(r"[^a-z0-9]+", "-", text.lower()).strip("-")


class EnumValue(int):
    """A number of an enumerated parameter, with the camera's text for it in ``text``."""

    text: str

    def __new__(cls, value: int, text: str) -> EnumValue:
        self = super().__new__(cls, value)
        self.text = text
        return self

    def __repr__(self) -> str:
        return f"<{self.text}: {int(self)}>"

    __str__ = __repr__


def find(text: str, entries: Iterable[EnumValue], what: str) -> EnumValue:
    """The entry of that text; ValueError with all texts when there is none."""
    entries = list(entries)
    for entry in entries:
        if plain(entry.text) == plain(text):
            return entry
    raise ValueError(f"{text!r} is no value of {what}; there are "
                     + ", ".join(f"{entry.text!r}" for entry in entries))


class Parameter:
    """One parameter of an open camera. Reading an attribute asks the library each time.

    ``min``, ``max``, ``default``, ``increment`` and ``count`` raise Error where there is none.
    Numbers are as the library has them, in ``steps`` a ``unit``; ``amount`` is in the unit itself.
    What asks the camera, as ``description`` says of most values that change, ends a run.
    """

    def __init__(self, connection: Connection, name: str) -> None:
        self.name = parameter_name(name)
        self.id = _PARAMETERS[self.name]
        #: What it is, and whether reading it asks the camera.
        self.description = interface.DESCRIPTIONS.get(self.name, "")
        #: Values are whole steps of a part of the unit: 100 for hundredths.
        self.steps, self.unit = interface.UNITS.get(self.name, (1, ""))
        self._connection = connection

    @property
    def _short(self) -> str:
        return self.name.removeprefix("PARAM_")

    def __repr__(self) -> str:
        facts = f"{self._short} {_TYPES[self.id >> 24]}"
        if self._connection.buffer is not None:
            return f"<{facts}, not asked in a run>"
        try:
            if not self.available:
                facts += ", not available"
            else:
                facts += f" = {self.value!r}"
                if self.unit:
                    facts += f" ({self.amount:g} {self.unit})"
        except (Error, TypeError):
            pass  # a value that cannot be had is left out
        return f"<{facts}>"

    def _get(self, attribute: str, value: Any) -> Any:
        call(f"cannot read {self._short} ({attribute})", "ox_get_param", self._connection.handle,
             self.id, _C[attribute], value)
        return value

    def _number(self, attribute: str, kind: str) -> Any:
        return self._get(attribute, ctypes.pointer(interface.TYPES[kind]())).contents.value

    @property
    def type(self) -> str:
        """``"INT16"``, ``"ENUM"``, ``"BOOLEAN"``, ``"CHAR_PTR"`` and so on."""
        try:
            return _TYPES[self._number("ATTR_TYPE", "uns16")]
        except Error:
            return _TYPES[self.id >> 24]

    @property
    def available(self) -> bool:
        """Whether the camera has it, with its present settings."""
        try:
            return bool(self._number("ATTR_AVAIL", "boolean16"))
        except Error:
            # Asking for what belongs to a feature that the camera lacks is refused as such.
            return False

    @property
    def writable(self) -> bool:
        """Whether it can be set."""
        access = self._number("ATTR_ACCESS", "uns16")
        return access in (_C["ACC_READ_WRITE"], _C["ACC_WRITE_ONLY"])

    @property
    def count(self) -> int:
        """Entries of an enumeration or a list, bytes of a text; 0 for a range."""
        return int(self._number("ATTR_COUNT", "uns32"))

    @property
    def entries(self) -> list[EnumValue]:
        """The values of an enumeration in the camera's order; empty for other types."""
        found = []
        for index in range(self.count if self.type == "ENUM" else 0):
            value, text = interface.TYPES["int32"](), ctypes.create_string_buffer(256)
            call(f"cannot list {self._short}", "ox_get_enum_param", self._connection.handle,
                 self.id, index, ctypes.byref(value), text, len(text))
            found.append(EnumValue(value.value, text.value.decode("latin-1")))
        return found

    @property
    def members(self) -> dict[str, EnumValue]:
        """The values of an enumeration by the camera's texts; empty for other types."""
        return {entry.text: entry for entry in self.entries}

    def _storage(self) -> str | None:
        kind = {"BOOLEAN": "boolean16", "ENUM": "int32"}.get(self.type, self.type.lower())
        return kind if kind in interface.TYPES else None

    def _read(self, attribute: str) -> Any:
        kind = self.type
        if kind == "CHAR_PTR":
            text = self._get(attribute, ctypes.create_string_buffer(_TEXT_ROOM))
            return text.value.decode("latin-1")
        if kind in _STREAMS:
            values = (interface.TYPES["uns32"] * max(self.count, 1))()
            record = interface.TYPES["tidal_stream_type"](self.count, ctypes.addressof(values))
            self._get(attribute, ctypes.byref(record))
            return list(values)[:record.entries]
        storage = self._storage()
        if storage is None:
            raise TypeError(f"{self._short} holds no plain value")
        value = self._number(attribute, storage)
        if kind == "BOOLEAN":
            return bool(value)
        if kind == "ENUM" and attribute in ("ATTR_CURRENT", "ATTR_DEFAULT"):
            return next((entry for entry in self.entries if entry == value), value)
        return value

    @property
    def value(self) -> Any:
        """The current value: int, float, bool, str, EnumValue, or a list of ints.

        An enumeration can also be set by the camera's text, in small or capital letters.
        ValueError tells of what the type cannot hold, Error of what the camera refuses.
        """
        return self._read("ATTR_CURRENT")

    @value.setter
    def value(self, new: Any) -> None:
        given: Any
        storage = self._storage()
        if self.type in _STREAMS:
            values = (interface.TYPES["uns32"] * len(new))(*new)
            given = interface.TYPES["tidal_stream_type"](len(new), ctypes.addressof(values))
        elif storage is None:
            raise TypeError(f"{self._short} can't be set")
        else:
            number = int(find(new, self.entries, self._short)) if isinstance(new, str) else new
            given = interface.TYPES[storage](number)
            # What a C type can't hold must not turn into another number.
            if not isinstance(given.value, float) and given.value != number:
                raise ValueError(f"{new!r} is no {self.type} for {self._short}")
        what = f"cannot set {self._short} to {new!r}"
        try:
            call(what, "ox_set_param", self._connection.handle, self.id, ctypes.byref(given))
        except Error as error:
            raise Error(what + self._possible(), error.code) from None

    def _possible(self) -> str:
        """What could be set, as a part of a sentence; empty where that is not known."""
        try:
            if not self.writable:
                return ", which is read-only"
            if self.type == "ENUM":
                return ", which is one of " + ", ".join(map(str, self.entries))
            return f", which is read-write from {self.min} to {self.max}"
        except (Error, TypeError):
            return ""

    @property
    def amount(self) -> float:
        """The current value in its unit: degrees where ``value`` is in hundredths of a degree."""
        return float(self.value / self.steps)

    @amount.setter
    def amount(self, new: float) -> None:
        self.value = round(new * self.steps)

    @property
    def default(self) -> Any:
        """The value after the open."""
        return self._read("ATTR_DEFAULT")

    @property
    def min(self) -> Any:
        """The least value."""
        return self._read("ATTR_MIN")

    @property
    def max(self) -> Any:
        """The greatest value."""
        return self._read("ATTR_MAX")

    @property
    def increment(self) -> Any:
        """The step of values; 0 where there is none."""
        return self._read("ATTR_INCREMENT")
