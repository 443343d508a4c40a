"""Recordings, and playing them."""

from __future__ import annotations

import datetime
import operator
import threading
from types import TracebackType
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Sequence, Tuple, Type, Union

import numpy

from . import messages
from .errors import Error
from .protocol import COMMANDS
from .region import Pixels, Region

if TYPE_CHECKING:
    from os import PathLike

    from .device import Device

_EPOCH = datetime.datetime(1601, 1, 1, tzinfo=datetime.timezone.utc)

#: What may stand for frames: a number, a slice, or numbers in any order.
FrameIndex = Union[int, slice, Sequence[int]]


class Playback:
    """A recording that is open for playback, until ``close()`` or the end of a ``with`` block. One thread at a time
    uses it: the frame that one fetches takes the place of the other's. ``Recording.play()`` makes one."""

    def __init__(self, recording: "Recording") -> None:
        self._connection = recording.device.connection
        self._device = recording.device.index
        opened = self._connection.call(
            "openFile", deviceId=self._device, fileId=recording.file_id, streamId=recording.stream_id
        )
        self._file: int = opened["openFileId"]
        self._closed = False
        try:
            info = self._connection.call("fileInfo", deviceId=self._device, openFileId=self._file)
            self._view = Region(opened["mapping"]).frame(info["width"], info["height"])
        except BaseException:
            self.close()
            raise

    @property
    def view(self) -> Pixels:
        """The frame that was fetched last: a read-only view, (height, width) of uint16, of the shared memory. It is the
        same array for each frame; after ``close()`` it keeps the last one."""
        return self._view

    def fetch(self, number: int) -> Pixels:
        """Has the service put a frame, counted from 0, into the shared memory, and returns ``view``: valid until the
        next one is fetched. Raises ``ServiceError`` where the recording has no such frame."""
        self._connection.exchange(
            "readFrame",
            messages.request(
                COMMANDS["readFrame"], {"deviceId": self._device, "openFileId": self._file, "frame": number}
            ),
        )
        return self._view

    def close(self) -> None:
        """Ends it. What fails here the service cleans up when the connection ends."""
        if self._closed:
            return
        self._closed = True
        try:
            self._connection.call("closeFile", deviceId=self._device, openFileId=self._file)
        except Error:
            pass

    def __enter__(self) -> "Playback":
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], fault: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.close()


class Recording:
    """A recording: what the service listed of it, and its frames, as an array of (n, height, width) of uint16 that
    stays with the service until it is asked for::

        recording[7]                # frame 7, (height, width)
        recording[10:20]            # ten frames, (10, height, width)
        recording[::10, 100:200]    # rows 100 to 199 of every tenth frame
        recording[[0, -1]]          # the first and the last

    Each is a new array that owns its memory; each frame was copied once, straight from the shared memory. Memory for
    all of it must be there: ``frames()`` goes through a recording of any length. ``numpy.asarray(recording)`` is
    ``recording[:]``.

    Each access opens the recording and closes it again. ``with recording:`` keeps it open, which makes single frames
    faster; it can't be removed meanwhile. Any number of threads may use one recording."""

    def __init__(self, device: "Device", entry: Dict[str, Any]) -> None:
        """``entry`` is what ``listFiles`` tells of it."""
        self.device = device
        self.name: str = entry["name"]  #: what the user calls it
        self.port: str = entry["port"]  #: name of the port it was recorded on
        self.camera: str = entry["camera"]  #: name of the camera that was paired with the port
        self.file_id: int = entry["fileId"]  #: with ``stream_id``, what the service calls it
        self.stream_id: int = entry["streamId"]
        self.width: int = entry["width"]  #: pixels
        self.height: int = entry["height"]  #: pixels
        self.num_frames: int = entry["numFrames"]  #: frames stored
        self.num_dropped_frames: int = entry["numDroppedFrames"]  #: frames lost
        self.size: int = entry["size"]  #: bytes
        self.timestamp: int = entry["timestamp"]  #: 100 ns since 1601-01-01 UTC
        self.duration: int = entry["duration"]  #: this, start_time and end_time are as clients stored them
        self.start_time: int = entry["startTime"]
        self.end_time: int = entry["endTime"]
        self._held: List[Playback] = []
        self._lock = threading.Lock()

    def __repr__(self) -> str:
        return f"<tavu.Recording {self.name!r}: {self.num_frames} frames of {self.width}x{self.height}>"

    @property
    def recorded_at(self) -> datetime.datetime:
        """When it was recorded, in UTC, to the microsecond."""
        return _EPOCH + datetime.timedelta(microseconds=self.timestamp // 10)

    # What an array has.

    @property
    def shape(self) -> Tuple[int, int, int]:
        """(frames, height, width)"""
        return self.num_frames, self.height, self.width

    @property
    def dtype(self) -> "numpy.dtype[numpy.uint16]":
        return numpy.dtype(numpy.uint16)

    @property
    def ndim(self) -> int:
        return 3

    def __len__(self) -> int:
        return self.num_frames

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> Any:
        if copy is False:
            raise ValueError("the frames of a recording have to be copied")
        return self[:] if dtype is None else self[:].astype(dtype, copy=False)

    # Playing.

    def play(self) -> Playback:
        """Opens it for playback, frame by frame. Raises ``ServiceError`` when it isn't there any more."""
        return Playback(self)

    def __enter__(self) -> "Recording":
        with self._lock:
            self._held.append(self.play())
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], fault: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        with self._lock:
            self._held.pop().close()

    def numbers(self, index: FrameIndex) -> Sequence[int]:
        """The numbers of frames, from 0, that an index means. Raises ``IndexError`` beyond the recording, and where a
        mask hasn't an entry for each frame."""
        if isinstance(index, slice):
            return range(*index.indices(self.num_frames))
        if getattr(index, "dtype", None) == bool:
            if numpy.shape(index) != (self.num_frames,):
                raise IndexError(f"a mask of {numpy.shape(index)} for {self.num_frames} frames")
            index = [int(number) for number in numpy.flatnonzero(index)]
        numbers = [operator.index(one) for one in (index if hasattr(index, "__iter__") else [index])]
        for number in numbers:
            if not -self.num_frames <= number < self.num_frames:
                raise IndexError(f"there is no frame {number}: the recording has {self.num_frames}")
        return [number % self.num_frames for number in numbers]

    def __getitem__(self, index: Any) -> Pixels:
        index = index if isinstance(index, tuple) else (index,)
        which: FrameIndex = slice(None)
        part: Any = ()
        if index and index[0] is not Ellipsis:
            which, part = index[0], index[1:]
        elif index:
            part = index if len(index) < 3 else index[1:]
        numbers = self.numbers(which)
        # What a part of a frame has for a shape, numpy knows best; no memory is touched for it.
        shape = numpy.broadcast_to(numpy.uint16(0), (self.height, self.width))[part].shape
        pixels: Pixels = numpy.empty((len(numbers), *shape), numpy.uint16)
        with self._lock:
            held = self._held[-1] if self._held else None
            if held is not None:
                self._copy(held, numbers, part, pixels)
        if held is None and numbers:
            with self.play() as playback:
                self._copy(playback, numbers, part, pixels)
        if not isinstance(which, slice) and not hasattr(which, "__iter__"):
            pixels = pixels[0]
        return pixels

    @staticmethod
    def _copy(playback: Playback, numbers: Sequence[int], part: Any, pixels: Pixels) -> None:
        for place, number in enumerate(numbers):
            pixels[place] = playback.fetch(number)[part]

    def __iter__(self) -> Iterator[Pixels]:
        return self.frames()

    def frames(self, frames: FrameIndex = slice(None), copy: bool = True) -> Iterator[Pixels]:
        """The frames one by one, (height, width) of uint16, for a recording of any length; ``frames`` picks some:
        ``recording.frames(slice(10, 20))``.

        With ``copy=False`` each is a read-only view of the shared memory, and **valid until the next**: it is the same
        array each time. That saves the copy for who looks at a frame only once. The end of the loop, also by ``break``,
        closes the recording."""
        numbers = self.numbers(frames)
        with self.play() as playback:
            fetch = playback.fetch
            if copy:
                for number in numbers:
                    yield fetch(number).copy()
            else:
                for number in numbers:
                    yield fetch(number)

    # The catalogue.

    @property
    def identity(self) -> bytes:
        """The camera's block of the pairing it was recorded under; empty when there is none."""
        data: bytes = self._call("fileIdentity")["data"]
        return data

    @property
    def pixel_format(self) -> Optional[int]:
        """The camera's number for its pixel format, as the port has it now. The service stores none with a recording:
        None when there is no such port, or when it has another frame size by now."""
        for port in self.device.ports():
            if port.name == self.port:
                config = port.config
                return config.pixel_format if (config.width, config.height) == (self.width, self.height) else None
        return None

    def rename(self, name: str, notify: bool = True) -> None:
        """Gives it any name. ``notify`` tells whether all clients hear of it."""
        self._call("renameFile", name=name, notify=notify)
        self.name = name

    def set_info(
        self,
        name: Optional[str] = None,
        width: Optional[int] = None,
        height: Optional[int] = None,
        num_frames: Optional[int] = None,
        num_dropped_frames: Optional[int] = None,
        start_time: Optional[int] = None,
        end_time: Optional[int] = None,
        duration: Optional[int] = None,
        notify: bool = True,
    ) -> str:
        """Stores facts about it; what is left out stays as it was when the recording was listed. A name that another
        recording has, or this one, gets a number: "take" becomes "take(1)". Returns the name. The service doesn't check
        sizes and counts against the frames."""
        stored: str = self._call(
            "setFileInfo",
            name=self.name if name is None else name,
            width=self.width if width is None else width,
            height=self.height if height is None else height,
            numImages=self.num_frames if num_frames is None else num_frames,
            numDroppedFrames=self.num_dropped_frames if num_dropped_frames is None else num_dropped_frames,
            startTime=self.start_time if start_time is None else start_time,
            endTime=self.end_time if end_time is None else end_time,
            duration=self.duration if duration is None else duration,
            notify=notify,
        )["name"]
        self.refresh()
        return stored

    def refresh(self) -> None:
        """Takes over what the service has of it now. Raises ``LookupError`` when it isn't there any more."""
        for other in self.device.recordings():
            if (other.file_id, other.stream_id) == (self.file_id, self.stream_id):
                held, lock = self._held, self._lock
                self.__dict__.update(other.__dict__)
                self._held, self._lock = held, lock
                return
        raise LookupError(f"{self!r} isn't there any more")

    def remove(self) -> None:
        """Deletes it. Raises ``ServiceError`` while somebody has it open."""
        self._call("removeFile")

    def _call(self, command: str, **parameters: Any) -> Dict[str, Any]:
        return self.device.connection.call(
            command, deviceId=self.device.index, fileId=self.file_id, streamId=self.stream_id, **parameters
        )

    # Exports; export.py has what they do.

    def to_npy(self, path: "str | PathLike[str]", **options: Any) -> None:
        """Writes it as ``.npy``; see ``tavu.export.to_npy``."""
        from . import export

        export.to_npy(self, path, **options)

    def to_tiff(self, path: "str | PathLike[str]", **options: Any) -> None:
        """Writes it as TIFF, a page for each frame; see ``tavu.export.to_tiff``."""
        from . import export

        export.to_tiff(self, path, **options)

    def to_hdf5(self, path: "str | PathLike[str]", **options: Any) -> None:
        """Writes it as a data set of HDF5; see ``tavu.export.to_hdf5``."""
        from . import export

        export.to_hdf5(self, path, **options)

    def to_zarr(self, path: "str | PathLike[str]", **options: Any) -> None:
        """Writes it as a Zarr array, chunked by frame; see ``tavu.export.to_zarr``."""
        from . import export

        export.to_zarr(self, path, **options)
