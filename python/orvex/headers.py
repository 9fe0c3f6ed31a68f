"""Reads the public headers: constants, lists, units, records and functions.

All of these are written down once, in include/orvex. A source tree reads them when the package is
imported; an installed package has them as the module ``_interface``, which this file writes:

    python3 headers.py FOLDER OUTPUT [--library PATH]

with the folder of the headers, and the place of the library as seen from the installed package.
"""

from __future__ import annotations

import argparse
import pathlib
import pprint
import re
from typing import Any

_FILES = ("orvex_types.h", "orvex_errors.h", "orvex_params.h", "orvex_units.h", "orvex.h")


def read(folder: pathlib.Path) -> dict[str, Any]:
    """What the headers in a folder say, as plain data; FileNotFoundError when one is missing."""
    text = "\n".join((folder / name).read_text() for name in _FILES)
    rows = re.findall(r"X\((PARAM_\w+), 0x\w+\) */\* (.*?) \*/", text)
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S).replace("\\\n", " ")
    macros = dict(re.findall(r"#define (ORVEX_\w+)\(X\)(.*)", text))
    units = re.findall(r'X\((\w+), (\d+), "(.*?)"\)', macros.pop("ORVEX_UNITS"))
    lists = {name: {entry: int(value, 0) for entry, value in re.findall(r"X\((\w+), (\w+)", body)}
             for name, body in macros.items()}
    constants = {name: int(value) for name, value in re.findall(r"#define ([A-Z_]+) (\d+)\n", text)}
    packed = "".join(re.findall(r"#pragma pack\(push, 1\)(.*?)#pragma pack\(pop\)", text, re.S))
    return {
        "LISTS": lists,
        "CONSTANTS": constants,
        "DESCRIPTIONS": dict(rows),
        "UNITS": {name: (int(steps), unit) for name, steps, unit in units},
        "TYPES": {name: base.removesuffix("_t")
                  for base, name in re.findall(r"typedef (\w+) (\w+);", text)},
        "RECORDS": {name: {"packed": body in packed, "fields": _fields(body, constants)}
                    for body, name
                    in re.findall(r"typedef struct \w+ \{(.*?)\} (\w+);", text, re.S)},
        "FUNCTIONS": {name: (result, [_type(argument) for argument in arguments.split(",")
                                      if argument.strip() != "void"])
                      for result, name, arguments
                      in re.findall(r"ORVEX_API (\w+) (\w+)\((.*?)\);", text, re.S)},
    }


def _fields(body: str, constants: dict[str, int]) -> list[tuple[str, str, int]]:
    """Name, type and length of each field; 0 for what is no array."""
    return [(name, _type(kind + name), int(constants.get(length, length or 0)))
            for kind, name, length in re.findall(r"([\w ]+?[* ]+)(\w+)(?:\[(\w+)\])?;", body)]


def _type(declaration: str) -> str:
    """The type in front of a name; every pointer is a ``"*"``."""
    words = declaration.replace("const ", "").split()
    return "*" if "*" in declaration else words[0]


def write(folder: pathlib.Path, output: pathlib.Path, library: str | None = None) -> None:
    """Writes what the headers say as a Python module."""
    data = read(folder) | {"LIBRARY": library}
    lines = ['"""Made from the public headers by headers.py."""']
    lines += [f"{name} = {pprint.pformat(value, width=100, sort_dicts=False)}"
              for name, value in data.items()]
    output.write_text("\n\n".join(lines) + "\n")


if __name__ == "__main__":
    _parser = argparse.ArgumentParser(description="Writes the library's interface as a module.")
    _parser.add_argument("folder", type=pathlib.Path, help="with the headers")
    _parser.add_argument("output", type=pathlib.Path, help="the module")
    _parser.add_argument("--library", help="place of the library, seen from the package")
    _arguments = _parser.parse_args()
    write(_arguments.folder, _arguments.output, _arguments.library)
