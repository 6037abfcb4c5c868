"""Speed of the Python package against the same work in C++, side by side in one run.

For each catalogue node type and block size, the cpu time per channel-sample of:
- C++: catalogue_block_benchmark, the node made through the catalogue processing a stereo
  48 kHz noise signal block by block from one array into another through buffer views, one
  node continuing pass after pass, and a fresh node made for every pass;
- Python: effect(audio, 48000, block_size=B, reset=False) on a signal of the same length,
  the call continuing the node, and the default call (reset=True), which makes a fresh node
  for every call (after the first).
Both time the calling thread's cpu time (the module processes in the calling thread) and
keep the least of a round's passes, since the machine's other load only ever adds time. Each
round takes the block sizes in turn, running the C++ program and then the Python calls for
each, so that changes in the machine's load fall on both alike; the table shows medians over
the rounds.
Then the call overhead: calls of one 512-frame block each, against the C++ cost of a block.

Usage: python_speed.py --bin DIR [--rounds N] [--seconds S] [--repetitions N]
Exits 1 when the Python path costs more than 1.1 times the C++ path at a block of 512 frames
or more.
"""

import argparse
import datetime
import platform
import statistics
import subprocess
import time

import numpy as np

import ostrana

BLOCKS = [64, 512, 4096]
TARGET_RATIO = 1.1
TARGET_FROM_BLOCK = 512
SAMPLE_RATE = 48000


def cpp_round(binary, seconds, repetitions, block):
    """{(type, block, reset): ns per channel-sample} from one run of the C++ program, reset
    False for the continuing node and True for the fresh one."""
    command = [binary, str(seconds), str(repetitions), str(block)]
    lines = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    results = {}
    for line in lines.splitlines():
        type_name, block, continuing, fresh = line.split()
        results[(type_name, int(block), False)] = float(continuing)
        results[(type_name, int(block), True)] = float(fresh)
    return results


def timed(call, repetitions):
    """The least thread cpu seconds of repetitions calls, after one unmeasured call."""
    call()
    seconds = []
    for _ in range(repetitions):
        start = time.thread_time()
        call()
        seconds.append(time.thread_time() - start)
    return min(seconds)


def python_round(audio, repetitions, block):
    """{(type, block, reset): ns per channel-sample} for the Python calls."""
    channel_samples = audio.size
    results = {}
    # Unmeasured work first, as the C++ program does, so that no effect is timed while the
    # machine is still settling after the C++ program's run.
    warm_up = ostrana.create(ostrana.node_types()[0]["type_name"])
    for _ in range(repetitions):
        warm_up(audio, SAMPLE_RATE, block_size=block, reset=False)
    for entry in ostrana.node_types():
        effect = ostrana.create(entry["type_name"])
        for reset in (False, True):
            seconds = timed(lambda: effect(audio, SAMPLE_RATE, block_size=block, reset=reset),
                            repetitions)
            results[(entry["type_name"], block, reset)] = seconds / channel_samples * 1e9
    return results


def call_overhead(audio, calls):
    """Microseconds of thread cpu time per call of one 512-frame block (reset=False), for the
    cheapest effect, the delay."""
    delay = ostrana.Delay()
    block = np.ascontiguousarray(audio[:, :512])
    seconds = timed(lambda: [delay(block, SAMPLE_RATE, reset=False) for _ in range(calls)], 5)
    return seconds / calls * 1e6


def cpu_name():
    for line in subprocess.run(["lscpu"], capture_output=True, text=True).stdout.splitlines():
        if line.startswith("Model name:"):
            return line.split(":", 1)[1].strip()
    return platform.processor()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--bin", required=True, help="where catalogue_block_benchmark is")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--seconds", type=float, default=10.0)
    parser.add_argument("--repetitions", type=int, default=5)
    arguments = parser.parse_args()

    generator = np.random.default_rng(1)
    frames = int(arguments.seconds * SAMPLE_RATE)
    audio = generator.uniform(-0.5, 0.5, size=(2, frames)).astype(np.float32)
    binary = f"{arguments.bin}/catalogue_block_benchmark"

    cpp_rounds, python_rounds, overheads = [], [], []
    for round_number in range(arguments.rounds):
        print(f"round {round_number + 1} of {arguments.rounds}", flush=True)
        cpp_results, python_results = {}, {}
        for block in BLOCKS:
            cpp_results.update(cpp_round(binary, arguments.seconds, arguments.repetitions, block))
            python_results.update(python_round(audio, arguments.repetitions, block))
        cpp_rounds.append(cpp_results)
        python_rounds.append(python_results)
        overheads.append(call_overhead(audio, 2000))

    def median_of(rounds, key):
        return statistics.median(result[key] for result in rounds)

    print()
    print(f"{datetime.date.today()}, CPU {cpu_name()}, {arguments.seconds:g} s of stereo "
          f"48 kHz noise, thread cpu time: medians of {arguments.rounds} rounds, each the least "
          f"of {arguments.repetitions} passes")
    print()
    print("| node type | block | continuing: C++ ns | Python ns | Python / C++ "
          "| fresh node: C++ ns | Python ns | Python / C++ |")
    print("|---|---:|---:|---:|---:|---:|---:|---:|")
    worst = 0.0
    for block in BLOCKS:
        for entry in ostrana.node_types():
            name = entry["type_name"]
            cells = [name, str(block)]
            for reset in (False, True):
                cpp = median_of(cpp_rounds, (name, block, reset))
                python = median_of(python_rounds, (name, block, reset))
                if block >= TARGET_FROM_BLOCK:
                    worst = max(worst, python / cpp)
                cells += [f"{cpp:.3f}", f"{python:.3f}", f"{python / cpp:.3f}"]
            print(f"| {' | '.join(cells)} |")
    overhead = statistics.median(overheads)
    delay_block = median_of(cpp_rounds, ("AudioEffects.Delay", 512, False)) * 1024 / 1000
    print()
    print(f"Call overhead: a call of one 512-frame stereo block (AudioEffects.Delay, "
          f"reset=False) takes {overhead:.2f} us of cpu time; the C++ loop takes "
          f"{delay_block:.2f} us for the same block.")
    holds = worst <= TARGET_RATIO
    print(f"Target: at blocks of {TARGET_FROM_BLOCK} frames and more, Python at most "
          f"{TARGET_RATIO} times C++ per channel-sample: worst {worst:.3f}, "
          f"{'holds' if holds else 'DOES NOT HOLD'}.")
    return 0 if holds else 1


if __name__ == "__main__":
    raise SystemExit(main())
