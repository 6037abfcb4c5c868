"""The delays' level and glide and the ping-pong delay's bounce, as Python users meet them:
keywords, help text, and what they do to the sound."""
import pydoc

import numpy as np

import ostrana
from conftest import assert_bit_identical, signal


def test_help_shows_the_new_keywords_with_ranges_and_units():
    for cls in (ostrana.Delay, ostrana.PingPongDelay):
        text = pydoc.render_doc(cls, renderer=pydoc.plaintext)
        assert "level" in text and "-60 to 12 dB" in text
        assert "glide" in text and "0 to 500 ms" in text
    assert "bounce" in pydoc.render_doc(ostrana.PingPongDelay, renderer=pydoc.plaintext)
    assert "bounce" not in pydoc.render_doc(ostrana.Delay, renderer=pydoc.plaintext)


def test_defaults_leave_the_output_as_it_was():
    for cls in (ostrana.Delay, ostrana.PingPongDelay):
        effect = cls()
        assert effect.level == 0.0 and effect.glide == 0.0
        audio = signal(2, 30000, seed=3)
        assert_bit_identical(cls(level=0.0, glide=0.0)(audio, 48000), effect(audio, 48000))
    assert ostrana.PingPongDelay().bounce is False


def test_level_minus_six_halves_the_output_by_one_multiply():
    gain = np.float32(10.0 ** (np.float64(np.float32(-6.0206)) / 20.0))
    assert abs(gain - 0.5) < 1e-6
    for cls in (ostrana.Delay, ostrana.PingPongDelay):
        audio = signal(2, 30000, seed=4)
        expected = cls()(audio, 48000) * gain
        assert_bit_identical(cls(level=-6.0206)(audio, 48000), expected)


def test_bounce_sends_a_left_click_right_then_left_then_right():
    click = np.zeros((2, 4 * 9600), dtype=np.float32)
    click[0, 0] = 1.0
    out = ostrana.PingPongDelay(bounce=True)(click, 48000)
    wet, feedback = np.float32(0.3), np.float32(0.2)
    assert out[1, 9600] == wet and out[0, 9600] == 0.0
    assert out[0, 19200] == feedback * wet and out[1, 19200] == 0.0
    assert out[1, 28800] == (feedback * feedback) * wet and out[0, 28800] == 0.0
