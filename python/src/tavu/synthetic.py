"""What the frames of the emulated device and of simulated recorders tell of themselves. Real cameras don't: this is for
examples and tests. docs/protocol.md and simulator/README.md describe the frames."""

from __future__ import annotations

from typing import Any, Tuple

from .region import Pixels


def emulated_header(frame: Pixels) -> Tuple[int, float]:
    """The number of a frame that the emulated device recorded, from 0, and its time in seconds, on a clock that gains
    33 ms a frame. Raises ``ValueError`` for a frame too narrow to have the header: it takes 12 pixels."""
    if frame.shape[1] < 12:
        raise ValueError("frames of this width have no number in their header: it takes at least 12 pixels")
    header: Any = frame[0, :12].astype("<u4")
    # Three words: hour, minute and second of 4 (in a field of 6), 6 and 6 bits, then the microseconds' two halves.
    packed = int(header[2])
    hours, minutes, seconds = packed >> 12, packed >> 6 & 63, packed & 63
    microseconds = int(header[3]) << 16 | int(header[4])
    return int(header[10]) | int(header[11]) << 16, hours * 3600 + minutes * 60 + seconds + microseconds / 1e6


def simulated_header(frame: Pixels) -> Tuple[int, int]:
    """The number of a frame of a simulated recorder, from 0, and its port's, from 1."""
    port, *words = (int(word) for word in frame.reshape(-1)[:5])
    return sum(word << 16 * place for place, word in enumerate(words)), port
