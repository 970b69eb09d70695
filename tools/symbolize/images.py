"""Program files: what identifies one, and a stand-in for one that is not at hand."""

import pathlib
import struct

_BASE, _PAGE, _FILE = 0x400000, 0x1000, 0x200  # of the stand-in: image base, and its two alignments


def identity(path):
    """(time stamp, size in memory) of a program file; None when it is none."""
    try:
        with open(path, "rb") as file:
            header = file.read(64)
            if header[:2] != b"MZ":
                return None
            file.seek(struct.unpack_from("<I", header, 60)[0])
            header = file.read(24 + 60)
            if header[:4] != b"PE\0\0":
                return None
            return struct.unpack_from("<I", header, 8)[0], struct.unpack_from("<I", header, 24 + 56)[0]
    except (OSError, struct.error):
        return None


def build(path):
    """The identity of a program file with symbols of its own, as GCC links one by --build-id, which stripping leaves as it is;
    written as that of a PDB. Empty for any other."""
    try:
        content = pathlib.Path(path).read_bytes()
        section = content.index(b".buildid", 0, 4096)
        (entry,) = struct.unpack_from("<I", content, section + 20)
        (record,) = struct.unpack_from("<I", content, entry + 24)
        mark, first, second, third, last, age = struct.unpack_from("<4sIHH8sI", content, record)
    except (OSError, ValueError, struct.error):
        return ""
    if mark != b"RSDS" or b".debug_info\0" not in content:
        return ""
    return f"{first:08X}{second:04X}{third:04X}{last.hex().upper()}{age:X}"


def stand_in(pdb, key):
    """The bytes of a program file that holds nothing but the name and identity of its PDB.

    llvm-symbolizer reads a PDB only for a program file, which the developer who has the PDB need not have."""
    guid = struct.pack("<IHH8s", int(key[:8], 16), int(key[8:12], 16), int(key[12:16], 16), bytes.fromhex(key[16:32]))
    record = b"RSDS" + guid + struct.pack("<I", int(key[32:], 16)) + str(pdb).encode() + b"\0"
    entry = struct.pack("<IIHHIIII", 0, 0, 0, 0, 2, len(record), _PAGE + 28, _FILE + 28)
    data = entry + record
    raw = -(-len(data) // _FILE) * _FILE
    size = _PAGE + -(-len(data) // _PAGE) * _PAGE
    directories = bytearray(16 * 8)
    struct.pack_into("<II", directories, 6 * 8, _PAGE, 28)
    dos = b"MZ" + bytes(58) + struct.pack("<I", 64)
    coff = b"PE\0\0" + struct.pack("<HHIIIHH", 0x14C, 1, 0, 0, 0, 96 + len(directories), 0x102)
    optional = struct.pack("<HBBIIIII", 0x10B, 14, 0, 0, raw, 0, 0, _PAGE)  # linker, sizes, and where code begins
    optional += struct.pack("<IIIIHHHHHH", _PAGE, _BASE, _PAGE, _FILE, 4, 0, 0, 0, 4, 0)  # places, alignments, versions
    optional += struct.pack("<IIIIHHIIIIII", 0, size, _FILE, 0, 3, 0, 0x100000, 0x1000, 0x100000, 0x1000, 0, 16)
    section = struct.pack("<8sIIIIIIHHI", b".rdata", len(data), _PAGE, raw, _FILE, 0, 0, 0, 0, 0x40000040)
    headers = dos + coff + optional + bytes(directories) + section
    return headers.ljust(_FILE, b"\0") + data.ljust(raw, b"\0")
