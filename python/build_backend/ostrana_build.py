"""A small build backend for pip: builds the extension module with the project's CMake build
and packs it, both libraries and the Python files into a wheel.

The CMake build is the repository's release build (``build/``, configured with the
``release`` preset when it is not yet), or the configured build directory named by the
environment variable OSTRANA_BUILD_DIR, so that a test run reuses the build it already has.
Only the module's target is built. Nothing is downloaded.
"""

import base64
import hashlib
import importlib.util
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tempfile
import tomllib
import zipfile

PACKAGE_SOURCE = pathlib.Path(__file__).resolve().parent.parent
ROOT = PACKAGE_SOURCE.parent
LIBRARIES = ("libOstranaSDK", "libOstranaAudioEffects")
MODULE_TARGET = "_ostrana"


def _project():
    with open(PACKAGE_SOURCE / "pyproject.toml", "rb") as file:
        return tomllib.load(file)["project"]


def _build_directory():
    named = os.environ.get("OSTRANA_BUILD_DIR")
    if named:
        return pathlib.Path(named).resolve()
    build = ROOT / "build"
    if not (build / "CMakeCache.txt").exists():
        subprocess.run(["cmake", "--preset", "release"], cwd=ROOT, check=True,
                       stdout=sys.stderr)
    return build


def _compile(build):
    subprocess.run(["cmake", "--build", str(build), "--target", MODULE_TARGET], check=True,
                   stdout=sys.stderr)


def _version(build):
    cache = (build / "CMakeCache.txt").read_text()
    found = re.search(r"^CMAKE_PROJECT_VERSION:STATIC=(\S+)$", cache, re.MULTILINE)
    if not found:
        raise RuntimeError(f"no project version in {build / 'CMakeCache.txt'}")
    return found.group(1)


def _tag():
    interpreter = f"cp{sys.version_info.major}{sys.version_info.minor}"
    platform = re.sub(r"[-.]", "_", sysconfig.get_platform())
    return f"{interpreter}-{interpreter}-{platform}"


def _module_file(build):
    suffix = sysconfig.get_config_var("EXT_SUFFIX")
    module = build / "python" / f"{MODULE_TARGET}{suffix}"
    if not module.exists():
        raise RuntimeError(f"{module} was not built (is it built for another Python?)")
    return module


def _package_files(build):
    """(path in the wheel, file on disk) for everything the package installs from files."""
    sources = PACKAGE_SOURCE / "ostrana"
    files = [(f"ostrana/{source.name}", source)
             for source in sorted([*sources.glob("*.py"), *sources.glob("*.pyi"),
                                   sources / "py.typed"])]
    module = _module_file(build)
    files.append((f"ostrana/{module.name}", module))
    files += [(f"ostrana/{library.name}", library) for library in _library_files(build)]
    return files


def _catalogue(build):
    """The catalogue's data, from the module just built, run beside both libraries (as the
    wheel holds them) in a fresh interpreter."""
    with tempfile.TemporaryDirectory() as stage:
        for _, path in _package_files(build):
            if path.suffix not in (".py", ".pyi", ".typed"):
                shutil.copy(path, stage)
        listing = subprocess.run(
            [sys.executable, "-c", "import json, _ostrana; print(json.dumps(_ostrana.node_types()))"],
            cwd=stage, check=True, capture_output=True, text=True,
            env={**os.environ, "PYTHONPATH": stage, "PYTHONDONTWRITEBYTECODE": "1"})
    return json.loads(listing.stdout)


def _package_module(name):
    """One of the package's modules that import nothing of it, loaded from its file."""
    location = importlib.util.spec_from_file_location(f"ostrana_{name}",
                                                      PACKAGE_SOURCE / "ostrana" / f"{name}.py")
    module = importlib.util.module_from_spec(location)
    location.loader.exec_module(module)
    return module


def _contents(name, path):
    """A file's bytes for the wheel; the libraries without the empty run-path entries of the
    build tree (an empty entry means the current folder)."""
    data = path.read_bytes()
    if ".so" in path.name:
        data = _package_module("_elf").clean_run_path(data)
    return data


def _generated_files(build, version):
    """(path in the wheel, contents) of the files written at build time: the effect classes
    and their stub, made from the catalogue, and the version."""
    generate = _package_module("_generate")
    catalogue = _catalogue(build)
    return [("ostrana/_effects.py", generate.effects_module(catalogue).encode()),
            ("ostrana/_effects.pyi", generate.effects_stub(catalogue).encode()),
            ("ostrana/_version.py", f'__version__ = "{version}"\n'.encode())]


def _library_files(build):
    """Each library under the name the module loads it by: its SONAME, lib<name>.so.<major>."""
    found = []
    for stem in LIBRARIES:
        candidates = [path for path in (build / "lib").glob(f"{stem}.so.*")
                      if re.fullmatch(rf"{stem}\.so\.\d+", path.name)]
        if len(candidates) != 1:
            raise RuntimeError(f"expected one {stem}.so.<major> in {build / 'lib'}")
        found += candidates
    return found


def _metadata(project, version):
    lines = ["Metadata-Version: 2.1", f"Name: {project['name']}", f"Version: {version}",
             f"Summary: {project['description']}",
             f"Requires-Python: {project['requires-python']}"]
    lines += [f"Requires-Dist: {dependency}" for dependency in project["dependencies"]]
    return "\n".join(lines) + "\n"


def _record_line(name, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}"


def get_requires_for_build_wheel(config_settings=None):
    return []


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    project = _project()
    build = _build_directory()
    _compile(build)
    version = _version(build)
    tag = _tag()
    distribution = f"{project['name']}-{version}"
    wheel_path = pathlib.Path(wheel_directory) / f"{distribution}-{tag}.whl"
    info = f"{distribution}.dist-info"
    contents = [(name, _contents(name, path)) for name, path in _package_files(build)]
    contents += _generated_files(build, version)
    contents.append((f"{info}/METADATA", _metadata(project, version).encode()))
    wheel_text = ("Wheel-Version: 1.0\nGenerator: ostrana_build\nRoot-Is-Purelib: false\n"
                  f"Tag: {tag}\n")
    contents.append((f"{info}/WHEEL", wheel_text.encode()))
    record = [_record_line(name, data) for name, data in contents] + [f"{info}/RECORD,,"]
    contents.append((f"{info}/RECORD", ("\n".join(record) + "\n").encode()))
    with zipfile.ZipFile(wheel_path, "w", zipfile.ZIP_DEFLATED) as wheel:
        for name, data in contents:
            entry = zipfile.ZipInfo(name, date_time=(2026, 1, 1, 0, 0, 0))
            # Shared libraries keep their execute bit.
            entry.external_attr = (0o755 if name.endswith(".so") else 0o644) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            wheel.writestr(entry, data)
    return wheel_path.name
