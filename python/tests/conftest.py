"""The real service for each test, in a folder of its own: with the emulated device, or with a simulated recorder."""

import os
import signal
import subprocess
import time
from pathlib import Path

import pytest

import tavu

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("TAVU_BUILD", ROOT / "build/linux"))
EMULATOR_DATA = "OREK Systems/TAVU/Emulator"


class Service:
    """A service of the test's own. Its environment is put into the test's, so that ``tavu.connect()`` finds it."""

    def __init__(self, folder, monkeypatch):
        self.folder, self.process = folder, None
        for name in [name for name in os.environ if name.startswith(("TAVUSRV_", "QUILLON_"))]:
            monkeypatch.delenv(name)
        for name in ("run", "data"):
            (folder / name).mkdir()
        monkeypatch.setenv("XDG_RUNTIME_DIR", str(folder / "run"))
        monkeypatch.setenv("XDG_DATA_HOME", str(folder / "data"))

    def start(self):
        log = open(self.folder / "service.log", "ab")
        self.process = subprocess.Popen([BUILD / "bin/tavusvc", "noautoclose"], stdout=log, stderr=log)
        log.close()
        deadline = time.monotonic() + 20
        while True:
            try:
                with tavu.connect() as connection:
                    connection.device_count()
                return self
            except tavu.NoService:
                assert self.process.poll() is None and time.monotonic() < deadline, "the service doesn't start"
                time.sleep(0.02)

    def kill(self, number=signal.SIGKILL):
        if self.process:
            self.process.send_signal(number)
            self.process.wait(20)
            self.process = None


@pytest.fixture
def place(tmp_path, monkeypatch):
    service = Service(tmp_path, monkeypatch)
    yield service
    service.kill()


@pytest.fixture
def emulator(place, monkeypatch):
    """The service with the emulated device, paired and configured for small frames."""
    monkeypatch.setenv("TAVUSRV_ENABLE_EMULATOR", "1")
    place.start()
    with tavu.connect() as connection:
        port = connection.device(0).port(0)
        port.pair("Bench camera", b"\1\2")
        port.configure(64, 48, pixel_format=7)
    return place


@pytest.fixture
def device(emulator):
    with tavu.connect() as connection:
        yield connection.device("Emulator")


@pytest.fixture
def recording(device):
    with device.record(frames=12, name="Twelve") as running:
        pass
    return running.recording


@pytest.fixture
def recorder(place, monkeypatch):
    """A simulated recorder with two ports, set up."""
    lab = place.folder / "lab/bench"
    lab.mkdir(parents=True)
    (lab / "recorder.conf").write_text(
        "device type = 15\nports = 2\ndrives = 2\nrecovery time = 100\n[ports]\nframe rate = 100\nbit depth = 16\n"
    )
    monkeypatch.setenv("QUILLON_PATH_X64", str(BUILD / "simulator"))
    monkeypatch.setenv("QUILLON_SIMULATOR_FOLDER", str(lab.parent))
    place.start()
    with tavu.connect() as connection:
        device = connection.device("bench")
        device.setup()
        for port in device.ports():
            port.pair(f"Camera {port.index}")
            port.configure(96, 64)
        yield device
