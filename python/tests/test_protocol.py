"""What goes over the pipe, and what comes back: against the service's own table, and a peer that misbehaves."""

import contextlib
import json
import re
import socket
import subprocess
import threading
import unittest.mock

import msgpack
import pytest
from conftest import BUILD, ROOT

import tavu
from tavu import protocol
from tavu.transport import SocketChannel

# The heads of the service's lists, and how many bytes MessagePack itself has for each.
HEADS = {
    1: (b"\x91", 1),
    15: (b"\x9f", 1),
    16: (b"\xdc\0\x10", 3),
    65535: (b"\xdc\xff\xff", 3),
    65536: (b"\xdc\0\1\0\0", 5),
}
ENTRY = {field.name: "" if field.type == "string" else 0 for field in protocol.FILE_ENTRY}


def test_table_and_numbers_are_those_of_the_service():
    table = json.loads(subprocess.check_output([BUILD / "bin/tavuctl", "protocol", "--json"]))

    def fields(rows):
        return tuple(protocol.Field(row["name"], row["type"], row.get("optional", False)) for row in rows)

    assert list(protocol.COMMANDS.values()) == [
        protocol.Command(row["ordinal"], row["name"], fields(row["parameters"]), fields(row["reply"]))
        for row in table["commands"]
    ]
    assert (protocol.FILE_ENTRY, protocol.EVENT) == (fields(table["fileEntry"]), fields(table["event"]))
    assert (protocol.VERSION, protocol.PIPE, protocol.REGIONS) == (table["version"], table["pipe"], table["regions"])
    for numbers, rows in (
        (protocol.EventType, "eventTypes"),
        (protocol.RecoveryStatus, "recoveryStates"),
        (protocol.StopCondition, "stopConditions"),
        (protocol.TriggerBit, "triggerBits"),
    ):
        assert {one.name.capitalize(): int(one) for one in numbers} == {
            row["name"].capitalize(): row["value"] for row in table[rows]
        }


def test_version_is_that_of_the_service():
    project = re.search(r"project\(tavu VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())
    assert tavu.__version__ == project[1]


@pytest.fixture
def peer():
    """A connection, and answers() to say what its peer writes, reply by reply; None makes the peer leave."""
    ends = []

    def connection(*answers):
        ours, theirs = socket.socketpair()
        ends.append(theirs)

        def serve():
            with contextlib.suppress(OSError):  # the package may leave first
                for answer in [b"\x81\xa6result\x81\xa3ver\0", *answers]:
                    theirs.recv(1 << 16)
                    for piece in answer if isinstance(answer, list) else [answer]:
                        theirs.sendall(piece)
                theirs.shutdown(socket.SHUT_WR)

        threading.Thread(target=serve, daemon=True).start()
        return tavu.Connection(channel=SocketChannel(ours))

    yield connection
    for end in ends:
        end.close()


@pytest.mark.parametrize("count", HEADS)
def test_list_heads(peer, count):
    entries = [dict(ENTRY, fileId=number) for number in range(count)]
    head, stock_head = HEADS[count]
    body = b"\x81\xa6result\x81\xa5files" + head + msgpack.packb(entries)[stock_head:]
    # Cut within the head, within its length and within an entry; then whole.
    pieces = [body[:15], body[15:17], body[17:18], body[18:40], body[40:]]
    service = peer(pieces, body, b"\x81\xa6result\x81\xa5count\3")
    for _ in range(2):
        found = tavu.Device(service, 0).recordings()
        assert [one.file_id for one in found] == list(range(count))
    assert service.device_count() == 3, "the reader has lost its place"


@pytest.mark.parametrize(
    "answer, error",
    [
        (b"\x81\xa5error\xa4nope", tavu.ServiceError),
        (b"\x80", tavu.ProtocolError),
        (b"\x81\xa6result\x80", tavu.ProtocolError),
        (b"\x81\xa6result\x81\xa5count\xa13", tavu.ProtocolError),
        (b"\x81\xa6result\x81\xa5count\xff", tavu.ProtocolError),
        (b"\x81\xa5other\3", tavu.ProtocolError),
        (b"\x81\xa6result\x81\xa5count\3\3", tavu.ProtocolError),
        (b"\xc1", tavu.ProtocolError),
        (b"\x81\xa6res", tavu.ConnectionLost),
    ],
)
def test_replies_that_are_not_what_they_should_be(peer, answer, error):
    service = peer(answer)
    with pytest.raises(error) as caught:
        service.device_count()
    if error is tavu.ServiceError:
        assert caught.value.text == "nope"
    # The peer has gone by now, and the one exception for that is what every later call raises.
    for _ in range(2):
        with pytest.raises(tavu.ConnectionLost):
            service.device_count()
    assert isinstance(caught.value, tavu.Error)


def test_interrupted_request_ends_the_connection(peer):
    """Its reply, which may be under way, mustn't become the next one's."""
    service = peer(b"\x81\xa6result\x81\xa5count\3", b"\x81\xa6result\x81\xa5count\4")
    receive, service._channel.receive = service._channel.receive, unittest.mock.Mock(side_effect=KeyboardInterrupt)
    with pytest.raises(KeyboardInterrupt):
        service.device_count()
    service._channel.receive = receive
    with pytest.raises(tavu.ConnectionLost):
        service.device_count()


@pytest.mark.parametrize(
    "command, parameters, error",
    [
        ("deviceName", {}, TypeError),
        ("deviceName", {"deviceId": 0, "port": 0}, TypeError),
        ("deviceName", {"deviceId": -1}, ValueError),
        ("portName", {"deviceId": 0, "port": 256}, ValueError),
        ("deviceName", {"deviceId": "0"}, TypeError),
        ("renameFile", {"deviceId": 0, "fileId": 1, "streamId": 0, "name": b"x", "notify": True}, TypeError),
        ("noSuchCommand", {}, ValueError),
    ],
)
def test_parameters_that_are_not_sent(peer, command, parameters, error):
    service = peer(b"\x81\xa6result\x81\xa5count\3")
    with pytest.raises(error):
        service.call(command, **parameters)
    assert service.device_count() == 3


def test_no_service(place):
    with pytest.raises(tavu.NoService, match="start one with"):
        tavu.connect()
    with pytest.raises(ConnectionError):
        tavu.connect("/nowhere/at/all")
