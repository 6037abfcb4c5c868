"""State: a chain saves to and loads from JSON with the catalogue's parameter names, and the
loaded chain processes exactly as the saved one."""

import json

import pytest

import ostrana
from conftest import assert_bit_identical, signal


def sample_chain():
    return ostrana.Chain([
        ostrana.Delay(delay_ms=350, feedback_level=0.4),
        ostrana.Chain([ostrana.Chorus(frequency=0.5), ostrana.Flanger(enabled=False)]),
        ostrana.Vibrato(sweep_width=0.0123, allow_out_of_range=True),
    ])


def test_json_round_trip():
    chain = sample_chain()
    text = chain.to_json()
    loaded = ostrana.Chain.from_json(text)
    assert loaded == chain
    assert repr(loaded) == repr(chain)
    assert loaded.to_json() == text
    audio = signal(2, 30000)
    assert_bit_identical(loaded(audio, 48000), chain(audio, 48000))


def test_json_uses_type_names_and_command_line_parameter_names():
    data = json.loads(sample_chain().to_json())
    first = data["chain"][0]
    assert first["type"] == "AudioEffects.Delay"
    assert first["parameters"] == {"enabled": True, "delayMs": 350, "dryMix": 0.7,
                                   "wetMix": 0.3, "feedbackLevel": 0.4, "level": 0.0,
                                   "glide": 0.0}
    assert [item["type"] for item in data["chain"][1]["chain"]] == [
        "AudioEffects.Chorus", "AudioEffects.Flanger"]
    assert data["chain"][2]["allow_out_of_range"] is True


def test_save_and_load_a_file(tmp_path):
    path = tmp_path / "preset.json"
    sample_chain().save(path)
    assert ostrana.Chain.load(path) == sample_chain()


def test_json_values_are_checked_on_loading():
    data = {"chain": [{"type": "AudioEffects.Delay", "parameters": {"delayMs": 99999}}]}
    with pytest.raises(ValueError, match=r"chain\[0\]\.parameters\.delayMs: .*delay_ms must "
                                         "lie in 1 to 1000 ms"):
        ostrana.Chain.from_dict(data)
    with pytest.raises(ValueError, match=r"chain\[0\]\.parameters\.nope: Delay has no "
                                         "parameter 'nope'"):
        ostrana.Chain.from_dict({"chain": [{"type": "AudioEffects.Delay",
                                            "parameters": {"nope": 1}}]})
    with pytest.raises(ValueError, match='a chain is an object {"chain": \\[...\\]}'):
        ostrana.Chain.from_dict({"effects": []})


def test_parameters_dicts_give_back_equal_effects():
    for effect in sample_chain()[1]:
        assert type(effect).from_parameters(effect.parameters) == effect
