"""The program `orvex view` with software cameras of its own."""

import json
import os
import resource
import signal
import subprocess
import threading
import time
import urllib.error
import urllib.request

PROGRAM = os.environ.get("ORVEX_PROGRAM", "orvex")


class View:
    """Talks to the server as a page does, without one."""

    def __init__(self, folder, camera, configuration, *arguments):
        self.folder = folder
        path = folder / "cameras.json"
        path.write_text(json.dumps(configuration))
        environment = os.environ | {"ORVEX_SOFTCAM": str(path)}
        environment.pop("ORVEX_CORE_LOG_FILE", None)
        # Signals stay as Python has them: a file that may not grow is an error, as on a full disk.
        self.process = subprocess.Popen(
            [PROGRAM, "view", camera, "--out", str(folder), *arguments],
            stdout=subprocess.PIPE, env=environment, text=True, restore_signals=False)
        self.address = self.process.stdout.readline().split()[-1]
        self.guest_address = self.process.stdout.readline().split()[-1]
        self.base, self.token = self.address.split("/?token=")
        self.guest_token = self.guest_address.split("=")[-1]
        self.port = int(self.base.rsplit(":", 1)[1])
        # What it says later must not fill the pipe.
        threading.Thread(target=self.process.stdout.read, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self):
        """Gives the exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
        return self.process.wait(30)

    def request(self, path, body=None, token=None, **headers):
        """Status, headers and body of an answer."""
        token = self.token if token is None else token
        sent = {"Cookie": f"orvex-view-{self.port}={token}"}
        data = None
        if body is not None:
            data = body if isinstance(body, bytes) else json.dumps(body).encode()
            sent["Content-Type"] = "application/json"
        sent |= {name.replace("_", "-"): value for name, value in headers.items()}
        request = urllib.request.Request(self.base + path, data, sent)
        try:
            with urllib.request.urlopen(request, timeout=30) as response:
                return response.status, response.headers, response.read()
        except urllib.error.HTTPError as problem:
            return problem.code, problem.headers, problem.read()

    def do(self, command, **members):
        status, _, body = self.request("/command", {"do": command, **members})
        answer = json.loads(body)
        assert status == 200, answer
        return answer

    def state(self):
        return json.loads(self.request("/state")[2])

    def parameters(self):
        rows = json.loads(self.request("/parameters")[2])["parameters"]
        return {row["name"].removeprefix("PARAM_").lower(): row for row in rows}

    def picture(self, query=""):
        """The facts of a picture and its bytes."""
        status, _, body = self.request(f"/picture?{query}")
        if status == 204:
            return None, b""
        assert status == 200, body
        length = int.from_bytes(body[:4], "little")
        return json.loads(body[4:4 + length]), body[4 + length:]

    def limit_files(self, size):
        """No file gets longer, as on a disk that is full; -1 for no limit."""
        resource.prlimit(self.process.pid, resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))

    def memory(self):
        """Bytes that it holds."""
        with open(f"/proc/{self.process.pid}/statm") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    def resources(self):
        """Threads and descriptors."""
        return [len(os.listdir(f"/proc/{self.process.pid}/{what}")) for what in ("task", "fd")]

    def wait(self, met, limit=20):
        """The first state that meets a condition."""
        end = time.monotonic() + limit
        while time.monotonic() < end:
            state = self.state()
            if met(state):
                return state
            time.sleep(0.05)
        raise AssertionError(f"not within {limit} s: {state}")
