#!/usr/bin/python3
"""Frames per second of ``recording.frames()``, held against a bare loop over the pipe and the mapping that does nothing
but ask for each frame. Both play the same recording of the emulated device, in turns; the figures are medians.

    TAVUSRV_ENABLE_EMULATOR=1 tavusvc noautoclose &
    /usr/bin/python3 python/bench/playback.py [WIDTHxHEIGHT [FRAMES [ROUNDS]]]

The recording is made first and removed at the end."""

import mmap
import os
import statistics
import sys
import time

import msgpack

import tavu
from tavu.transport import default_address, open_socket


def bare(recording):
    """What no client can do without: a request and its reply for each frame."""
    channel = open_socket(default_address())._socket

    def ask(**message):
        channel.sendall(msgpack.packb(message))
        return msgpack.unpackb(channel.recv(1 << 16))

    ask(act="verCheck", ver=0)
    place = {"deviceId": recording.device.index, "fileId": recording.file_id, "streamId": recording.stream_id}
    opened = ask(act="exec", ord=27, params=place)["result"]
    handle = os.open("/dev/shm/" + opened["mapping"], os.O_RDONLY)
    mapping = mmap.mmap(handle, 0, prot=mmap.PROT_READ)
    os.close(handle)
    total = 0
    for number in range(recording.num_frames):
        params = {"deviceId": place["deviceId"], "openFileId": opened["openFileId"], "frame": number}
        channel.sendall(msgpack.packb({"act": "exec", "ord": 30, "params": params}))
        channel.recv(1 << 16)
        total += mapping[2000]
    channel.close()
    return total


def views(recording):
    return sum(int(frame.flat[1000]) & 255 for frame in recording.frames(copy=False))


def copies(recording):
    return sum(int(frame.flat[1000]) & 255 for frame in recording.frames())


def seconds(play, recording):
    begin = time.perf_counter()
    play(recording)
    return time.perf_counter() - begin


def main(size="4096x3072", frames="40", rounds="9"):
    width, height = map(int, size.split("x"))
    with tavu.connect() as service:
        device = service.device("Emulator")
        port = device.port(0)
        if not port.camera:
            port.pair("Bench")
        port.configure(width, height)
        with device.record(frames=int(frames)) as running:
            pass
        recording = running.recording
        try:
            ways = (bare, views, copies)
            for play in ways:
                play(recording)
            times = [[seconds(play, recording) for play in ways] for _ in range(int(rounds))]
        finally:
            recording.remove()
    count = recording.num_frames
    print(f"{count} frames of {size}, {rounds} rounds")
    for place, play in enumerate(ways):
        ratio = statistics.median(row[0] / row[place] for row in times)
        rate = count / statistics.median(row[place] for row in times)
        print(f"{play.__name__:7} {rate:9.1f} frames/s, {ratio:.3f} of the bare loop")


main(*sys.argv[1:])
