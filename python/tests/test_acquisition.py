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
    newest, whole, places = 0, 0, {}
    for frame in camera.stream(1, roi, ring=400, frames=1000):
        assert frame.number == newest + 1 + frame.lost
        newest = frame.number
        # Frames are places in one ring and no copies.
        place = frame.array.ctypes.data
        assert places.setdefault(frame.number % 400, place) == place
        copy = frame.array.copy()
        if frame.intact:
            expect(copy, frame.number, roi)
            whole += 1
    assert whole > 0 and max(places.values()) - min(places.values()) < 400 * frame.array.nbytes


def loop_slowly(camera, **options):
    for frame in camera.stream(1, (0, 0, 512, 512), ring=8, **options):
        # Until the camera has come round the ring.
        while frame.intact:
            pass
        yield frame.lost


def test_a_slow_loop_is_told_what_it_lost(camera):
    assert sum(loop_slowly(camera, frames=50)) > 0
    with pytest.raises(orvex.Error) as refusal:
        list(loop_slowly(camera, overwrite=False))
    assert refusal.value.code == orvex.C3_BUFFER_OVERRUN


def test_a_left_loop_stops_the_camera(camera):
    for _ in camera.stream(1, ROI, ring=10):
        break
    assert camera._status()[0] not in (orvex.EXPOSURE_IN_PROGRESS, orvex.READOUT_IN_PROGRESS)


@pytest.mark.parametrize("camera", ["SoftCMOS-2048"], indirect=True)
def test_frames_with_metadata_are_bytes(camera):
    camera.metadata_enabled = True
    data = camera.sequence(2, 1, ROI)
    headers = 48 + 32 + 16  # of the frame, of its region, and an empty list of tags
    assert data.shape == (2, headers + 2 * ROI[2] * ROI[3])
    assert numpy.array_equal(data[1, headers:].view("<u2").reshape(ROI[3], ROI[2]), scene(ROI))


@pytest.mark.parametrize("camera, take", [
    ("Stuck", lambda camera: camera.sequence(5, 1, ROI, timeout=0.3)),
    ("Halted", lambda camera: list(camera.stream(1, ROI, ring=9, timeout=0.3, frames=9)))],
    indirect=["camera"])
def test_a_frame_that_never_comes_is_an_error(camera, take):
    with pytest.raises(TimeoutError, match="the last was frame 2"):
        take(camera)
    assert camera._status()[0] not in (orvex.EXPOSURE_IN_PROGRESS, orvex.READOUT_IN_PROGRESS)


@pytest.mark.parametrize("arguments", [
    {"roi": (-1, 0, 8, 8)}, {"roi": (0, 0, 0, 8)}, {"roi": (0, 0, 70000, 8)}, {"binning": 0},
    {"exposure_ms": -1}, {"exposure_ms": 5e9}, {"exposure_ms": 4294968.5}])
def test_values_that_mean_nothing(camera, arguments):
    with pytest.raises(ValueError):
        camera.snap(**arguments)
