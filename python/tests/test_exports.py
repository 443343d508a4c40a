"""Recordings as other programs' files: written by the package, read by the formats' own modules."""

import json

import numpy as np
import pytest

import tavu
from tavu import export


def read_npy(path):
    return np.load(path), json.loads((path.parent / (path.name + ".json")).read_text())


def read_tiff(path):
    tifffile = pytest.importorskip("tifffile")
    with tifffile.TiffFile(path) as file:
        assert len(file.pages) == len(file.asarray())
        return file.asarray(), file.shaped_metadata[0]


def read_hdf5(path):
    h5py = pytest.importorskip("h5py")
    with h5py.File(path, "r") as file:
        pixels = file["frames"]
        assert pixels.chunks == (1, *pixels.shape[1:])
        return pixels[:], dict(pixels.attrs)


def read_zarr(path):
    zarr = pytest.importorskip("zarr")
    pixels = zarr.open_array(str(path), mode="r")
    assert pixels.chunks == (1, *pixels.shape[1:])
    return pixels[:], dict(pixels.attrs)


FORMATS = {"npy": read_npy, "tiff": read_tiff, "hdf5": read_hdf5, "zarr": read_zarr}


@pytest.mark.parametrize("name", FORMATS)
def test_export(name, recording, tmp_path):
    path, write, read = tmp_path / f"run.{name}", getattr(recording, f"to_{name}"), FORMATS[name]
    write(path)
    pixels, attributes = read(path)
    assert pixels.dtype == np.uint16 and np.array_equal(pixels, recording[:])
    assert {key: attributes[key] for key in ("name", "camera", "port", "width", "height", "pixel_format")} == {
        "name": "Twelve", "camera": "Bench camera", "port": "Emu", "width": 64, "height": 48, "pixel_format": 7,
    }  # fmt: skip
    assert attributes["timestamp"] == recording.timestamp
    assert attributes["recorded_at"] == recording.recorded_at.isoformat()
    assert {"start_time", "end_time", "duration", "num_dropped_frames"} <= set(attributes)
    assert list(attributes["frame_numbers"]) == list(range(12))
    with pytest.raises(FileExistsError):
        write(path)
    write(path, frames=[7, 3, -1], overwrite=True)
    pixels, attributes = read(path)
    assert np.array_equal(pixels, recording[[7, 3, 11]]) and list(attributes["frame_numbers"]) == [7, 3, 11]
    # One that fails in the middle leaves what was there, and nothing else.
    before = sorted(tmp_path.iterdir())
    recording.num_frames = 14
    with pytest.raises(tavu.ServiceError, match="Invalid frame index"):
        write(path, overwrite=True)
    assert sorted(tmp_path.iterdir()) == before and np.array_equal(read(path)[0], pixels)


def test_many_frame_numbers(recording, tmp_path):
    """More than an attribute of HDF5 could take before."""
    pytest.importorskip("h5py")
    numbers = [number % 12 for number in range(10_000)]
    recording.to_hdf5(tmp_path / "long.h5", frames=numbers, compression="lzf")
    pixels, attributes = read_hdf5(tmp_path / "long.h5")
    assert list(attributes["frame_numbers"]) == numbers and np.array_equal(pixels[-1], recording[numbers[-1]])


def test_pixel_format_of_a_port_that_was_configured_anew(device, recording):
    device.port(0).configure(32, 32)
    assert "pixel_format" not in export.attributes(recording)
