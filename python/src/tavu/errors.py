"""What the package raises about the service. Faults of the caller are Python's own: ``IndexError`` for a frame that
isn't there, ``ValueError`` and ``TypeError`` for parameters that don't fit, ``FileExistsError`` for an export."""

from __future__ import annotations

import builtins


class Error(Exception):
    """Everything that the package raises about the service derives from this."""


class ServiceError(Error):
    """The service answered a command with an error. ``text`` is what it said, unchanged; docs/protocol.md lists the
    texts, which may be compared. The connection stays usable."""

    def __init__(self, text: str, command: str = "") -> None:
        super().__init__(f"{command}: {text}" if command else text)
        self.text = text  #: the service's own words
        self.command = command  #: name of the command that failed


class ConnectionLost(Error, builtins.ConnectionError):
    """The connection is of no more use: the service has ended or died, the connection was closed, or a request was
    interrupted (Ctrl-C) while its reply was under way. It is raised at once, by the call that waits and by every later
    one; ``tavu.connect()`` makes a new connection."""


class NoService(ConnectionLost):
    """Nobody listens at the address, nobody answers there, or it is another user's service."""


class ProtocolError(Error):
    """A reply that isn't what the command should bring, from a service of another kind or version."""
