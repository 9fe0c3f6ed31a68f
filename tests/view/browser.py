"""Chromium without a screen, over the WebDriver protocol."""

import base64
import json
import shutil
import subprocess
import time
import urllib.error
import urllib.request
from pathlib import Path

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
KEYS = {"space": " ", "escape": "\ue00c", "enter": "\ue007"}


def missing():
    """What has to be installed, or nothing."""
    return [name for name in ("chromium", "chromedriver") if shutil.which(name) is None]


class Browser:
    def __init__(self, width=1280, height=800, dark=False):
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True)
        self.session = ""
        for line in self.driver.stdout:
            if "started successfully on port" in line:
                self.address = f"http://127.0.0.1:{line.split()[-1].rstrip('.')}"
                break
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--no-first-run", "--disable-background-networking", "--force-color-profile=srgb"]
        options = {"args": arguments, "binary": shutil.which("chromium")}
        wanted = {"alwaysMatch": {"browserName": "chrome", "goog:chromeOptions": options}}
        self.session = self.call("POST", "session", {"capabilities": wanted})["sessionId"]
        self.resize(width, height)
        self.prefer("dark" if dark else "light")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self.call("DELETE", "")
        finally:
            self.driver.terminate()
            self.driver.wait(10)

    def call(self, method, path, body=None):
        parts = [self.address]
        if self.session or path != "session":
            parts += ["session", self.session]
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request("/".join(parts + [path] if path else parts), data, method=method,
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=60) as response:
                return json.load(response)["value"]
        except urllib.error.HTTPError as problem:
            raise RuntimeError(json.load(problem)["value"]["message"]) from None

    def devtools(self, command, **parameters):
        return self.call("POST", "goog/cdp/execute", {"cmd": command, "params": parameters})

    def resize(self, width, height):
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                      deviceScaleFactor=1, mobile=False)

    def prefer(self, theme):
        self.devtools("Emulation.setEmulatedMedia",
                      features=[{"name": "prefers-color-scheme", "value": theme}])

    def open(self, address):
        self.call("POST", "url", {"url": address})

    def run(self, script, *arguments):
        return self.call("POST", "execute/sync", {"script": script, "args": list(arguments)})

    def text(self, identifier):
        return self.run("return document.getElementById(arguments[0]).textContent", identifier)

    def wait(self, script, *arguments, limit=20):
        """Until the script, an expression, is true; gives its value."""
        end = time.monotonic() + limit
        while time.monotonic() < end:
            value = self.run(f"return {script}", *arguments)
            if value:
                return value
            time.sleep(0.05)
        raise AssertionError(f"not within {limit} s: {script}; the page says: {self.text('log')[:600]}")

    def click(self, identifier):
        element = self.call("POST", "element", {"using": "css selector", "value": f"#{identifier}"})
        self.call("POST", f"element/{element[ELEMENT]}/click", {})

    def press(self, key):
        value = KEYS.get(key, key)
        actions = [{"type": "keyDown", "value": value}, {"type": "keyUp", "value": value}]
        self.call("POST", "actions", {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def drag(self, begin, end, release=True):
        """The mouse from one place of the page to another."""
        move = {"type": "pointerMove", "duration": 0}
        actions = [move | {"x": begin[0], "y": begin[1]}, {"type": "pointerDown", "button": 0},
                   move | {"x": (begin[0] + end[0]) // 2, "y": (begin[1] + end[1]) // 2},
                   move | {"x": end[0], "y": end[1]}]
        if release:
            actions.append({"type": "pointerUp", "button": 0})
        pointer = {"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"}, "actions": actions}
        self.call("POST", "actions", {"actions": [pointer]})

    def let_go(self):
        self.call("DELETE", "actions")

    def screenshot(self, path):
        Path(path).write_bytes(base64.b64decode(self.call("GET", "screenshot")))
