"""PDB files: which there are, and to which module each belongs."""

import dataclasses
import pathlib
import struct

_MSF = b"Microsoft C/C++ MSF 7.00\r\n\x1aDS\0\0\0"
_OLD = b"Microsoft C/C++ program database 2.00\r\n\x1aJG"
_INFO, _DEBUG = 1, 3  # streams


class BadPdb(Exception):
    """The file can't be used. The message says why."""


@dataclasses.dataclass(frozen=True)
class Pdb:
    path: pathlib.Path
    key: str  # as in a report's list of modules: GUID and age


class Folders:
    """The PDBs and program files below some folders. Each file is looked at once, when its name or identity matters."""

    def __init__(self, folders):
        self._files = sorted({path for folder in folders for path in pathlib.Path(folder).rglob("*") if path.is_file()})
        self._read = {}

    def pdbs(self):
        """All PDBs that can be read."""
        found = (self._pdb(path) for path in self._files if path.suffix.lower() == ".pdb")
        return [pdb for pdb in found if isinstance(pdb, Pdb)]

    def named(self, name):
        """The PDBs of that file name: a Pdb each, or the BadPdb that it raised."""
        return [self._pdb(path) for path in self.images(name)]

    def images(self, name):
        """The files of that name, in either case."""
        return [path for path in self._files if path.name.lower() == name.lower()]

    def _pdb(self, path):
        if path not in self._read:
            try:
                self._read[path] = Pdb(path, read_key(path))
            except (OSError, BadPdb) as error:
                self._read[path] = BadPdb(f"{path}: {error}")
        return self._read[path]


def read_key(path):
    """The identity of a PDB: its GUID in 32 digits, and the age that its module has, in hexadecimal."""
    with open(path, "rb") as file:
        start = file.read(56)
        if start.startswith(_OLD):
            raise BadPdb("a PDB of the old format 2.00, which llvm-symbolizer can't read")
        if not start.startswith(_MSF):
            raise BadPdb("no PDB")
        try:
            return _key(file, *struct.unpack_from("<6I", start, 32))
        except (struct.error, IndexError, OverflowError, ValueError) as error:
            raise BadPdb("a damaged PDB") from error


def _key(file, block, _free, _blocks, directory_size, _unknown, directory_map):
    if block not in (512, 1024, 2048, 4096, 8192, 16384, 32768):
        raise ValueError("no block size")

    def read(blocks, size):
        parts = []
        for number in blocks[: -(-size // block)]:
            file.seek(number * block)
            parts.append(file.read(block))
        return b"".join(parts)[:size]

    def numbers(data, offset, count):
        return struct.unpack_from(f"<{count}I", data, offset)

    directory_blocks = -(-directory_size // block)
    if directory_blocks * 4 > block * block:
        raise ValueError("no directory size")
    file.seek(directory_map * block)
    directory = read(numbers(file.read(directory_blocks * 4), 0, directory_blocks), directory_size)
    (count,) = numbers(directory, 0, 1)
    sizes = [0 if size == 0xFFFFFFFF else size for size in numbers(directory, 4, count)]
    at, streams = 4 + 4 * count, {}
    for stream, size in enumerate(sizes[: _DEBUG + 1]):
        blocks = -(-size // block)
        streams[stream] = read(numbers(directory, at, blocks), min(size, 64))
        at += 4 * blocks
    first, second, third, last = struct.unpack_from("<IHH8s", streams[_INFO], 12)
    # The module carries the age of the debug stream, which can lag behind the file's own.
    age = (
        struct.unpack_from("<I", streams[_DEBUG], 8)[0]
        if len(streams[_DEBUG]) >= 12
        else numbers(streams[_INFO], 8, 1)[0]
    )
    return f"{first:08X}{second:04X}{third:04X}{last.hex().upper()}{age:X}"
