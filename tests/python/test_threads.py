"""Processing releases the interpreter lock; parameters may be set from another thread while
a call runs (each write one atomic exchange on the node); one call per effect at a time."""

import threading
import time

import numpy as np
import pytest

import ostrana
from conftest import signal

# A call on this much audio in blocks of one frame takes a good fraction of a second.
LONG_FRAMES = 48000 * 30
SLOW_BLOCK = 1


@pytest.fixture(scope="module")
def long_audio():
    return signal(2, LONG_FRAMES, seed=21)


def test_another_thread_runs_while_a_call_processes(long_audio):
    stamps = []
    stop = threading.Event()

    def count():
        while not stop.is_set():
            stamps.append(time.perf_counter())

    counter = threading.Thread(target=count)
    counter.start()
    try:
        chorus = ostrana.Chorus()
        start = time.perf_counter()
        chorus(long_audio, 48000, block_size=SLOW_BLOCK)
        end = time.perf_counter()
    finally:
        stop.set()
        counter.join()
    # Were the lock held through the call, the counter could run only at its edges, for at
    # most Python's switch interval.
    margin = 0.02
    assert end - start > 4 * margin, "the call was too short to tell"
    inside = [stamp for stamp in stamps if start + margin < stamp < end - margin]
    assert len(inside) > 1000


def test_parameter_storm_during_a_call(long_audio):
    flanger = ostrana.Flanger()
    unstormed = ostrana.Flanger()(long_audio, 48000)
    parameters = flanger.catalogue["parameters"]
    done = threading.Event()
    mismatches = []
    written = {}
    writes = 0

    def storm():
        nonlocal writes
        generator = np.random.default_rng(5)
        while not done.is_set():
            for parameter in parameters:
                name = parameter["python_name"]
                if parameter["kind"] == "switch":
                    value = bool(generator.integers(0, 2))
                else:
                    value = float(generator.uniform(parameter["minimum"], parameter["maximum"]))
                setattr(flanger, name, value)
                stored = getattr(flanger, name)
                if np.float32(stored) != np.float32(value):
                    mismatches.append((name, value, stored))
                written[name] = stored
                writes += 1

    stormer = threading.Thread(target=storm)
    stormer.start()
    try:
        output = flanger(long_audio, 48000, block_size=SLOW_BLOCK)
    finally:
        writes_during_call = writes
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
