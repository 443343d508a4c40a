"""The package against the real service with a simulated recorder, and every command of the table by its objects."""

import contextlib
import time

import numpy as np
import pytest

import tavu
from tavu import protocol
from tavu.synthetic import simulated_header


def ramp(port, number):
    """A frame of a simulated recorder, but for its marks in the first row; ports count from 1 here."""
    return (np.add.outer(np.arange(64), np.arange(96)) + 8 * number + 4096 * port).astype(np.uint16)[1:]


@pytest.fixture
def commands(monkeypatch):
    """The names of all commands that were sent."""
    sent, exchange = set(), tavu.Connection.exchange

    def spy(self, command, request):
        sent.add(command)
        return exchange(self, command, request)

    monkeypatch.setattr(tavu.Connection, "exchange", spy)
    return sent


def test_two_ports_with_pretrigger(recorder):
    with recorder.record(frames=40, ports=recorder.ports(), pretrigger=0.1, name="Drop", progress=False) as running:
        assert not running.wait(0.3) and running.in_pretrigger(1)
        running.trigger()
    assert [one.name for one in running.recordings] == ["Drop Port 1", "Drop Port 2"]
    for place, recording in enumerate(running.recordings):
        pixels = recording[:]
        assert len(pixels) >= 40
        for number, frame in enumerate(pixels):
            assert simulated_header(frame) == (number, place + 1)
            assert np.array_equal(frame[1:], ramp(place + 1, number))


def test_camera(recorder):
    port = recorder.port("Port 2")
    with port.serial(baud_rate=19200) as serial:
        assert serial.baud_rate == 19200
        serial.baud_rate = 9600
        assert serial.ask("id") == "simulated camera on Port 2"
        assert serial.read(5) == b""
        serial.write(b"id\r")
        assert serial.read_until(b" ") == b"simulated "
        time.sleep(0.1)
        serial.clear()
        assert serial.read(1) == b""
    port.write_register(0x1000, 0x1234)
    assert port.read_register(0x1000) == 0x1234 and port.read_memory(0x1000, 4) == b"\0\0\x12\x34"


def test_silent_camera_holds_nothing_else_up(recorder):
    port = recorder.port(0)
    port.write_register(port.read_register(0x300C), 0)
    with port.live() as pictures:
        began = time.monotonic()
        with pytest.raises(tavu.ServiceError, match="Failed to grab frame."):
            while time.monotonic() < began + 20:
                pictures.frame()  # what the camera has sent before may come first
        assert time.monotonic() - began > 4
    picture = recorder.port(1).snapshot()
    number, place = simulated_header(picture)
    assert place == 2 and np.array_equal(picture[1:], ramp(2, number))


def test_recovery(place, recorder):
    with recorder.record(frames=1):
        pass
    recorder.record()
    time.sleep(0.5)
    place.kill()
    place.start()
    with tavu.connect() as service:
        device = service.device("bench")
        recovered = device.recover()
        assert len(recovered) > 5 and len(device.recordings()) == 2
        assert np.array_equal(recovered[5][1:], ramp(1, 5))
        assert device.recover() is None


def test_every_command_has_its_object(recorder, commands):
    service, port = recorder.connection, recorder.port(0)
    with service.global_lock(), service.events() as events:
        events.get(0)
        events.get(0.6)
        service.call("destroyEventQueue", queueId=events._queue)
    assert (recorder.connected, recorder.is_cxp, recorder.hardware_type) == (True, True, 2)
    assert recorder.percent_used >= 0
    port.repair("Camera 0", b"block", 3)
    assert (port.camera, port.identity, port.frames_per_packet) == ("Camera 0", b"block", 3)
    assert port.config == (96, 64, 0, 0)
    with recorder.record() as running:
        running.trigger()
        while not running.num_frames():
            time.sleep(0.01)
        assert not running.done and isinstance(recorder.has_incomplete, bool)
    recording = running.recording
    assert recording.identity == b"block"
    recording.rename("x")
    recording.set_info("y")
    for _ in recording.frames(slice(1)):
        pass
    recording.remove()
    recorder.notify_files_changed()
    assert recorder.recovery_status == tavu.RecoveryStatus.NONE and recorder.recovery_error == ""
    for name in ("start_recovery", "cancel_recovery", "finish_recovery", "discard_incomplete"):
        with contextlib.suppress(tavu.ServiceError):  # there is nothing to recover
            getattr(recorder, name)()
    with port.serial() as serial:
        serial.baud_rate = serial.baud_rate
        serial.clear()
        serial.ask("id")
    port.write_register(0x1000, port.read_register(0x1000))
    port.snapshot()
    recorder.setup()
    port.pair("Other")
    port.unpair()
    port.configure(32, 32)
    service.device("bench")
    recorder.port("Port 1")
    assert commands - {"the version check"} == set(protocol.COMMANDS)
