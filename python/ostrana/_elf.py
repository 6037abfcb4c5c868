"""The strings of a shared library's ELF dynamic section (64-bit and 32-bit, either byte
order): its SONAME, so that a library already loaded under that name is not loaded twice, and
its run path, which the package's build cleans of empty entries.

Plain Python with no imports from the package: the build loads it by path."""

import struct

DT_NULL, DT_STRTAB, DT_SONAME, DT_RUNPATH = 0, 5, 14, 29
PT_LOAD, PT_DYNAMIC = 1, 2


def soname(path):
    """The library's SONAME, or "" when it has none or is no ELF file."""
    try:
        with open(path, "rb") as file:
            data = file.read()
    except OSError:
        return ""
    found = dynamic_string(data, DT_SONAME)
    return data[found[0]:found[0] + found[1]].decode("utf-8", "replace") if found else ""


def dynamic_string(data, tag):
    """(file offset, length) of the string a tag of the dynamic section names (DT_SONAME,
    DT_RUNPATH) in the ELF file's bytes, or None."""
    if data[:4] != b"\x7fELF" or len(data) < 64:
        return None
    wide = data[4] == 2
    order = "<" if data[5] == 1 else ">"
    if wide:
        phoff, phentsize, phnum = (struct.unpack_from(order + "Q", data, 32)[0],
                                   *struct.unpack_from(order + "HH", data, 54))
    else:
        phoff, phentsize, phnum = (struct.unpack_from(order + "I", data, 28)[0],
                                   *struct.unpack_from(order + "HH", data, 42))
    segments = [_segment(data, order, wide, phoff + i * phentsize) for i in range(phnum)]
    loads = [s for s in segments if s[0] == PT_LOAD]
    entries = [_dynamic(data, order, wide, s[1], s[3]) for s in segments if s[0] == PT_DYNAMIC]
    tags = dict(entries[0]) if entries else {}
    if tag not in tags or DT_STRTAB not in tags:
        return None
    for _, offset, vaddr, size in loads:
        if vaddr <= tags[DT_STRTAB] < vaddr + size:
            start = tags[DT_STRTAB] - vaddr + offset + tags[tag]
            return start, data.index(b"\0", start) - start
    return None


def clean_run_path(data):
    """The ELF file's bytes with the empty entries of its run path removed (an empty entry
    means the current folder), the string shortened in place; one of empty entries alone
    becomes $ORIGIN where that fits (the wheel's libraries lie side by side). The bytes as
    they are when it has no run path."""
    found = dynamic_string(data, DT_RUNPATH)
    if found is None:
        return data
    start, length = found
    entries = [entry for entry in data[start:start + length].split(b":") if entry]
    cleaned = b":".join(entries) or (b"$ORIGIN" if length >= len(b"$ORIGIN") else b"")
    return data[:start] + cleaned + b"\0" * (length - len(cleaned)) + data[start + length:]


def run_path(path):
    """The run path of a library, as a list of its entries (empty ones included)."""
    with open(path, "rb") as file:
        data = file.read()
    found = dynamic_string(data, DT_RUNPATH)
    if found is None:
        return []
    return data[found[0]:found[0] + found[1]].decode("utf-8", "replace").split(":")


def _segment(data, order, wide, at):
    """(type, file offset, virtual address, file size) of a program header."""
    if wide:
        kind, _, offset, vaddr, _, size = struct.unpack_from(order + "IIQQQQ", data, at)
    else:
        kind, offset, vaddr, _, size = struct.unpack_from(order + "IIIII", data, at)
    return kind, offset, vaddr, size


def _dynamic(data, order, wide, offset, size):
    entry = order + ("qQ" if wide else "iI")
    step = struct.calcsize(entry)
    tags = []
    for at in range(offset, offset + size - step + 1, step):
        tag, value = struct.unpack_from(entry, data, at)
        if tag == DT_NULL:
            break
        tags.append((tag, value))
    return tags
