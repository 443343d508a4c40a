"""The byte channel to the service: a socket on Linux, a named pipe on Windows. The Windows half follows
docs/protocol.md and hasn't been tried yet."""

from __future__ import annotations

import os
import socket
import struct
import sys
import time
from typing import Optional, Protocol

from .errors import ConnectionLost, NoService
from .protocol import PIPE

#: Seconds that a service may be busy with other clients before it takes this one and answers it.
BUSY_LIMIT = 5.0

_CHUNK = 1 << 16


class Channel(Protocol):
    """A byte channel. One thread at a time sends and receives; ``interrupt()`` may come from any."""

    def send(self, data: bytes) -> None:
        """Sends all of it, or raises ``ConnectionLost``."""

    def receive(self) -> bytes:
        """Waits for bytes and returns what has arrived, at least one byte. Raises ``ConnectionLost`` at the end."""

    def set_timeout(self, seconds: Optional[float]) -> None:
        """How long ``receive()`` waits before it raises ``ConnectionLost``; None: for ever."""

    def interrupt(self) -> None:
        """Ends the channel: a call that waits on another thread raises ``ConnectionLost``."""

    def close(self) -> None:
        """Releases it. Nobody may be waiting any more."""


class SocketChannel:
    """Linux: a stream socket."""

    def __init__(self, connected: socket.socket) -> None:
        self._socket = connected

    def send(self, data: bytes) -> None:
        try:
            self._socket.sendall(data)
        except OSError as fault:
            raise ConnectionLost("the connection to the service is lost") from fault

    def receive(self) -> bytes:
        try:
            data = self._socket.recv(_CHUNK)
        except OSError as fault:
            raise ConnectionLost("the connection to the service was lost while it worked") from fault
        if not data:
            raise ConnectionLost("the connection to the service was lost while it worked")
        return data

    def set_timeout(self, seconds: Optional[float]) -> None:
        self._socket.settimeout(seconds)

    def interrupt(self) -> None:
        try:
            self._socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # it has ended already

    def close(self) -> None:
        self._socket.close()


def _no_service(address: str) -> NoService:
    return NoService(
        f"no service is running at {address}: start one with `tavusvc noautoclose`, for the emulated device with "
        "TAVUSRV_ENABLE_EMULATOR=1 in its environment"
    )


def default_address() -> str:
    """Where the service listens: the path of a socket, or the name of a pipe."""
    if sys.platform == "win32":
        return rf"\\.\pipe\{PIPE}"
    return os.path.join(os.environ.get("XDG_RUNTIME_DIR") or "/tmp", PIPE)


if sys.platform == "win32":
    import ctypes
    import msvcrt

    _ERROR_PIPE_BUSY = 231

    class PipeChannel:
        """Windows: a named pipe in byte mode. Untried."""

        def __init__(self, address: str) -> None:
            deadline = time.monotonic() + BUSY_LIMIT
            while True:
                try:
                    self._file = open(address, "r+b", buffering=0)
                    return
                except OSError as fault:
                    if fault.winerror != _ERROR_PIPE_BUSY or time.monotonic() > deadline:
                        raise _no_service(address) from fault
                    time.sleep(0.01)

        def send(self, data: bytes) -> None:
            try:
                while data:
                    data = data[self._file.write(data) :]
            except (OSError, ValueError) as fault:
                raise ConnectionLost("the connection to the service is lost") from fault

        def receive(self) -> bytes:
            try:
                data = self._file.read(_CHUNK)
            except (OSError, ValueError) as fault:
                raise ConnectionLost("the connection to the service was lost while it worked") from fault
            if not data:
                raise ConnectionLost("the connection to the service was lost while it worked")
            return data

        def set_timeout(self, seconds: Optional[float]) -> None:
            pass  # a pipe has none

        def interrupt(self) -> None:
            try:
                handle = msvcrt.get_osfhandle(self._file.fileno())
                ctypes.windll.kernel32.CancelIoEx(ctypes.c_void_p(handle), None)
            except (OSError, ValueError):
                pass

        def close(self) -> None:
            self._file.close()

else:

    def _socket_at(address: str) -> socket.socket:
        """A connected socket. Raises ``OSError``."""
        deadline = time.monotonic() + BUSY_LIMIT
        while True:
            folder, name = os.path.split(address)
            # An address holds some hundred bytes: below an open folder every path is short enough.
            anchor = os.open(folder or ".", os.O_PATH | os.O_DIRECTORY | os.O_CLOEXEC)
            channel = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            try:
                channel.settimeout(BUSY_LIMIT)
                channel.connect(f"/proc/self/fd/{anchor}/{name}")
                return channel
            except BlockingIOError:
                # The line of clients that wait to be accepted is full.
                channel.close()
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.01)
            except BaseException:
                channel.close()
                raise
            finally:
                os.close(anchor)

    def open_socket(address: str) -> SocketChannel:
        """Linux: connects to the socket at a path. Raises ``NoService``."""
        try:
            channel = _socket_at(address)
        except OSError as fault:
            raise _no_service(address) from fault
        if not os.environ.get("XDG_RUNTIME_DIR") and os.path.dirname(address) == "/tmp":
            # Anybody can have put a socket there.
            peer = channel.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, struct.calcsize("3i"))
            user = struct.unpack("3i", peer)[1]
            if user not in (0, os.geteuid()):
                channel.close()
                raise NoService(
                    f"the service at {address} runs as another user (id {user}), and anybody could have put it there: "
                    "nothing was sent to it. Set XDG_RUNTIME_DIR to a folder of your own, for your service and for its "
                    "clients"
                )
        return SocketChannel(channel)


def open_channel(address: Optional[str]) -> Channel:
    """Connects to the service at an address (None: where it listens by itself). Waits for up to 5 s where the service
    is busy with other clients. Raises ``NoService``."""
    address = address or default_address()
    if sys.platform == "win32":
        return PipeChannel(address)
    else:
        return open_socket(address)
