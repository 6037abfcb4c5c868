"""Reading and writing sound files through libsndfile (by way of soundfile), in the
(channels, frames) layout the effects take."""

import numpy as np
import soundfile

from . import _audio

# The sample formats of the command line's --format, as libsndfile's subtypes. Integer formats
# clip out-of-range samples at full scale, as the command line's writer does.
FORMATS = {"float": "FLOAT", "pcm16": "PCM_16", "pcm24": "PCM_24"}


def read(path):
    """(audio, sample_rate): a WAV, FLAC, AIFF or Ogg file as a float32 (channels, frames)
    array and its rate in Hz."""
    frames, sample_rate = soundfile.read(path, dtype="float32", always_2d=True)
    return np.ascontiguousarray(frames.T), sample_rate


def write(path, audio, sample_rate, format="float"):
    """Writes audio, (channels, frames) or 1-D mono, to a file whose type follows its name
    (.wav, .flac, ...), with samples as format says: "float" (32-bit float, exactly the
    samples given as float32), "pcm16" or "pcm24"."""
    if format not in FORMATS:
        raise ValueError(f"format must be one of {', '.join(FORMATS)}, not {format!r}")
    array, _ = _audio.planar(audio)
    soundfile.write(path, array.T, _audio.count(sample_rate, "sample_rate"),
                    subtype=FORMATS[format])
