"""ostrana: the effects of OstranaAudioEffects on NumPy arrays, exact to the bit.

    import ostrana
    audio, rate = ostrana.read("in.wav")            # float32, (channels, frames)
    chain = ostrana.Chain([ostrana.Delay(delay_ms=350), ostrana.Chorus()])
    ostrana.write("out.wav", chain(audio, rate), rate)

The effect classes (Delay, PingPongDelay, Chorus, Flanger, Vibrato, ...) are made from the
library's catalogue of node types when the package is imported.
"""

import os

from . import _ostrana
from ._chain import Chain
from ._effect import CLASSES as _CLASSES
from . import _elf
from ._effect import Effect, NodeEffect, UnknownNodeTypeError, create
from ._effect import type_name_of as _type_name_of
from ._files import FORMATS, AudioFile, read, write

for _class in _CLASSES.values():
    globals()[_class.__name__] = _class

__all__ = ["AudioFile", "Chain", "Effect", "NodeEffect", "FORMATS", "UnknownNodeTypeError", "create",
           "describe", "load_extension",
           "node_types", "read", "type_names", "write"] + [c.__name__ for c in _CLASSES.values()]


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
    path = os.fspath(path)
    if os.sep in path:
        path = os.path.realpath(path)
    return _ostrana.load_extension(path, _elf.soname(path) if path else "")
