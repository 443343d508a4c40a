"""A camera's serial channel."""

from __future__ import annotations

import time
from types import TracebackType
from typing import TYPE_CHECKING, Optional, Type

from .errors import ServiceError

if TYPE_CHECKING:
    from .device import Port

# The service's text, misspelling included.
_NOTHING_CAME = "Serial port recieve failed."


class SerialChannel:
    """A camera's serial channel, open until ``close()`` or the end of a ``with`` block. Its being open belongs to the
    device: every client can use it meanwhile."""

    def __init__(self, port: "Port") -> None:
        """The channel of a port, which somebody has opened; ``Port.serial()`` opens it."""
        self._port = port

    def write(self, data: bytes) -> int:
        """Sends bytes; returns how many went out."""
        size: int = self._port._call("serialWrite", data=data)["size"]
        return size

    def read(self, size: int) -> bytes:
        """Waits for at most a tenth of a second, and returns ``size`` bytes, or none when they didn't all come."""
        try:
            data: bytes = self._port._call("serialRead", size=size)["data"]
        except ServiceError as fault:
            if fault.text == _NOTHING_CAME:
                return b""
            raise
        return data

    def read_until(self, end: bytes = b"\r", timeout: float = 1.0) -> bytes:
        """An answer of unknown length: what comes up to and with the byte ``end``, or what has come when ``timeout``
        seconds are over."""
        answer = b""
        deadline = time.monotonic() + timeout
        while not answer.endswith(end) and time.monotonic() < deadline:
            answer += self.read(1)
        return answer

    def ask(self, line: str, end: str = "\r", timeout: float = 1.0) -> str:
        """Sends a line, and returns the line that comes back, both without their ends."""
        self.write((line + end).encode())
        return self.read_until(end.encode(), timeout).decode(errors="replace").rstrip(end)

    def clear(self) -> None:
        """Forgets what has come and wasn't read."""
        self._port._call("serialClear")

    @property
    def baud_rate(self) -> int:
        rate: int = self._port._call("serialGetBaudRate")["baudRate"]
        return rate

    @baud_rate.setter
    def baud_rate(self, rate: int) -> None:
        self._port._call("serialSetBaudRate", baudRate=rate)

    def close(self) -> None:
        self._port._call("serialClose")

    def __enter__(self) -> "SerialChannel":
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], fault: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.close()
