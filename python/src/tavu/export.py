"""Recordings as files of other programs.

Each export goes through the recording frame by frame, needs memory for one frame, and has the same options:

* ``frames``: which ones, as an index: ``slice(10, 20)``, ``[0, 5, 7]``; by itself all.
* ``overwrite``: replace what is at the path; by itself ``FileExistsError``. What was there stays until the export is
  complete, and an export that fails leaves nothing behind.
* ``progress``: whether to show a bar (tqdm's); by itself in a terminal or a notebook.

Each raises what playing raises, ``OSError``, and ``ImportError`` where the format's module isn't installed.
``attributes()`` tells what is stored beside the pixels."""

from __future__ import annotations

import json
import os
import shutil
from contextlib import contextmanager
from typing import TYPE_CHECKING, Any, Dict, Iterator, Optional, Sequence, Union

import numpy

from .running import progress_bar

if TYPE_CHECKING:
    from .recording import FrameIndex, Recording
    from .region import Pixels

Path = Union[str, "os.PathLike[str]"]

_ALL = slice(None)


def attributes(recording: "Recording", frames: "FrameIndex" = _ALL) -> Dict[str, Any]:
    """What each export stores beside the pixels, in JSON's types: ``name``, ``camera``, ``port`` (names); ``width`` and
    ``height`` (pixels); ``recorded_at`` (ISO 8601, UTC) and ``timestamp`` (100 ns since 1601-01-01 UTC);
    ``start_time``, ``end_time`` and ``duration`` (as clients stored them); ``num_dropped_frames``; ``pixel_format``
    (the camera's number, left out where it isn't known: see ``Recording.pixel_format``); ``frame_numbers``, the number
    in the recording, from 0, of each frame that is exported."""
    result: Dict[str, Any] = {
        "name": recording.name,
        "camera": recording.camera,
        "port": recording.port,
        "width": recording.width,
        "height": recording.height,
        "recorded_at": recording.recorded_at.isoformat(),
        "timestamp": recording.timestamp,
        "start_time": recording.start_time,
        "end_time": recording.end_time,
        "duration": recording.duration,
        "num_dropped_frames": recording.num_dropped_frames,
        "frame_numbers": list(recording.numbers(frames)),
    }
    pixel_format = recording.pixel_format
    if pixel_format is not None:
        result["pixel_format"] = pixel_format
    return result


@contextmanager
def _replacing(path: str, overwrite: bool) -> Iterator[str]:
    """A path beside ``path`` to write to, which takes its place at the end."""
    if os.path.lexists(path) and not overwrite:
        raise FileExistsError(f"{path} is there already")
    part = f"{path}.{os.getpid()}.part"
    try:
        yield part
        if os.path.isdir(path) and not os.path.islink(path):
            shutil.rmtree(path)
        os.replace(part, path)
    finally:
        if os.path.isdir(part):
            shutil.rmtree(part)
        elif os.path.lexists(part):
            os.remove(part)


def _played(recording: "Recording", numbers: Sequence[int], progress: Optional[bool]) -> Iterator["Pixels"]:
    """Views of the frames, each valid until the next."""
    bar = progress_bar(progress, len(numbers), "exporting")
    try:
        for frame in recording.frames(numbers, copy=False):
            yield frame
            if bar is not None:
                bar.update()
    finally:
        if bar is not None:
            bar.close()


def to_npy(
    recording: "Recording",
    path: Path,
    *,
    frames: "FrameIndex" = _ALL,
    overwrite: bool = False,
    progress: Optional[bool] = None,
) -> None:
    """numpy's own format: (n, height, width) of uint16, for ``numpy.load(path, mmap_mode="r")``. The format has no
    attributes; they stand as JSON in a file beside it, ``path`` with ``.json`` behind."""
    path = os.fspath(path)
    values = attributes(recording, frames)
    numbers = values["frame_numbers"]
    with _replacing(path + ".json", overwrite) as beside, _replacing(path, overwrite) as part:
        with open(beside, "w", encoding="utf-8") as file:
            json.dump(values, file, indent=1)
        with open(part, "wb") as pixels:
            header = {"descr": "<u2", "fortran_order": False, "shape": (len(numbers), *recording.shape[1:])}
            numpy.lib.format.write_array_header_1_0(pixels, header)  # type: ignore[no-untyped-call]
            for frame in _played(recording, numbers, progress):
                pixels.write(frame.data)


def to_tiff(
    recording: "Recording",
    path: Path,
    *,
    frames: "FrameIndex" = _ALL,
    overwrite: bool = False,
    progress: Optional[bool] = None,
) -> None:
    """A page of 16 bits a pixel for each frame (BigTIFF from 4 GB on). The attributes stand as JSON in the first page's
    description: ``tifffile.TiffFile(path).shaped_metadata[0]``."""
    import tifffile

    values = attributes(recording, frames)
    numbers = values["frame_numbers"]
    shape = (len(numbers), *recording.shape[1:])
    big = 2 * shape[0] * shape[1] * shape[2] + (1 << 20) > 1 << 32
    with _replacing(os.fspath(path), overwrite) as part:
        with tifffile.TiffWriter(part, bigtiff=big) as file:
            file.write(
                _played(recording, numbers, progress),
                shape=shape,
                dtype="uint16",
                photometric="minisblack",
                metadata={**values, "axes": "TYX"},
            )


def to_hdf5(
    recording: "Recording",
    path: Path,
    *,
    dataset: str = "frames",
    compression: Optional[str] = None,
    frames: "FrameIndex" = _ALL,
    overwrite: bool = False,
    progress: Optional[bool] = None,
) -> None:
    """A data set, chunked by frame, with the attributes as its own. ``compression`` is h5py's: "gzip", "lzf"."""
    import h5py

    values = attributes(recording, frames)
    numbers = values["frame_numbers"]
    with _replacing(os.fspath(path), overwrite) as part:
        # Only the newer forms of HDF5 have attributes of more than 64 KiB, as long lists of numbers are.
        with h5py.File(part, "w", libver="latest") as file:
            pixels = file.create_dataset(
                dataset,
                shape=(len(numbers), *recording.shape[1:]),
                dtype="uint16",
                chunks=(1, *recording.shape[1:]) if numbers else None,
                compression=compression if numbers else None,
            )
            for name, value in values.items():
                pixels.attrs[name] = numpy.asarray(value, numpy.uint64) if name == "frame_numbers" else value
            for place, frame in enumerate(_played(recording, numbers, progress)):
                pixels.write_direct(frame, dest_sel=place)


def to_zarr(
    recording: "Recording",
    path: Path,
    *,
    compressor: Any = "default",
    frames: "FrameIndex" = _ALL,
    overwrite: bool = False,
    progress: Optional[bool] = None,
) -> None:
    """A Zarr array (version 2 of the format) in a folder: a chunk, and so a file, for each frame, which many programs
    can read at the same time. ``compressor`` is Zarr's; None for none."""
    import zarr

    values = attributes(recording, frames)
    numbers = values["frame_numbers"]
    with _replacing(os.fspath(path), overwrite) as part:
        pixels = zarr.open_array(
            part,
            mode="w",
            shape=(len(numbers), *recording.shape[1:]),
            chunks=(1, *recording.shape[1:]),
            dtype="<u2",
            compressor=compressor,
        )
        pixels.attrs.update(values)
        for place, frame in enumerate(_played(recording, numbers, progress)):
            pixels[place] = frame
