"""reset=False continues the previous call: a signal processed in pieces of any length gives
exactly the samples of one call, at every block size."""

import numpy as np
import pytest

import ostrana
from conftest import assert_bit_identical, catalogue_classes, channels_for, signal

FRAMES = 60000


def piece_bounds(seed, frames):
    """Cut points of pieces of random lengths, many of them no multiple of any block size,
    some shorter than a block, one of them empty; every other piece has 3 frames or more (a
    stereo piece of 1 or 2 frames would be refused as ambiguous)."""
    generator = np.random.default_rng(seed)
    candidates = sorted(set(generator.integers(3, frames - 3, size=12).tolist()) | {3, 4999})
    cuts = [0]
    for cut in candidates:
        if cut - cuts[-1] >= 3:
            cuts.append(cut)
    return [*cuts, cuts[-1], frames]


@pytest.mark.parametrize("cls", catalogue_classes(), ids=lambda cls: cls.__name__)
@pytest.mark.parametrize("block_size", [1, 7, 64, 512, 4096])
def test_pieces_equal_one_call(cls, block_size):
    audio = signal(channels_for(cls), FRAMES, seed=block_size)
    whole = cls()(audio, 48000, block_size=block_size)
    effect = cls()
    bounds = piece_bounds(block_size, FRAMES)
    pieces = [effect(audio[:, start:end], 48000, block_size=block_size, reset=(start == 0))
              for start, end in zip(bounds, bounds[1:])]
    assert_bit_identical(np.concatenate(pieces, axis=1), whole)


def test_chain_pieces_equal_one_call():
    audio = signal(2, FRAMES, seed=5)
    chain = ostrana.Chain([cls() for cls in catalogue_classes()])
    whole = chain(audio, 48000, block_size=300)
    first = chain(audio[:, :12345], 48000, block_size=300)
    rest = chain(audio[:, 12345:], 48000, block_size=300, reset=False)
    assert_bit_identical(np.concatenate([first, rest], axis=1), whole)


def test_mono_pieces_equal_one_call():
    audio = signal(1, FRAMES, seed=9)[0]
    whole = ostrana.Chorus()(audio, 48000)
    chorus = ostrana.Chorus()
    pieces = [chorus(audio[:1000], 48000), chorus(audio[1000:], 48000, reset=False)]
    assert_bit_identical(np.concatenate(pieces), whole)


@pytest.mark.parametrize("cls", catalogue_classes(), ids=lambda cls: cls.__name__)
def test_reset_starts_afresh(cls):
    audio = signal(channels_for(cls), 20000, seed=2)
    effect = cls()
    first = effect(audio, 48000)
    effect(audio, 48000, reset=False)
    assert_bit_identical(effect(audio, 48000), first)
    assert_bit_identical(effect(audio, 48000, reset=True), first)


def test_continuing_differs_from_starting_afresh():
    audio = signal(2, 20000, seed=4)
    delay = ostrana.Delay()
    first = delay(audio, 48000)
    second = delay(audio, 48000, reset=False)
    assert not np.array_equal(first, second)


def test_continuing_at_another_rate_or_channel_count_is_refused():
    delay = ostrana.Delay()
    delay(signal(2, 1000), 48000)
    with pytest.raises(ValueError, match="reset=False continues the previous call"):
        delay(signal(2, 1000), 44100, reset=False)
    with pytest.raises(ValueError, match="2 channels at 48000 Hz; this audio has 1 channel"):
        delay(signal(1, 1000), 48000, reset=False)
    delay(signal(1, 1000), 44100, reset=True)
