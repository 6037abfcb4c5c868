"""Chains: effects (and chains) run one after another, usable wherever an effect is."""

import collections.abc
import copy
import json

from . import _audio
from ._effect import Effect, from_dict


def _checked(effect):
    if not isinstance(effect, (Effect, Chain)):
        raise TypeError(f"a chain holds effects and chains, not {effect!r}")
    return effect


class Chain(_audio.Processor, collections.abc.MutableSequence):
    """Effects run in order on the same blocks: chain(audio, sample_rate) works as an effect
    does. A chain may hold chains; an effect may appear only once in a chain. A chain is a
    mutable sequence of its effects, as a list is: append, insert, remove, index, slices, del;
    a slice is a new chain of the same effect objects."""

    __slots__ = ("_effects", "_stream")

    def __init__(self, effects=()):
        self._effects = [_checked(effect) for effect in effects]
        self._stream = _audio.Stream()

    def _nodes(self):
        nodes = []
        for effect in self._effects:
            nodes += effect._nodes() if isinstance(effect, Chain) else [effect._node]
        return nodes

    def tail_seconds(self, sample_rate=None):
        """How long the chain rings on after its input (at sample_rate, if given: see
        Effect.tail_seconds): the sum of its effects' times (each rings through the ones after
        it); None when an effect's time is not known."""
        times = [effect.tail_seconds(sample_rate) for effect in self._effects]
        return None if None in times else float(sum(times))

    def reset(self):
        """Makes every effect of the chain fresh (see Effect.reset); a reset=False call then
        starts a new stream."""
        for effect in self._effects:
            effect.reset()
        self._stream = _audio.Stream()

    @property
    def effects(self):
        """The chain's effects and chains, as a new list (the objects themselves)."""
        return list(self._effects)

    def __len__(self):
        return len(self._effects)

    def __getitem__(self, index):
        if isinstance(index, slice):
            return Chain(self._effects[index])
        return self._effects[index]

    def __setitem__(self, index, value):
        if isinstance(index, slice):
            self._effects[index] = [_checked(effect) for effect in value]
        else:
            self._effects[index] = _checked(value)

    def __delitem__(self, index):
        del self._effects[index]

    def insert(self, index, value):
        """Inserts an effect or chain before index, as list.insert does."""
        self._effects.insert(index, _checked(value))

    def __repr__(self):
        return f"Chain([{', '.join(repr(effect) for effect in self._effects)}])"

    def __eq__(self, other):
        if not isinstance(other, Chain):
            return NotImplemented
        return self._effects == other._effects

    __hash__ = None

    def __copy__(self):
        """A chain of fresh copies of the effects, with the same settings."""
        return Chain(copy.copy(effect) for effect in self._effects)

    def __deepcopy__(self, memo):
        return self.__copy__()

    def __reduce__(self):
        # Pickles (and so travels to other processes) as its settings: fresh effects there.
        return (_chain_from_dict, (self.to_dict(),))

    def to_dict(self):
        """The chain as plain data: {"chain": [effect or chain, ...]}, each effect as
        {"type": "AudioEffects.Delay", "parameters": {"delayMs": 350, ...}} with the
        catalogue's parameter names, as the command line's --set takes them."""
        return {"chain": [effect.to_dict() for effect in self._effects]}

    @classmethod
    def from_dict(cls, data):
        """A chain from the plain data that to_dict gives. Anything else (an unknown key or
        type, a misspelt parameter, a value of the wrong type or out of range) is a ValueError
        naming where it is, as chain[2].parameters.delayMs."""
        return _chain_from_dict(data)

    def to_json(self, indent=2):
        """The chain as JSON text (see to_dict)."""
        return json.dumps(self.to_dict(), indent=indent)

    @classmethod
    def from_json(cls, text):
        """A chain from JSON text that to_json gave (see from_dict for what is refused)."""
        try:
            data = json.loads(text)
        except json.JSONDecodeError as error:
            raise ValueError(f"not JSON: {error}") from None
        return _chain_from_dict(data)

    def save(self, path):
        """Writes the chain to a JSON file."""
        with open(path, "w", encoding="utf-8") as file:
            file.write(self.to_json() + "\n")

    @classmethod
    def load(cls, path):
        """A chain from a JSON file that save wrote."""
        with open(path, encoding="utf-8") as file:
            return cls.from_json(file.read())


def _chain_from_dict(data, path="chain"):
    if not isinstance(data, dict) or "chain" not in data:
        raise ValueError(f'{path}: a chain is an object {{"chain": [...]}}, not '
                         f"{type(data).__name__} {data!r:.40}")
    extra = [key for key in data if key != "chain"]
    if extra:
        raise ValueError(f"{path}.{extra[0]}: unknown key; a chain has only \"chain\"")
    items = data["chain"]
    if not isinstance(items, list):
        raise ValueError(f"{path}: a list of effects and chains, not {type(items).__name__}")
    effects = []
    for index, item in enumerate(items):
        where = f"{path}[{index}]"
        if isinstance(item, dict) and "chain" in item:
            effects.append(_chain_from_dict(item, f"{where}.chain"))
        else:
            effects.append(from_dict(item, where))
    return Chain(effects)
