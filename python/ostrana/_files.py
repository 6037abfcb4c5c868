"""Reading and writing sound files through libsndfile (by way of soundfile), in the
(channels, frames) layout the effects take."""

import numpy as np
import soundfile

from . import _audio

# The sample formats of the command line's --format, as libsndfile's subtypes.
FORMATS = {"float": "FLOAT", "pcm16": "PCM_16", "pcm24": "PCM_24"}
INTEGER_BITS = {"pcm16": 16, "pcm24": 24}


def _integers(array, bits):
    """Samples as integers of a bits-deep format, as the command line's writer makes them with
    --dither none: scaled so that 1.0 is full scale, rounded to the nearest step (halves to
    even), clipped at full scale, NaN as silence; held in the top bits of 32-bit integers,
    which libsndfile only shifts."""
    full_scale = 2.0 ** (bits - 1)
    scaled = np.rint(np.nan_to_num(array.astype(np.float64) * full_scale, nan=0.0))
    steps = np.clip(scaled, -full_scale, full_scale - 1).astype(np.int64)
    return (steps << (32 - bits)).astype(np.int32)


def read(path):
    """(audio, sample_rate): a WAV, FLAC, AIFF or Ogg file as a float32 (channels, frames)
    array and its rate in Hz."""
    frames, sample_rate = soundfile.read(path, dtype="float32", always_2d=True)
    return np.ascontiguousarray(frames.T), sample_rate


def write(path, audio, sample_rate, format="float"):
    """Writes audio, (channels, frames) or 1-D mono, to a file whose type follows its name
    (.wav, .flac, ...), with samples as format says: "float" (32-bit float, exactly the
    samples given as float32), "pcm16" or "pcm24" (rounded to the nearest step and clipped
    at full scale, without dither: as ostrana-fx render --dither none writes them)."""
    if format not in FORMATS:
        raise ValueError(f"format must be one of {', '.join(FORMATS)}, not {format!r}")
    array, _ = _audio.planar(audio)
    if format in INTEGER_BITS:
        array = _integers(array, INTEGER_BITS[format])
    soundfile.write(path, array.T, _audio.count(sample_rate, "sample_rate"),
                    subtype=FORMATS[format])
