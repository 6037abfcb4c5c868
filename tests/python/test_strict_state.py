"""Loading state is strict: a misspelt name, an unknown key, a value of the wrong type or a
malformed item is a ValueError naming where in the data it is, never a silent default."""

import json

import pytest

import ostrana


def chain_of(*items):
    return {"chain": list(items)}


def delay(**fields):
    return {"type": "AudioEffects.Delay", **fields}


@pytest.mark.parametrize("data, where, what", [
    (chain_of(delay(), delay(), delay(paramters={"delayMs": 300})),
     r"chain\[2\]\.paramters", r"unknown key \(did you mean 'parameters'\?\)"),
    (chain_of(delay(parameters={"delayMS": 300})),
     r"chain\[0\]\.parameters\.delayMS", r"Delay has no parameter 'delayMS' \(did you mean "
                                         r"'delayMs'\?\)"),
    (chain_of(delay(allow_out_of_range="false")),
     r"chain\[0\]\.allow_out_of_range", "true or false, not 'false'"),
    (chain_of(delay(allow_out_of_range=0)), r"chain\[0\]\.allow_out_of_range", "not 0"),
    (chain_of(delay(parameters={"enabled": "true"})),
     r"chain\[0\]\.parameters\.enabled", "takes True or False"),
    (chain_of(delay(parameters={"enabled": 1})), r"chain\[0\]\.parameters\.enabled",
     "takes True or False"),
    (chain_of(delay(parameters={"delayMs": "300"})), r"chain\[0\]\.parameters\.delayMs",
     "takes a whole number"),
    (chain_of(delay(parameters={"feedbackLevel": True})),
     r"chain\[0\]\.parameters\.feedbackLevel", "takes a number"),
    (chain_of(delay(parameters=[300])), r"chain\[0\]\.parameters", "not list"),
    (chain_of([1, 2]), r"chain\[0\]", "an effect is an object"),
    (chain_of({"parameters": {}}), r"chain\[0\]\.type", "missing"),
    (chain_of({"type": "AudioEffects.Dealy"}), r"chain\[0\]\.type",
     r"unknown node type 'AudioEffects.Dealy' \(did you mean 'AudioEffects.Delay'\?\)"),
    (chain_of({"chain": [delay(parameters={"wetmix": 0.5})]}),
     r"chain\[0\]\.chain\[0\]\.parameters\.wetmix", "did you mean 'wetMix'"),
    ({"chain": {"type": "AudioEffects.Delay"}}, "chain", "a list of effects"),
    ({"chain": [], "name": "x"}, r"chain\.name", "unknown key"),
    ([], "chain", "a chain is an object"),
])
def test_faults_name_their_place(data, where, what):
    with pytest.raises(ValueError, match=f"^{where}: .*{what}"):
        ostrana.Chain.from_dict(data)
    with pytest.raises(ValueError, match=f"^{where}: "):
        ostrana.Chain.from_json(json.dumps(data))


def test_json_booleans_are_the_only_booleans():
    loaded = ostrana.Chain.from_json(json.dumps(chain_of(delay(
        allow_out_of_range=False, parameters={"enabled": False, "delayMs": 300}))))
    assert loaded[0].enabled is False and loaded[0].allow_out_of_range is False


def test_text_that_is_not_json_is_a_value_error():
    with pytest.raises(ValueError, match="not JSON"):
        ostrana.Chain.from_json("{chain: []}")


def test_state_takes_python_names_and_short_type_names_too():
    loaded = ostrana.Chain.from_dict(chain_of({"type": "ping-pong-delay",
                                               "parameters": {"delay_ms": 120}}))
    assert loaded[0] == ostrana.PingPongDelay(delay_ms=120)


def test_from_parameters_takes_either_spelling():
    effect = ostrana.Delay(delay_ms=300, wet_mix=0.5)
    assert ostrana.Delay.from_parameters(effect.to_dict()["parameters"]) == effect
    assert ostrana.Delay.from_parameters(effect.parameters) == effect
    assert ostrana.Delay.from_parameters({"delayMs": 300, "wet_mix": 0.5}) == effect
    with pytest.raises(ValueError, match="delay_ms is given twice"):
        ostrana.Delay.from_parameters({"delayMs": 300, "delay_ms": 300})


def test_effect_from_dict_checks_its_class():
    data = ostrana.Chorus(frequency=1.5).to_dict()
    assert ostrana.Effect.from_dict(data) == ostrana.Chorus(frequency=1.5)
    assert ostrana.Chorus.from_dict(data) == ostrana.Chorus(frequency=1.5)
    with pytest.raises(ValueError, match="Delay.from_dict takes AudioEffects.Delay data"):
        ostrana.Delay.from_dict(data)
