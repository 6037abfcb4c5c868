"""Node types of any loaded extension: loaded by path, listed, described and created by type
name; they process arrays like the catalogue's effects."""

import os

import numpy as np
import pytest

import ostrana
from conftest import signal


@pytest.fixture(scope="module")
def halve():
    path = os.environ.get("OSTRANA_TEST_EXTENSION")
    if not path:
        pytest.fail("OSTRANA_TEST_EXTENSION names no test extension; run the tests via CTest")
    added = ostrana.load_extension(path)
    assert added == ["PythonTest.Halve"] or "PythonTest.Halve" in ostrana.type_names()
    return "PythonTest.Halve"


def test_a_loaded_node_type_is_listed_and_described(halve):
    assert halve in ostrana.type_names()
    descriptor = ostrana.describe(halve)
    assert (descriptor["type"], descriptor["subtype"]) == ("PythonTest", "Halve")


def test_a_loaded_node_type_processes_arrays(halve):
    effect = ostrana.create(halve)
    assert isinstance(effect, ostrana.NodeEffect) and effect.type_name == halve
    audio = signal(3, 5000)
    assert np.array_equal(effect(audio, 48000, block_size=100), audio * np.float32(0.5))
    chain = ostrana.Chain([effect, ostrana.create(halve)])
    assert np.array_equal(chain(audio, 48000), audio * np.float32(0.25))
    assert effect.parameters == {} and repr(effect) == "NodeEffect('PythonTest.Halve')"


def test_a_loaded_node_type_refuses_what_its_node_refuses(halve):
    with pytest.raises(ValueError, match="PythonTest.Halve does not take audio of 9 channels"):
        ostrana.create(halve)(signal(9, 100), 48000)
    with pytest.raises(TypeError, match="unexpected keyword argument 'gain'"):
        ostrana.create(halve, gain=2)


def test_loading_a_missing_library_fails_with_the_loaders_message(tmp_path):
    with pytest.raises(RuntimeError, match="no-such-library.so"):
        ostrana.load_extension(tmp_path / "no-such-library.so")
