"""Writes the picture of the live view that the README shows."""

import sys
import tempfile
import time
from pathlib import Path

from browser import Browser
from server import View

CAMERA = "SoftCMOS-2048"
# Without noise, which a PNG cannot make small.
CONFIGURATION = {"noise": False, "time_scale": 1, "cameras": [
    {"model": "cmos", "name": CAMERA, "scene": {"kind": "beads", "count": 900, "speed": 60}}]}


def main(path):
    with tempfile.TemporaryDirectory() as folder, View(Path(folder), CAMERA, CONFIGURATION) as server, \
            Browser() as browser:
        server.do("change", regions=[[512, 640, 1024, 768]], exposure_ms=15)
        browser.open(server.address)
        browser.wait("document.getElementById('run-chip')?.textContent === 'stopped'")
        time.sleep(3)  # a few temperatures
        server.do("start")
        browser.wait("window.orvexView.picture.facts")
        for _ in range(3):
            browser.press("c")
        browser.wait("!document.querySelector('.toast')")
        browser.drag((420, 400), (420, 400))
        browser.run("document.activeElement.blur()")
        time.sleep(1)
        browser.screenshot(path)


main(sys.argv[1])
