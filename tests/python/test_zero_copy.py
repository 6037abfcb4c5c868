"""A C-contiguous float32 input is read where it lies: the nodes' first input sample is the
array's own first sample. Other inputs are converted first. The input is never written."""

import numpy as np

import ostrana
from conftest import signal


def test_contiguous_float32_is_not_copied():
    audio = signal(2, 100000)
    delay = ostrana.Delay()
    delay(audio, 48000)
    assert delay._node.input_address == audio.ctypes.data


def test_chain_reads_contiguous_float32_in_place():
    audio = signal(2, 100000)
    chain = ostrana.Chain([ostrana.Delay(), ostrana.Chorus()])
    chain(audio, 48000)
    assert chain[0]._node.input_address == audio.ctypes.data


def test_mono_1d_float32_is_not_copied():
    audio = signal(1, 100000)[0]
    vibrato = ostrana.Vibrato()
    vibrato(audio, 48000)
    assert vibrato._node.input_address == audio.ctypes.data


def test_float64_and_strided_inputs_are_converted():
    audio = signal(2, 100000)
    for converted in (audio.astype(np.float64), audio[:, ::2]):
        delay = ostrana.Delay()
        delay(converted, 48000)
        assert delay._node.input_address != converted.ctypes.data


def test_input_is_left_unchanged_and_read_only_input_is_taken():
    audio = signal(2, 100000)
    before = audio.copy()
    audio.flags.writeable = False
    output = ostrana.Chain([ostrana.Delay(), ostrana.Flanger()])(audio, 48000)
    assert np.array_equal(audio.view(np.uint32), before.view(np.uint32))
    assert not np.shares_memory(output, audio)
