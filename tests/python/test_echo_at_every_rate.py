"""The delays keep their time at every sample rate: an impulse comes back delay_ms later,
trunc(rate * ms / 1000) frames, in every channel, whatever the rate the array is played at."""

import numpy as np
import pytest

import ostrana

RATES = [44100, 48000, 88200, 96000, 192000, 384000]
CASES = ([("Delay", rate, ms) for rate in RATES for ms in (1, 350, 1000)]
         + [("PingPongDelay", rate, ms) for rate in RATES for ms in (350, 1000)])


@pytest.mark.parametrize("class_name,rate,delay_ms", CASES,
                         ids=[f"{name}-{rate}-{ms}" for name, rate, ms in CASES])
def test_impulse_echoes_after_the_delay_time(class_name, rate, delay_ms):
    effect = getattr(ostrana, class_name)(delay_ms=delay_ms, dry_mix=0.0, wet_mix=1.0,
                                          feedback_level=0.0)
    distance = rate * delay_ms // 1000
    audio = np.zeros((2, distance + 1000), dtype=np.float32)
    audio[:, 0] = 1.0
    output = effect(audio, rate)
    expected = np.zeros_like(audio)
    expected[:, distance] = 1.0
    for channel in range(2):
        heard = np.flatnonzero(output[channel])
        assert heard.tolist() == [distance], (channel, heard[:5].tolist())
    assert np.array_equal(output, expected)
