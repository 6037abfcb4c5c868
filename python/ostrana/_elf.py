"""The SONAME of a shared library, read from its ELF dynamic section (64-bit and 32-bit,
either byte order), so that a library already loaded under that name is not loaded twice."""

import struct

DT_NULL, DT_STRTAB, DT_SONAME = 0, 5, 14
PT_LOAD, PT_DYNAMIC = 1, 2


def soname(path):
    """The library's SONAME, or "" when it has none or is no ELF file."""
    try:
        with open(path, "rb") as file:
            data = file.read()
    except OSError:
        return ""
    if data[:4] != b"\x7fELF" or len(data) < 64:
        return ""
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
    if DT_SONAME not in tags or DT_STRTAB not in tags:
        return ""
    for _, offset, vaddr, size in loads:
        if vaddr <= tags[DT_STRTAB] < vaddr + size:
            start = tags[DT_STRTAB] - vaddr + offset + tags[DT_SONAME]
            return data[start:data.index(b"\0", start)].decode("utf-8", "replace")
    return ""


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
