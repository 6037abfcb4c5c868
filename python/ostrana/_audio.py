"""The shape convention, and running nodes over an array.

Audio is a NumPy array of shape (channels, frames), one row per channel, or a 1-D array of
frames for mono. float32 and float64 are taken; the result is float32 of the input's shape.
A 2-D array with more rows than columns, or a square one with more than one row, is refused
rather than guessed: it looks like (frames, channels), the layout soundfile returns. (So a
piece of stereo audio needs 3 frames or more; an array of no frames is always taken as
(channels, 0).)
"""

import operator

import numpy as np

from . import _ostrana

ACCEPTED_TYPES = (np.float32, np.float64)


def _dimension_error(shape):
    rows, columns = shape
    if rows == columns:
        return ValueError(
            f"audio of shape {shape} is square, so its channels cannot be told from its "
            "frames; the effects take (channels, frames)")
    return ValueError(
        f"audio of shape {shape} has more rows than columns: it looks like (frames, channels), "
        "the layout soundfile returns; the effects take (channels, frames), so pass audio.T")


def planar(audio):
    """(array, mono): the audio as a C-contiguous float32 (channels, frames) array, the input
    itself when it is one already, and whether it came as a 1-D mono array."""
    array = np.asarray(audio)
    if array.dtype not in ACCEPTED_TYPES:
        raise TypeError(f"audio must be float32 or float64, not {array.dtype}")
    if array.ndim == 1:
        return np.ascontiguousarray(array[np.newaxis, :], dtype=np.float32), True
    if array.ndim != 2:
        raise ValueError(
            f"audio must be 1-D (mono frames) or 2-D (channels, frames), not of shape "
            f"{array.shape}")
    rows, columns = array.shape
    if columns > 0 and (rows > columns or (rows == columns and rows > 1)):
        raise _dimension_error(array.shape)
    return np.ascontiguousarray(array, dtype=np.float32), False


def count(value, name):
    """A positive whole number that fits 32 bits, from an int-like value."""
    try:
        count = operator.index(value)
    except TypeError:
        raise TypeError(f"{name} must be a whole number, not {value!r}") from None
    if not 1 <= count < 2**32:
        raise ValueError(f"{name} must be a positive whole number, not {count}")
    return count


def run(owner, nodes, audio, sample_rate, block_size, reset):
    """Runs nodes in order over audio for owner (an effect or a chain), which keeps the frame
    position its blocks continue from when reset is false."""
    array, mono = planar(audio)
    start = 0 if reset else owner._position
    output = _ostrana.process(nodes, array, count(sample_rate, "sample_rate"),
                              count(block_size, "block_size"), start, bool(reset))
    owner._position = start + array.shape[1]
    return output[0] if mono else output
