"""The server of the live view, asked as a page asks it."""

import json
import os
import socket
import time

import numpy
import tifffile


def test_frames_come_and_a_change_keeps_the_run(view):
    server = view()
    assert server.picture("after=0")[0] is None
    server.do("start")
    first, picture = server.picture("after=0&room=256,256")
    assert first["width"] == 1024 and picture[:2] == b"\xff\xd8"
    server.do("change", exposure_ms=2, regions=[[100, 200, 64, 32]], binning=[2, 1])
    server.wait(lambda state: state["run"]["frames"] > 2)
    facts, picture = server.picture(f"after={first['serial'] + 1}&room=640,640")
    assert (facts["width"], facts["height"]) == (32, 32) and picture[1:4] == b"PNG"
    assert facts["region"] == [100, 200, 64, 32] and facts["binning"] == [2, 1]
    assert server.state()["run"]["lost"] == 0
    server.do("stop")
    assert server.state()["run"]["kind"] == "idle"


def test_refused_settings_change_nothing(view):
    server = view()
    for members in ({"regions": [[1000, 0, 100, 10]]}, {"mode": "moonlight"},
                    {"regions": [[0, 0, 8, 8], [20, 20, 8, 8]]}):
        status, _, body = server.request("/command", {"do": "change", **members})
        assert status in (400, 409) and json.loads(body)["error"], members
    status, _, body = server.request("/command", {"do": "set", "parameter": "temp_setpoint", "value": "99"})
    assert status == 409 and "legal are" in json.loads(body)["error"]
    assert server.state()["set_up"]["regions"] == []
    server.do("start")
    server.wait(lambda state: state["run"].get("frames", 0) > 0)


def test_a_setting_during_a_run_is_made_between_two(view):
    server = view()
    server.do("start")
    server.do("set", parameter="temp_setpoint", value="-5")
    assert server.parameters()["temp_setpoint"]["value"] == -5
    server.wait(lambda state: state["run"]["kind"] == "live" and state["run"]["frames"] > 1)
    server.do("stop")
    state = server.wait(lambda state: state["temperatures"]["last"] > 1)
    assert -60 < state["temperatures"]["points"][0][1] < 40


def test_snaps_and_recordings_are_whole_and_replace_nothing(view, tmp_path):
    server = view(noise=False, stamp=True)
    server.do("change", regions=[[0, 0, 64, 48]])
    for _ in range(2):
        before = len(server.state()["files"])
        server.do("snap", format="tif")
        server.wait(lambda state: len(state["files"]) > before)
    one, other = server.state()["files"]
    assert one != other
    assert tifffile.imread(tmp_path / one).shape == (48, 64)
    status, headers, body = server.request(f"/files/{one}")
    assert status == 200 and "attachment" in headers["Content-Disposition"]
    assert body == (tmp_path / one).read_bytes()
    assert server.request("/files/..%2Fcameras.json")[0] == 404

    server.do("record", format="raw", frames=20)
    name = server.wait(lambda state: len(state["files"]) == 3)["files"][-1]
    frames = numpy.fromfile(tmp_path / name, "<u2").reshape(20, 48, 64)
    numbers = frames.reshape(20, -1)[:, 0]
    assert list(numbers) == list(range(1, 21))
    assert json.loads((tmp_path / f"{name}.json").read_text())["frames"] == 20


def test_a_recording_outlives_its_camera(view, tmp_path):
    server = view(faults=[{"fault": "unplug", "after": 12}])
    server.do("change", regions=[[0, 0, 32, 32]])
    server.do("start")
    server.wait(lambda state: state["run"].get("frames", 0) > 1)
    server.do("record", format="tif")
    state = server.wait(lambda state: not state["present"])
    assert "gone" in state["gone"]
    status, _, body = server.request("/command", {"do": "snap", "format": "tif"})
    assert status == 409 and "no camera" in json.loads(body)["error"]
    frames = tifffile.imread(tmp_path / state["files"][0])
    assert 1 <= len(frames) <= 12
    # It comes back, and so does the view.
    server.wait(lambda state: state["present"] and state["run"]["kind"] == "live"
                and state["run"]["frames"] > 2)


def test_a_full_disk_ends_the_recording_and_keeps_what_is_there(view, tmp_path):
    server = view()
    server.do("change", regions=[[0, 0, 64, 64]])
    server.limit_files(100_000)
    path = server.do("record", format="raw")["path"]
    state = server.wait(lambda state: state["run"]["kind"] == "idle")
    assert any(line["weight"] == "error" and "cannot write" in line["text"]
               for line in state["log"]["lines"])
    whole = 64 * 64 * 2
    kept = [name for name in os.listdir(tmp_path) if name.startswith(os.path.basename(path))]
    assert any(os.path.getsize(tmp_path / name) >= 12 * whole for name in kept), kept
    # The camera is still there.
    server.limit_files(-1)
    server.do("start")
    server.wait(lambda state: state["run"].get("frames", 0) > 1)


def test_the_program_is_that_of_the_set_up(view):
    server = view()
    server.do("change", exposure_ms=7)
    server.wait(lambda state: state["program_revision"] > 1)
    operations = json.loads(server.request("/program")[2])["operations"]
    assert any(row["operation"].startswith("OP_EXPOSE") and row["argument"] == 7 for row in operations)
    quiet = view("--no-trace")
    assert json.loads(quiet.request("/program")[2]) == {"traced": False, "operations": []}


def test_strangers_and_guests(view):
    server = view()
    for path in ("/", "/state", "/picture", "/main.js"):
        status, headers, body = server.request(path, token="0" * 32)
        assert status == 403 and b"token" not in body
        assert headers["Content-Security-Policy"].startswith("default-src 'self'")
    assert server.request("/state", Host="evil.example")[0] == 403
    assert server.request("/command", {"do": "start"}, Origin="http://evil.example")[0] == 403
    assert server.request("/command", {"do": "start"}, token=server.guest_token)[0] == 403
    assert server.request("/state", token=server.guest_token)[0] == 200
    assert server.request("/command", b"x" * (1 << 20))[0] in (400, 413)
    assert server.state()["run"]["kind"] == "idle"


def talk(server, sent, chunks=1):
    """What comes back until the server closes."""
    with socket.create_connection(("127.0.0.1", server.port), 20) as connection:
        try:
            for _ in range(chunks):
                connection.sendall(sent)
        except OSError:
            return b""
        connection.settimeout(20)
        try:
            return connection.recv(100)
        except OSError:
            return b""


def test_requests_without_end_are_cut_off(view):
    server = view()
    begin = b"GET /state HTTP/1.1\r\nHost: 127.0.0.1\r\n"
    assert b" 200 " not in talk(server, begin + b"X: " + b"y" * 200000)
    started = time.monotonic()
    talk(server, begin)  # and nothing more
    assert time.monotonic() - started < 15
    memory = server.memory()
    talk(server, b"A: b\r\n" * 4000, 400)
    talk(server, begin + b"A: b\r\n" * 4000, 400)
    assert server.memory() < memory + 30e6


def test_connections_leave_nothing_behind(view):
    server = view()

    def drop(count):
        for i in range(count):
            with socket.create_connection(("127.0.0.1", server.port)) as connection:
                if i % 2:
                    connection.sendall(b"GET /state HTTP/1.1\r\nHost: 127.0.0.1\r\n" + b"\r\n" * (i % 4 == 1))

    def held():
        """Threads and descriptors, as soon as they stay as they are."""
        end = time.monotonic() + 60
        before, now = None, server.resources()
        while now != before and time.monotonic() < end:
            time.sleep(0.5)
            before, now = now, server.resources()
        return now

    drop(100)
    before = held()
    drop(2000)
    after = held()
    assert all(now <= then + 2 for now, then in zip(after, before)), (before, after)


def test_many_readers_share_a_camera_and_it_loses_nothing(view):
    server = view(time_scale=1)
    server.do("change", exposure_ms=5, regions=[[0, 0, 64, 64]])
    server.do("start")
    seen = 0
    for _ in range(20):
        facts, _ = server.picture(f"after={seen}")
        assert facts["serial"] > seen
        seen = facts["serial"]
    # One that looks away sees the newest, and not what it missed.
    time.sleep(1)
    facts, _ = server.picture(f"after={seen}")
    newest = server.state()["run"]["frames"]
    assert newest - facts["frame"] < 200
    assert server.state()["run"]["lost"] == 0


def test_an_end_stops_the_camera_and_keeps_the_recording(view, tmp_path):
    server = view()
    server.do("change", regions=[[0, 0, 32, 32]])
    path = server.do("record", format="raw")["path"]
    server.wait(lambda state: state["run"].get("recorded", 0) > 5)
    server.end()
    side = json.loads((tmp_path / f"{os.path.basename(path)}.json").read_text())
    assert side["complete"] and side["frames"] > 5
    assert os.path.getsize(path) == side["frames"] * 32 * 32 * 2
