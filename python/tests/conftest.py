"""Cameras for all tests: without noise, ten times as fast as real ones, frames with numbers."""

import json
import os
import pathlib
import tempfile

import pytest

_folder = tempfile.TemporaryDirectory()
_file = pathlib.Path(_folder.name) / "cameras.json"
_file.write_text(json.dumps({
    "noise": False, "time_scale": 0.1, "stamp": True, "scene": {"kind": "ramp"},
    "cameras": [
        {"model": "cmos", "name": "SoftCMOS-2048", "stamp": False},
        {"model": "cmos", "name": "Fast"},
        {"model": "ccd", "name": "Full"},
        {"model": "plain", "name": "Plain"},
        {"model": "cmos", "name": "Hand", "trigger": {"manual": True}},
        # One for each test: a fault strikes once.
        *({"model": "cmos", "name": name, "faults": [{"fault": "stuck_transfer", "after": 2}]}
          for name in ("Stuck", "Halted")),
    ]}))
# The driver module reads it when the library starts.
os.environ["ORVEX_SOFTCAM"] = str(_file)


@pytest.fixture
def camera(request):
    import orvex

    with orvex.Camera(getattr(request, "param", "Fast")) as opened:
        yield opened
