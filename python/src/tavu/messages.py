"""Requests as bytes, and replies from bytes as they arrive."""

from __future__ import annotations

from typing import Any, Callable, Dict, Optional, Tuple

import msgpack

from .errors import ProtocolError
from .protocol import VERSION, Command

#: A reply without values, the only one that most commands give.
EMPTY_REPLY = b"\x80"


def _pack(message: Dict[str, Any]) -> bytes:
    packed: bytes = msgpack.packb(message, use_bin_type=True, unicode_errors="surrogateescape")
    return packed


def version_check() -> bytes:
    return _pack({"act": "verCheck", "ver": VERSION})


def request(command: Command, parameters: Dict[str, Any]) -> bytes:
    return _pack({"act": "exec", "ord": command.ordinal, "params": parameters})


class ReplyReader:
    """Reads replies from a source of bytes: ``receive()`` returns the bytes that have arrived, at least one, or raises.

    A list of more than 65,535 entries has a head that isn't MessagePack's: DC with *four* length bytes. Where the
    service writes DC otherwise, the number in its two bytes is 16 or more, so that a smaller one tells such a head. A
    stock decoder would take it for a short list and go on in the middle of nowhere; that is why the heads of a reply
    are read one by one here."""

    def __init__(self, receive: Callable[[], bytes]) -> None:
        self._receive = receive
        # Text that isn't UTF-8 is kept as it is, and comes back to the service byte for byte.
        self._unpacker = msgpack.Unpacker(raw=False, unicode_errors="surrogateescape", max_buffer_size=0)

    def read(self, first: bytes) -> Tuple[Optional[Dict[str, Any]], Optional[str]]:
        """A whole reply that begins with the bytes ``first``: its values (None: it has none), and the text of an error
        reply. Raises ``ProtocolError`` when it is neither."""
        self._unpacker.feed(first)
        try:
            count = self._next(self._unpacker.read_map_header)
            if count == 0:
                self._require_end()
                return None, None
            key = self._next(self._unpacker.unpack)
            if count != 1 or key not in ("result", "error"):
                raise ProtocolError("it is neither a result nor an error")
            if key == "error":
                text = self._next(self._unpacker.unpack)
                if not isinstance(text, str):
                    raise ProtocolError("its error is no text")
                self._require_end()
                return None, text
            values = {}
            for _ in range(self._next(self._unpacker.read_map_header)):
                name = self._next(self._unpacker.unpack)
                values[name] = self._list() if name == "files" else self._next(self._unpacker.unpack)
            self._require_end()
            return values, None
        except (ValueError, msgpack.UnpackException, TypeError) as fault:
            raise ProtocolError(f"it can't be read: {fault}") from fault

    def _next(self, take: Callable[[], Any]) -> Any:
        """A head or a value, however many pieces it arrives in."""
        while True:
            try:
                return take()
            except msgpack.OutOfData:
                self._unpacker.feed(self._receive())

    def _list(self) -> Any:
        lead = self._number(1)
        if 0x90 <= lead <= 0x9F:
            count = lead & 15
        elif lead == 0xDC:
            count = self._number(2)
            if count < 16:
                count = count << 16 | self._number(2)
        elif lead == 0xDD:
            count = self._number(4)
        else:
            raise ProtocolError("its list is none")
        unpack, next_value = self._unpacker.unpack, self._next
        return [next_value(unpack) for _ in range(count)]

    def _number(self, size: int) -> int:
        data: bytes = self._unpacker.read_bytes(size)
        while len(data) < size:
            self._unpacker.feed(self._receive())
            data += self._unpacker.read_bytes(size - len(data))
        return int.from_bytes(data, "big")

    def _require_end(self) -> None:
        if self._unpacker.read_bytes(1):
            raise ProtocolError("there are bytes behind its end")
