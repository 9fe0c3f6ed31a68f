"""Writes the picture of the live view that the README shows, and others into a folder."""

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


def show_run(browser, server):
    browser.open(server.address)
    browser.wait("document.getElementById('run-chip')?.textContent === 'stopped'")
    time.sleep(3)  # a few temperatures


def start(browser, server):
    server.do("start")
    browser.wait("window.orvexView.picture.facts")
    browser.wait("!document.querySelector('.toast')")


def readme_picture(path):
    with tempfile.TemporaryDirectory() as folder, View(Path(folder), CAMERA, CONFIGURATION) as server, \
            Browser() as browser:
        server.do("change", regions=[[512, 640, 1024, 768]], exposure_ms=15)
        show_run(browser, server)
        start(browser, server)
        for _ in range(3):
            browser.press("c")
        browser.drag((420, 400), (420, 400))
        browser.run("document.activeElement.blur()")
        time.sleep(1)
        browser.screenshot(path)


def pictures_in_use(folder):
    """What a person sees on the way, one file each."""
    chart = {"time_scale": 1, "cameras": [
        {"model": "cmos", "name": CAMERA, "scene": {"kind": "chart"},
         "faults": [{"fault": "unplug", "after": 400}]}]}
    with tempfile.TemporaryDirectory() as place, View(Path(place), CAMERA, chart) as server:
        def shot(browser, name):
            time.sleep(0.7)
            browser.screenshot(folder / f"view-{name}.png")

        with Browser() as browser:
            server.do("change", exposure_ms=10)
            show_run(browser, server)
            shot(browser, "idle")
            start(browser, server)
            shot(browser, "running")
            browser.press("d")
            browser.drag((200, 250), (520, 480), release=False)
            shot(browser, "region")
            browser.let_go()
            for tab in ("parameters", "temperature", "program", "log"):
                browser.click(f"tab-{tab}")
                shot(browser, tab)
            browser.wait("document.getElementById('alert-title').textContent === 'The camera is gone'",
                         limit=120)
            browser.screenshot(folder / "view-gone.png")
        with Browser(dark=True) as browser:
            browser.open(server.guest_address)
            browser.wait("window.orvexView?.picture.facts", limit=60)
            shot(browser, "dark-guest")


readme_picture(sys.argv[1])
pictures_in_use(Path(sys.argv[2]))
