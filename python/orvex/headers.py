"""What the public headers say, read at import: constants, types, records and functions.

Parameter ids, error codes, enumerations and records are written down once, in include/orvex; this
module reads the list macros, records and prototypes there.
"""

import ctypes
import os
import pathlib
import re

_FILES = ("orvex_types.h", "orvex_errors.h", "orvex_params.h", "orvex.h")


def _folder():
    here = pathlib.Path(__file__).resolve()
    candidates = [here.parents[2] / "include", "/usr/local/include", "/usr/include"]
    if "ORVEX_INCLUDE" in os.environ:
        candidates.insert(0, os.environ["ORVEX_INCLUDE"])
    for candidate in candidates:
        folder = pathlib.Path(candidate) / "orvex"
        if all((folder / name).is_file() for name in _FILES):
            return folder
    raise ImportError("the headers of orvex are in none of "
                      + ", ".join(map(str, candidates)) + "; ORVEX_INCLUDE names their folder")


def _read():
    text = "\n".join((_folder() / name).read_text() for name in _FILES)
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    return text.replace("\\\n", " ")


_TEXT = _read()

#: Entries of each list macro in their order: ``LISTS["ORVEX_PARAMS"]["PARAM_TEMP"]`` is an id.
LISTS = {
    name: {entry: int(value, 0) for entry, value in re.findall(r"X\((\w+),\s*(\w+)", rows)}
    for name, rows in re.findall(r"#define (ORVEX_\w+)\(X\)(.*)", _TEXT)
}

#: All constants by name.
CONSTANTS = {name: value for rows in LISTS.values() for name, value in rows.items()}
CONSTANTS |= {name: int(value) for name, value in re.findall(r"#define ([A-Z_]+) (\d+)\n", _TEXT)}

#: The ctypes type of each value type, ``TYPES["uns16"]``.
TYPES = {
    name: getattr(ctypes, "c_" + base.removesuffix("_t"))
    for base, name in re.findall(r"typedef (\w+) (\w+);", _TEXT)
}


def _type(text):
    words = text.replace("const", "").replace("struct", "").strip()
    return ctypes.c_void_p if words.endswith("*") else TYPES[words]


def _record(name, body):
    fields = []
    for kind, field, length in re.findall(r"([\w ]+?\**) *(\w+)(?:\[(\d+)\])?;", body):
        fields.append((field, _type(kind) * int(length) if length else _type(kind)))
    return type(name, (ctypes.Structure,), {"_fields_": fields})


for _name in ("rgn_type", "FRAME_INFO_TAG", "FRAME_INFO", "tidal_stream_type"):
    _body = re.search(r"typedef struct " + _name + r" \{(.*?)\}", _TEXT, re.S).group(1)
    TYPES[_name] = _record(_name, _body)


def declare(library):
    """Gives the functions of a loaded library their arguments and results."""
    for result, name, arguments in re.findall(r"ORVEX_API (\w+) (\w+)\((.*?)\);", _TEXT, re.S):
        function = getattr(library, name)
        function.restype = TYPES[result]
        # What stands before the name of an argument is its type.
        kinds = [re.sub(r"\w+$", "", " ".join(a.split())) for a in arguments.split(",")]
        function.argtypes = [_type(kind) for kind in kinds if kind]
