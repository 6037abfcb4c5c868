"""Tails: what effects ring on with after their input, ended by the library's rule (the first
50 ms below -100 dBFS after the input, at most tail_max seconds, faded out at the cap), after
one call or after a stream."""

import math
import warnings

import numpy as np
import pytest

import ostrana
from conftest import assert_bit_identical, signal

RATE = 48000
QUIET = 1e-5
QUIET_FRAMES = 2400  # 50 ms at 48 kHz


def echoing_delay():
    return ostrana.Delay(delay_ms=300, feedback_level=0.7, wet_mix=0.6)


def with_silence(audio, seconds):
    return np.concatenate((audio, np.zeros((audio.shape[0], int(seconds * RATE)),
                                           dtype=np.float32)), axis=1)


def expected_auto_length(padded_output, input_frames, quiet_frames=QUIET_FRAMES):
    """Where the rule ends a tail, found in the output of the input followed by silence: after
    the first quiet_frames after the input in which every sample is below -100 dBFS."""
    loud = ~(np.abs(padded_output[:, input_frames:]) < QUIET).all(axis=0)
    run = 0
    for frame, is_loud in enumerate(loud):
        run = 0 if is_loud else run + 1
        if run == quiet_frames:
            return input_frames + frame + 1
    raise AssertionError("the padded output never fell quiet")


def test_auto_tail_keeps_the_echoes_and_ends_where_the_rule_says():
    audio = signal(2, RATE // 2)
    output = echoing_delay()(audio, RATE, tail="auto")
    padded = echoing_delay()(with_silence(audio, 30), RATE)
    # The echoes are 300 ms apart: the tail waits out 300 ms of quiet, not 50.
    end = expected_auto_length(padded, audio.shape[1], quiet_frames=int(0.3 * RATE))
    assert_bit_identical(output, padded[:, :end])
    # The echoes ring for seconds: the tail holds a good part of the output's energy.
    energy = np.square(output.astype(np.float64))
    assert energy[:, audio.shape[1]:].sum() / energy.sum() > 0.2
    assert output.shape[1] / RATE > 8


@pytest.mark.parametrize("rate", [48000, 8000])
def test_a_chorus_feeding_back_rings_out_though_its_echoes_come_further_apart_than_its_sweep(rate):
    # The 50 ms sweep and the line's own 1002 samples (and a neighbour): echoes up to 71 ms
    # apart at 48 kHz and 175 ms at 8 kHz, each gap quiet, and no end of the tail.
    def chorus():
        return ostrana.Chorus(sweep_width=0.05, feedback=0.9)
    audio = signal(2, rate // 10)
    output = chorus()(audio, rate, tail="auto")
    padded = chorus()(np.concatenate((audio, np.zeros((2, 30 * rate), dtype=np.float32)),
                                     axis=1), rate)
    quiet_frames = round((float(np.float32(0.05)) + 1003 / rate) * rate)
    end = expected_auto_length(padded, audio.shape[1], quiet_frames=quiet_frames)
    assert_bit_identical(output, padded[:, :end])
    assert np.abs(padded[:, end:]).max() < QUIET
    assert output.shape[1] > audio.shape[1] + rate


def test_a_fixed_tail_adds_exactly_its_length():
    audio = signal(1, 10000)[0]
    output = ostrana.Chorus()(audio, RATE, tail=0.25)
    assert output.shape == (10000 + 12000,)
    assert_bit_identical(output, ostrana.Chorus()(with_silence(audio[None], 0.25), RATE)[0])


def test_no_tail_by_default():
    audio = signal(2, 1000)
    assert echoing_delay()(audio, RATE).shape == audio.shape


def test_a_capped_tail_is_faded_and_warned_about():
    delay = ostrana.Delay(delay_ms=1000, feedback_level=0.99, wet_mix=1.0)
    audio = signal(2, 60000)
    with pytest.warns(UserWarning, match="tail reached its cap of 2 s.*faded out"):
        output = delay(audio, RATE, tail="auto", tail_max=2)
    assert output.shape == (2, 60000 + 2 * RATE)
    padded = ostrana.Delay(delay_ms=1000, feedback_level=0.99, wet_mix=1.0)(
        with_silence(audio, 2), RATE)
    fade = QUIET_FRAMES
    cut = output.shape[1] - fade
    assert_bit_identical(output[:, :cut], padded[:, :cut])
    gains = np.array([np.float32(left / fade) for left in range(fade - 1, -1, -1)])
    assert_bit_identical(output[:, cut:], padded[:, cut:] * gains)
    assert not output[:, -1].any()
    # Before the fade, the echo was loud: the cap cut it.
    assert np.abs(padded[:, cut - 4800:cut]).max() > 0.1


@pytest.mark.parametrize("channels_first", [True, False])
def test_flush_after_a_stream_gives_the_tail_of_one_call(channels_first):
    audio = signal(2, 20000)
    expected = echoing_delay()(audio, RATE, tail="auto")
    chain = ostrana.Chain([echoing_delay()])
    pieces = []
    for first in range(0, 20000, 4096):
        chunk = audio[:, first:first + 4096]
        out = chain(chunk if channels_first else chunk.T, RATE, reset=False,
                    channels_first=channels_first)
        pieces.append(out if channels_first else out.T)
    rest = chain.flush(RATE)
    pieces.append(rest if channels_first else rest.T)
    assert_bit_identical(np.concatenate(pieces, axis=1), expected)


def test_flush_needs_a_stream_at_its_rate():
    delay = echoing_delay()
    with pytest.raises(ValueError, match="nothing was processed yet"):
        delay.flush(RATE)
    delay(signal(2, 1000), RATE, reset=False)
    with pytest.raises(ValueError, match="at 48000 Hz, not 44100 Hz"):
        delay.flush(44100)
    assert delay.flush(RATE, tail=0).shape == (2, 0)


def test_tail_seconds_says_how_long_an_impulse_rings():
    delay = echoing_delay()
    # Echo k has 0.6 * 0.7^(k-1): 31 echoes above -100 dBFS, 0.3 s apart.
    assert delay.tail_seconds() == pytest.approx(31 * 0.3)
    impulse = np.zeros(RATE, dtype=np.float32)
    impulse[0] = 1.0
    # The output ends 300 ms of quiet after the last echo above -100 dBFS, at tail_seconds.
    last_echo = delay(impulse, RATE, tail="auto").shape[0] - 1 - int(0.3 * RATE)
    assert last_echo == round(delay.tail_seconds() * RATE)
    # The flanger feeds back 0.6 of each echo: 23 echoes above -100 dBFS, at most 4 ms apart.
    assert ostrana.Flanger(sweep_width=0.004).tail_seconds() == pytest.approx(23 * 0.004)
    assert ostrana.Flanger(sweep_width=0.004, feedback=0).tail_seconds() == pytest.approx(0.004)
    assert ostrana.Delay(enabled=False).tail_seconds() == 0
    assert ostrana.Delay(feedback_level=0).tail_seconds() == pytest.approx(0.2)
    chain = ostrana.Chain([delay, ostrana.Chorus()])
    assert chain.tail_seconds() == pytest.approx(31 * 0.3 + 0.025)
    assert math.isinf(ostrana.Delay(feedback_level=1.5, allow_out_of_range=True).tail_seconds())


def test_tail_seconds_of_a_swept_effect_counts_its_echoes_and_at_a_rate_its_line():
    chorus = ostrana.Chorus(sweep_width=0.05, feedback=0.9)
    # Echo k at 0.9^(k - 1) at most: 110 echoes above -100 dBFS, each at most the sweep apart,
    # or at a rate the sweep and the line's own 1002 samples and a neighbour.
    assert chorus.tail_seconds() == pytest.approx(110 * 0.05)
    assert chorus.tail_seconds(48000) == pytest.approx(110 * (0.05 + 1003 / 48000))
    assert ostrana.Chorus(feedback=-0.9).tail_seconds() == pytest.approx(110 * 0.025)
    assert ostrana.Chorus().tail_seconds(8000) == pytest.approx(0.025 + 1003 / 8000)
    assert ostrana.Vibrato().tail_seconds(48000) == pytest.approx(0.01 + 2 / 48000)
    assert ostrana.Delay(delay_ms=300).tail_seconds(44100) == ostrana.Delay(
        delay_ms=300).tail_seconds()
    # The automatic tail at that rate ends within the time it gives, and its quiet stretch.
    impulse = np.zeros((2, RATE // 10), dtype=np.float32)
    impulse[:, 0] = 1.0
    output = chorus(impulse, RATE, tail="auto")
    quiet = float(np.float32(0.05)) + 1003 / RATE
    assert output.shape[1] <= round((chorus.tail_seconds(RATE) + quiet) * RATE) + 1
    chain = ostrana.Chain([ostrana.Delay(feedback_level=0), ostrana.Chorus()])
    assert chain.tail_seconds(48000) == pytest.approx(0.2 + 0.025 + 1003 / 48000)
    for wrong in (0, -48000, 44100.5, "48000"):
        with pytest.raises(ValueError, match="sample_rate"):
            chorus.tail_seconds(wrong)


@pytest.mark.parametrize("tail, error", [("forever", ValueError), (-1, ValueError),
                                         (math.inf, ValueError), (True, TypeError),
                                         (None, TypeError)])
def test_tails_that_are_no_tails_are_refused(tail, error):
    with pytest.raises(error, match="tail"):
        echoing_delay()(signal(2, 100), RATE, tail=tail)


def test_auto_tail_of_a_quiet_effect_is_fifty_milliseconds():
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        output = ostrana.Vibrato()(np.zeros((1, 1000), dtype=np.float32), RATE, tail="AUTO")
    assert output.shape == (1, 1000 + QUIET_FRAMES)
