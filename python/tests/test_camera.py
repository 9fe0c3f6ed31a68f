import gc
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

import orvex
import pytest

README = pathlib.Path(__file__).parents[1] / "README.md"
SOURCE = pathlib.Path(__file__).parents[1] / "orvex"


def refused(code, action):
    with pytest.raises(orvex.Error) as refusal:
        action()
    assert refusal.value.code == code


def test_cameras_open_by_name_and_number():
    assert orvex.cameras() == ["SoftCMOS-2048", "Fast", "Full", "Plain", "Hand", "Stuck", "Halted"]
    with orvex.Camera(1) as camera:
        assert camera.name == "Fast"
        refused(orvex.C0_CAM_ALREADY_OPEN, lambda: orvex.Camera("Fast"))
    refused(orvex.C0_INVALID_HANDLE, lambda: camera["TEMP"])
    camera.close()
    with pytest.raises(ValueError):
        orvex.Camera(7)
    orvex.stop()
    assert len(orvex.cameras()) == 7


@pytest.mark.parametrize("camera", ["Fast", "Full", "Plain"], indirect=True)
def test_parameters_are_those_of_the_program(camera):
    program = [os.environ["ORVEX_PROGRAM"], "params", camera.name, "--json"]
    told = json.loads(subprocess.run(program, check=True, capture_output=True).stdout)
    told = {row["name"]: row for row in told if row["available"]}
    mine = {parameter.name: parameter for parameter in camera.parameters()}
    assert mine.keys() == told.keys()
    for name, row in told.items():
        assert mine[name].id == int(row["id"], 16) and mine[name].type == row["type"], name
        assert mine[name].unit == row.get("unit", ""), name
        for key in {"min", "max", "increment"} & row.keys():
            # The program tells numbers in their units.
            mine_number = getattr(mine[name], key)
            mine_number = mine_number / mine[name].steps if mine[name].steps > 1 else mine_number
            assert mine_number == pytest.approx(row[key]), name
        listed = [{"value": entry, "text": entry.text} for entry in mine[name].entries]
        assert listed == row.get("list", []), name


def test_values_have_the_types_of_python(camera):
    assert camera["chip_name"] == "SCM-2048-BSI"
    assert camera["PARAM_SER_SIZE"] == camera.ser_size == 2048
    assert camera.metadata_enabled is False and isinstance(camera.exp_min_time, float)
    camera.clear_mode = "pre-sequence"
    assert camera.clear_mode == orvex.CLEAR_PRE_SEQUENCE
    assert camera.clear_mode.text == "Pre-Sequence"
    assert camera.parameter("CLEAR_MODE").members["Pre-Sequence"] == camera.clear_mode
    temperature = camera.parameter("TEMP_SETPOINT")
    temperature.amount = -10.5
    assert (temperature.value, temperature.amount, temperature.unit) == (-1050, -10.5, "C")
    assert repr(temperature) == "<TEMP_SETPOINT INT16 = -1050 (-10.5 C)>"
    camera.tidal_stream_exp_params = [10, 20, 30]
    assert camera.tidal_stream_exp_params == [10, 20, 30]
    for names in (camera, camera._ipython_key_completions_(), map(str.upper, dir(camera))):
        assert "TEMP" in (names := names if names is camera else list(names))
        assert "PREMASK" in names and "IO_STATE" not in names


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
    with pytest.raises(orvex.Error, match="to -30000, which is read-write from -?\\d+ to \\d+:"):
        camera.temp_setpoint = -30000
    refused(orvex.C3_RGN_INVALID, lambda: camera.snap(roi=(2040, 0, 16, 16)))
    assert not camera.parameter("SER_SIZE").writable and camera.parameter("CLEAR_MODE").writable


def python(script, **environment):
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True,
                         timeout=100, env=os.environ | environment)
    assert run.returncode == 0, run.stderr
    return run.stdout.splitlines()


def test_the_examples_of_the_readme(tmp_path):
    first, *others = re.findall(r"```python\n(.*?)```", README.read_text(), re.S)
    assert len(first.splitlines()) <= 10
    lines = python("\n".join([f"import os; os.chdir({str(tmp_path)!r})", first, *others]))
    assert lines[0].startswith("['SoftCMOS-2048'") and (tmp_path / "image.npy").is_file()
    assert "(10, 256, 256)" in lines and "REFUSED C3_RGN_INVALID" in lines


def test_an_installed_package_needs_no_headers(tmp_path):
    package = tmp_path / "orvex"
    shutil.copytree(SOURCE, package)
    library = os.path.relpath(os.environ["ORVEX_LIBRARY"], package)
    headers = SOURCE.parents[1] / "include" / "orvex"
    subprocess.run([sys.executable, package / "headers.py", headers, package / "_interface.py",
                    "--library", library], check=True)
    (package / "headers.py").write_text("")
    script = """if True:
        import orvex
        assert orvex.Camera(0).snap(1, (0, 0, 32, 16)).shape == (16, 32)
        print(orvex.__file__, orvex.interface.UNITS["PARAM_TEMP"])"""
    assert python(script, PYTHONPATH=str(tmp_path), ORVEX_LIBRARY="") == [
        f"{package}/__init__.py (100, 'C')"]


def test_a_camera_closes_when_nothing_refers_to_it():
    for _ in range(3):
        camera = orvex.Camera("Fast")  # refused while the last one is open
        stream = camera.stream(1, (0, 0, 64, 64))
        heard = [next(stream)]
        camera.on_frame(heard.append)
        del camera, stream
        gc.collect()
    kept = orvex.Camera("Fast")
    orvex.stop()
    with orvex.Camera("Fast") as other:
        refused(orvex.C0_INVALID_HANDLE, lambda: kept.temp)  # and not the temperature of the other
        kept.close()
        assert "closed" in repr(kept) and "open" in repr(other) and other.snap(1).any()


def test_waiting_for_a_temperature(camera):
    assert camera.wait_for_temperature(20, near=100) == pytest.approx(camera.temp / 100, abs=1)
    assert camera.temp_setpoint == 2000
    with pytest.raises(TimeoutError, match="set-point of -10.00 C"):
        camera.wait_for_temperature(-10, timeout=0, near=0.001)


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
                    assert own.ser_size and camera.handle == -1  # though theirs was the same
                    camera.close()
                    sys.exit(own.snap(1).size == 0)
            sys.exit(3)
        assert os.waitpid(child, 0)[1] == 0
        assert camera.snap(1).size > 0
        """
    python(script)
