"""Effects and chains behave as Python objects: they pickle and copy by their settings, a
chain is a mutable sequence with reset(), names are forgiving where they can be and helpful
where they cannot, and extensions load once."""

import copy
import os
import pickle

import pytest

import ostrana
from conftest import assert_bit_identical, signal


def sample_chain():
    return ostrana.Chain([ostrana.Delay(delay_ms=350, feedback_level=0.4),
                          ostrana.Chain([ostrana.Chorus(frequency=0.5)]),
                          ostrana.Flanger(sweep_width=0.02, allow_out_of_range=True)])


def test_effects_and_chains_pickle_by_their_settings():
    audio = signal(2, 20000)
    for original in (sample_chain(), ostrana.Vibrato(frequency=7.5, sweep_width=0.0031)):
        for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
            loaded = pickle.loads(pickle.dumps(original, protocol))
            assert type(loaded) is type(original) and loaded == original
            assert repr(loaded) == repr(original)
            assert_bit_identical(loaded(audio, 44100), original(audio, 44100))
    assert pickle.loads(pickle.dumps(sample_chain()))[2].allow_out_of_range is True


def test_a_pickled_effect_is_fresh():
    delay = ostrana.Delay()
    audio = signal(2, 5000)
    delay(audio, 48000, reset=False)
    loaded = pickle.loads(pickle.dumps(delay))
    assert_bit_identical(loaded(audio, 48000, reset=False), ostrana.Delay()(audio, 48000))


def test_copies_are_independent():
    chain = sample_chain()
    for duplicate in (copy.copy(chain), copy.deepcopy(chain)):
        assert duplicate == chain
        duplicate[0].delay_ms = 10
        assert chain[0].delay_ms == 350


def test_chain_is_a_mutable_sequence():
    delay, chorus, flanger = ostrana.Delay(), ostrana.Chorus(), ostrana.Flanger()
    chain = ostrana.Chain([delay])
    chain.append(flanger)
    chain.insert(1, chorus)
    assert chain.effects == [delay, chorus, flanger] and chain.index(flanger) == 2
    assert isinstance(chain[1:], ostrana.Chain) and chain[1:].effects == [chorus, flanger]
    assert chain[1:][0] is chorus
    chain[0] = ostrana.Vibrato()
    chain.remove(flanger)
    del chain[0]
    assert chain.effects == [chorus]
    chain[:] = [delay, flanger]
    assert len(chain) == 2 and chain.pop() is flanger
    chain.extend([flanger])
    assert list(chain) == [delay, flanger]
    with pytest.raises(TypeError, match="a chain holds effects and chains"):
        chain.append("delay")
    with pytest.raises(TypeError, match="a chain holds effects and chains"):
        chain[0] = 3
    audio = signal(2, 8000)
    assert_bit_identical(chain(audio, 48000),
                         ostrana.Chain([ostrana.Delay(), ostrana.Flanger()])(audio, 48000))


def test_reset_starts_a_new_stream():
    audio = signal(2, 6000)
    for effect in (sample_chain(), ostrana.Delay(feedback_level=0.9)):
        first = effect(audio, 48000, reset=False)
        effect(audio, 48000, reset=False)
        effect.reset()
        assert_bit_identical(effect(audio, 48000, reset=False), first)


def test_did_you_mean_for_keywords():
    with pytest.raises(TypeError, match=r"'delayMs' \(did you mean 'delay_ms'\?\)"):
        ostrana.Delay(delayMs=300)
    with pytest.raises(TypeError, match=r"'frequncy' \(did you mean 'frequency'\?\)"):
        ostrana.Chorus(frequncy=1)


def test_create_and_describe_take_the_same_names_and_raise_the_same_error():
    for name in ("AudioEffects.Chorus", "Chorus", "chorus", "CHORUS"):
        assert type(ostrana.create(name, frequency=0.5)) is ostrana.Chorus
        assert ostrana.describe(name)["subtype"] == "Chorus"
    for call in (ostrana.create, ostrana.describe):
        with pytest.raises(ostrana.UnknownNodeTypeError,
                           match=r"unknown node type 'Chrous' \(did you mean 'Chorus'\?\)"):
            call("Chrous")
    assert issubclass(ostrana.UnknownNodeTypeError, KeyError)
    assert issubclass(ostrana.UnknownNodeTypeError, ValueError)


def test_load_extension_refuses_what_is_no_extension():
    with pytest.raises(ValueError, match="needs the path of a library"):
        ostrana.load_extension("")
    with pytest.raises(ValueError, match="no extension library of this host: it registers no extension"):
        ostrana.load_extension("libm.so.6")


def test_loading_the_effects_library_again_registers_nothing_twice():
    build = os.environ.get("OSTRANA_FX")
    if not build:
        pytest.fail("OSTRANA_FX names no build; run the tests through CTest")
    library = os.path.join(os.path.dirname(os.path.dirname(build)), "lib",
                           "libOstranaAudioEffects.so")
    before = ostrana.type_names()
    assert ostrana.load_extension(library) == []
    assert ostrana.type_names() == before
    assert len(set(before)) == len(before)


def test_an_extension_loads_once():
    path = os.environ.get("OSTRANA_TEST_EXTENSION")
    if not path:
        pytest.fail("OSTRANA_TEST_EXTENSION names no test extension; run the tests via CTest")
    ostrana.load_extension(path)
    before = ostrana.type_names()
    assert ostrana.load_extension(path) == []
    assert ostrana.type_names() == before and "PythonTest.Halve" in before
