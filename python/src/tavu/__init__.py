"""Camera data recorders for Python: the service ``tavusvc``, its recorders, recordings and live pictures, as numpy
arrays. ``python/README.md`` is the way in::

    import tavu

    with tavu.connect() as service:
        recording = service.device(0).recordings()[-1]
        pixels = recording[10:20]           # (10, height, width) of uint16
"""

from .connection import Connection, Events, connect
from .device import Device, Port, PortConfig
from .errors import ConnectionLost, Error, NoService, ProtocolError, ServiceError
from .live import LiveView
from .protocol import Event, EventType, RecoveryStatus
from .recording import Playback, Recording
from .running import RunningRecording
from .serial import SerialChannel
from .version import __version__

__all__ = [
    "Connection",
    "ConnectionLost",
    "Device",
    "Error",
    "Event",
    "EventType",
    "Events",
    "LiveView",
    "NoService",
    "Playback",
    "Port",
    "PortConfig",
    "ProtocolError",
    "Recording",
    "RecoveryStatus",
    "RunningRecording",
    "SerialChannel",
    "ServiceError",
    "__version__",
    "connect",
]
