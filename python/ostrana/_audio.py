"""The layout convention, and running nodes over an array.

Audio is a NumPy array of one row per channel, (channels, frames), or of one column per
channel, (frames, channels), the layout soundfile reads and writes, or a 1-D array of frames
for mono. float32 and float64 are taken; the result is float32 in the input's layout.

channels_first=True or False states the layout. Left as None, it is taken from the shape where
the shape can only be (channels, frames): fewer rows than columns. Any other 2-D shape (more
rows than columns, or square) is refused with a message naming channels_first, rather than
guessed. A call with reset=False continues in the layout of the call it continues, so the short
last chunk of a stream needs nothing stated. An array of no frames is (channels, 0).
"""

import numbers
import operator

import numpy as np

from . import _ostrana

ACCEPTED_TYPES = (np.float32, np.float64)


def _layout_error(shape):
    rows, columns = shape
    looks = "is square" if rows == columns else "has more rows than columns"
    return ValueError(
        f"audio of shape {shape} {looks}, so its layout cannot be told from its shape: pass "
        "channels_first=False for (frames, channels), the layout soundfile reads, or "
        "channels_first=True for (channels, frames)")


def guessed_layout(shape):
    """True when a 2-D shape can only be (channels, frames); refuses any other shape."""
    rows, columns = shape
    if columns == 0 or rows < columns:
        return True
    raise _layout_error(shape)


class Layout:
    """How an array holds its channels: mono (1-D), or 2-D with channels first or last."""

    __slots__ = ("mono", "channels_first")

    def __init__(self, mono, channels_first):
        self.mono = mono
        self.channels_first = channels_first

    def restore(self, planar_output):
        """The (channels, frames) output in this layout."""
        if self.mono:
            return planar_output[0]
        return planar_output if self.channels_first else planar_output.T


def planar(audio, channels_first=None, previous=None):
    """(array, layout): the audio as a C-contiguous float32 (channels, frames) array (the input
    itself when it is one already) and the layout it came in. previous, the layout of the call
    a stream continues, decides a 2-D layout that is not stated."""
    array = np.asarray(audio)
    if array.dtype not in ACCEPTED_TYPES:
        raise TypeError(f"audio must be float32 or float64, not {array.dtype}")
    if channels_first is not None and not isinstance(channels_first, bool):
        raise TypeError(f"channels_first must be True, False or None, not {channels_first!r}")
    if array.ndim == 1:
        return np.ascontiguousarray(array[np.newaxis, :], dtype=np.float32), Layout(True, True)
    if array.ndim != 2:
        raise ValueError(
            f"audio must be 1-D (mono frames) or 2-D ((channels, frames) or (frames, channels)), "
            f"not of shape {array.shape}")
    if channels_first is None:
        if previous is not None and not previous.mono:
            channels_first = previous.channels_first
        else:
            channels_first = guessed_layout(array.shape)
    if not channels_first:
        array = array.T
    return np.ascontiguousarray(array, dtype=np.float32), Layout(False, channels_first)


def count(value, name):
    """A positive whole number that fits 32 bits, from an int-like value or a float that is
    whole (44100.0, as files report rates). Booleans are refused: True is no rate."""
    if isinstance(value, (bool, np.bool_)):
        raise TypeError(f"{name} must be a whole number, not {value!r}")
    if isinstance(value, numbers.Real) and not isinstance(value, numbers.Integral):
        whole = float(value)
        if not whole.is_integer():
            raise TypeError(f"{name} must be a whole number, not {value!r}")
        value = int(whole)
    try:
        count = operator.index(value)
    except TypeError:
        raise TypeError(f"{name} must be a whole number, not {value!r}") from None
    if not 1 <= count < 2**32:
        raise ValueError(f"{name} must be a positive whole number, not {count}")
    return count


def run(owner, nodes, audio, sample_rate, block_size, reset, channels_first=None):
    """Runs nodes in order over audio for owner (an effect or a chain), which keeps the frame
    position its blocks continue from, and the layout of its last call, when reset is false."""
    array, layout = planar(audio, channels_first, None if reset else owner._layout)
    start = 0 if reset else owner._position
    output = _ostrana.process(nodes, array, count(sample_rate, "sample_rate"),
                              count(block_size, "block_size"), start, bool(reset))
    owner._position = start + array.shape[1]
    owner._layout = layout
    return layout.restore(output)
