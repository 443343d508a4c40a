"""What the documents and the examples say, done as they say it."""

import os
import re
import runpy
import subprocess
import sys

import numpy as np
import pytest
from conftest import ROOT

import tavu

EXAMPLES = ROOT / "python/examples"


def snippets(path, heading):
    """The Python blocks of a section of a document."""
    section = re.search(rf"^(#+) {heading}\n(.*?)(?=^\1 |\Z)", (ROOT / path).read_text(), re.M | re.S)
    return re.findall(r"^```python\n(.*?)^```", section[2], re.M | re.S)


@pytest.mark.parametrize("path, heading", [("README.md", "From Python"), ("python/README.md", "The package tavu")])
def test_documents(path, heading, device, tmp_path, monkeypatch):
    pytest.importorskip("matplotlib").use("Agg")
    monkeypatch.chdir(tmp_path)
    with device.record(frames=30, name="First take"):
        pass
    blocks = snippets(path, heading)
    assert blocks
    names = {}
    for number, block in enumerate(blocks):
        exec(compile(block, f"{path}, block {number + 1}", "exec"), names)
    assert isinstance(names["pixels"], np.ndarray)


def test_first_look(emulator, tmp_path, monkeypatch):
    image = pytest.importorskip("matplotlib.image")
    monkeypatch.setattr(sys, "argv", ["first_look.py", str(tmp_path)])
    names = runpy.run_path(str(EXAMPLES / "first_look.py"))
    assert names["counts"].sum() == 60 * 640 * 480 and np.allclose(names["intervals"], 33)
    for picture in ("histogram.png", "intervals.png"):
        assert image.imread(tmp_path / picture).std() > 0.05, "the picture is blank"
    assert np.load(tmp_path / "first-look.npy", mmap_mode="r").shape == (60, 480, 640)


def test_statistics_by_the_workers_of_a_cluster(recording, tmp_path):
    pytest.importorskip("distributed")
    pytest.importorskip("zarr")
    lines = subprocess.run(
        [sys.executable, EXAMPLES / "frame_statistics.py", "Twelve", tmp_path / "run.zarr"],
        stdout=subprocess.PIPE, cwd=tmp_path, env=dict(os.environ), text=True, timeout=120, check=True,
    ).stdout.splitlines()  # fmt: skip
    pixels = recording[:].astype(float)
    assert lines == [
        "frame %d: mean %.2f, deviation %.2f, least %d, greatest %d"
        % (number, frame.mean(), frame.std(), frame.min(), frame.max())
        for number, frame in enumerate(pixels)
    ]


def test_errors_are_documented():
    text = (ROOT / "python/README.md").read_text()
    for name in ("Error", "ServiceError", "ConnectionLost", "NoService", "ProtocolError"):
        assert issubclass(getattr(tavu, name), tavu.Error) and f"`{name}`" in text
