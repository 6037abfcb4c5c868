"""Processing releases the interpreter lock; parameters may be set from another thread while
a call runs (each write one atomic exchange on the node); one call per effect at a time.

No test here reads a clock: what a second thread does during a call is told by the node's busy
mark, which the call sets and clears with the interpreter lock held, around the lock's release.
A Python thread that sees the mark set therefore ran while the call was processing without the
lock, however fast or loaded the machine is."""

import threading

import numpy as np
import pytest

import ostrana
from conftest import signal

# A call on this much audio in blocks of one frame lasts long enough for another thread to run
# many times over (about a tenth of a second here).
LONG_FRAMES = 48000 * 30
SLOW_BLOCK = 1


@pytest.fixture(scope="module")
def long_audio():
    return signal(2, LONG_FRAMES, seed=21)


def test_another_thread_runs_while_a_call_processes(long_audio):
    chorus = ostrana.Chorus()
    steps_during_call = 0
    stop = threading.Event()

    def count():
        nonlocal steps_during_call
        while not stop.is_set():
            if chorus._node.busy:
                steps_during_call += 1

    counter = threading.Thread(target=count)
    counter.start()
    try:
        chorus(long_audio, 48000, block_size=SLOW_BLOCK)
    finally:
        stop.set()
        counter.join()
    # Were the lock held through the call, the counter could never see the busy mark set.
    assert steps_during_call > 1000


def test_parameter_storm_during_a_call(long_audio):
    flanger = ostrana.Flanger()
    unstormed = ostrana.Flanger()(long_audio, 48000)
    parameters = flanger.catalogue["parameters"]
    done = threading.Event()
    mismatches = []
    written = {}
    writes_during_call = 0

    def storm():
        nonlocal writes_during_call
        generator = np.random.default_rng(5)
        while not done.is_set():
            for parameter in parameters:
                name = parameter["python_name"]
                if parameter["kind"] == "switch":
                    value = bool(generator.integers(0, 2))
                else:
                    value = float(generator.uniform(parameter["minimum"], parameter["maximum"]))
                # Busy before and after the write: the write fell inside the call.
                busy_before = flanger._node.busy
                setattr(flanger, name, value)
                stored = getattr(flanger, name)
                if busy_before and flanger._node.busy:
                    writes_during_call += 1
                if np.float32(stored) != np.float32(value):
                    mismatches.append((name, value, stored))
                written[name] = stored

    stormer = threading.Thread(target=storm)
    stormer.start()
    try:
        output = flanger(long_audio, 48000, block_size=SLOW_BLOCK)
    finally:
        done.set()
        stormer.join()
    assert mismatches == []
    assert writes_during_call > 100
    assert flanger.parameters == written
    assert np.all(np.isfinite(output))
    assert not np.array_equal(output, unstormed)


def test_one_call_at_a_time_per_effect(long_audio):
    chorus = ostrana.Chorus()
    errors = []
    finished = threading.Event()

    def second_call():
        # Tries while the first call is processing, until refused or the first call is over.
        while not finished.is_set() and not errors:
            if chorus._node.busy:
                try:
                    chorus(long_audio[:, :1000], 48000)
                except RuntimeError as error:
                    errors.append(str(error))

    other = threading.Thread(target=second_call)
    other.start()
    try:
        chorus(long_audio, 48000, block_size=SLOW_BLOCK)
    finally:
        finished.set()
        other.join()
    assert errors and "is processing in another call; one call at a time" in errors[0]
    chorus(long_audio[:, :1000], 48000)


def test_separate_effects_process_in_parallel_threads(long_audio):
    part = long_audio[:, : 48000 * 5]
    expected = ostrana.Vibrato()(part, 48000)
    results = [None] * 4

    def work(index):
        results[index] = ostrana.Vibrato()(part, 48000)

    threads = [threading.Thread(target=work, args=(index,)) for index in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for result in results:
        assert np.array_equal(result.view(np.uint32), expected.view(np.uint32))
