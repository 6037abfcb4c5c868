"""The README's example runs exactly as written there."""

import re
import subprocess
import sys

import soundfile

import ostrana
from conftest import assert_bit_identical, signal

START = "<!-- python example start -->"
END = "<!-- python example end -->"


def readme_example(readme_path):
    text = readme_path.read_text(encoding="utf-8")
    block = text[text.index(START) + len(START):text.index(END)]
    code = re.search(r"```python\n(.*?)```", block, re.DOTALL)
    assert code, "no python code block between the README's example markers"
    return code.group(1)


def test_readme_example_runs_as_written(tmp_path, readme_path):
    example = readme_example(readme_path)
    audio = signal(2, 48000)
    soundfile.write(tmp_path / "in.wav", audio.T, 48000, subtype="FLOAT")
    subprocess.run([sys.executable, "-c", example], cwd=tmp_path, check=True)
    written, rate = ostrana.read(tmp_path / "out.wav")
    assert rate == 48000 and written.shape == audio.shape
    # The example saves its chain too: out.wav holds exactly what that chain computes.
    chain = ostrana.Chain.load(tmp_path / "preset.json")
    assert len(chain) == 2
    assert_bit_identical(written, chain(audio, 48000))
