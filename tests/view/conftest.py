import pytest
from server import View

BEADS = {"kind": "beads", "count": 60}


@pytest.fixture
def view(tmp_path):
    """Starts servers; a configuration of one camera and options of the program."""
    started = []

    def start(*arguments, **camera):
        settings = {"model": "ccd", "name": "One", "time_scale": 0.1, "scene": BEADS} | camera
        server = View(tmp_path, "One", {"cameras": [settings]}, *arguments)
        started.append(server)
        server.wait(lambda state: state["present"])
        return server

    yield start
    for server in started:
        server.end()
