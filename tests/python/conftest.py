"""Shared helpers of the Python package's tests: test signals, bit-exact comparison, and
rendering through the command line (build/bin/ostrana-fx) for comparison."""

import os
import pathlib
import subprocess

import numpy as np
import pytest
import soundfile

import ostrana

FX = os.environ.get("OSTRANA_FX")


def signal(channels, frames, seed=1):
    """Noise with a sine under it, float32 (channels, frames), within -1 to 1."""
    generator = np.random.default_rng(seed)
    noise = generator.uniform(-0.5, 0.5, size=(channels, frames))
    time = np.arange(frames) / 48000.0
    tone = 0.4 * np.sin(2 * np.pi * 220.0 * time)
    return np.ascontiguousarray((noise + tone).astype(np.float32))


def bits(array):
    return np.ascontiguousarray(array, dtype=np.float32).view(np.uint32)


def assert_bit_identical(actual, expected):
    assert actual.dtype == np.float32
    assert actual.shape == expected.shape
    differing = np.flatnonzero(bits(actual) != bits(expected))
    assert differing.size == 0, (
        f"{differing.size} samples differ, the first at flat index {differing[0]}: "
        f"{actual.flat[differing[0]]!r} != {expected.flat[differing[0]]!r}")


def command_line_value(value):
    """A parameter value as the command line's --set takes it."""
    if isinstance(value, bool):
        return "true" if value else "false"
    return repr(value)


def render_with_fx(tmp_path, audio, sample_rate, effects, block_size, output_format="float",
                   extra=(), tail="0"):
    """What ostrana-fx render computes for audio through effects (catalogue names and values),
    with extra options."""
    if not FX:
        pytest.fail("OSTRANA_FX names no ostrana-fx program; run the tests through CTest")
    source = tmp_path / "fx-in.wav"
    target = tmp_path / "fx-out.wav"
    soundfile.write(source, audio.T, sample_rate, subtype="FLOAT")
    command = [FX, "render", str(source), str(target), "--block", str(block_size), "--tail", tail]
    for effect in effects:
        command += ["--node", effect.type_name]
        for name, value in effect.to_dict()["parameters"].items():
            command += ["--set", f"{name}={command_line_value(value)}"]
    if output_format != "float":
        command += ["--format", output_format, "--dither", "none"]
    command += list(extra)
    subprocess.run(command, check=True, capture_output=True)
    dtype = "float32" if output_format == "float" else "int32"
    frames, rate = soundfile.read(target, dtype=dtype, always_2d=True)
    assert rate == sample_rate
    return np.ascontiguousarray(frames.T)


def catalogue_classes():
    return [getattr(ostrana, entry["class_name"]) for entry in ostrana.node_types()]


def channels_for(cls):
    """A channel count the node type takes: 2 where it can, else its least."""
    entry = cls.catalogue
    return 2 if entry["min_channels"] <= 2 <= entry["max_channels"] else entry["min_channels"]


@pytest.fixture
def readme_path():
    return pathlib.Path(os.environ.get("OSTRANA_README", "README.md"))
