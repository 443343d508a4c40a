"""Devices and their ports."""

from __future__ import annotations

import time
from typing import TYPE_CHECKING, Any, Iterable, List, NamedTuple, Optional, Union

from .connection import Connection
from .errors import Error, ServiceError
from .live import LiveView
from .protocol import RecoveryStatus
from .recording import Recording
from .running import RunningRecording
from .serial import SerialChannel

if TYPE_CHECKING:
    from .region import Pixels

__all__ = ["Device", "Port", "PortConfig"]


class PortConfig(NamedTuple):
    """What a port records. It is configured once it has a frame size."""

    width: int  #: pixels
    height: int  #: pixels
    pixel_format: int  #: the camera's number for it; pixels always take 16 bits
    tap_geometry: int  #: the camera's number for it


class Port:
    """A port of a device, to which a camera is connected. ``device.port(0)``"""

    def __init__(self, device: "Device", index: int) -> None:
        self.device = device
        self.index = index  #: counted from 0

    def __repr__(self) -> str:
        return f"<tavu.Port {self.index} of device {self.device.index}>"

    def _call(self, command: str, **parameters: Any) -> Any:
        return self.device.connection.call(command, deviceId=self.device.index, port=self.index, **parameters)

    @property
    def name(self) -> str:
        name: str = self._call("portName")["name"]
        return name

    # Pairing and configuration. The device keeps both across restarts.

    @property
    def camera(self) -> str:
        """The name of the camera that the port is paired with; empty when there is none."""
        camera: str = self._call("pairedTo")["pairedTo"]
        return camera

    @property
    def identity(self) -> bytes:
        """The block of bytes that the client stored with the pairing."""
        data: bytes = self._call("portIdentity")["data"]
        return data

    @property
    def frames_per_packet(self) -> int:
        count: int = self._call("framesPerPacket")["numFramesPerPacket"]
        return count

    def pair(self, camera: str, identity: bytes = b"", frames_per_packet: int = 1) -> None:
        """Binds a camera to the port; ``identity`` is a block that means something to the client alone."""
        self._call("pairPort", identity=camera, info=identity, numFramesPerPacket=frames_per_packet)

    def repair(self, camera: str, identity: bytes = b"", frames_per_packet: int = 1) -> None:
        """Replaces the block of an existing pairing with this camera."""
        self._call("repairPort", identity=camera, info=identity, numFramesPerPacket=frames_per_packet)

    def unpair(self) -> None:
        """Ends the pairing; the configuration stays."""
        self._call("unpairPort")

    @property
    def config(self) -> PortConfig:
        values = self._call("getPortConfig")
        return PortConfig(values["width"], values["height"], values["pixelFormat"], values["tapGeometry"])

    def configure(self, width: int, height: int, pixel_format: int = 0, tap_geometry: int = 0) -> None:
        """Says what the port records: width and height in pixels, and the camera's numbers for the rest."""
        self._call("setPortConfig", width=width, height=height, pixelFormat=pixel_format, tapGeometry=tap_geometry)

    # Looking, and talking to the camera.

    def live(self) -> LiveView:
        """Live pictures, as an iterator on a connection of its own; see ``LiveView``."""
        return LiveView(self.device.connection.another(), self.device.index, self.index)

    def snapshot(self) -> "Pixels":
        """One live picture, (height, width) of uint16, that owns its memory."""
        with self.live() as pictures:
            return pictures.frame()

    def serial(self, baud_rate: int = 9600, parity: int = 0, stop_bits: int = 1) -> SerialChannel:
        """The camera's serial channel, opened; see ``SerialChannel``. ``parity`` is the recorder library's number."""
        self._call("serialOpen", baudRate=baud_rate, parity=parity, stopBits=stop_bits)
        return SerialChannel(self)

    def read_memory(self, address: int, size: int) -> bytes:
        """``size`` bytes of the camera's memory, in the order in which they stand there."""
        data: bytes = self._call("registerRead", addr=address, size=size)["data"]
        return data

    def write_memory(self, address: int, data: bytes) -> None:
        """Writes bytes to the camera's memory."""
        self._call("registerWrite", addr=address, data=data)

    def read_register(self, address: int) -> int:
        """A 32-bit register of a CoaXPress camera, which has its high byte first."""
        return int.from_bytes(self.read_memory(address, 4), "big")

    def write_register(self, address: int, value: int) -> None:
        """The same for writing. Raises ``OverflowError`` when it isn't of 32 bits."""
        self.write_memory(address, value.to_bytes(4, "big"))


class Device:
    """A recorder, or the emulated device. It keeps its index for as long as the service runs; one that is unplugged
    stays in the list as not connected."""

    def __init__(self, connection: Connection, index: int) -> None:
        self.connection = connection
        self.index = index  #: counted from 0

    def __repr__(self) -> str:
        return f"<tavu.Device {self.index}>"

    def _call(self, command: str, **parameters: Any) -> Any:
        return self.connection.call(command, deviceId=self.index, **parameters)

    @property
    def name(self) -> str:
        name: str = self._call("deviceName")["name"]
        return name

    @property
    def connected(self) -> bool:
        connected: bool = self._call("deviceConnected")["connected"]
        return connected

    @property
    def hardware_type(self) -> int:
        """0 unknown, 1 the emulated device, others the recorder's family."""
        number: int = self._call("hardwareType")["hardwareType"]
        return number

    @property
    def is_cxp(self) -> bool:
        """Whether its cameras are linked by CoaXPress."""
        answer: bool = self._call("isCxp")["isCxp"]
        return answer

    @property
    def percent_used(self) -> int:
        """How full its storage is; an estimate while a recording runs."""
        percent: int = self._call("percentUsed")["percent"]
        return percent

    def setup(self) -> None:
        """Prepares the storage: **every recording on it is lost**. On a recorder each port must be configured anew
        after that, with values that it doesn't have yet."""
        self._call("setup")

    def notify_files_changed(self) -> None:
        """Sends a FilesChanged event to all clients."""
        self._call("notifyFilesChanged")

    # Ports.

    def port_count(self) -> int:
        count: int = self._call("portCount")["count"]
        return count

    def ports(self) -> List[Port]:
        """All ports, in the order of their indexes."""
        return [Port(self, index) for index in range(self.port_count())]

    def port(self, key: Union[int, str] = 0) -> Port:
        """The port with an index, or with a name. Raises ``LookupError`` when there is none."""
        ports = self.ports()
        if isinstance(key, str):
            for port in ports:
                if port.name == key:
                    return port
            raise LookupError(f"no port is called {key!r}; there are {[port.name for port in ports]}")
        if not 0 <= key < len(ports):
            raise LookupError(f"there is no port {key}: the device has {len(ports)}")
        return ports[key]

    # Recordings.

    def recordings(self) -> List[Recording]:
        """All recordings as they are now, in the service's order: the last one is the newest."""
        return [Recording(self, entry) for entry in self._call("listFiles")["files"]]

    def recording(self, name: str) -> Recording:
        """The newest recording with a name. Raises ``LookupError`` when there is none."""
        for recording in reversed(self.recordings()):
            if recording.name == name:
                return recording
        raise LookupError(f"no recording is called {name!r}")

    def record(
        self,
        frames: Optional[int] = None,
        seconds: Optional[float] = None,
        ports: Iterable[Union[int, Port]] = (0,),
        name: Optional[str] = None,
        pretrigger: Optional[float] = None,
        external_start: bool = False,
        external_stop: bool = False,
        start_variant: bool = False,
        stop_variant: bool = False,
        progress: Optional[bool] = None,
    ) -> RunningRecording:
        """Starts a recording, of ``frames`` frames or of ``seconds`` seconds or, with neither, until it is stopped::

            with device.record(frames=90) as r:
                pass                    # the block's end waits for the frames, and stores the recording
            pixels = r.recording[:]

        ``ports`` take part. ``pretrigger`` is the length in seconds of the loop into which a recorder records until the
        trigger comes, by ``r.trigger()`` or, with ``external_start``, from outside; the variants go to the recorder's
        inputs as their switches. ``name`` becomes the recording's name, with the port's name behind it where there are
        several ports. ``progress`` says whether to show a bar (tqdm's): by itself in a terminal or a notebook.

        Raises ``ServiceError`` when it can't start: the port isn't paired or configured, or something is recorded
        already (also a recording that has come to its end and wasn't stopped: ``stop_recording()``)."""
        return RunningRecording(
            self,
            frames=frames,
            seconds=seconds,
            ports=[port.index if isinstance(port, Port) else port for port in ports],
            name=name,
            pretrigger=pretrigger,
            external_start=external_start,
            external_stop=external_stop,
            start_variant=start_variant,
            stop_variant=stop_variant,
            progress=progress,
        )

    def stop_recording(self) -> None:
        """Stops and stores whatever is recorded on the device, also by another client."""
        self._call("stopRecording")

    # Recovery of a recording that was cut off.

    @property
    def has_incomplete(self) -> bool:
        """Whether there is a recording that was cut off; also true while a recording runs."""
        answer: bool = self._call("hasIncompleteFile")["hasIncompleteFile"]
        return answer

    def discard_incomplete(self) -> None:
        """Deletes it."""
        self._call("discardIncompleteFile")

    def start_recovery(self) -> None:
        self._call("startRecovery")

    def cancel_recovery(self) -> None:
        self._call("cancelRecovery")

    @property
    def recovery_status(self) -> RecoveryStatus:
        return RecoveryStatus(self._call("recoveryStatus")["status"])

    @property
    def recovery_error(self) -> str:
        """Why the last recovery failed, else empty."""
        text: str = self._call("recoveryError")["error"]
        return text

    def finish_recovery(self) -> None:
        """Enters the recording of a recovery that is done into the list, once."""
        self._call("finishRecovery")

    def recover(self) -> Optional[Recording]:
        """Salvages the oldest recording that was cut off, waits for the end, and returns it, or None when there is
        none. Raises ``ServiceError`` when something is recorded at the time, and ``Error`` with the reason when the
        recovery fails."""
        if not self.has_incomplete:
            return None
        self.start_recovery()
        while (status := self.recovery_status) == RecoveryStatus.Running:
            time.sleep(0.05)
        if status != RecoveryStatus.Done:
            raise Error(f"the recovery has {status.name.lower()}: {self.recovery_error or 'no reason is known'}")
        before = {(old.file_id, old.stream_id) for old in self.recordings()}
        self.finish_recovery()
        new = [one for one in self.recordings() if (one.file_id, one.stream_id) not in before]
        if not new:
            raise ServiceError("what was recovered isn't listed", "finishRecovery")
        return new[-1]
