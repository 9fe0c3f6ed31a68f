"""Parameters of a camera by name."""

import ctypes
import difflib

from . import headers
from .library import Error, call

_C = headers.CONSTANTS
_PARAMETERS = headers.LISTS["ORVEX_PARAMS"]
_TYPES = {code: name.removeprefix("TYPE_") for name, code in headers.LISTS["ORVEX_TYPES"].items()}
_STREAMS = ("TIDAL_STREAM_TYPE", "TIDAL_STREAM_TYPE_PTR")
_TEXT_ROOM = 4096


def parameter_name(name):
    """The full name, ``"PARAM_TEMP"`` for ``"temp"``; KeyError with the nearest names."""
    full = str(name).upper()
    full = full if full.startswith("PARAM_") else "PARAM_" + full
    if full not in _PARAMETERS:
        near = difflib.get_close_matches(full, _PARAMETERS, 3)
        hint = "; did you mean " + ", ".join(n.removeprefix("PARAM_") for n in near) if near else ""
        raise KeyError(f"there is no parameter '{name}'{hint}")
    return full


class EnumValue(int):
    """A number of an enumerated parameter, with the camera's text for it in ``text``."""

    def __new__(cls, value, text):
        self = super().__new__(cls, value)
        self.text = text
        return self

    def __repr__(self):
        return f"<{self.text}: {int(self)}>"

    __str__ = __repr__


class Parameter:
    """One parameter of an open camera. Reading an attribute asks the library each time.

    ``min``, ``max``, ``default``, ``increment`` and ``count`` raise Error where there is none.
    """

    def __init__(self, camera, name):
        self.name = parameter_name(name)
        self.id = _PARAMETERS[self.name]
        self._camera = camera

    def _get(self, attribute, value):
        what = f"cannot read {self.name.removeprefix('PARAM_')} ({attribute})"
        call(what, "ox_get_param", self._camera.handle, self.id, _C[attribute], value)
        return value

    def _number(self, attribute, kind):
        return self._get(attribute, ctypes.pointer(headers.TYPES[kind]())).contents.value

    @property
    def type(self):
        """``"INT16"``, ``"ENUM"``, ``"BOOLEAN"``, ``"CHAR_PTR"`` and so on."""
        try:
            return _TYPES[self._number("ATTR_TYPE", "uns16")]
        except Error:
            return _TYPES[self.id >> 24]

    @property
    def available(self):
        """Whether the camera has it, with its present settings."""
        try:
            return bool(self._number("ATTR_AVAIL", "boolean16"))
        except Error:
            # Asking for what belongs to a feature that the camera lacks is refused as such.
            return False

    @property
    def writable(self):
        """Whether it can be set."""
        access = self._number("ATTR_ACCESS", "uns16")
        return access in (_C["ACC_READ_WRITE"], _C["ACC_WRITE_ONLY"])

    @property
    def count(self):
        """Entries of an enumeration or a list, bytes of a text; 0 for a range."""
        return self._number("ATTR_COUNT", "uns32")

    @property
    def entries(self):
        """The values of an enumeration in the camera's order; empty for other types."""
        found = []
        for index in range(self.count if self.type == "ENUM" else 0):
            value, text = headers.TYPES["int32"](), ctypes.create_string_buffer(256)
            call(f"cannot list {self.name}", "ox_get_enum_param", self._camera.handle, self.id,
                 index, ctypes.byref(value), text, len(text))
            found.append(EnumValue(value.value, text.value.decode("latin-1")))
        return found

    def _storage(self):
        kind = {"BOOLEAN": "boolean16", "ENUM": "int32"}.get(self.type, self.type.lower())
        return kind if kind in headers.TYPES else None

    def _read(self, attribute):
        kind = self.type
        if kind == "CHAR_PTR":
            text = self._get(attribute, ctypes.create_string_buffer(_TEXT_ROOM))
            return text.value.decode("latin-1")
        if kind in _STREAMS:
            values = (headers.TYPES["uns32"] * max(self.count, 1))()
            record = headers.TYPES["tidal_stream_type"](self.count, ctypes.addressof(values))
            self._get(attribute, ctypes.byref(record))
            return list(values)[:record.entries]
        if self._storage() is None:
            raise TypeError(f"{self.name} holds no plain value")
        value = self._number(attribute, self._storage())
        if kind == "BOOLEAN":
            return bool(value)
        if kind == "ENUM" and attribute in ("ATTR_CURRENT", "ATTR_DEFAULT"):
            return next((entry for entry in self.entries if entry == value), value)
        return value

    @property
    def value(self):
        """The current value: int, float, bool, str, EnumValue, or a list of ints."""
        return self._read("ATTR_CURRENT")

    @value.setter
    def value(self, new):
        if self.type in _STREAMS:
            values = (headers.TYPES["uns32"] * len(new))(*new)
            given = headers.TYPES["tidal_stream_type"](len(new), ctypes.addressof(values))
        elif self._storage() is None:
            raise TypeError(f"{self.name} can't be set")
        else:
            number = self._number_of(new) if isinstance(new, str) else new
            given = headers.TYPES[self._storage()](number)
            # What a C type can't hold must not turn into another number.
            if not isinstance(given.value, float) and given.value != number:
                raise ValueError(f"{new!r} is no {self.type} for {self.name}")
        call(f"cannot set {self.name.removeprefix('PARAM_')} to {new!r}", "ox_set_param",
             self._camera.handle, self.id, ctypes.byref(given))

    def _number_of(self, text):
        entries = self.entries
        for entry in entries:
            if entry.text.lower() == text.lower():
                return int(entry)
        raise ValueError(f"{text!r} is no value of {self.name}; there are {entries}")

    default = property(lambda self: self._read("ATTR_DEFAULT"), doc="The value after the open.")
    min = property(lambda self: self._read("ATTR_MIN"), doc="The least value.")
    max = property(lambda self: self._read("ATTR_MAX"), doc="The greatest value.")
    increment = property(lambda self: self._read("ATTR_INCREMENT"), doc="The step of values.")
