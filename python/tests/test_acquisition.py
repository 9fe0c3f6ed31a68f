import asyncio
import contextlib
import signal
import struct
import sys
import threading
import time

import numpy
import orvex
import pytest

ROI = (16, 32, 64, 48)
each_model = pytest.mark.parametrize("camera", ["Fast", "Full", "Plain"], indirect=True)


def scene(roi, binning=1):
    x, y = numpy.meshgrid(roi[0] + numpy.arange(roi[2]), roi[1] + numpy.arange(roi[3]))
    pixels = (3 * x + 5 * y + 7 * (x // 16) * (y // 16)) % 4096
    rows, columns = roi[3] // binning, roi[2] // binning
    return pixels.reshape(rows, binning, columns, binning).sum((1, 3)).astype("<u2")


def expect(image, number, roi=ROI, binning=1):
    """A frame shows the scene, with its number in its first and its last four bytes."""
    expected = scene(roi, binning)
    expected.reshape(-1)[[0, 1, -2, -1]] = [number & 0xFFFF, number >> 16] * 2
    assert image.dtype == numpy.uint16 and numpy.array_equal(image, expected)


@each_model
@pytest.mark.parametrize("binning", [1, 2, 4])
def test_a_snap_shows_the_scene(camera, binning):
    expect(camera.snap(5, ROI, binning), 1, ROI, binning)


def test_the_whole_sensor_by_default(camera):
    expect(camera.snap(1.5), 1, (0, 0, 2048, 2048))
    assert camera.exp_res == orvex.EXP_RES_ONE_MICROSEC and camera.exposure_time == 1500


@each_model
def test_a_sequence_holds_every_frame(camera):
    for number, image in enumerate(camera.sequence(20, 1, ROI), 1):
        expect(image, number)


@each_model
def test_a_stream_gives_frames_in_their_order(camera):
    roi = (16, 32, 256, 192)  # worth a few times what a turn of the loop takes
    newest, whole, ended, places = 0, 0, 0, {}
    for frame in camera.stream(1, roi, ring=100, frames=200):
        assert frame.number == newest + 1 + frame.lost
        newest = frame.number
        # Frames are places in one ring and no copies.
        place = frame.array.ctypes.data
        assert places.setdefault(frame.number % 100, place) == place
        copy = frame.array.copy()
        if frame.intact:
            expect(copy, frame.number, roi)
            whole += 1
        if frame.info:
            assert frame.info.number == frame.number
            assert ended < frame.info.time_stamp_end > frame.info.time_stamp_begin
            ended = frame.info.time_stamp_end
    assert whole > 0 and ended and max(places.values()) - min(places.values()) < 100 * copy.nbytes
    assert frame.intact and idle(camera)


def idle(camera):
    assert "open" in repr(camera)
    return camera.ccs_status == 0


def loop_slowly(camera, **options):
    newest = 0
    for frame in camera.stream(1, (0, 0, 512, 512), ring=8, **options):
        # Until the camera has come round the ring, and a little farther.
        while frame.intact:
            time.sleep(0.001)
        time.sleep(0.05 if frame.number < 50 else 0.005)
        assert frame.number == newest + 1 + frame.lost
        newest = frame.number
        yield frame.lost


def test_a_slow_loop_is_told_what_it_lost(camera):
    assert sum(loop_slowly(camera, frames=5)) > 0
    with pytest.raises(orvex.Error) as refusal:
        list(loop_slowly(camera, overwrite=False))
    assert refusal.value.code == orvex.C3_BUFFER_OVERRUN


def test_a_left_loop_stops_the_camera(camera):
    for frame in camera.stream(1, ROI, ring=10):
        assert "running" in repr(camera)
        if frame.number < 3:
            # Neither asks the camera, which would end the run.
            assert "bit_depth" in dir(camera) and "PP_INDEX" in repr(camera.parameter("PP_INDEX"))
        elif frame.number > 300:
            break
    assert idle(camera)


@pytest.mark.parametrize("camera", ["SoftCMOS-2048"], indirect=True)
def test_frames_with_metadata(camera):
    camera.metadata_enabled = True
    assert numpy.array_equal(camera.sequence(2, 1, ROI, 2), [scene(ROI, 2)] * 2)
    frame = camera.record(2, 1, ROI)[1]
    assert frame.metadata.header.startswith(b"LNZ\0") and frame.metadata.box == ROI
    assert frame.metadata.header[5] == frame.info.number == 2  # as this camera has it
    camera.metadata_enabled = False
    apart = (256, 128, 32, 16)
    image = camera.snap(1, [apart, ROI], 2)
    assert camera.metadata_enabled
    whole = numpy.zeros((112 // 2, 272 // 2), "<u2")
    whole[:24, :32], whole[48:, 120:] = scene(ROI, 2), scene(apart, 2)
    assert numpy.array_equal(image, whole)
    regions = next(iter(camera.stream(1, [apart, ROI]))).regions
    for region in regions:
        assert numpy.array_equal(region.array, scene(region.roi)) and len(region.header) == 32
    assert {region.roi for region in regions} == {apart, ROI}


def test_metadata_is_decoded_without_a_camera():
    def block(place, flags, tags, pixels=b""):
        return bytes(10) + struct.pack("<6HBH7x", *place, flags, len(tags)) + tags + pixels

    def bytes_of(*blocks, tags=b""):
        header = struct.pack("<4s5xH27xH8x", b"LNZ", len(blocks), len(tags))
        return numpy.frombuffer(header + tags + b"".join(blocks), numpy.uint8)

    spot = struct.pack("<BIBIB", 0, 7, 1, 70000, 255)
    pixels = numpy.arange(6, dtype="<u2")
    data = bytes_of(block((10, 15, 2, 20, 23, 2), 0, b"", pixels.tobytes()),
                    block((12, 13, 2, 20, 21, 2), 2, spot), tags=spot[:5])
    found = orvex.decode(data)
    assert found.tags == (("Particle ID", 7),) and found.box == (10, 20, 6, 4)
    first, second = found.regions
    assert first.roi == (10, 20, 6, 4) and first.binning == (2, 2) and first.tags == ()
    assert numpy.array_equal(first.array, pixels.reshape(2, 3)) and first.array.base is not None
    assert second.array is None and second.tags == (("Particle ID", 7), ("Particle M0", 70000))
    image = orvex.recompose(data, (8, 18, 10, 8), (2, 2))
    assert image.shape == (4, 5) and numpy.array_equal(image[1:3, 1:4], first.array)
    assert image.sum() == pixels.sum()
    for box in ((12, 18, 10, 8), (8, 18, 6, 8), (8, 22, 10, 8), (8, 18, 10, 4)):
        with pytest.raises(ValueError, match="out of"):
            orvex.recompose(data, box, (2, 2))
    for broken in (data[:47], data[:60], data[::-1].copy()):
        with pytest.raises(orvex.Error):
            orvex.decode(broken)


def test_functions_hear_of_frames_and_their_errors_are_told(camera, monkeypatch):
    told, heard, begun = [], [], []
    monkeypatch.setattr(sys, "unraisablehook", told.append)

    def fails(frame):
        raise ZeroDivisionError(frame.number)

    camera.on_frame(fails)
    end = camera.on_frame(lambda frame: heard.append((frame.number, frame.array.shape)))
    camera.on("BOF", lambda info: begun.append(info.number))
    camera.sequence(3, 20, ROI)
    limit = time.monotonic() + 30  # the last frame may be there before it is told of
    while not (heard and heard[-1][0] == 3) and time.monotonic() < limit:
        time.sleep(0.01)
    assert heard[-1] == (3, (48, 64)) and begun[-1] == 3
    assert told[-1].exc_type is ZeroDivisionError
    assert [error.exc_value.args[0] for error in told] == [number for number, _ in heard]
    end()
    heard.clear()
    camera.start(5, ROI)
    limit = time.monotonic() + 30
    while told[-1].exc_value.args[0] < 5 and time.monotonic() < limit:
        time.sleep(0.01)
    camera.abort()
    assert told[-1].exc_value.args[0] >= 5 and not heard and idle(camera)
    with pytest.raises(ValueError):
        camera.on("SUNRISE", print)


def test_streams_of_several_cameras_in_one_thread():
    async def take(camera):
        numbers = []
        stream = camera.stream_async(1, ROI, ring=400)
        async with contextlib.aclosing(stream):
            async for frame in stream:
                numbers.append(frame.number)
                if len(numbers) == 20:
                    break
        assert numbers == sorted(set(numbers)) and idle(camera)

    async def leave(camera, seconds):
        task = asyncio.create_task(anext(camera.stream_async(60_000, ROI)))
        await asyncio.sleep(seconds)
        task.cancel()
        with pytest.raises(asyncio.CancelledError):
            await task
        assert idle(camera)

    async def both(one, other):
        await asyncio.gather(take(one), take(other))
        for seconds in (0, 0.05):
            await leave(one, seconds)

    with orvex.Camera("Fast") as one, orvex.Camera("Full") as other:
        asyncio.run(both(one, other))


@pytest.mark.parametrize("camera", ["Hand"], indirect=True)
def test_triggers(camera):
    modes = camera.parameter("EXPOSURE_MODE").members
    edge = next(text for text, mode in modes.items() if mode == orvex.EXT_TRIG_EDGE_RISING)
    done = threading.Event()

    def pull():
        while not done.wait(0.01):
            camera.trigger()

    puller = threading.Thread(target=pull)
    puller.start()
    try:
        for trigger in (edge, "ext_trig_edge_rising", orvex.EXT_TRIG_EDGE_RISING):
            images = camera.sequence(2, 1, ROI, trigger=trigger, expose_out="expose-out-any-row")
            assert len(images) == 2
            assert camera.expose_out_mode == orvex.EXPOSE_OUT_ANY_ROW
    finally:
        done.set()
        puller.join()
    with pytest.raises(TimeoutError):
        camera.snap(1, ROI, trigger=edge, timeout=0.1)
    for wrong in ({"trigger": "moon"}, {"trigger": orvex.BULB_MODE, "expose_out": 0},
                  {"expose_out": "x"}):
        with pytest.raises(ValueError):
            camera.snap(1, ROI, **wrong)


@pytest.mark.parametrize("take", [lambda camera: camera.sequence(2, 600_000, ROI),
                                  lambda camera: next(camera.stream(600_000, ROI))])
def test_ctrl_c_stops_the_camera(camera, take):
    def interrupt():
        while "running" not in repr(camera):
            time.sleep(0.01)
        signal.pthread_kill(threading.main_thread().ident, signal.SIGINT)

    threading.Thread(target=interrupt).start()
    with pytest.raises(KeyboardInterrupt):
        take(camera)
    assert idle(camera)
    expect(camera.snap(1, ROI), 1)


@pytest.mark.parametrize("camera, take", [
    ("Stuck", lambda camera: camera.sequence(5, 1, ROI, timeout=0.3)),
    ("Halted", lambda camera: list(camera.stream(1, ROI, ring=9, timeout=0.3, frames=9)))],
    indirect=["camera"])
def test_a_frame_that_never_comes_is_an_error(camera, take):
    with pytest.raises(TimeoutError, match="the last was frame 2"):
        take(camera)
    assert idle(camera)


@pytest.mark.parametrize("arguments", [
    {"roi": (-1, 0, 8, 8)}, {"roi": (0, 0, 0, 8)}, {"roi": (0, 0, 70000, 8)}, {"binning": 0},
    {"exposure_ms": -1}, {"exposure_ms": 5e9}, {"exposure_ms": 4294968.5}, {"frames": 0},
    {"frames": 65536}])
def test_values_that_mean_nothing(camera, arguments):
    with pytest.raises(ValueError):
        camera.sequence(**{"frames": 1, **arguments})
