"""Every effect, and chains of them, give exactly the samples of ostrana-fx render, bit for
bit, at several parameter sets and block sizes."""

import warnings

import pytest

import ostrana
from conftest import (assert_bit_identical, catalogue_classes, channels_for, render_with_fx,
                      signal)

BLOCK_SIZES = [1, 37, 512, 4096]
# Longer than the longest delay (1000 ms), and no multiple of any block size above.
FRAMES = 48000 + 12345


def middle(parameter):
    low, high = parameter["minimum"], parameter["maximum"]
    if parameter["kind"] == "switch":
        return True
    if parameter["kind"] == "whole number":
        return (low + high) // 2
    return (low + high) / 2


def parameter_sets(cls):
    """Defaults, the middle of every range, every range's low end, every range's high end,
    and the effect switched off: all read from the catalogue."""
    parameters = cls.catalogue["parameters"]
    ends = []
    for end in ("minimum", "maximum"):
        ends.append({p["python_name"]: (True if p["kind"] == "switch" else p[end])
                     for p in parameters})
    return [{}, {p["python_name"]: middle(p) for p in parameters}, *ends, {"enabled": False}]


CASES = [(cls, index) for cls in catalogue_classes() for index in range(5)]


@pytest.mark.parametrize("cls,set_index", CASES,
                         ids=[f"{cls.__name__}-{index}" for cls, index in CASES])
@pytest.mark.parametrize("block_size", BLOCK_SIZES)
def test_effect_equals_command_line(tmp_path, cls, set_index, block_size):
    effect = cls(**parameter_sets(cls)[set_index])
    audio = signal(channels_for(cls), FRAMES, seed=set_index)
    expected = render_with_fx(tmp_path, audio, 48000, [effect], block_size)
    assert_bit_identical(effect(audio, 48000, block_size=block_size), expected)


@pytest.mark.parametrize("cls", [c for c in catalogue_classes() if c.catalogue["min_channels"] == 1],
                         ids=lambda cls: cls.__name__)
def test_mono_at_another_rate_equals_command_line(tmp_path, cls):
    effect = cls()
    audio = signal(1, 44100 + 999, seed=7)
    expected = render_with_fx(tmp_path, audio, 44100, [effect], 256)
    assert_bit_identical(effect(audio, 44100, block_size=256), expected)
    assert_bit_identical(effect(audio[0], 44100, block_size=256), expected[0])


@pytest.mark.parametrize("block_size", [64, 512])
def test_chain_of_every_effect_equals_command_line(tmp_path, block_size):
    effects = [cls() for cls in catalogue_classes()]
    effects[0] = type(effects[0])(**parameter_sets(type(effects[0]))[1])
    chain = ostrana.Chain(effects)
    audio = signal(2, FRAMES, seed=11)
    expected = render_with_fx(tmp_path, audio, 48000, effects, block_size)
    assert_bit_identical(chain(audio, 48000, block_size=block_size), expected)


# An echo that rings past the cap (cut and faded), echoes that fall quiet, and swept delays.
TAIL_CASES = [(ostrana.Delay, {"delay_ms": 1000, "feedback_level": 0.99}, True),
              (ostrana.Delay, {"delay_ms": 300}, False),
              (ostrana.Flanger, {}, False),
              (ostrana.Chorus, {}, False),
              (ostrana.PingPongDelay, {}, False)]


@pytest.mark.parametrize("cls,settings,capped", TAIL_CASES,
                         ids=[f"{case[0].__name__}-{index}" for index, case in
                              enumerate(TAIL_CASES)])
def test_automatic_tail_equals_command_line(tmp_path, cls, settings, capped):
    effect = cls(**settings)
    audio = signal(2, 4800, seed=5)
    expected = render_with_fx(tmp_path, audio, 48000, [effect], 512, tail="auto",
                              extra=["--tail-max", "3"])
    with warnings.catch_warnings(record=True) as record:
        warnings.simplefilter("always")
        tailed = effect(audio, 48000, block_size=512, tail="auto", tail_max=3)
    assert len(record) == (1 if capped else 0)
    assert (tailed.shape[1] == 4800 + 3 * 48000) == capped
    assert_bit_identical(tailed, expected)


def test_nested_chain_equals_flat_chain():
    classes = catalogue_classes()
    audio = signal(2, 20000, seed=3)
    flat = ostrana.Chain([cls() for cls in classes])
    nested = ostrana.Chain([classes[0](), ostrana.Chain([cls() for cls in classes[1:3]]),
                            ostrana.Chain([cls() for cls in classes[3:]])])
    assert_bit_identical(nested(audio, 48000), flat(audio, 48000))


def test_empty_chain_returns_the_input():
    audio = signal(2, 1000)
    assert_bit_identical(ostrana.Chain([])(audio, 48000), audio)
