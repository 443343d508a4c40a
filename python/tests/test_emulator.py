"""The package against the real service with its emulated device."""

import signal
import threading
import time

import msgpack
import numpy as np
import pytest
from conftest import EMULATOR_DATA

import tavu
from tavu.synthetic import emulated_header

HEIGHT, WIDTH = 48, 64


def expected(numbers):
    """The frames that the emulated device records, but for their first row, which has the header."""
    first = np.asarray(numbers)[:, None, None] * HEIGHT * WIDTH
    return (first + np.arange(HEIGHT * WIDTH).reshape(HEIGHT, WIDTH)).astype(np.uint16)[:, 1:]


def test_arrays_own_their_memory(recording):
    assert (recording.shape, len(recording), recording.dtype) == ((12, HEIGHT, WIDTH), 12, np.uint16)
    for index, numbers in [
        (slice(None), range(12)),
        (slice(3, 7), range(3, 7)),
        (slice(-2, 100), [10, 11]),
        (slice(None, None, -5), [11, 6, 1]),
        ([0, -1, 5], [0, 11, 5]),
        (np.array([2, 1]), [2, 1]),
        (slice(5, 5), []),
    ]:
        pixels = recording[index]
        assert pixels.dtype == np.uint16 and pixels.flags.owndata and pixels.flags.writeable
        assert pixels.shape == (len(numbers), HEIGHT, WIDTH)
        assert np.array_equal(pixels[:, 1:], expected(numbers)), index
        assert [emulated_header(frame)[0] for frame in pixels] == list(numbers)
    whole = np.asarray(recording)
    assert np.array_equal(recording[-1], whole[11]) and recording[-1].shape == (HEIGHT, WIDTH)
    places = [np.s_[::3, 10:20], np.s_[4, :, 3], np.s_[..., 5:9], np.s_[[1, 0], ..., 2], np.s_[4, 5, 6], np.s_[2, ...]]
    for index in [*places, np.arange(12) % 5 == 0]:
        assert np.array_equal(recording[index], whole[index]), index
    with recording:
        assert np.array_equal(recording[7], whole[7])
        with pytest.raises(tavu.ServiceError, match="File is open"):
            recording.remove()
    for index in (12, -13, [0, 12], np.ones(11, bool)):
        with pytest.raises(IndexError):
            recording[index]
    assert emulated_header(whole[10]) == (10, pytest.approx(0.33))


def test_views_are_read_only_and_of_the_shared_memory(recording):
    whole = recording[:]
    seen = []
    for number, view in enumerate(recording.frames(copy=False)):
        assert np.array_equal(view, whole[number])
        assert not view.flags.writeable and not view.flags.owndata
        with pytest.raises(ValueError):
            view[0, 0] = 1
        seen.append(view)
    assert all(np.shares_memory(view, seen[0]) for view in seen)
    kept = list(recording.frames(slice(2, 5)))
    assert np.array_equal(kept, whole[2:5]), "copies must stay what they were"
    # A loop that is left closes the recording; what was seen stays readable.
    for view in recording.frames(copy=False):
        break
    recording.remove()
    assert np.array_equal(view, whole[0])


def test_recording_follows_its_block(device):
    with device.record(frames=5) as running:
        assert not running.in_pretrigger()
        with pytest.raises(RuntimeError):
            running.recording
        with pytest.raises(tavu.ServiceError) as caught:
            device.record(frames=1)
        assert (caught.value.text, caught.value.command) == ("Already recording", "startRecording")
    assert running.num_frames() == 5 == len(running.recording)
    with device.record(seconds=0.1, name="Timed") as timed:
        pass
    assert len(timed.recording) == 5 and timed.recording.name == "Timed"  # at 0, 33, 66, 99 and 132 ms
    begin = time.monotonic()
    with pytest.raises(ZeroDivisionError):
        with device.record(frames=100000):
            1 / 0
    assert time.monotonic() - begin < 10
    with device.record() as endless:
        assert not endless.wait(0.2)
    assert len(endless.stop()) == 1 and endless.recording.num_frames > 0
    assert device.recordings()[-1].file_id == endless.recording.file_id
    device.port(0).unpair()
    with pytest.raises(tavu.ServiceError, match="Not paired/configured."):
        device.record(frames=1)
    with pytest.raises(ValueError):
        device.record(frames=1, seconds=1)


def test_catalogue(device, recording):
    assert (recording.name, recording.port, recording.camera) == ("Twelve", "Emu", "Bench camera")
    assert recording.identity == b"\1\2" and recording.pixel_format == 7
    assert abs(recording.recorded_at.timestamp() - time.time()) < 60
    recording.rename("Other \N{SNOWMAN}")
    assert device.recording("Other \N{SNOWMAN}").file_id == recording.file_id
    assert recording.set_info("Third", start_time=5, end_time=9, duration=4, num_dropped_frames=2) == "Third"
    assert (recording.name, recording.start_time, recording.num_dropped_frames) == ("Third", 5, 2)
    assert recording.num_frames == 12
    recording.remove()
    assert device.recordings() == []
    for gone in (recording.refresh, lambda: device.recording("Third")):
        with pytest.raises(LookupError):
            gone()
    with pytest.raises(tavu.ServiceError, match="Invalid fileId"):
        recording[0]


def test_seventy_thousand_recordings(place, monkeypatch):
    """Planted with the head that MessagePack has for so many; the service lists them with its own."""
    count = 70_000
    folder = place.folder / "data" / EMULATOR_DATA
    (folder / "Emu").mkdir(parents=True)
    head = b"\x84\xa4orek\xc3\xa4type\xa4meta\xa7version\0\xa4info"
    fields = {"port": "Emu", "camera": "c", "streamId": 0, "width": 8, "height": 4, "numFrames": 3}
    with open(folder / ".files", "wb") as catalogue:
        catalogue.write(head + b"\xdd" + count.to_bytes(4, "big"))
        for number in range(1, count + 1):
            # The catalogue says where each recording's own record is.
            record = msgpack.packb({"name": str(number), "fileId": number, "timestamp": number, **fields})
            catalogue.write(record)
            (folder / f"Emu/{number}.meta").write_bytes(head + b"\x91" + record)
    monkeypatch.setenv("TAVUSRV_ENABLE_EMULATOR", "1")
    place.start()
    with tavu.connect() as service:
        for _ in range(2):
            found = service.device(0).recordings()
            assert [one.file_id for one in found] == list(range(1, count + 1))
            assert {one.shape for one in found} == {(3, 4, 8)}
        assert service.device(0).name == "Emulator"


def test_live_pictures(device):
    port = device.port("Emu")
    with port.live() as pictures:
        first = next(iter(pictures))
        more = list(pictures.frames(3))
        view = pictures.frame(copy=False)
    assert first.flags.owndata and first.shape == (HEIGHT, WIDTH)
    ramp = np.arange(5 * HEIGHT * WIDTH).astype(np.uint16).reshape(5, HEIGHT, WIDTH)
    assert np.array_equal([first, *more, view], ramp)
    assert not view.flags.writeable
    assert np.array_equal(port.snapshot(), ramp[0]), "the port must be free at once"
    # close() from another thread ends the loop.
    pictures = port.live()
    closer = threading.Timer(0.2, pictures.close)
    closer.start()
    assert sum(1 for _ in pictures) > 0
    closer.join()


def test_events(device):
    service = device.connection
    with service.events() as events:
        assert events.get(0) is None
        device.port(0).pair("Another")
        with device.record(frames=1):
            pass
        device.notify_files_changed()
        found = [events.get(5) for _ in range(4)]
        assert [(event.type.name, event.device, event.port) for event in found] == [
            ("PairingChanged", 0, 0),
            ("RecordingStarted", 0, 1),
            ("RecordingStopped", 0, 0),
            ("FilesChanged", 0, 0),
        ]
        begin = time.monotonic()
        assert events.get(0.7) is None
        assert 0.7 <= time.monotonic() - begin < 5
        closer = threading.Timer(0.2, events.close)
        closer.start()
        assert list(events) == []
        closer.join()
    with service.events() as events:
        service.call("destroyEventQueue", queueId=events._queue)
        with pytest.raises(tavu.ServiceError):
            events.get(5)


def test_global_lock(emulator):
    entered = threading.Event()

    def wait_for_it(service):
        with service.global_lock():
            entered.set()

    with tavu.connect() as service:
        with service.global_lock():
            waiting = threading.Thread(target=wait_for_it, args=(service,))
            waiting.start()
            assert not entered.wait(0.3) and service.device_count() == 1
        assert entered.wait(10)
        waiting.join()


def test_threads_share_a_connection(recording):
    whole, faults = recording[:], []

    def work(seed):
        for number in np.random.default_rng(seed).integers(0, 12, 100):
            if not np.array_equal(recording[number], whole[number]) or recording.device.name != "Emulator":
                faults.append(number)

    threads = [threading.Thread(target=work, args=(seed,)) for seed in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not faults


def waiting_calls(device, recording):
    """Everything that can be under way when a service dies, each until it raises."""
    events, pictures = device.connection.events(), device.port(0).live()
    other = tavu.connect()
    yield lambda: list(events)
    yield lambda: [None for _ in pictures]
    yield lambda: [None for _ in iter(lambda: other.device_count(), None)]

    def play():
        while True:
            for _ in recording.frames(copy=False):
                pass

    yield play


@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGTERM])
def test_dying_service_raises_one_exception(emulator, device, recording, number):
    caught = []

    def run(call):
        try:
            call()
        except BaseException as fault:
            caught.append(type(fault))

    view = next(recording.frames(copy=False))
    threads = [threading.Thread(target=run, args=(call,)) for call in waiting_calls(device, recording)]
    for thread in threads:
        thread.start()
    time.sleep(0.3)
    emulator.kill(number)
    for thread in threads:
        thread.join(10)
    assert caught == [tavu.ConnectionLost] * len(threads)
    assert emulated_header(view)[0] == 0, "mapped memory outlives the service"
    with pytest.raises(tavu.ConnectionLost):
        recording[0]
    with pytest.raises(tavu.NoService):
        tavu.connect()
    emulator.start()
    with tavu.connect() as service:
        assert service.device(0).recording("Twelve").num_frames == 12


def test_close_from_another_thread(emulator):
    first, second = tavu.connect(), tavu.connect()
    first.call("lockGlobal")
    closer = threading.Timer(0.2, second.close)
    closer.start()
    with pytest.raises(tavu.ConnectionLost):
        second.call("lockGlobal")
    closer.join()
    first.close()
    first.close()
    with pytest.raises(tavu.ConnectionLost):
        first.device_count()


def test_incomplete_recording(emulator, device):
    assert device.recover() is None
    device.record()
    time.sleep(0.3)
    emulator.kill()
    emulator.start()
    with tavu.connect() as service:
        device = service.device(0)
        assert device.has_incomplete
        device.discard_incomplete()
        assert not device.has_incomplete
