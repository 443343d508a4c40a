"""The table of commands, and the numbers that parameters and replies carry. docs/protocol.md has what they mean;
``tavuctl protocol --json`` prints the same table."""

from __future__ import annotations

import enum
import re
from typing import Any, Dict, NamedTuple, Tuple, Union

VERSION = 0  #: the only version of the protocol
PIPE = "tavusrv"  #: base name under which the service listens
REGIONS = "orek_tavu"  #: what the names of all regions of frames begin with

_TABLE = """
0 createEventQueue() -> queueId:u32
1 destroyEventQueue(queueId:u32)
2 readEvent(queueId:u32) -> event:event
3 tryReadEvent(queueId:u32) -> ok:bool event?:event
4 deviceCount() -> count:u32
5 deviceName(deviceId:u32) -> name:string
6 deviceConnected(deviceId:u32) -> connected:bool
7 hasIncompleteFile(deviceId:u32) -> hasIncompleteFile:bool
8 discardIncompleteFile(deviceId:u32)
9 startRecovery(deviceId:u32)
10 cancelRecovery(deviceId:u32)
11 recoveryStatus(deviceId:u32) -> status:u32
12 recoveryError(deviceId:u32) -> error:string
13 finishRecovery(deviceId:u32)
14 serialOpen(deviceId:u32 port:u8 baudRate:u32 parity:u8 stopBits:u8)
15 serialGetBaudRate(deviceId:u32 port:u8) -> baudRate:u32
16 serialSetBaudRate(deviceId:u32 port:u8 baudRate:u32)
17 serialRead(deviceId:u32 port:u8 size:u32) -> data:blob
18 serialWrite(deviceId:u32 port:u8 data:blob) -> size:u32
19 serialClear(deviceId:u32 port:u8)
20 serialClose(deviceId:u32 port:u8)
21 registerRead(deviceId:u32 port:u8 addr:u32 size:u32) -> data:blob
22 registerWrite(deviceId:u32 port:u8 addr:u32 data:blob)
23 isCxp(deviceId:u32) -> isCxp:bool
24 portCount(deviceId:u32) -> count:u8
25 portName(deviceId:u32 port:u8) -> name:string
26 listFiles(deviceId:u32) -> files:files
27 openFile(deviceId:u32 fileId:u32 streamId:u32) -> openFileId:u32 mapping:string
28 fileInfo(deviceId:u32 openFileId:u32) -> width:u16 height:u16 imageSize:u32 numFrames:u64 size:u64
29 closeFile(deviceId:u32 openFileId:u32)
30 readFrame(deviceId:u32 openFileId:u32 frame:u64)
31 removeFile(deviceId:u32 fileId:u32 streamId:u32)
32 fileIdentity(deviceId:u32 fileId:u32 streamId:u32) -> data:blob
33 setup(deviceId:u32)
34 pairPort(deviceId:u32 port:u8 identity:string info:blob numFramesPerPacket:u16)
35 pairedTo(deviceId:u32 port:u8) -> pairedTo:string
36 repairPort(deviceId:u32 port:u8 identity:string info:blob numFramesPerPacket:u16)
37 unpairPort(deviceId:u32 port:u8)
38 portIdentity(deviceId:u32 port:u8) -> data:blob
39 framesPerPacket(deviceId:u32 port:u8) -> numFramesPerPacket:u16
40 getPortConfig(deviceId:u32 port:u8) -> width:u16 height:u16 pixelFormat:u32 tapGeometry:u32
41 setPortConfig(deviceId:u32 port:u8 width:u16 height:u16 pixelFormat:u32 tapGeometry:u32)
42 startRecording(deviceId:u32 portMask:u32 externalTrigger:u8 type:u8 count:u64 usePretrigger:bool pretriggerCount:u64)
43 stopRecording(deviceId:u32)
44 softwareTrigger(deviceId:u32)
45 isRecordingDone(deviceId:u32) -> done:bool
46 recordingFile(deviceId:u32 port:u8) -> fileId:u32 streamId:u32
47 recordingProgress(deviceId:u32 port:u8) -> numFrames:u64 inPretrigger:bool
48 renameFile(deviceId:u32 fileId:u32 streamId:u32 name:string notify:bool)
49 setFileInfo(deviceId:u32 fileId:u32 streamId:u32 name:string width:u16 height:u16 numImages:u64 \
numDroppedFrames:u64 startTime?:u64 endTime?:u64 duration:u64 notify:bool) -> name:string
50 notifyFilesChanged(deviceId:u32)
51 percentUsed(deviceId:u32) -> percent:u8
52 startLive(deviceId:u32 port:u8) -> mapping:string
53 stopLive(deviceId:u32 port:u8)
54 liveFrame(deviceId:u32 port:u8) -> width:u16 height:u16 imageSize:u32
55 lockGlobal()
56 unlockGlobal()
57 hardwareType(deviceId:u32) -> hardwareType:u8
"""
_FILE_ENTRY = """name:string port:string camera:string fileId:u32 streamId:u32 width:u16 height:u16 numFrames:u64
numDroppedFrames:u64 size:u64 timestamp:u64 duration:u64 startTime:u64 endTime:u64"""
_EVENT = "type:u32 device:u32 port:u32"


class Field(NamedTuple):
    """A parameter, or a value of a reply."""

    name: str
    type: str  #: u8, u16, u32, u64, bool, string, blob, event or files
    optional: bool  #: may be left out


class Command(NamedTuple):
    """A command, as a row of the table of docs/protocol.md."""

    ordinal: int
    name: str
    parameters: Tuple[Field, ...]
    reply: Tuple[Field, ...]


def _fields(text: str) -> Tuple[Field, ...]:
    return tuple(
        Field(name, kind, bool(mark)) for name, mark, kind in re.findall(r"(\w+)(\??):(\w+)", text)
    )


#: All commands by name.
COMMANDS: Dict[str, Command] = {
    name: Command(int(number), name, _fields(parameters), _fields(reply))
    for number, name, parameters, reply in re.findall(r"^(\d+) (\w+)\((.*)\)(.*)$", _TABLE, re.MULTILINE)
}
FILE_ENTRY = _fields(_FILE_ENTRY)  #: what listFiles tells of a recording
EVENT = _fields(_EVENT)


class EventType(enum.IntEnum):
    """What an event tells."""

    QueueClosed = 0  #: the queue was destroyed while it was being read
    DevicesChanged = 1  #: ask for the devices and their state again
    RecordingStarted = 2  #: ``Event.port`` holds the mask of the recording's ports
    RecordingStopped = 3
    FilesChanged = 4  #: list the recordings again
    PairingChanged = 5
    NoEvent = 6  #: nothing happened while a read waited


class RecoveryStatus(enum.IntEnum):
    """The state of a recovery."""

    NONE = 0  #: no recovery has run
    Running = 1
    Failed = 2  #: ``Device.recovery_error`` has the text
    Done = 3  #: waits for ``Device.finish_recovery()``
    Cancelled = 4


class StopCondition(enum.IntEnum):
    """What ends a recording by itself."""

    NONE = 0
    FrameCount = 1
    Time = 2


class TriggerBit(enum.IntFlag):
    """Bits of ``externalTrigger``."""

    Start = 1 << 0
    Stop = 1 << 1
    StartVariant = 1 << 4
    StopVariant = 1 << 5


class Event(NamedTuple):
    """Something that happened on the service."""

    type: Union[EventType, int]  #: a number where a later service has a type that isn't known here
    device: int  #: index of the device
    port: int  #: index of the port; for RecordingStarted the mask of the ports


_LIMITS = {"u8": 1 << 8, "u16": 1 << 16, "u32": 1 << 32, "u64": 1 << 64}
_PYTHON = {"bool": bool, "string": str, "blob": bytes, "event": dict, "files": list}


def _fault(kind: str, value: Any) -> str:
    """What is wrong with a value of the table's type ``kind``; empty when nothing is."""
    limit = _LIMITS.get(kind)
    if limit is None:
        return "" if isinstance(value, _PYTHON[kind]) else f"is no {kind}"
    if not isinstance(value, int) or isinstance(value, bool):
        return "is no integer"
    return "" if 0 <= value < limit else f"doesn't fit into {kind}"


def checked_parameters(command: Command, given: Dict[str, Any]) -> Dict[str, Any]:
    """The parameters of a request, in the order of the table. Raises ``TypeError`` for missing or unknown parameters
    and wrong types, ``ValueError`` for numbers that don't fit: the service would cut off their high bits."""
    result = {}
    for field in command.parameters:
        if field.name not in given:
            if field.optional:
                continue
            raise TypeError(f"{command.name} needs the parameter {field.name}")
        value = given[field.name]
        if field.type in _LIMITS and hasattr(value, "__index__") and not isinstance(value, bool):
            value = value.__index__()  # numpy's integers too
        elif field.type == "blob" and isinstance(value, (bytearray, memoryview)):
            value = bytes(value)
        fault = _fault(field.type, value)
        if fault:
            kind = ValueError if fault.startswith("doesn't fit") else TypeError
            raise kind(f"{command.name}: {field.name} = {value!r} {fault}")
        result[field.name] = value
    unknown = set(given) - set(result)
    if unknown:
        raise TypeError(f"{command.name} has no parameter {', '.join(sorted(unknown))}")
    return result


def reply_fault(fields: Tuple[Field, ...], values: Any) -> str:
    """What is wrong with the values of a reply, of an event or of a file entry; empty when nothing is."""
    if not isinstance(values, dict):
        return "has no values"
    for field in fields:
        if field.name in values:
            fault = _fault(field.type, values[field.name])
            if fault:
                return f'"{field.name}" {fault}'
        elif not field.optional:
            return f'"{field.name}" is missing'
    return ""
