"""The connection to the service, and the events."""

from __future__ import annotations

import threading
import time
from contextlib import contextmanager
from types import TracebackType
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Type, Union

from . import messages
from .errors import ConnectionLost, NoService, ProtocolError, ServiceError
from .protocol import (
    COMMANDS,
    EVENT,
    FILE_ENTRY,
    VERSION,
    Command,
    Event,
    EventType,
    checked_parameters,
    reply_fault,
)
from .transport import BUSY_LIMIT, Channel, default_address, open_channel

if TYPE_CHECKING:
    from .device import Device


def connect(address: Optional[str] = None) -> "Connection":
    """Connects to the service: to the one of this machine (on Linux: of this user's session), or to the one that
    listens at ``address``, the path of a socket or the name of a pipe. Raises ``NoService``."""
    return Connection(address)


class Connection:
    """A connection to the service. Any number of threads may use it: requests go one at a time, so that one which
    waits (``serialRead`` for a tenth of a second at most) holds up the others. What can wait longer, events, live views
    and the global lock, has a connection of its own.

    What a connection holds on the service is given back when it ends: ``close()``, or the end of a ``with`` block.
    """

    def __init__(self, address: Optional[str] = None, *, channel: Optional[Channel] = None) -> None:
        """See ``connect()``; ``channel`` is one of the caller's making."""
        self.address = address
        self._lock = threading.Lock()
        self._channel = channel or open_channel(address)
        self._reader = messages.ReplyReader(self._channel.receive)
        self._closed = False
        try:
            self._channel.set_timeout(BUSY_LIMIT)
            values = self.exchange("the version check", messages.version_check())
            self._channel.set_timeout(None)
            if values is None or values.get("ver") != VERSION:
                raise ProtocolError("the service speaks another version of the protocol")
        except ConnectionLost as fault:
            self.close()
            raise NoService(f"nobody answers at {address or default_address()}") from fault
        except BaseException:
            self.close()
            raise

    def __enter__(self) -> "Connection":
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], fault: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<tavu.Connection{' (closed)' if self._closed else ''}>"

    def close(self) -> None:
        """Ends the connection, from any thread: a call that waits on another one raises ``ConnectionLost``, and so does
        every later call. A second ``close()`` does nothing."""
        self._closed = True
        self._channel.interrupt()
        # Whoever waits leaves at once; only a signal handler that has interrupted this thread's own request would wait
        # for ever.
        if self._lock.acquire(timeout=1.0):
            self._channel.close()
            self._lock.release()

    @property
    def closed(self) -> bool:
        """Whether the connection is of no more use."""
        return self._closed

    def another(self) -> "Connection":
        """A second connection to the same service."""
        return Connection(self.address)

    # Any command.

    def call(self, command: Union[str, Command], **parameters: Any) -> Dict[str, Any]:
        """Any command by its name, with the parameters of docs/protocol.md: ``connection.call("portName", deviceId=0,
        port=0)``. Returns the values of the reply, empty for a command that has none.

        Raises ``ServiceError`` when the command fails, ``ConnectionLost``, ``ProtocolError``, and ``TypeError`` or
        ``ValueError`` for parameters that aren't those of the command; nothing has been sent then."""
        if isinstance(command, str):
            if command not in COMMANDS:
                raise ValueError(f"no command is called {command!r}")
            command = COMMANDS[command]
        request = messages.request(command, checked_parameters(command, parameters))
        values = self.exchange(command.name, request)
        if not command.reply:
            return {}
        fault = reply_fault(command.reply, values)
        if not fault and values and "event" in values:
            fault = reply_fault(EVENT, values["event"])
        if not fault and values and "files" in values:
            fault = next(filter(None, (reply_fault(FILE_ENTRY, entry) for entry in values["files"])), "")
        if fault or values is None:
            raise ProtocolError(f"unexpected reply to {command.name}: {fault}")
        return values

    def exchange(self, command: str, request: bytes) -> Optional[Dict[str, Any]]:
        """Sends a request that is encoded already, and returns the values of its reply as they come (None: it has
        none). For what is asked very often; ``call()`` checks both."""
        with self._lock:
            if self._closed:
                raise ConnectionLost("the connection is closed")
            try:
                self._channel.send(request)
                data = self._channel.receive()
                if data == messages.EMPTY_REPLY:
                    return None
                values, error = self._reader.read(data)
            except ConnectionLost as fault:
                self._end()
                raise type(fault)(f"{fault} ({command})") from fault.__cause__
            except ProtocolError as fault:
                self._end()
                raise ProtocolError(f"the reply to {command}: {fault}") from fault
            except BaseException:
                # An interrupted wait (Ctrl-C) leaves a reply under way that the next request would take for its own.
                self._end()
                raise
        if error is not None:
            raise ServiceError(error, command)
        return values

    def _end(self) -> None:
        self._closed = True
        self._channel.interrupt()

    # Devices.

    def device_count(self) -> int:
        """How many devices there are. A device that is unplugged stays in the list."""
        count: int = self.call("deviceCount")["count"]
        return count

    def devices(self) -> List["Device"]:
        """All devices, in the order of their indexes."""
        from .device import Device

        return [Device(self, index) for index in range(self.device_count())]

    def device(self, key: Union[int, str] = 0) -> "Device":
        """The device with an index, or the first one with a name. Raises ``LookupError`` when there is none."""
        devices = self.devices()
        if isinstance(key, str):
            for device in devices:
                if device.name == key:
                    return device
            raise LookupError(f"no device is called {key!r}; there are {[device.name for device in devices]}")
        if not 0 <= key < len(devices):
            raise LookupError(f"there is no device {key}: the service has {len(devices)}")
        return devices[key]

    # What clients tell each other.

    def events(self) -> "Events":
        """What happens from now on, as an iterator on a connection of its own."""
        return Events(self.another())

    @contextmanager
    def global_lock(self) -> Iterator[None]:
        """``with connection.global_lock():`` holds the lock that clients use among themselves, for work that takes
        several requests. It waits for as long as another client holds it, on a connection of its own, and keeps nobody
        from any command."""
        with self.another() as holder:
            holder.call("lockGlobal")
            try:
                yield
            finally:
                if not holder.closed:
                    holder.call("unlockGlobal")


class Events:
    """Events since this object was made: ``for event in connection.events()`` waits for each. ``close()``, from any
    thread, ends the iteration; a service that dies ends it with ``ConnectionLost``. The service keeps events without a
    bound until they are read: close what isn't read any more."""

    def __init__(self, connection: Connection) -> None:
        """``connection`` becomes this object's own, and must have no queue yet."""
        self._connection = connection
        self._closing = False
        try:
            self._queue: int = connection.call("createEventQueue")["queueId"]
        except BaseException:
            connection.close()
            raise

    def get(self, timeout: Optional[float] = None) -> Optional[Event]:
        """The next event. None when there was none for ``timeout`` seconds (0: none is there now), or when ``close()``
        came; without a timeout it waits for ever.

        Raises ``ServiceError`` when another client has destroyed the queue, and ``ConnectionLost``."""
        deadline = None if timeout is None else time.monotonic() + timeout
        try:
            while True:
                left = 1.0 if deadline is None else deadline - time.monotonic()
                # A read waits for half a second; a shorter rest of the time is spent asking.
                command = "readEvent" if left >= 0.5 else "tryReadEvent"
                values = self._connection.call(command, queueId=self._queue)
                found = values.get("event")
                if found is not None and found["type"] == EventType.QueueClosed:
                    raise ServiceError("another client has destroyed the event queue", command)
                if found is not None and found["type"] != EventType.NoEvent:
                    return _event(found)
                if left <= 0:
                    return None
                if command == "tryReadEvent":
                    time.sleep(min(left, 0.01))
        except ConnectionLost:
            if self._closing:
                return None
            raise

    def __iter__(self) -> Iterator[Event]:
        return self

    def __next__(self) -> Event:
        event = self.get()
        if event is None:
            raise StopIteration
        return event

    def close(self) -> None:
        """Ends the iteration, from any thread, and gives the queue back."""
        self._closing = True
        self._connection.close()

    def __enter__(self) -> "Events":
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], fault: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.close()


def _event(found: Dict[str, int]) -> Event:
    try:
        kind: Union[EventType, int] = EventType(found["type"])
    except ValueError:
        kind = found["type"]
    return Event(kind, found["device"], found["port"])
