"""Effects: one node each, made by type name through the host library. The catalogue's node
types get a class each (Delay, PingPongDelay, ...), built here from the catalogue's data."""

import difflib
import inspect
import math

import numpy as np

from . import _audio, _ostrana


class Effect(_audio.Processor):
    """An effect on audio arrays: call it as effect(audio, sample_rate).

    Parameters are keyword arguments and properties. A value outside the catalogue's range is
    refused with a ValueError unless the effect was made with allow_out_of_range=True (which
    then applies to every later setting too). Setting a parameter is safe from any thread, also
    while another thread's call is processing: see the README's thread-safety notes.
    """

    __slots__ = ("_node", "_stream", "allow_out_of_range")

    # The fully qualified node type name; each catalogue class sets its own.
    type_name = None

    def __init_subclass__(cls, **keywords):
        super().__init_subclass__(**keywords)
        if isinstance(cls.__dict__.get("type_name"), str):
            register(cls)
    # The catalogue's data on the node type (None for a type of another extension).
    catalogue = None

    def __init__(self, *, allow_out_of_range=False, **parameters):
        self._start(self.type_name, allow_out_of_range, parameters)

    def _start(self, type_name, allow_out_of_range, parameters):
        if type_name is None:
            raise TypeError("Effect is the base of the effect classes: make an effect of a "
                            "class such as ostrana.Delay, or by type name with ostrana.create")
        self._node = _ostrana.Node(type_name)
        self._stream = _audio.Stream()
        self.allow_out_of_range = bool(allow_out_of_range)
        if not isinstance(allow_out_of_range, (bool, np.bool_)):
            raise TypeError(f"allow_out_of_range takes True or False, not {allow_out_of_range!r}")
        known = self.parameter_names()
        for name, value in parameters.items():
            if name not in known:
                raise TypeError(
                    f"{type(self).__name__}() got an unexpected keyword argument {name!r}"
                    f"{suggestion(self._python_name(name), known)}; "
                    f"parameters: {', '.join(known) or 'none'}")
            self._node.set(name, value, self.allow_out_of_range)

    @classmethod
    def _python_name(cls, name):
        """The Python name of a parameter given in either spelling (the name itself when the
        type has no parameter of that catalogue name)."""
        if cls.catalogue is not None:
            for parameter in cls.catalogue["parameters"]:
                if parameter["name"] == name:
                    return parameter["python_name"]
        return name

    def parameter_names(self):
        """The parameters' Python names, in the catalogue's order."""
        if self.catalogue is None:
            return ()
        return tuple(parameter["python_name"] for parameter in self.catalogue["parameters"])

    def _nodes(self):
        return [self._node]

    def tail_seconds(self, sample_rate=None):
        """How long the effect rings on after its input with the current settings, in seconds:
        until a full-scale impulse's echoes fall below -100 dBFS (inf when feedback does not
        decay): the time of the last echo above that level. For a swept effect, its longest
        delay times the echoes its feedback gives (counted at full level, so at most); at
        sample_rate its line's own delay is counted too (the chorus's 1002 samples, 21 ms at
        48 kHz), without it only the sweep. 0 when switched off. None for a node type outside
        the catalogue."""
        if self.catalogue is None:
            return None
        beyond = 0.0
        if sample_rate is not None:
            if type(sample_rate) is not int or sample_rate <= 0:
                raise ValueError(f"sample_rate must be a whole number of hertz above 0, "
                                 f"not {sample_rate!r}")
            beyond = self.catalogue["extra_delay_samples"] / sample_rate
        return ring_seconds({p["name"]: self._node.get(p["name"])
                             for p in self.catalogue["parameters"]}, beyond)

    @property
    def parameters(self):
        """The parameter values as a plain dict of Python names."""
        return {name: self._node.get(name) for name in self.parameter_names()}

    @classmethod
    def from_parameters(cls, parameters, *, allow_out_of_range=False):
        """An effect of this class with these parameter values: a dict as `parameters` gives
        (Python names) or as to_dict gives (the catalogue's names), or a mix."""
        values = {}
        for name, value in parameters.items():
            python_name = cls._python_name(name)
            if python_name in values:
                raise ValueError(f"{python_name} is given twice, as {python_name!r} and as "
                                 f"{name!r}")
            values[python_name] = value
        return cls(allow_out_of_range=allow_out_of_range, **values)

    @classmethod
    def preset_names(cls):
        """The names of the catalogue's presets for this effect, in their order."""
        if cls.catalogue is None:
            return ()
        return tuple(p["name"] for p in PRESETS if p["node"] == cls.catalogue["short_name"])

    @classmethod
    def preset(cls, name):
        """A new effect of this class with the catalogue's preset of this name (any case):
        every parameter the preset names at its value, the others at their defaults, as
        ostrana-fx render --preset and the LV2 plug-ins' presets give them. An unknown name
        raises a ValueError listing the effect's presets."""
        if cls.catalogue is None:
            raise TypeError(f"{cls.__name__} has no presets: the catalogue's effect classes "
                            "(ostrana.Delay, ...) have them")
        if not isinstance(name, str):
            raise TypeError(f"a preset name is a str, not {name!r}")
        names = cls.preset_names()
        chosen = next((known for known in names if known.lower() == name.lower()), None)
        if chosen is None:
            raise ValueError(f"{cls.__name__} has no preset {name!r}{suggestion(name, names)}; "
                             f"presets: {', '.join(names) or 'none'}")
        effect = cls()
        effect._node.apply_preset(chosen)
        return effect

    @classmethod
    def from_dict(cls, data):
        """An effect from the plain data that to_dict gives: of this class, or of the type
        the data names when called on Effect. Refuses anything else with a ValueError naming
        where in the data the fault is."""
        effect = from_dict(data)
        if cls is not Effect and type(effect) is not cls:
            raise ValueError(f"type: {cls.__name__}.from_dict takes {cls.type_name} data, not "
                             f"{effect.type_name}")
        return effect

    def reset(self):
        """Makes the effect fresh, as if just made with its current settings: no delayed
        samples, oscillators at their start; a reset=False call then starts a new stream."""
        self._node.renew()
        self._stream = _audio.Stream()

    def __reduce__(self):
        # Pickles (and so travels to other processes) as its settings: a fresh effect there.
        return (from_dict, (self.to_dict(),))

    def to_dict(self):
        """The effect as plain data with the catalogue's parameter names: the form a chain
        saves as JSON, and the names the command line's --set takes."""
        values = {}
        if self.catalogue is not None:
            for parameter in self.catalogue["parameters"]:
                values[parameter["name"]] = self._node.get(parameter["name"])
        data = {"type": self.type_name, "parameters": values}
        if self.allow_out_of_range:
            data["allow_out_of_range"] = True
        return data

    def __repr__(self):
        values = [f"{name}={value!r}" for name, value in self.parameters.items()]
        if self.allow_out_of_range:
            values.append("allow_out_of_range=True")
        return f"{type(self).__name__}({', '.join(values)})"

    def __eq__(self, other):
        if not isinstance(other, Effect):
            return NotImplemented
        return self.type_name == other.type_name and self.parameters == other.parameters

    __hash__ = None

    def __copy__(self):
        """An effect of the same type with the same parameters, fresh: no delayed samples."""
        return from_dict(self.to_dict())

    def __deepcopy__(self, memo):
        return self.__copy__()


class NodeEffect(Effect):
    """An effect of a node type outside the catalogue, made by its type name; it has no
    parameters here and works at its node's defaults."""

    __slots__ = ("_type_name",)

    def __init__(self, type_name, *, allow_out_of_range=False, **parameters):
        self._type_name = type_name
        self._start(type_name, allow_out_of_range, parameters)

    @property
    def type_name(self):
        """The fully qualified name of the node type."""
        return self._type_name

    def __repr__(self):
        return f"NodeEffect({self.type_name!r})"


# -100 dBFS, where a tail counts as quiet.
QUIET_LEVEL = 1e-5


def echo_seconds(delay, wet, feedback):
    """When the last echo above -100 dBFS of a full-scale impulse comes, echoes delay seconds
    apart, echo k (from 1) at wet * feedback^(k - 1) of the input's level (its size, for a
    negative feedback)."""
    feedback = abs(feedback)
    if wet <= QUIET_LEVEL:
        return 0.0
    if feedback == 0:
        return delay
    if feedback >= 1:
        return math.inf
    echoes = 1 + math.floor(math.log(QUIET_LEVEL / wet) / math.log(feedback))
    return echoes * delay


def ring_seconds(values, beyond=0.0):
    """How long an effect with these parameter values (catalogue names) rings on after its
    input: the echoes of an echo effect until they fall below -100 dBFS; for a swept one, its
    longest delay (the sweep and beyond seconds more) for each echo its feedback gives."""
    if not values.get("enabled", True):
        return 0.0
    if "feedbackLevel" in values and "delayMs" in values:
        feedback = max(values["feedbackLevel"], 0.0)
        return echo_seconds(values["delayMs"] / 1000.0 + beyond, values.get("wetMix", 1.0),
                            feedback)
    longest = max(float(values.get("sweepWidth", 0.0)), 0.0) + beyond
    return echo_seconds(longest, 1.0, values.get("feedback", 0.0))


def parameter(name, doc):
    """The property of an effect class for the parameter of this Python name."""

    def get(self):
        return self._node.get(name)

    def set(self, value):
        self._node.set(name, value, self.allow_out_of_range)

    return property(get, set, doc=doc)


def _signature(entry):
    keyword = inspect.Parameter.KEYWORD_ONLY
    parameters = [inspect.Parameter(p["python_name"], keyword, default=p["default"])
                  for p in entry["parameters"]]
    parameters.append(inspect.Parameter("allow_out_of_range", keyword, default=False))
    return inspect.Signature(parameters)


# The effect classes of the catalogue by type name, as _effects.py defines them.
CLASSES = {}
ENTRIES = {entry["type_name"]: entry for entry in _ostrana.node_types()}
# The catalogue's factory presets, in its order.
PRESETS = _ostrana.presets()


def presets(node=None):
    """The catalogue's factory presets, in its order, each a dict: node (the short name),
    type_name, name, display_name and settings (the values the preset gives, by the Python
    parameter names: the keywords of the effect class; the other parameters take their
    defaults). node limits them to one node type, named as create takes it."""
    chosen = None if node is None else type_name_of(node)
    return [dict(p, settings=dict(p["settings"])) for p in PRESETS
            if chosen is None or p["type_name"] == chosen]


def register(cls):
    """Gives an effect class of the catalogue its catalogue data and signature, and lists it."""
    entry = ENTRIES.get(cls.type_name)
    if entry is None or entry["class_name"] != cls.__name__:
        raise ImportError(f"the effect class {cls.__name__} ({cls.type_name}) is not in the "
                          "library's catalogue: the package was built with another library")
    cls.catalogue = entry
    cls.__signature__ = _signature(entry)
    cls.__module__ = __package__  # ostrana.Delay, where users find it
    CLASSES[cls.type_name] = cls


class UnknownNodeTypeError(KeyError, ValueError):
    """A node type name that no loaded extension has (a KeyError for describe's callers of
    old, a ValueError as create raises for any value it cannot take)."""

    def __str__(self):
        return str(self.args[0])


def suggestion(name, candidates):
    """" (did you mean 'x'?)" for the closest of candidates to name, or ""."""
    lowered = {candidate.lower(): candidate for candidate in candidates}
    if name.lower() in lowered:
        return f" (did you mean {lowered[name.lower()]!r}?)"
    close = difflib.get_close_matches(name, list(candidates), n=1, cutoff=0.6)
    return f" (did you mean {close[0]!r}?)" if close else ""


def type_name_of(name):
    """The fully qualified type name for a type name, a catalogue short name ("ping-pong-delay")
    or an effect class name ("PingPongDelay"), any case for the last two."""
    if not isinstance(name, str):
        raise TypeError(f"a node type name is a str, not {name!r}")
    if name in CLASSES or name in _ostrana.type_names():
        return name
    for type_name, cls in CLASSES.items():
        if name.lower() in (cls.__name__.lower(), cls.catalogue["short_name"].lower()):
            return type_name
    known = list(_ostrana.type_names())
    names = known + [cls.__name__ for cls in CLASSES.values()] + [
        cls.catalogue["short_name"] for cls in CLASSES.values()]
    raise UnknownNodeTypeError(f"unknown node type {name!r}{suggestion(name, names)}; known "
                               f"types: {', '.join(known)}")


def create(type_name, *, allow_out_of_range=False, **parameters):
    """An effect of any node type of any loaded extension, by its fully qualified name
    ("AudioEffects.Chorus"), or for the catalogue's types also by short name ("chorus") or
    class name ("Chorus")."""
    type_name = type_name_of(type_name)
    cls = CLASSES.get(type_name)
    if cls is not None:
        return cls(allow_out_of_range=allow_out_of_range, **parameters)
    return NodeEffect(type_name, allow_out_of_range=allow_out_of_range, **parameters)


EFFECT_KEYS = ("type", "parameters", "allow_out_of_range")


def _at(path, key):
    return f"{path}.{key}" if path else key


def from_dict(data, path=""):
    """An effect from the plain data that to_dict gives (catalogue or Python parameter names).
    Anything else is a ValueError naming where in the data it is (path leads to data)."""
    if not isinstance(data, dict):
        raise ValueError(f"{path or 'an effect'}: an effect is an object {{\"type\": ..., "
                         f"\"parameters\": {{...}}}}, not {type(data).__name__} {data!r:.40}")
    for key in data:
        if key not in EFFECT_KEYS:
            raise ValueError(f"{_at(path, key)}: unknown key{suggestion(str(key), EFFECT_KEYS)}; "
                             f"an effect has {', '.join(EFFECT_KEYS)}")
    if "type" not in data:
        raise ValueError(f"{_at(path, 'type')}: missing; an effect names its node type")
    try:
        type_name = type_name_of(data["type"])
    except (TypeError, UnknownNodeTypeError) as error:
        raise ValueError(f"{_at(path, 'type')}: {error}") from None
    allow = data.get("allow_out_of_range", False)
    if not isinstance(allow, bool):
        raise ValueError(f"{_at(path, 'allow_out_of_range')}: true or false, not {allow!r}")
    parameters = data.get("parameters", {})
    if not isinstance(parameters, dict):
        raise ValueError(f"{_at(path, 'parameters')}: an object of parameter values, not "
                         f"{type(parameters).__name__}")
    effect = create(type_name, allow_out_of_range=allow)
    for name, value in parameters.items():
        where = _at(_at(path, "parameters"), name)
        python_name = effect._python_name(name)
        if python_name not in effect.parameter_names():
            catalogue_names = [p["name"] for p in (effect.catalogue or {"parameters": []})[
                "parameters"]]
            raise ValueError(f"{where}: {type(effect).__name__} has no parameter {name!r}"
                             f"{suggestion(str(name), catalogue_names)}; parameters: "
                             f"{', '.join(catalogue_names) or 'none'}")
        try:
            setattr(effect, python_name, value)
        except (TypeError, ValueError) as error:
            raise ValueError(f"{where}: {error}") from None
    return effect
