"""More channels than an effect takes run as groups, by the library's rule (as the command
line runs them): pairs for the effects that take two, a lone last channel on its own, every
group with the same settings."""

import numpy as np
import pytest

import ostrana
from conftest import assert_bit_identical, render_with_fx, signal

RATE = 48000


def by_groups(make, audio, sizes, **call):
    pieces, first = [], 0
    for size in sizes:
        pieces.append(make()(audio[first:first + size], RATE, **call))
        first += size
    return np.concatenate(pieces)


@pytest.mark.parametrize("channels, sizes", [(3, [2, 1]), (6, [2, 2, 2]), (5, [2, 2, 1])])
def test_channels_run_as_pairs_and_a_lone_last_channel(channels, sizes):
    audio = signal(channels, 9000)
    make = lambda: ostrana.Chorus(frequency=1.3, sweep_width=0.01)  # noqa: E731
    assert_bit_identical(make()(audio, RATE), by_groups(make, audio, sizes))


def test_a_chain_of_groups_streams_and_rings_on_as_one_call():
    audio = signal(6, 12000)
    chain = ostrana.Chain([ostrana.Delay(delay_ms=30, feedback_level=0.6),
                           ostrana.PingPongDelay(delay_ms=20), ostrana.Flanger()])
    expected = chain(audio, RATE, tail="auto")
    streamed = ostrana.Chain([ostrana.Delay(delay_ms=30, feedback_level=0.6),
                              ostrana.PingPongDelay(delay_ms=20), ostrana.Flanger()])
    pieces = [streamed(audio[:, first:first + 1000], RATE, reset=False)
              for first in range(0, 12000, 1000)]
    pieces.append(streamed.flush(RATE))
    assert_bit_identical(np.concatenate(pieces, axis=1), expected)
    assert expected.shape[1] > 12000


def test_settings_reach_every_group():
    audio = signal(4, 6000)
    delay = ostrana.Delay()
    delay(audio, RATE)
    delay.delay_ms = 7
    delay.wet_mix = 0.9
    assert_bit_identical(delay(audio, RATE),
                         by_groups(lambda: ostrana.Delay(delay_ms=7, wet_mix=0.9), audio, [2, 2]))


def test_groups_equal_the_command_line(tmp_path):
    audio = signal(6, 20000)
    effects = [ostrana.Vibrato(frequency=5.5), ostrana.Delay(delay_ms=40)]
    expected = render_with_fx(tmp_path, audio, RATE, effects, 512)
    assert_bit_identical(ostrana.Chain(effects)(audio, RATE), expected)
