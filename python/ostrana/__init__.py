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
from ._effect import Effect, NodeEffect, create
from ._files import FORMATS, read, write

for _class in _CLASSES.values():
    globals()[_class.__name__] = _class

__all__ = ["Chain", "Effect", "NodeEffect", "FORMATS", "create", "describe", "load_extension",
           "node_types", "read", "type_names", "write"] + [c.__name__ for c in _CLASSES.values()]


def node_types():
    """The catalogue: one dict per node type (type_name, short_name, class_name, display_name,
    description, min_channels, max_channels, parameters), each parameter a dict (name,
    python_name, kind, default, minimum, maximum, unit, unit_symbol, range, description)."""
    return _ostrana.node_types()


def describe(name):
    """The descriptor of a node type as a dict: a fully qualified type name of any loaded
    extension, a catalogue short name ("ping-pong-delay") or an effect class name."""
    for cls in _CLASSES.values():
        if cls.__name__ == name:
            name = cls.type_name
    return _ostrana.describe(name)


def type_names():
    """The fully qualified names of every node type of every loaded extension."""
    return _ostrana.type_names()


def load_extension(path):
    """Loads an extension library, whose node types then work with create(); returns the
    names of the node types it added."""
    return _ostrana.load_extension(os.fspath(path))
