"""Effect classes, keyword arguments and properties come from the catalogue; values are
checked against its kinds and ranges; repr, equality, copy and the parameters dict."""

import copy
import inspect
import json
import math
import pydoc

import numpy as np
import pytest

import ostrana
from conftest import assert_bit_identical, catalogue_classes, signal

# The classes the package has today; any further catalogue entry gets its class too.
TODAYS_CLASSES = {"Delay", "PingPongDelay", "Vibrato", "Flanger", "Chorus"}


def test_every_catalogue_entry_has_a_class_named_after_its_descriptor():
    entries = ostrana.node_types()
    assert TODAYS_CLASSES <= {entry["class_name"] for entry in entries}
    effect_classes = {name for name in ostrana.__all__
                      if isinstance(getattr(ostrana, name), type)
                      and issubclass(getattr(ostrana, name), ostrana.Effect)
                      and getattr(ostrana, name).catalogue is not None}
    assert effect_classes == {entry["class_name"] for entry in entries}
    for entry in entries:
        cls = getattr(ostrana, entry["class_name"])
        assert cls.type_name == entry["type_name"]
        assert issubclass(cls, ostrana.Effect)
        assert ostrana.describe(entry["type_name"])["subtype"] == entry["class_name"]
        assert entry["class_name"] in ostrana.__all__


def test_python_names_are_snake_case_of_catalogue_names():
    names = {p["name"]: p["python_name"] for e in ostrana.node_types() for p in e["parameters"]}
    assert names.items() >= {"enabled": "enabled", "delayMs": "delay_ms", "dryMix": "dry_mix",
                     "wetMix": "wet_mix", "feedbackLevel": "feedback_level",
                     "sweepWidth": "sweep_width", "frequency": "frequency"}.items()


@pytest.mark.parametrize("cls", catalogue_classes(), ids=lambda cls: cls.__name__)
def test_defaults_properties_and_docs_come_from_the_catalogue(cls):
    effect = cls()
    parameters = cls.catalogue["parameters"]
    assert effect.parameters == {p["python_name"]: p["default"] for p in parameters}
    for parameter in parameters:
        assert getattr(effect, parameter["python_name"]) == parameter["default"]
        doc = getattr(cls, parameter["python_name"]).__doc__
        assert parameter["description"] in doc and parameter["range"] in doc
        assert parameter["description"] in cls.__doc__
    signature = inspect.signature(cls)
    assert list(signature.parameters) == [p["python_name"] for p in parameters] + [
        "allow_out_of_range"]


def test_catalogue_and_descriptors_are_plain_data():
    json.dumps(ostrana.node_types())
    for entry in ostrana.node_types():
        assert json.loads(json.dumps(ostrana.describe(entry["type_name"]))) == ostrana.describe(
            entry["type_name"])
    assert ostrana.describe("PingPongDelay") == ostrana.describe("AudioEffects.PingPongDelay")
    assert ostrana.describe("ping-pong-delay") == ostrana.describe("AudioEffects.PingPongDelay")
    assert "delayMs" in ostrana.describe("PingPongDelay")["properties"]


def test_the_base_class_makes_no_effect():
    with pytest.raises(TypeError, match="Effect is the base of the effect classes"):
        ostrana.Effect()


def test_unknown_node_type_is_refused():
    with pytest.raises(KeyError, match="unknown node type 'Nope'; known types: AudioEffects"):
        ostrana.describe("Nope")
    with pytest.raises(ValueError, match="Nope"):
        ostrana.create("Nope")


def test_keyword_arguments_and_properties_set_values():
    delay = ostrana.Delay(delay_ms=350, dry_mix=0.5, wet_mix=0.25, feedback_level=0.4,
                          enabled=False)
    assert delay.parameters == {"enabled": False, "delay_ms": 350, "dry_mix": 0.5,
                                "wet_mix": 0.25, "feedback_level": 0.4, "level": 0.0,
                                "glide": 0.0}
    delay.delay_ms = 20
    delay.dry_mix = 1
    delay.enabled = np.bool_(True)
    delay.wet_mix = np.float32(0.1)
    assert (delay.delay_ms, delay.dry_mix, delay.enabled, delay.wet_mix) == (20, 1.0, True, 0.1)
    assert type(delay.delay_ms) is int and type(delay.dry_mix) is float


def test_values_out_of_range_are_refused_naming_the_range():
    with pytest.raises(ValueError, match=r"delay_ms must lie in 1 to 1000 ms, not 5000"):
        ostrana.Delay(delay_ms=5000)
    chorus = ostrana.Chorus()
    with pytest.raises(ValueError, match=r"frequency must lie in 0\.01 to 5 Hz, not 9\.5"):
        chorus.frequency = 9.5
    with pytest.raises(ValueError, match="feedback_level must lie in 0 to 0.99"):
        ostrana.Delay(feedback_level=math.nan)
    assert chorus.frequency == ostrana.Chorus().frequency


def test_allow_out_of_range_stores_any_value_of_the_kind():
    delay = ostrana.Delay(delay_ms=5000, feedback_level=1.5, allow_out_of_range=True)
    assert (delay.delay_ms, delay.feedback_level) == (5000, 1.5)
    delay.wet_mix = -2
    assert delay.wet_mix == -2.0
    assert "allow_out_of_range=True" in repr(delay)
    with pytest.raises(ValueError, match="not a whole number from 0 to 4294967295"):
        delay.delay_ms = -1


def test_whole_numbers_are_not_rounded():
    with pytest.raises(ValueError, match=r"delay_ms \(whole number, 1 to 1000 ms\): 350\.5 "
                                         r"\(float\) is not a whole number"):
        ostrana.Delay(delay_ms=350.5)
    assert ostrana.Delay(delay_ms=350.0).delay_ms == 350
    with pytest.raises(TypeError, match="delay_ms .* takes a whole number, not True"):
        ostrana.Delay(delay_ms=True)
    with pytest.raises(TypeError, match="takes a whole number, not '350'"):
        ostrana.Delay(delay_ms="350")


def test_switches_take_only_bools():
    with pytest.raises(TypeError, match=r"enabled \(switch, off or on\) takes True or False, "
                                        r"not 1 \(int\)"):
        ostrana.Flanger(enabled=1)
    with pytest.raises(TypeError, match="takes a number, not False"):
        ostrana.Flanger(frequency=False)


def test_real_numbers_are_stored_as_the_nearest_float():
    chorus = ostrana.Chorus(sweep_width=0.0123456789)
    assert np.float32(chorus.sweep_width) == np.float32(0.0123456789)
    assert chorus.sweep_width == 0.012345679  # the shortest decimal of that float


def test_unknown_parameters_are_refused():
    with pytest.raises(TypeError, match=r"unexpected keyword argument 'delay' \(did you mean "
                                        r"'delay_ms'\?\); parameters: enabled, delay_ms"):
        ostrana.Delay(delay=3)
    with pytest.raises(AttributeError):
        ostrana.Delay().dleay_ms = 3


def test_repr_shows_every_value():
    assert repr(ostrana.Delay(delay_ms=350)) == (
        "Delay(enabled=True, delay_ms=350, dry_mix=0.7, wet_mix=0.3, feedback_level=0.2, "
        "level=0.0, glide=0.0)")
    assert repr(ostrana.Chain([ostrana.Vibrato(frequency=4, sweep_width=0.003)])) == (
        "Chain([Vibrato(enabled=True, sweep_width=0.003, frequency=4.0, level=0.0, mix=1.0, "
        "stereo_phase=0.0, glide=0.0)])")


@pytest.mark.parametrize("cls", catalogue_classes(), ids=lambda cls: cls.__name__)
def test_repr_evaluates_to_an_equal_effect(cls):
    effect = cls(**{p["python_name"]: p["maximum"] for p in cls.catalogue["parameters"]})
    assert eval(repr(effect), vars(ostrana)) == effect


def test_equality_and_copy():
    delay = ostrana.Delay(delay_ms=350)
    assert delay == ostrana.Delay(delay_ms=350)
    assert delay != ostrana.Delay(delay_ms=351)
    assert delay != ostrana.PingPongDelay(delay_ms=350)
    for duplicate in (copy.copy(delay), copy.deepcopy(delay)):
        assert duplicate == delay and duplicate is not delay
        duplicate.delay_ms = 10
        assert delay.delay_ms == 350


def test_parameters_dict_round_trip():
    flanger = ostrana.Flanger(sweep_width=0.004, frequency=0.3)
    again = ostrana.Flanger.from_parameters(flanger.parameters)
    assert again == flanger
    assert again.parameters is not flanger.parameters
    with pytest.raises(ValueError, match="must lie in"):
        ostrana.Flanger.from_parameters({"frequency": 100.0})
    assert ostrana.Flanger.from_parameters({"frequency": 100.0},
                                           allow_out_of_range=True).frequency == 100.0


def test_create_by_type_name():
    chorus = ostrana.create("AudioEffects.Chorus", frequency=0.5)
    assert type(chorus) is ostrana.Chorus and chorus.frequency == 0.5
    assert set(e["type_name"] for e in ostrana.node_types()) <= set(ostrana.type_names())


def test_help_shows_the_swept_effects_level_mix_feedback_stereo_phase_and_glide():
    shown = pydoc.render_doc(ostrana.Flanger, renderer=pydoc.plaintext)
    for keyword, range_text in (("level", "-60 to 12 dB"), ("mix", "0 to 1"),
                                ("stereo_phase", "0 to 180 deg"),
                                ("feedback", "-0.95 to 0.95"), ("glide", "0 to 500 ms")):
        assert keyword in shown and range_text in shown, keyword
    flanger = ostrana.Flanger()
    assert (flanger.level, flanger.mix, flanger.stereo_phase, flanger.feedback) == (
        0.0, 1.0, 90.0, 0.6)
    assert ostrana.Chorus().feedback == 0.0
    assert ostrana.Vibrato().stereo_phase == 0.0
    assert not hasattr(ostrana.Vibrato(), "feedback")


def test_swept_effects_at_mix_0_give_the_dry_input_exactly():
    audio = signal(2, 20000, seed=3)
    for cls in (ostrana.Chorus, ostrana.Flanger, ostrana.Vibrato):
        assert_bit_identical(cls(mix=0)(audio, 48000, block_size=300), audio)
