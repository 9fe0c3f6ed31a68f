"""Files of the program as independent readers see them."""

import json
import os
import shutil
import subprocess

import numpy
import pytest
from test_acquisition import scene

PLACE = (16, 32, 64, 48)


def orvex_program(*arguments):
    command = [os.environ["ORVEX_PROGRAM"], *arguments, "--roi", ",".join(map(str, PLACE))]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


@pytest.mark.parametrize("command", [["snap", "--out"], ["stream", "--record"]])
def test_ome_tiff(tmp_path, command):
    tifffile = pytest.importorskip("tifffile")
    path = tmp_path / "run.tif"
    orvex_program(command[0], "Full", "--frames", "5", "--exposure", "3", "--bin", "2",
                  command[1], str(path))
    with tifffile.TiffFile(path) as tiff:
        assert tiff.is_ome and len(tiff.pages) == 5
        assert tiff.series[0].axes == "TYX"
        stack = tiff.series[0].asarray()
        ome = tifffile.xml2dict(tiff.ome_metadata)["OME"]
    expected = scene(PLACE, 2).reshape(-1)
    for number, image in enumerate(stack, 1):
        expected[[0, 1, -2, -1]] = [number, 0] * 2
        assert numpy.array_equal(image.reshape(-1), expected)
    pixels = ome["Image"]["Pixels"]
    assert (pixels["SizeT"], pixels["SignificantBits"], pixels["Type"]) == (5, 16, "uint16")
    assert pixels["PhysicalSizeX"] == pixels["PhysicalSizeY"] == 26
    assert pixels["Channel"]["DetectorSettings"]["Binning"] == "2x2"
    begins = [plane["DeltaT"] for plane in pixels["Plane"]]
    assert begins[0] == 0 and begins == sorted(begins) and begins[-1] > 0
    assert {plane["ExposureTime"] for plane in pixels["Plane"]} == {0.003}
    notes = {note["K"]: note["value"]
             for note in ome["StructuredAnnotations"]["MapAnnotation"]["Value"]["M"]}
    assert notes["camera"] == "Full" and notes["binning"] == "[2,2]"


@pytest.mark.parametrize("options, frames", [
    (["snap", "Fast", "--frames", "1", "--out"], 1), (["snap", "Full", "--frames", "4", "--out"], 4),
    (["stream", "Full", "--seconds", "0.2", "--record"], None)])
def test_fits_is_sound(tmp_path, options, frames):
    if not shutil.which("fitsverify"):
        pytest.skip("fitsverify is not installed")
    path = tmp_path / "run.fits"
    orvex_program(*options, str(path))
    told = subprocess.run(["fitsverify", "-l", path], capture_output=True, text=True).stdout
    assert "found 0 warning(s) and 0 error(s)" in told, told
    if frames is None:
        frames = json.loads((tmp_path / "run.fits.json").read_text())["frames"]
    assert frames == 1 or f"3 columns x {frames} rows" in " ".join(told.split()), told
