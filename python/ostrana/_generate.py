"""Writes the module of effect classes (_effects.py) and its typing stub (_effects.pyi) from
the catalogue's data, as ostrana._ostrana.node_types() gives it. The wheel's build runs this
with the module it has just built, so that the classes are defined in a file, where completion,
documentation and type checkers see them, and always match the library they come with.

Plain Python with no imports from the package: the build loads it by path."""

HEADER = '''"""The effect classes, one per node type of the catalogue. Made by the package's build from
the catalogue of the library it ships with: do not edit."""
'''

# The Python type of each parameter kind, for the stub.
KIND_TYPES = {"switch": "bool", "whole number": "int", "real number": "float"}


def parameter_doc(parameter):
    """A parameter's description, kind, range and default, in one sentence or two."""
    return (f"{parameter['description']} A {parameter['kind']}, {parameter['range']}; "
            f"default {parameter['default']!r}.")


def class_doc(entry):
    """An effect class's docstring: what it is, the channels it takes, every parameter."""
    channels = (f"exactly {entry['min_channels']}" if entry["min_channels"] ==
                entry["max_channels"] else f"{entry['min_channels']} to {entry['max_channels']}")
    lines = [f"{entry['display_name']} ({entry['type_name']}): {entry['description']}",
             f"Takes audio of {channels} channels.", "", "Parameters (keyword arguments):"]
    lines += [f"    {p['python_name']}: {parameter_doc(p)}" for p in entry["parameters"]]
    return "\n".join(lines)


def _docstring(text, indent):
    body = text.replace("\\", "\\\\").replace('"""', '\\"\\"\\"')
    return indent + '"""' + body.replace("\n", "\n" + indent).replace(indent + "\n", "\n") + '"""'


def _names(node_types):
    return [entry["class_name"] for entry in node_types]


def effects_module(node_types):
    """The text of _effects.py."""
    lines = [HEADER, "from ._effect import Effect, parameter", "",
             f"__all__ = {_names(node_types)!r}"]
    for entry in node_types:
        lines += ["", "", f"class {entry['class_name']}(Effect):",
                  _docstring(class_doc(entry), "    "), "",
                  "    __slots__ = ()", f"    type_name = {entry['type_name']!r}"]
        for item in entry["parameters"]:
            lines.append(f"    {item['python_name']} = parameter({item['python_name']!r}, "
                         f"{parameter_doc(item)!r})")
    return "\n".join(lines) + "\n"


def effects_stub(node_types):
    """The text of _effects.pyi: every class with its keywords, their types and defaults, and
    its docstring with the ranges."""
    lines = [HEADER, "from . import Effect", "",
             f"__all__ = {_names(node_types)!r}"]
    for entry in node_types:
        lines += ["", f"class {entry['class_name']}(Effect):", _docstring(class_doc(entry), "    ")]
        keywords = [f"{p['python_name']}: {KIND_TYPES[p['kind']]} = {p['default']!r}"
                    for p in entry["parameters"]]
        keywords.append("allow_out_of_range: bool = False")
        lines.append(f"    def __init__(self, *, {', '.join(keywords)}) -> None: ...")
        for item in entry["parameters"]:
            lines.append(f"    {item['python_name']}: {KIND_TYPES[item['kind']]}")
    return "\n".join(lines) + "\n"
