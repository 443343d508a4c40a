#!/usr/bin/python3
"""Records two seconds, plays them, and plots the histogram of the pixels and the intervals between the frames.

Its cells (`# %%`) run one by one in Spyder, VS Code or Jupyter (jupytext); as a program it takes the folder for its
pictures. It takes the emulated device: start the service with `TAVUSRV_ENABLE_EMULATOR=1 tavusvc noautoclose`."""

# %% Connecting, and what there is
import os
import sys

import matplotlib

if not (os.environ.get("DISPLAY") or os.environ.get("WAYLAND_DISPLAY") or "ipykernel" in sys.modules):
    matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

import tavu
from tavu.synthetic import emulated_header

folder = sys.argv[1] if len(sys.argv) > 1 and "ipykernel" not in sys.modules else "."
service = tavu.connect()
for device in service.devices():
    print(device.index, device.name, [port.name for port in device.ports()])

# %% Recording
device = service.device("Emulator")
port = device.port(0)
port.pair("Bench camera")
port.configure(640, 480)
with device.record(frames=60, name="First look") as running:
    pass
recording = running.recording
print(recording, "of", recording.recorded_at)

# %% The histogram of all pixels. Nothing is kept of a frame but its counts, so that views will do.
edges = np.arange(0, 65537, 1024)
counts = np.zeros(len(edges) - 1, np.int64)
for frame in recording.frames(copy=False):
    counts += np.histogram(frame, edges)[0]

fig, axes = plt.subplots(1, 2, figsize=(10, 4), layout="constrained")
image = axes[0].imshow(recording[30], cmap="gray", vmin=0, vmax=65535)
axes[0].set(title=f"{recording.name}, frame 30", xlabel="column", ylabel="row")
fig.colorbar(image, ax=axes[0], shrink=0.7)
axes[1].stairs(counts, edges, fill=True)
axes[1].set(title=f"{counts.sum():,} pixels of {len(recording)} frames", xlabel="value", ylabel="pixels")
axes[1].set(xlim=(0, 65536), ylim=(0, counts.max() * 1.1))
fig.savefig(os.path.join(folder, "histogram.png"), dpi=100)

# %% The intervals between the frames, by the clock in the emulated camera's header
headers = [emulated_header(frame) for frame in recording.frames(copy=False)]
numbers, times = np.array(headers).T
intervals = np.diff(times) * 1000
print("frames missing:", int(numbers[-1]) + 1 - len(numbers))

fig, axis = plt.subplots(figsize=(8, 3.5), layout="constrained")
axis.plot(numbers[1:], intervals, ".-")
axis.set(title="Intervals between frames", xlabel="frame", ylabel="ms", ylim=(0, intervals.max() * 1.5))
axis.axhline(np.median(intervals), color="gray", lw=0.8, ls="--", zorder=0)
axis.annotate(f"median {np.median(intervals):.1f} ms", (numbers[-1], np.median(intervals)), (0, 6),
              textcoords="offset points", ha="right")
fig.savefig(os.path.join(folder, "intervals.png"), dpi=100)

# %% Putting away
recording.to_npy(os.path.join(folder, "first-look.npy"), overwrite=True)
recording.remove()
service.close()
