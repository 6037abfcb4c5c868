"""The catalogue's factory presets in Python: ostrana.presets(), Effect.preset and
preset_names, the same table and the same sound as ostrana-fx's --preset."""

import copy
import json
import pickle
import subprocess

import numpy as np
import pytest
import soundfile

import ostrana
from conftest import FX, assert_bit_identical, signal


def fx_presets():
    if not FX:
        pytest.fail("OSTRANA_FX names no ostrana-fx program; run the tests through CTest")
    listed = subprocess.run([FX, "presets", "--json"], check=True, capture_output=True,
                            text=True).stdout
    return json.loads(listed)


def python_name(cls, name):
    return next(p["python_name"] for p in cls.catalogue["parameters"] if p["name"] == name)


def test_presets_are_the_table_the_command_line_lists():
    listed = fx_presets()
    presets = ostrana.presets()
    assert [(p["node"], p["name"], p["display_name"]) for p in presets] == [
        (p["node"], p["name"], p["displayName"]) for p in listed]
    for ours, theirs in zip(presets, listed):
        cls = ostrana.create(ours["node"]).__class__
        assert ours["type_name"] == cls.type_name
        assert ours["settings"] == {python_name(cls, name): value
                                    for name, value in theirs["settings"].items()}


def test_presets_of_one_node_type_by_any_of_its_names():
    delay = [p["name"] for p in ostrana.presets("delay")]
    assert delay == ["slapback", "long-echo"]
    for name in ("Delay", "AudioEffects.Delay", "DELAY"):
        assert [p["name"] for p in ostrana.presets(name)] == delay
    assert ostrana.Delay.preset_names() == ("slapback", "long-echo")
    with pytest.raises(ostrana.UnknownNodeTypeError):
        ostrana.presets("reverb")


def test_the_list_is_a_copy():
    ostrana.presets()[0]["settings"]["delay_ms"] = 1
    assert ostrana.presets()[0]["settings"]["delay_ms"] == 110


def test_each_preset_gives_its_settings_and_the_defaults_for_the_rest():
    for preset in ostrana.presets():
        cls = ostrana.create(preset["node"]).__class__
        effect = cls.preset(preset["name"])
        assert type(effect) is cls
        expected = {p["python_name"]: p["default"] for p in cls.catalogue["parameters"]}
        expected.update(preset["settings"])
        assert effect.parameters == expected, preset["name"]
        assert effect == cls(**preset["settings"])


def test_preset_names_are_found_in_any_case():
    assert ostrana.Delay.preset("SlapBack") == ostrana.Delay.preset("slapback")
    assert ostrana.PingPongDelay.preset("LONG-ECHO").delay_ms == 600


def test_an_unknown_preset_is_a_value_error_listing_the_effects_presets():
    with pytest.raises(ValueError, match=r"Delay has no preset 'slapbak' \(did you mean "
                                         r"'slapback'\?\); presets: slapback, long-echo"):
        ostrana.Delay.preset("slapbak")
    with pytest.raises(ValueError, match="presets: subtle, deep"):
        ostrana.Chorus.preset("slapback")
    with pytest.raises(TypeError):
        ostrana.Delay.preset(3)
    with pytest.raises(TypeError):
        ostrana.Effect.preset("slapback")


def test_a_preset_effect_is_an_ordinary_effect():
    jet = ostrana.Flanger.preset("jet")
    jet.frequency = 0.2
    assert jet.frequency == pytest.approx(0.2)
    assert pickle.loads(pickle.dumps(jet)) == jet
    assert copy.copy(jet) == jet
    assert ostrana.Effect.from_dict(jet.to_dict()) == jet


@pytest.mark.parametrize("channels", [2, 4])
def test_a_preset_sounds_as_ostrana_fx_render_preset(tmp_path, channels):
    """Bit for bit, also where four channels run as two stereo groups."""
    audio = signal(channels, 24000)
    source, target = tmp_path / "in.wav", tmp_path / "out.wav"
    soundfile.write(source, audio.T, 48000, subtype="FLOAT")
    subprocess.run([FX, "render", str(source), str(target), "--tail", "0", "--node", "delay",
                    "--preset", "long-echo"], check=True, capture_output=True)
    expected, _ = soundfile.read(target, dtype="float32", always_2d=True)
    effect = ostrana.Delay.preset("long-echo")
    assert_bit_identical(effect(audio, 48000), np.ascontiguousarray(expected.T))
