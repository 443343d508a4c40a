#!/usr/bin/python3
"""Statistics of each frame of a recording, by the workers of a Dask cluster.

    frame_statistics.py RECORDING STORE [SCHEDULER]

writes the newest recording with that name to a Zarr store, a file for each frame, in a folder that every worker can
read (on a cluster: a network file system), and has the workers compute mean, standard deviation, least and greatest
pixel of each frame. SCHEDULER is the address of a running cluster (`dask-scheduler` prints it); without one, two workers on
this machine do. The workers need neither the service nor this package: they read the store."""

import sys
from contextlib import nullcontext

import dask.array
import numpy as np
from dask.distributed import Client, LocalCluster

import tavu


def statistics(frames):
    """(n, 4) of float64 for (n, height, width): mean, standard deviation, least, greatest."""
    pixels = frames.reshape(len(frames), -1)
    return np.stack([pixels.mean(1), pixels.std(1), pixels.min(1), pixels.max(1)], axis=1)


def statistics_of_store(store, frames_per_task=8):
    """The same for a whole store, in frames' order. A task works on so many frames; each worker reads its own."""
    frames = dask.array.from_zarr(store).rechunk({0: frames_per_task})
    # Dask would try the function out on an empty array if `meta` didn't say what comes of it.
    results = frames.map_blocks(
        statistics, dtype=np.float64, chunks=(frames.chunks[0], (4,)), drop_axis=(1, 2), new_axis=1,
        meta=np.empty((0, 0), np.float64),
    )
    return results.compute()


def main(name, store, scheduler=None):
    with tavu.connect() as service:
        recordings = [one for device in service.devices() for one in device.recordings() if one.name == name]
        if not recordings:
            sys.exit(f"no recording is called {name!r}")
        recordings[-1].to_zarr(store, overwrite=True)
    with nullcontext(scheduler) if scheduler else LocalCluster(
        n_workers=2, threads_per_worker=1, dashboard_address=None
    ) as cluster, Client(cluster):
        for number, row in enumerate(statistics_of_store(store)):
            print("frame %d: mean %.2f, deviation %.2f, least %d, greatest %d" % (number, *row))


if __name__ == "__main__":
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
