import json
import os
import pathlib
import re
import subprocess
import sys

import orvex
import pytest

README = pathlib.Path(__file__).parents[1] / "README.md"


def refused(code, action):
    with pytest.raises(orvex.Error) as refusal:
        action()
    assert refusal.value.code == code


def test_cameras_open_by_name_and_number():
    assert orvex.cameras() == ["SoftCMOS-2048", "Fast", "Full", "Plain", "Stuck", "Halted"]
    with orvex.Camera(1) as camera:
        assert camera.name == "Fast"
        refused(orvex.C0_CAM_ALREADY_OPEN, lambda: orvex.Camera("Fast"))
    refused(orvex.C0_INVALID_HANDLE, lambda: camera["TEMP"])
    camera.close()
    with pytest.raises(ValueError):
        orvex.Camera(6)
    orvex.stop()
    assert len(orvex.cameras()) == 6


@pytest.mark.parametrize("camera", ["Fast", "Full", "Plain"], indirect=True)
def test_parameters_are_those_of_the_program(camera):
    program = [os.environ["ORVEX_PROGRAM"], "params", camera.name, "--json"]
    told = json.loads(subprocess.run(program, check=True, capture_output=True).stdout)
    told = {row["name"]: row for row in told if row["available"]}
    mine = {parameter.name: parameter for parameter in camera.parameters()}
    assert mine.keys() == told.keys()
    for name, row in told.items():
        assert mine[name].id == int(row["id"], 16) and mine[name].type == row["type"], name
        for key in {"min", "max", "increment"} & row.keys():
            # The program tells numbers in their units.
            told_number = row[key] / row["scale"] if "scale" in row else row[key]
            assert getattr(mine[name], key) == pytest.approx(told_number), name
        listed = [{"value": entry, "text": entry.text} for entry in mine[name].entries]
        assert listed == row.get("list", []), name


def test_values_have_the_types_of_python(camera):
    assert camera["chip_name"] == "SCM-2048-BSI"
    assert camera["PARAM_SER_SIZE"] == camera.ser_size == 2048
    assert camera.metadata_enabled is False and isinstance(camera.exp_min_time, float)
    camera.clear_mode = "pre-sequence"
    assert camera.clear_mode == orvex.CLEAR_PRE_SEQUENCE
    assert camera.clear_mode.text == "Pre-Sequence"
    camera.tidal_stream_exp_params = [10, 20, 30]
    assert camera.tidal_stream_exp_params == [10, 20, 30]
    assert "TEMP" in camera and "PREMASK" in camera and "IO_STATE" not in camera


def test_names_that_are_none(camera):
    with pytest.raises(KeyError, match="did you mean .*CLEAR_MODE"):
        camera["CLEAR_MOD"]
    with pytest.raises(AttributeError):
        camera.clear_mod = 1


@pytest.mark.parametrize("name, value", [
    ("CLEAR_MODE", "Sometimes"), ("TEMP_SETPOINT", 40000), ("METADATA_ENABLED", "on")])
def test_values_that_no_parameter_takes(camera, name, value):
    before = camera[name]
    with pytest.raises(ValueError):
        camera[name] = value
    assert camera[name] == before


def test_what_the_library_refuses(camera):
    refused(orvex.C2_FAILED_TO_SET_VALUE, lambda: setattr(camera, "ser_size", 10))
    refused(orvex.C3_RGN_INVALID, lambda: camera.snap(roi=(2040, 0, 16, 16)))
    assert not camera.parameter("SER_SIZE").writable and camera.parameter("CLEAR_MODE").writable


def test_the_example_of_the_readme():
    example = re.search(r"```python\n(.*?)```", README.read_text(), re.S).group(1)
    run = subprocess.run([sys.executable, "-c", example], capture_output=True, text=True)
    assert run.returncode == 0, run.stderr
    lines = run.stdout.splitlines()
    assert lines[3].startswith("(240, 320) ") and lines[4] == "(10, 256, 256)"
    assert lines[-1].startswith("True the set-up was refused: Invalid region (C3_RGN_INVALID)")


def test_a_forked_child_starts_anew():
    script = """if True:
        import orvex, os, sys
        camera = orvex.Camera(0)
        child = os.fork()
        if child == 0:
            try:
                camera.temp
            except orvex.Error as error:
                assert error.code == orvex.C2_ORVEX_NOT_INITED
                with orvex.Camera(0) as own:
                    sys.exit(own.snap(1).size == 0)
            sys.exit(3)
        assert os.waitpid(child, 0)[1] == 0
        assert camera.snap(1).size > 0
        """
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=100)
    assert run.returncode == 0, run.stderr
