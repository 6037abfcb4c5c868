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
import warnings

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
    if type(value) is int and 1 <= value < 2**32:
        return value  # the common case, without the checks' cost on every call
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


class Stream:
    """What a reset=False call continues: the frames processed so far (blocks continue their
    grid), and the layout, channel count, rate and block size of the last call."""

    __slots__ = ("position", "layout", "channels", "sample_rate", "block_size")

    def __init__(self):
        self.position = 0
        self.layout = None
        self.channels = 0
        self.sample_rate = 0
        self.block_size = 0


# Frames of silence run through the nodes at a time in a tail.
TAIL_CHUNK = 16384


def tail_tracker(tail, tail_max, sample_rate, nodes):
    """The library's tail tracker for tail ("auto", or seconds) after nodes at sample_rate;
    None for 0. An automatic tail waits out the longest delay among the nodes."""
    if type(tail) is int and tail == 0:
        return None
    if isinstance(tail, str):
        if tail.lower() != "auto":
            raise ValueError(f'tail must be "auto" or a number of seconds, not {tail!r}')
        quiet = max(node.quiet_seconds(sample_rate) for node in nodes) if nodes else 0.05
        return _ostrana.TailTracker.automatic(sample_rate, seconds(tail_max, "tail_max"), quiet)
    if seconds(tail, "tail") == 0:
        return None
    return _ostrana.TailTracker.fixed(sample_rate, float(tail))


def seconds(value, name):
    """A length in seconds: a real number, 0 or more and finite."""
    if isinstance(value, (bool, np.bool_)) or not isinstance(value, numbers.Real):
        raise TypeError(f"{name} must be a number of seconds, not {value!r}")
    if not 0 <= float(value) < float("inf"):
        raise ValueError(f"{name} must be 0 seconds or more, and finite, not {value!r}")
    return float(value)


def run_tail(owner, nodes, tracker):
    """The tail after the stream of owner: silence run through the nodes until the tracker
    says the tail is complete, as (channels, frames). Warns when an automatic tail reached its
    cap (it is then faded out)."""
    stream = owner._stream
    silence = np.zeros(stream.channels * TAIL_CHUNK, dtype=np.float32)
    pieces = []
    while frames := tracker.frames_to_feed(TAIL_CHUNK):
        chunk = silence[:stream.channels * frames].reshape(stream.channels, frames)
        output = _ostrana.process(nodes, chunk, stream.sample_rate,
                                  stream.block_size, stream.position, False)
        stream.position += frames
        pieces.append(output[:, :tracker.take(output)])
    if tracker.capped:
        warnings.warn(f"the tail reached its cap of {tracker.frames / stream.sample_rate:g} s "
                      "before falling quiet, and was faded out over its last 50 ms "
                      "(a longer tail_max lets it ring out)", stacklevel=4)
    if not pieces:
        return np.zeros((stream.channels, 0), dtype=np.float32)
    return np.concatenate(pieces, axis=1)


def run(owner, nodes, audio, sample_rate, block_size, reset, channels_first=None, tail=0,
        tail_max=30.0):
    """Runs nodes in order over audio for owner (an effect or a chain), whose stream keeps the
    frame position its blocks continue from, and the layout of its last call, when reset is
    false. A tail ("auto" or seconds) follows the audio with what the nodes ring on with."""
    stream = owner._stream
    array, layout = planar(audio, channels_first, None if reset else stream.layout)
    rate = count(sample_rate, "sample_rate")
    block = count(block_size, "block_size")
    tracker = tail_tracker(tail, tail_max, rate, nodes)
    start = 0 if reset else stream.position
    output = _ostrana.process(nodes, array, rate, block, start, bool(reset))
    stream.position = start + array.shape[1]
    stream.layout = layout
    stream.channels, stream.sample_rate, stream.block_size = array.shape[0], rate, block
    if tracker is not None:
        output = np.concatenate((output, run_tail(owner, nodes, tracker)), axis=1)
    return layout.restore(output)


def flush(owner, nodes, sample_rate, tail, tail_max):
    """The rest of the tail after a stream of reset=False calls, in the stream's layout."""
    stream = owner._stream
    if stream.layout is None:
        raise ValueError("flush follows a stream of calls, and nothing was processed yet")
    rate = count(sample_rate, "sample_rate")
    if rate != stream.sample_rate:
        raise ValueError(f"flush continues the stream at {stream.sample_rate} Hz, not {rate} Hz")
    tracker = tail_tracker(tail, tail_max, rate, nodes)
    if tracker is None:
        output = np.zeros((stream.channels, 0), dtype=np.float32)
    else:
        output = run_tail(owner, nodes, tracker)
    return stream.layout.restore(output)


class Processor:
    """What effects and chains share: they are called on audio, stream, and ring on.
    Subclasses give _nodes(), the nodes that run in order, and keep a _stream."""

    __slots__ = ()

    def __call__(self, audio, sample_rate, *, block_size=512, reset=True, channels_first=None,
                 tail=0, tail_max=30.0):
        """Processes audio, float32 or float64, at sample_rate, in blocks of block_size frames.
        Returns a new float32 array in the input's layout.

        audio is (channels, frames), (frames, channels) or 1-D mono; channels_first=True or
        False says which of the two 2-D layouts it is. Left as None, only a shape with fewer
        rows than columns is taken, as (channels, frames), and other shapes are refused.

        reset=True processes as a fresh effect; reset=False continues from the previous call,
        in its layout, so a signal processed in chunks of any size gives exactly the samples
        of one call.

        tail="auto" follows the audio with what the effect rings on with after it: until the
        first 50 ms that stay below -100 dBFS (or, after an echo effect, as long as its delay),
        at most tail_max seconds (a tail cut there is faded out over its last 50 ms, with a
        warning); tail=SECONDS adds exactly that much. The default, 0, returns as many frames
        as came in."""
        return run(self, self._nodes(), audio, sample_rate, block_size, reset, channels_first,
                   tail, tail_max)

    def flush(self, sample_rate, *, tail="auto", tail_max=30.0):
        """The rest of a stream of reset=False calls: the tail rung on with after the last
        chunk (as the tail of a call), in the stream's layout. A later reset=False call
        continues after it."""
        return flush(self, self._nodes(), sample_rate, tail, tail_max)
