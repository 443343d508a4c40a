"""Live pictures of a port."""

from __future__ import annotations

from types import TracebackType
from typing import TYPE_CHECKING, Iterator, Optional, Type

from .errors import ConnectionLost
from .region import Region

if TYPE_CHECKING:
    from .connection import Connection
    from .region import Pixels


class LiveView:
    """Live view of a port, as an iterator that waits for each picture and never ends by itself::

        with port.live() as pictures:
            for picture in pictures:
                ...

    Its connection is its own, so that waiting for a camera (for up to 5 s, after which ``ServiceError`` says that none
    came) holds nothing else up. ``close()``, from any thread, ends the iteration; a service that dies ends it with
    ``ConnectionLost``."""

    def __init__(self, connection: "Connection", device: int, port: int) -> None:
        """``connection`` becomes this object's own."""
        self._connection = connection
        self._place = {"deviceId": device, "port": port}
        self._closing = False
        try:
            self._region = Region(connection.call("startLive", **self._place)["mapping"])
        except BaseException:
            connection.close()
            raise

    def frame(self, copy: bool = True) -> "Pixels":
        """Waits for the next picture: (height, width) of uint16. A copy owns its memory; without, it is a read-only
        view of the shared memory that is valid until anybody, other clients included, asks for the next picture."""
        geometry = self._connection.call("liveFrame", **self._place)
        view = self._region.frame(geometry["width"], geometry["height"])
        return view.copy() if copy else view

    def frames(self, count: Optional[int] = None, copy: bool = True) -> Iterator["Pixels"]:
        """``count`` pictures, or pictures without an end."""
        while count is None or count > 0:
            try:
                picture = self.frame(copy)
            except ConnectionLost:
                if self._closing:
                    return
                raise
            yield picture
            count = None if count is None else count - 1

    def __iter__(self) -> Iterator["Pixels"]:
        return self.frames()

    def close(self) -> None:
        """Ends the live view, from any thread. Arrays that look at its memory stay valid, and get no more pictures."""
        # A request would wait for the picture that is under way; the end of the connection gives the live view back.
        self._closing = True
        self._connection.close()

    def stop(self) -> None:
        """Ends it as ``close()`` does, but only once the service has said so: the port can be started anew at once."""
        if not self._connection.closed:
            self._connection.call("stopLive", **self._place)
        self.close()

    def __enter__(self) -> "LiveView":
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], fault: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        # A fault on its way out (a lost connection, an interruption) is what people want to see.
        self.close() if kind is not None else self.stop()
