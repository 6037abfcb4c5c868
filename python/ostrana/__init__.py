"""ostrana: the effects of OstranaAudioEffects on NumPy arrays, exact to the bit.

    import ostrana
    audio, rate = ostrana.read("in.wav")            # float32, (channels, frames)
    chain = ostrana.Chain([ostrana.Delay(delay_ms=350), ostrana.Chorus()])
    ostrana.write("out.wav", chain(audio, rate), rate)

The effect classes (Delay, PingPongDelay, Chorus, Flanger, Vibrato, ...) are defined in
_effects.py, which the package's build writes from the catalogue of the library it ships.
"""

import os as _os

from . import _elf, _ostrana
from ._audio import Processor
from ._chain import Chain
from ._effect import Effect, NodeEffect, UnknownNodeTypeError, create, presets
from ._effect import type_name_of as _type_name_of
from ._files import FORMATS, AudioFile, read, write

from ._effects import *  # noqa: F401,F403 (the effect classes, Delay, Chorus, ...)
from ._effects import __all__ as _EFFECT_CLASSES
from ._version import __version__

__all__ = ["AudioFile", "Chain", "Effect", "NodeEffect", "FORMATS", "Processor",
           "UnknownNodeTypeError",
           "__version__", "create", "describe", "load_extension", "node_types", "presets", "read",
           "type_names", "write"] + _EFFECT_CLASSES


def node_types():
    """The catalogue: one dict per node type (type_name, short_name, class_name, display_name,
    description, min_channels, max_channels, parameters), each parameter a dict (name,
    python_name, kind, default, minimum, maximum, unit, unit_symbol, range, description)."""
    return _ostrana.node_types()


def describe(name):
    """The descriptor of a node type as a dict: a fully qualified type name of any loaded
    extension, a catalogue short name ("ping-pong-delay") or an effect class name. An unknown
    name raises UnknownNodeTypeError (a KeyError and a ValueError), as create does."""
    return _ostrana.describe(_type_name_of(name))


def type_names():
    """The fully qualified names of every node type of every loaded extension."""
    return _ostrana.type_names()


def load_extension(path):
    """Loads an extension library, whose node types then work with create(); returns the
    names of the node types it added. A library that is loaded already (the same file, or one
    of the same name: the package's own effects library among them) adds nothing and returns
    []. A library that registers no extension is refused with a ValueError (it stays loaded),
    a missing one with the loader's message as a RuntimeError."""
    path = _os.fspath(path)
    if _os.sep in path:
        path = _os.path.realpath(path)
    return _ostrana.load_extension(path, _elf.soname(path) if path else "")
