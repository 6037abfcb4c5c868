"""The shape and type convention: (channels, frames) or 1-D mono, float32 or float64 in,
float32 out; ambiguous shapes, other types and channel counts a node does not take are
refused with a message that says what to do."""

import numpy as np
import pytest

import ostrana
from conftest import assert_bit_identical, signal


def test_output_is_float32_of_the_input_shape():
    for audio in (signal(2, 1000), signal(1, 1000), signal(1, 1000)[0]):
        output = ostrana.Delay()(audio, 48000)
        assert output.dtype == np.float32
        assert output.shape == audio.shape


def test_mono_1d_is_one_channel():
    audio = signal(1, 5000)
    assert_bit_identical(ostrana.Vibrato()(audio[0], 48000), ostrana.Vibrato()(audio, 48000)[0])


def test_float64_is_rounded_to_float32_first():
    audio64 = signal(2, 5000).astype(np.float64) + 1e-9
    expected = ostrana.Flanger()(audio64.astype(np.float32), 48000)
    assert_bit_identical(ostrana.Flanger()(audio64, 48000), expected)


def test_non_contiguous_input_is_taken():
    audio = signal(2, 10000)
    strided = audio[:, ::2]
    assert not strided.flags.c_contiguous
    assert_bit_identical(ostrana.Chorus()(strided, 48000),
                         ostrana.Chorus()(np.ascontiguousarray(strided), 48000))


def test_frames_channels_layout_is_refused_unless_stated():
    with pytest.raises(ValueError, match=r"more rows than columns.*channels_first=False"):
        ostrana.Delay()(signal(2, 1000).T, 48000)


def test_square_array_is_refused_unless_stated():
    with pytest.raises(ValueError, match="square.*channels_first"):
        ostrana.Delay()(signal(2, 2), 48000)


def test_no_frames_gives_no_frames():
    output = ostrana.Delay()(np.zeros((2, 0), dtype=np.float32), 48000)
    assert output.shape == (2, 0)


@pytest.mark.parametrize("shape", [(2, 3, 100), ()])
def test_other_dimensions_are_refused(shape):
    with pytest.raises(ValueError, match=r"1-D \(mono frames\) or 2-D"):
        ostrana.Delay()(np.zeros(shape, dtype=np.float32), 48000)


@pytest.mark.parametrize("dtype", [np.int16, np.int32, np.float16, np.complex64])
def test_other_types_are_refused(dtype):
    with pytest.raises(TypeError, match="float32 or float64"):
        ostrana.Delay()(np.zeros((2, 100), dtype=dtype), 48000)


def test_ping_pong_delay_refuses_mono():
    with pytest.raises(ValueError, match="PingPongDelay does not take audio of 1 channel; it "
                                         "takes exactly 2 channels"):
        ostrana.PingPongDelay()(signal(1, 1000), 48000)


def test_channels_that_do_not_split_into_groups_are_refused():
    with pytest.raises(ValueError, match="PingPongDelay does not take audio of 3 channels; it "
                                         "takes exactly 2 channels, and 3 do not split into "
                                         "groups of those"):
        ostrana.PingPongDelay()(signal(3, 1000), 48000)
    with pytest.raises(ValueError, match="PingPongDelay does not take audio of 1 channel"):
        ostrana.Chain([ostrana.Delay(), ostrana.PingPongDelay()])(signal(1, 1000), 48000)


@pytest.mark.parametrize("block_size", [0, -1, 2**20 + 1])
def test_block_sizes_out_of_range_are_refused(block_size):
    with pytest.raises(ValueError, match="block_size"):
        ostrana.Delay()(signal(2, 1000), 48000, block_size=block_size)


def test_sample_rate_must_be_a_positive_whole_number():
    with pytest.raises(ValueError, match="sample_rate"):
        ostrana.Delay()(signal(2, 1000), 0)
    with pytest.raises(TypeError, match="sample_rate must be a whole number"):
        ostrana.Delay()(signal(2, 1000), 48000.5)


def test_same_effect_twice_in_a_chain_is_refused():
    delay = ostrana.Delay()
    with pytest.raises(ValueError, match="appears twice"):
        ostrana.Chain([delay, ostrana.Chain([delay])])(signal(2, 1000), 48000)


def test_chain_holds_only_effects_and_chains():
    with pytest.raises(TypeError, match="a chain holds effects and chains"):
        ostrana.Chain([ostrana.Delay(), "chorus"])
