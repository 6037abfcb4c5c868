"""What tools see: the effect classes are defined in a file generated from the catalogue (and
match it), typed through stubs that mypy --strict accepts in user code, completed by jedi; the
package has a version and leaks no helper names; its libraries have clean run paths."""

import ast
import importlib.metadata
import pathlib
import subprocess
import sys
import textwrap

import pytest

import ostrana
from ostrana import _effects, _elf, _generate

PACKAGE = pathlib.Path(ostrana.__file__).parent

USER_SCRIPT = textwrap.dedent('''
    import numpy as np
    import numpy.typing as npt
    import ostrana

    def wet_version(path: str, out: str) -> float:
        audio, rate = ostrana.read(path)
        chain = ostrana.Chain([ostrana.Delay(delay_ms=350, feedback_level=0.4),
                               ostrana.Chorus(frequency=0.5)])
        chain.append(ostrana.Flanger(sweep_width=0.004))
        wet: npt.NDArray[np.float32] = chain(audio, rate, tail="auto")
        ostrana.write(out, wet, rate, format="pcm24", dither="triangular")
        chain.save(out + ".json")
        again = ostrana.Chain.load(out + ".json")
        delay = ostrana.Delay.from_parameters({"delayMs": 20})
        delay.feedback_level = 0.5
        slapback: ostrana.Delay = ostrana.Delay.preset("slapback")
        names: tuple[str, ...] = slapback.preset_names()
        delay.delay_ms = slapback.delay_ms + len(names) + len(ostrana.presets("delay"))
        seconds = delay.tail_seconds() or 0.0
        with ostrana.AudioFile(path) as source:
            for block in source.blocks(4096):
                again(block, source.samplerate, reset=False)
            rest = again.flush(source.samplerate)
        copy = ostrana.Chain.from_json(again.to_json())
        copy.reset()
        effect = ostrana.create("chorus", frequency=0.3)
        version: str = ostrana.__version__
        return seconds + float(rest.size) + len(copy) + len(version) + float(effect.frequency
                                                                              if isinstance(
            effect, ostrana.Chorus) else 0)
''')

WRONG_SCRIPT = textwrap.dedent('''
    import ostrana
    delay = ostrana.Delay(delay_ms="300")
    wet: str = delay(None, 48000)
    reveal_type(ostrana.Flanger().sweep_width)
''')


def test_the_classes_file_is_the_one_the_catalogue_gives():
    catalogue = ostrana.node_types()
    assert pathlib.Path(_effects.__file__).read_text() == _generate.effects_module(catalogue)
    stub = PACKAGE / "_effects.pyi"
    assert stub.read_text() == _generate.effects_stub(catalogue)
    # Each class is a statement of the file, with a property per catalogue parameter.
    tree = ast.parse(pathlib.Path(_effects.__file__).read_text())
    classes = {node.name: node for node in tree.body if isinstance(node, ast.ClassDef)}
    assert list(classes) == [entry["class_name"] for entry in catalogue]
    for entry in catalogue:
        assigned = [target.id for node in classes[entry["class_name"]].body
                    if isinstance(node, ast.Assign) for target in node.targets]
        assert assigned == ["__slots__", "type_name"] + [
            p["python_name"] for p in entry["parameters"]]


def test_the_package_has_its_version_stubs_and_marker():
    assert ostrana.__version__ == importlib.metadata.version("ostrana")
    assert ostrana.__version__.count(".") == 2
    for name in ("py.typed", "__init__.pyi", "_effects.pyi"):
        assert (PACKAGE / name).is_file(), name


def test_no_helper_names_leak():
    public = {name for name in dir(ostrana) if not name.startswith("_")}
    assert public == set(ostrana.__all__) - {"__version__"}
    assert not hasattr(ostrana, "os") and not hasattr(ostrana, "_class")


def test_mypy_strict_accepts_a_user_script_and_sees_the_types(tmp_path):
    pytest.importorskip("mypy", reason="Debian's mypy (scripts/install-deps.sh)")
    assert len(USER_SCRIPT.strip().splitlines()) >= 25
    (tmp_path / "user.py").write_text(USER_SCRIPT)
    (tmp_path / "wrong.py").write_text(WRONG_SCRIPT)
    # One run over both scripts (mypy's start is most of its time).
    result = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--no-incremental",
                             "--cache-dir", str(tmp_path / "cache"), "user.py", "wrong.py"],
                            capture_output=True, text=True, cwd=tmp_path)
    lines = result.stdout.splitlines()
    assert not [line for line in lines if line.startswith("user.py")], result.stdout
    wrong = "\n".join(line for line in lines if line.startswith("wrong.py"))
    assert 'Argument "delay_ms" to "Delay" has incompatible type "str"; expected "int"' in wrong
    assert 'Revealed type is "builtins.float"' in wrong
    assert "incompatible types in assignment" in wrong.lower()
    assert result.returncode == 1 and result.stderr == ""


def test_jedi_completes_the_effect_classes():
    jedi = pytest.importorskip("jedi", reason="Debian's python3-jedi (scripts/install-deps.sh)")
    names = [c.name for c in jedi.Script("import ostrana\nostrana.Fl").complete()]
    assert names == ["Flanger"]
    every = {c.name for c in jedi.Script("import ostrana\nostrana.").complete()}
    assert {entry["class_name"] for entry in ostrana.node_types()} <= every
    assert "os" not in every
    signatures = jedi.Script("import ostrana\nostrana.Delay(").get_signatures(2, 14)
    assert "delay_ms" in [p.name for p in signatures[0].params]


def test_the_libraries_have_clean_run_paths():
    libraries = sorted(PACKAGE.glob("*.so*"))
    assert len(libraries) == 3
    for library in libraries:
        entries = _elf.run_path(library)
        assert entries == ["$ORIGIN"], (library.name, entries)


def test_every_public_name_and_method_has_a_docstring():
    missing = []
    for name in ostrana.__all__:
        item = getattr(ostrana, name)
        if callable(item) and not (item.__doc__ or "").strip():
            missing.append(name)
        if isinstance(item, type):
            for attribute, member in vars(item).items():
                if attribute.startswith("_") or not callable(member) and not isinstance(
                        member, (property, classmethod)):
                    continue
                function = member.__func__ if isinstance(member, classmethod) else member
                if not (function.__doc__ or "").strip():
                    missing.append(f"{name}.{attribute}")
    assert missing == []
