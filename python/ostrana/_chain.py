"""Chains: effects (and chains) run one after another, usable wherever an effect is."""

import copy
import json

from . import _audio
from ._effect import Effect, from_dict


class Chain:
    """Effects run in order on the same blocks: chain(audio, sample_rate) works as an effect
    does. A chain may hold chains; an effect may appear only once in a chain."""

    __slots__ = ("_effects", "_stream")

    def __init__(self, effects=()):
        self._effects = list(effects)
        for effect in self._effects:
            if not isinstance(effect, (Effect, Chain)):
                raise TypeError(f"a chain holds effects and chains, not {effect!r}")
        self._stream = _audio.Stream()

    def _nodes(self):
        nodes = []
        for effect in self._effects:
            nodes += effect._nodes() if isinstance(effect, Chain) else [effect._node]
        return nodes

    def __call__(self, audio, sample_rate, *, block_size=512, reset=True, channels_first=None,
                 tail=0, tail_max=30.0):
        """As Effect.__call__, with every effect of the chain run on each block in turn."""
        return _audio.run(self, self._nodes(), audio, sample_rate, block_size, reset,
                          channels_first, tail, tail_max)

    def flush(self, sample_rate, *, tail="auto", tail_max=30.0):
        """As Effect.flush: the rest of the chain's tail after a stream of reset=False calls."""
        return _audio.flush(self, self._nodes(), sample_rate, tail, tail_max)

    def tail_seconds(self):
        """How long the chain rings on after its input: the sum of its effects' times (each
        rings through the ones after it); None when an effect's time is not known."""
        times = [effect.tail_seconds() for effect in self._effects]
        return None if None in times else float(sum(times))

    @property
    def effects(self):
        return list(self._effects)

    def __len__(self):
        return len(self._effects)

    def __iter__(self):
        return iter(self._effects)

    def __getitem__(self, index):
        return self._effects[index]

    def __repr__(self):
        return f"Chain([{', '.join(repr(effect) for effect in self._effects)}])"

    def __eq__(self, other):
        if not isinstance(other, Chain):
            return NotImplemented
        return self._effects == other._effects

    __hash__ = None

    def __copy__(self):
        return Chain(copy.copy(effect) for effect in self._effects)

    def __deepcopy__(self, memo):
        return self.__copy__()

    def to_dict(self):
        """The chain as plain data: {"chain": [effect or chain, ...]}, each effect as
        {"type": "AudioEffects.Delay", "parameters": {"delayMs": 350, ...}} with the
        catalogue's parameter names, as the command line's --set takes them."""
        return {"chain": [effect.to_dict() for effect in self._effects]}

    @classmethod
    def from_dict(cls, data):
        items = data.get("chain")
        if not isinstance(items, list):
            raise ValueError('a chain is a dict {"chain": [...]}')
        return cls(cls.from_dict(item) if "chain" in item else from_dict(item) for item in items)

    def to_json(self, indent=2):
        return json.dumps(self.to_dict(), indent=indent)

    @classmethod
    def from_json(cls, text):
        return cls.from_dict(json.loads(text))

    def save(self, path):
        """Writes the chain to a JSON file."""
        with open(path, "w", encoding="utf-8") as file:
            file.write(self.to_json() + "\n")

    @classmethod
    def load(cls, path):
        """A chain from a JSON file that save wrote."""
        with open(path, encoding="utf-8") as file:
            return cls.from_json(file.read())
