"""A recording under way."""

from __future__ import annotations

import sys
import time
from types import TracebackType
from typing import TYPE_CHECKING, Any, List, Optional, Sequence, Type

from .protocol import StopCondition, TriggerBit

if TYPE_CHECKING:
    from .device import Device
    from .recording import Recording

_POLL_SECONDS = 0.05


def progress_bar(show: Optional[bool], total: Optional[int], text: str) -> Any:
    """tqdm's bar; None when it isn't wanted, or isn't installed. By itself (``show`` is None) there is one in a
    terminal and in a notebook."""
    if show is None:
        show = sys.stderr.isatty() or "ipykernel" in sys.modules
    if not show:
        return None
    try:
        from tqdm.auto import tqdm
    except ImportError:
        return None
    return tqdm(total=total, desc=text, unit="frame")


class RunningRecording:
    """A recording under way; ``Device.record()`` starts it. It belongs to the device, and runs on without its client,
    until ``stop()``, which also stores it. A ``with`` block does so at its end: it first waits for the frames or
    seconds that were asked for, but neither when an exception ends the block nor when the recording has no limit."""

    def __init__(
        self,
        device: "Device",
        *,
        frames: Optional[int],
        seconds: Optional[float],
        ports: Sequence[int],
        name: Optional[str],
        pretrigger: Optional[float],
        external_start: bool,
        external_stop: bool,
        start_variant: bool,
        stop_variant: bool,
        progress: Optional[bool],
    ) -> None:
        if frames is not None and seconds is not None:
            raise ValueError("a recording ends after frames or after seconds, not both")
        if not ports or not all(0 <= port < 32 for port in ports):
            raise ValueError("a recording takes ports from 0 to 31, at least one")
        self.device = device
        self.ports = list(ports)
        self._frames = frames
        self._limited = frames is not None or seconds is not None
        self._name = name
        self._progress = progress
        self._recordings: Optional[List["Recording"]] = None
        trigger = TriggerBit(0)
        trigger |= TriggerBit.Start if external_start else trigger
        trigger |= TriggerBit.Stop if external_stop else trigger
        trigger |= TriggerBit.StartVariant if start_variant else trigger
        trigger |= TriggerBit.StopVariant if stop_variant else trigger
        condition, count = StopCondition.NONE, 0
        if frames is not None:
            condition, count = StopCondition.FrameCount, frames
        elif seconds is not None:
            condition, count = StopCondition.Time, _microseconds(seconds)
        device._call(
            "startRecording",
            portMask=sum(1 << port for port in set(ports)),
            externalTrigger=int(trigger),
            type=int(condition),
            count=count,
            usePretrigger=pretrigger is not None,
            pretriggerCount=_microseconds(pretrigger or 0),
        )

    def __repr__(self) -> str:
        return f"<tavu.RunningRecording on device {self.device.index}, ports {self.ports}>"

    @property
    def done(self) -> bool:
        """Whether it has come to its end by itself; it still wants ``stop()``."""
        done: bool = self.device._call("isRecordingDone")["done"]
        return done

    def num_frames(self, port: Optional[int] = None) -> int:
        """The frames so far of a port (by itself: the first one); before the trigger those in the loop."""
        return int(self._progress_of(port)["numFrames"])

    def in_pretrigger(self, port: Optional[int] = None) -> bool:
        """Whether it still waits for the trigger."""
        return bool(self._progress_of(port)["inPretrigger"])

    def _progress_of(self, port: Optional[int]) -> Any:
        return self.device._call("recordingProgress", port=self.ports[0] if port is None else port)

    def trigger(self) -> None:
        """Fires the software trigger."""
        self.device._call("softwareTrigger")

    def wait(self, timeout: Optional[float] = None) -> bool:
        """Waits until it has come to its end by itself; False when it hasn't after ``timeout`` seconds. A service that
        dies raises ``ConnectionLost``."""
        deadline = None if timeout is None else time.monotonic() + timeout
        bar = progress_bar(self._progress, self._frames, "recording")
        try:
            while True:
                done = self.done
                if bar is not None and not self.in_pretrigger():
                    bar.update(self.num_frames() - bar.n)
                if done:
                    return True
                left = _POLL_SECONDS if deadline is None else deadline - time.monotonic()
                if left <= 0:
                    return False
                time.sleep(min(left, _POLL_SECONDS))
        finally:
            if bar is not None:
                bar.close()

    def stop(self) -> List["Recording"]:
        """Stops and stores it, and returns the recordings, one for each port that has frames. Needed also after a
        recording that has come to its end; a second call returns the same list."""
        if self._recordings is None:
            self.device._call("stopRecording")
            self._recordings = []
            self._recordings = self._find()
            if self._name:
                for found in self._recordings:
                    found.rename(self._name if len(self._recordings) == 1 else f"{self._name} {found.port}")
        return self._recordings

    def _find(self) -> List["Recording"]:
        listed = {(one.file_id, one.stream_id): one for one in self.device.recordings()}
        targets = [self.device._call("recordingFile", port=port) for port in self.ports]
        keys = [(target["fileId"], target["streamId"]) for target in targets]
        return [listed[key] for key in keys if key in listed]

    @property
    def recordings(self) -> List["Recording"]:
        """What was recorded, one for each port that has frames. Raises ``RuntimeError`` before ``stop()``."""
        if self._recordings is None:
            raise RuntimeError("the recording still runs: stop() stores it")
        return self._recordings

    @property
    def recording(self) -> "Recording":
        """The first of them. Raises ``RuntimeError`` when there is none: no frame came."""
        if not self.recordings:
            raise RuntimeError("no frame was stored")
        return self.recordings[0]

    def __enter__(self) -> "RunningRecording":
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], fault: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        if self._recordings is not None:
            return
        try:
            if kind is None and self._limited:
                self.wait()
        except BaseException:
            self._stop_quietly()
            raise
        if kind is None:
            self.stop()
        else:
            self._stop_quietly()

    def _stop_quietly(self) -> None:
        """Whatever made us come here is the fault that people want to see."""
        try:
            if self.device.connection.closed:
                # Ctrl-C in the middle of a request has ended it, and the recording still runs.
                with self.device.connection.another() as connection:
                    connection.call("stopRecording", deviceId=self.device.index)
            else:
                self.stop()
        except Exception:
            pass


def _microseconds(seconds: float) -> int:
    return round(seconds * 1_000_000)
