"""Sample rates as Python code has them: ints, whole floats (soundfile's and NumPy's), never
booleans or fractions."""

import numpy as np
import pytest

import ostrana
from conftest import assert_bit_identical, signal


@pytest.mark.parametrize("rate", [44100.0, np.float64(44100.0), np.int64(44100),
                                  np.float32(44100.0)])
def test_whole_float_rates_are_taken(rate):
    audio = signal(2, 5000)
    assert_bit_identical(ostrana.Chorus()(audio, rate), ostrana.Chorus()(audio, 44100))


@pytest.mark.parametrize("rate", [True, False, np.bool_(True)])
def test_booleans_are_no_rates(rate):
    with pytest.raises(TypeError, match="sample_rate must be a whole number"):
        ostrana.Delay()(signal(2, 100), rate)


@pytest.mark.parametrize("rate", [44100.5, float("nan"), float("inf"), "44100"])
def test_fractions_and_others_are_refused(rate):
    with pytest.raises(TypeError, match="sample_rate must be a whole number"):
        ostrana.Delay()(signal(2, 100), rate)


def test_whole_float_rate_writes_a_file(tmp_path):
    ostrana.write(tmp_path / "x.wav", signal(2, 100), 48000.0)
    assert ostrana.read(tmp_path / "x.wav")[1] == 48000
