"""Files: read gives (channels, frames) float32 and the rate; write stores float samples
exactly and integer samples as the command line's writer does."""

import numpy as np
import pytest
import soundfile

import ostrana
from conftest import assert_bit_identical, render_with_fx, signal


def test_float_write_and_read_are_exact(tmp_path):
    audio = signal(2, 10000) * 3  # beyond full scale too: float keeps every value
    path = tmp_path / "out.wav"
    ostrana.write(path, audio, 44100)
    read, rate = ostrana.read(path)
    assert rate == 44100
    assert read.flags.c_contiguous and read.dtype == np.float32
    assert_bit_identical(read, audio)


def test_mono_1d_writes_one_channel(tmp_path):
    path = tmp_path / "mono.flac"
    ostrana.write(path, signal(1, 1000)[0], 48000, format="pcm16")
    info = soundfile.info(path)
    assert (info.channels, info.frames, info.format) == (1, 1000, "FLAC")


@pytest.mark.parametrize("output_format", ["pcm16", "pcm24"])
def test_integer_formats_match_the_command_line(tmp_path, output_format):
    audio = signal(2, 20000) * 1.8  # some samples beyond full scale, to clip
    delay = ostrana.Delay()
    expected = render_with_fx(tmp_path, audio, 48000, [delay], 512, output_format)
    path = tmp_path / "ours.wav"
    ostrana.write(path, delay(audio, 48000), 48000, format=output_format)
    ours, _ = soundfile.read(path, dtype="int32", always_2d=True)
    assert np.array_equal(ours.T, expected)
    # Both clipped the samples beyond full scale (read back as 32-bit integers).
    full_scale = {"pcm16": 32767 << 16, "pcm24": 8388607 << 8}[output_format]
    assert ours.max() == full_scale


def test_unknown_format_is_refused(tmp_path):
    with pytest.raises(ValueError, match="format must be one of float, pcm16, pcm24"):
        ostrana.write(tmp_path / "x.wav", signal(2, 100), 48000, format="mp3")
