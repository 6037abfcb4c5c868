"""Files: read gives (channels, frames) float32 and the rate; write stores float samples
exactly, integer samples rounded to the nearest step with clipping counted and warned of, in
every container the command line writes; AudioFile streams; errors are Python's own."""

import os
import subprocess
import warnings

import numpy as np
import pytest
import soundfile

import ostrana
from conftest import FX, assert_bit_identical, render_with_fx, signal

# Bits of each integer format, as libsndfile reads them back into 32-bit integers.
BITS = {"pcm16": 16, "pcm24": 24, "pcm32": 32, "pcm8": 8, "u8": 8}


def rounded(audio, bits):
    """The nearest integer steps of float samples, clipped at full scale, in the top bits of
    32-bit integers: what an integer file must hold."""
    full_scale = 2.0 ** (bits - 1)
    steps = np.clip(np.rint(audio.astype(np.float64) * full_scale), -full_scale, full_scale - 1)
    return steps.astype(np.int64) << (32 - bits)


def quietly(call, *args, **keywords):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return call(*args, **keywords)


def test_float_write_and_read_are_exact(tmp_path):
    audio = signal(2, 10000) * 3  # beyond full scale too: float keeps every value
    path = tmp_path / "out.wav"
    ostrana.write(path, audio, 44100)
    read, rate = ostrana.read(path)
    assert rate == 44100
    assert read.flags.c_contiguous and read.dtype == np.float32
    assert_bit_identical(read, audio)
    assert_bit_identical(ostrana.read(path, channels_first=False)[0], audio.T)


def test_double_holds_the_float32_samples_exactly(tmp_path):
    audio = signal(2, 3000) * 2
    ostrana.write(tmp_path / "x.wav", audio, 48000, format="double")
    assert soundfile.info(tmp_path / "x.wav").subtype == "DOUBLE"
    assert_bit_identical(ostrana.read(tmp_path / "x.wav")[0], audio)


def test_mono_1d_writes_one_channel(tmp_path):
    path = tmp_path / "mono.flac"
    ostrana.write(path, signal(1, 1000)[0], 48000, format="pcm16")
    info = soundfile.info(path)
    assert (info.channels, info.frames, info.format) == (1, 1000, "FLAC")


@pytest.mark.parametrize("name, output_format", [
    ("x.wav", "pcm16"), ("x.wav", "pcm24"), ("x.wav", "pcm32"), ("x.wav", "u8"),
    ("x.aiff", "pcm8"), ("x.flac", "pcm16"), ("x.flac", "pcm24"), ("x.caf", "pcm24")])
def test_integer_samples_are_rounded_to_the_nearest_step(tmp_path, name, output_format):
    # A slow sweep across every step's neighbourhood, and samples beyond full scale.
    ramp = np.linspace(-1.2, 1.2, 2 * 48000, dtype=np.float32)
    audio = np.stack([ramp, ostrana.Delay()(signal(1, ramp.size), 48000)[0] * 1.5])
    with pytest.warns(UserWarning, match="samples beyond full scale were clipped"):
        ostrana.write(tmp_path / name, audio, 48000, format=output_format)
    ours, _ = soundfile.read(tmp_path / name, dtype="int32", always_2d=True)
    bits = BITS[output_format]
    assert np.array_equal(ours.T, rounded(audio, bits))
    inside = np.abs(ramp) < 0.99
    error = ours[inside, 0] / 2.0 ** (32 - bits) - ramp[inside].astype(np.float64) * 2.0 ** (
        bits - 1)
    assert abs(error.mean()) < 0.01 and np.abs(error).max() <= 0.5


def test_integer_samples_equal_the_command_lines_undithered_ones(tmp_path):
    help_text = subprocess.run([FX, "render", "--help"], capture_output=True, text=True).stdout
    if "--dither" not in help_text:
        pytest.skip("this ostrana-fx has no --dither none to compare with")
    audio = signal(2, 20000) * 1.8
    delay = ostrana.Delay()
    for output_format in ("pcm16", "pcm24"):
        expected = render_with_fx(tmp_path, audio, 48000, [delay], 512, output_format)
        path = tmp_path / "ours.wav"
        quietly(ostrana.write, path, delay(audio, 48000), 48000, format=output_format)
        ours, _ = soundfile.read(path, dtype="int32", always_2d=True)
        assert np.array_equal(ours.T, expected)


def test_clipping_is_counted_and_warned_of(tmp_path):
    audio = np.array([[0.5, 1.0, 1.5, -2.0, -1.0]], dtype=np.float32)
    with pytest.warns(UserWarning, match=r"2 samples beyond full scale were clipped \(peak "
                                         r"2\.000, \+6\.0 dBFS\)") as record:
        ostrana.write(tmp_path / "x.wav", audio, 8000, format="pcm16")
    assert record[0].filename == __file__  # the warning names the caller's line
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        ostrana.write(tmp_path / "float.wav", audio, 8000)  # float holds them: no warning


def test_samples_that_are_no_numbers_are_warned_of(tmp_path):
    audio = np.array([[0.5, np.nan, np.inf, 0.25]], dtype=np.float32)
    with pytest.warns(UserWarning, match="2 samples were not numbers .*written as 0"):
        ostrana.write(tmp_path / "x.wav", audio, 8000, format="pcm16")
    ours, _ = soundfile.read(tmp_path / "x.wav", dtype="int16")
    assert list(ours) == [16384, 0, 0, 8192]


@pytest.mark.parametrize("name, rate, container, subtype", [
    ("x.flac", 44100, "FLAC", "PCM_24"), ("x.ogg", 44100, "OGG", "VORBIS"),
    ("x.opus", 48000, "OGG", "OPUS"), ("x.mp3", 44100, "MP3", "MPEG_LAYER_III"),
    ("x.aif", 44100, "AIFF", "FLOAT"), ("x.wav", 96000, "WAV", "FLOAT"),
    ("x.caf", 44100, "CAF", "FLOAT"), ("x.w64", 44100, "W64", "FLOAT"),
    ("x.rf64", 44100, "RF64", "FLOAT"), ("x.au", 8000, "AU", "FLOAT")])
def test_every_container_gets_its_own_format_by_default(tmp_path, name, rate, container,
                                                        subtype):
    audio = signal(2, rate // 2) * 0.5
    ostrana.write(tmp_path / name, audio, rate)
    info = soundfile.info(tmp_path / name)
    assert (info.format, info.subtype, info.samplerate, info.channels) == (
        container, subtype, rate, 2)
    back, back_rate = ostrana.read(tmp_path / name)
    assert back_rate == rate and back.shape[0] == 2
    # Lossy or not, the sound is the same sound.
    length = min(back.shape[1], audio.shape[1])
    assert np.corrcoef(back[0, :length], audio[0, :length])[0, 1] > 0.5 or subtype != "FLOAT"


def test_formats_a_container_cannot_hold_are_refused_before_writing(tmp_path):
    path = tmp_path / "x.opus"
    path.write_bytes(b"the user's own file")
    with pytest.raises(ValueError, match="OGG files cannot hold 2 channels at 44100 Hz"):
        ostrana.write(path, signal(2, 100), 44100)
    with pytest.raises(ValueError, match=".opus files hold Opus, not vorbis"):
        ostrana.write(path, signal(2, 100), 48000, format="vorbis")
    with pytest.raises(ValueError, match="FLAC files cannot hold float samples"):
        ostrana.write(tmp_path / "x.flac", signal(2, 100), 48000, format="float")
    assert path.read_bytes() == b"the user's own file"
    with pytest.raises(ValueError, match="cannot write '.xyz' files"):
        ostrana.write(tmp_path / "x.xyz", signal(2, 100), 48000)
    with pytest.raises(ValueError, match="format must be one of float, double, pcm16"):
        ostrana.write(tmp_path / "x.wav", signal(2, 100), 48000, format="pcm12")
    assert not (tmp_path / "x.wav").exists()


def test_missing_and_forbidden_files_raise_pythons_errors(tmp_path):
    with pytest.raises(FileNotFoundError):
        ostrana.read(tmp_path / "missing.wav")
    with pytest.raises(FileNotFoundError):
        ostrana.write(tmp_path / "no-folder" / "x.wav", signal(2, 100), 48000)
    if os.geteuid() == 0:
        forbidden = "/sys/ostrana-test.wav"  # not even root may make a file there
    else:
        folder = tmp_path / "read-only"
        folder.mkdir(mode=0o555)
        forbidden = folder / "x.wav"
    with pytest.raises(PermissionError):
        ostrana.write(forbidden, signal(2, 100), 48000)
    protected = tmp_path / "protected.wav"
    protected.write_bytes(b"the user's own file")
    protected.chmod(0o444)
    with pytest.raises(PermissionError, match="write-protected"):
        ostrana.write(protected, signal(2, 100), 48000)
    assert protected.read_bytes() == b"the user's own file"
    (tmp_path / "text.wav").write_text("not a sound")
    with pytest.raises(ValueError, match="not a sound file libsndfile reads"):
        ostrana.read(tmp_path / "text.wav")


def test_the_same_audio_gives_the_same_bytes(tmp_path):
    audio = signal(2, 5000)
    for name in ("a.wav", "b.wav"):
        ostrana.write(tmp_path / name, audio, 48000)
    assert (tmp_path / "a.wav").read_bytes() == (tmp_path / "b.wav").read_bytes()
    assert b"PEAK" not in (tmp_path / "a.wav").read_bytes()


def test_triangular_dither_is_repeatable_and_within_a_step_and_a_half(tmp_path):
    audio = signal(2, 20000) * 0.5
    for name in ("a.wav", "b.wav"):
        ostrana.write(tmp_path / name, audio, 48000, format="pcm16", dither="triangular")
    ostrana.write(tmp_path / "none.wav", audio, 48000, format="pcm16", dither="none")
    a = soundfile.read(tmp_path / "a.wav", dtype="int16")[0].T.astype(np.float64)
    assert np.array_equal(a, soundfile.read(tmp_path / "b.wav", dtype="int16")[0].T)
    assert not np.array_equal(a, soundfile.read(tmp_path / "none.wav", dtype="int16")[0].T)
    error = a - audio * 32768.0
    assert np.abs(error).max() < 1.5 and abs(error.mean()) < 0.01
    with pytest.raises(ValueError, match="dither must be one of none, triangular"):
        ostrana.write(tmp_path / "c.wav", audio, 48000, format="pcm16", dither="shaped")


def test_audio_file_streams_reads_and_writes(tmp_path):
    audio = signal(2, 10007) * 0.5
    ostrana.write(tmp_path / "in.flac", audio, 44100, format="pcm24")
    whole, _ = ostrana.read(tmp_path / "in.flac")
    chain = ostrana.Chain([ostrana.Delay(delay_ms=20, feedback_level=0.5)])
    with ostrana.AudioFile(tmp_path / "in.flac") as source:
        assert (source.frames, source.samplerate, source.channels) == (10007, 44100, 2)
        with ostrana.AudioFile(tmp_path / "out.flac", "w", samplerate=source.samplerate,
                               channels=source.channels) as sink:
            blocks = 0
            for block in source.blocks(4096):
                sink.write(chain(block, source.samplerate, reset=False))
                blocks += 1
            sink.write(chain.flush(source.samplerate))
            assert blocks == 3 and sink.format == "pcm24"
    expected = ostrana.Chain([ostrana.Delay(delay_ms=20, feedback_level=0.5)])(
        whole, 44100, tail="auto")
    ostrana.write(tmp_path / "one-call.flac", expected, 44100)
    assert_bit_identical(ostrana.read(tmp_path / "out.flac")[0],
                         ostrana.read(tmp_path / "one-call.flac")[0])
    with ostrana.AudioFile(tmp_path / "in.flac") as source:
        assert_bit_identical(np.concatenate(list(source), axis=1), whole)


def test_audio_file_warns_of_clipping_when_closed(tmp_path):
    sink = ostrana.AudioFile(tmp_path / "x.wav", "w", samplerate=8000, channels=1,
                             format="pcm16")
    sink.write(np.full(10, 2.0, dtype=np.float32))
    sink.write(np.full(5, -3.0, dtype=np.float32))
    with pytest.warns(UserWarning, match="15 samples beyond full scale") as record:
        sink.close()
    assert record[0].filename == __file__
    with pytest.raises(ValueError, match="has 1 channels; this audio has 2"):
        with ostrana.AudioFile(tmp_path / "y.wav", "w", samplerate=8000, channels=1) as other:
            other.write(signal(2, 100))
