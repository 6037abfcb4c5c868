"""The layout of the audio, stated or taken from an unambiguous shape, and streams in chunks of
any size: the short last chunk of a file read with soundfile continues the stream's layout."""

import numpy as np
import pytest
import soundfile

import ostrana
from conftest import assert_bit_identical, signal

RATE = 48000


def stream_chain():
    return ostrana.Chain([ostrana.Delay(delay_ms=3, feedback_level=0.6),
                          ostrana.Chorus(), ostrana.Flanger()])


def chunks_by_blocks(path, blocksize):
    with soundfile.SoundFile(path) as file:
        yield from file.blocks(blocksize=blocksize, dtype="float32", always_2d=True)


def chunks_of_random_sizes(path, generator):
    audio, _ = soundfile.read(path, dtype="float32", always_2d=True)
    first = 0
    while first < len(audio):
        size = int(generator.integers(1, 700))
        yield audio[first:first + size]
        first += size


def streamed(chain, chunks, channels_first):
    pieces = []
    for chunk in chunks:
        block = chunk.T if channels_first else chunk
        output = chain(block, RATE, reset=False, channels_first=channels_first)
        pieces.append(output.T if channels_first else output)
    return np.concatenate(pieces)


def test_every_stream_length_equals_one_call(tmp_path):
    generator = np.random.default_rng(29)
    for frames in range(1, 9001, 97):
        path = tmp_path / f"stream-{frames}.wav"
        soundfile.write(path, signal(2, frames, seed=frames).T, RATE, subtype="FLOAT")
        audio, _ = soundfile.read(path, dtype="float32", always_2d=True)
        expected = stream_chain()(audio, RATE, channels_first=False)
        for channels_first in (True, False):
            for chunks in (chunks_by_blocks(path, 4096),
                           chunks_of_random_sizes(path, generator)):
                chain = stream_chain()
                assert_bit_identical(streamed(chain, chunks, channels_first), expected)


def test_a_stream_states_its_layout_once_and_the_last_chunks_follow():
    audio = signal(2, 4099)
    expected = ostrana.Delay()(audio, RATE)
    delay = ostrana.Delay()
    # 4096 frames, then 2 frames (square), then 1 frame (more rows than columns).
    pieces = [delay(audio[:, :4096], RATE),
              delay(audio[:, 4096:4098], RATE, reset=False),
              delay(audio[:, 4098:], RATE, reset=False)]
    assert [piece.shape for piece in pieces] == [(2, 4096), (2, 2), (2, 1)]
    assert_bit_identical(np.concatenate(pieces, axis=1), expected)


def test_frames_channels_in_gives_frames_channels_out():
    audio = signal(2, 3000)
    for effect in (ostrana.Chorus(), ostrana.Chain([ostrana.Delay(), ostrana.Vibrato()])):
        output = effect(audio.T, RATE, channels_first=False)
        assert output.shape == (3000, 2)
        assert_bit_identical(np.ascontiguousarray(output.T), effect(audio, RATE))


def test_stated_layout_wins_over_the_shape():
    # 3 channels of 2 frames, stated: taken as channels first although it has more rows.
    audio = signal(2, 3)
    assert_bit_identical(ostrana.Delay()(audio.T, RATE, channels_first=False),
                         ostrana.Delay()(audio, RATE).T)
    with pytest.raises(ValueError, match="does not take audio of 3 channels"):
        ostrana.PingPongDelay()(audio.T, RATE, channels_first=True)


@pytest.mark.parametrize("shape", [(2, 2), (1000, 2), (3, 1)])
def test_ambiguous_shapes_are_refused_naming_the_keyword(shape):
    with pytest.raises(ValueError, match="channels_first=False"):
        ostrana.Delay()(np.zeros(shape, dtype=np.float32), RATE)


def test_a_fresh_call_does_not_inherit_the_layout():
    delay = ostrana.Delay()
    delay(signal(2, 1000).T, RATE, channels_first=False)
    with pytest.raises(ValueError, match="channels_first"):
        delay(signal(2, 1000).T, RATE)


def test_channels_first_must_be_a_bool_or_none():
    with pytest.raises(TypeError, match="channels_first must be True, False or None"):
        ostrana.Delay()(signal(2, 100), RATE, channels_first=1)
