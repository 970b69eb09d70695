"""Programs and DLLs as files: the machine that they are for, what they export and import."""

import dataclasses
import pathlib
import re
import struct
import subprocess


@dataclasses.dataclass(frozen=True)
class Machine:
    """name: as build trees and folders have it. pointer: its bytes."""

    name: str
    pointer: int

    @property
    def processor(self):
        """As compilers name it."""
        return self.choose("i686", "x86_64")

    @property
    def address(self):
        """A regular expression for an address as reports write it."""
        return f"[0-9A-F]{{{2 * self.pointer}}}"

    def choose(self, x86, x64):
        """What goes for this machine, of two that differ by more than their names."""
        return x64 if self.pointer == 8 else x86


X86, X64 = Machine("x86", 4), Machine("x64", 8)
_MACHINES = {0x14C: X86, 0x8664: X64}


def machine_of(path):
    """The machine of a program or DLL."""
    content = pathlib.Path(path).read_bytes()
    (header,) = struct.unpack_from("<I", content, 0x3C)
    return _MACHINES[struct.unpack_from("<H", content, header + 4)[0]]


class Image:
    def __init__(self, path):
        self.path = pathlib.Path(path)

    def read(self, *options):
        """What llvm-readobj says of it."""
        return subprocess.run(
            ["llvm-readobj-19", *options, self.path], check=True, capture_output=True, text=True
        ).stdout

    def exports(self):
        return set(re.findall(r"Name: (\S+)", self.read("--coff-exports")))

    def imports(self):
        """{(library, function)}"""
        found = set()
        for block in re.findall(r"Import \{(.*?)\n\}", self.read("--coff-imports"), re.DOTALL):
            library = re.search(r"Name: (\S+)", block)[1]
            found |= {(library, name) for name in re.findall(r"Symbol: (\S+) ", block)}
        return found

    def libraries(self):
        """Those that it imports from."""
        return {library for library, _ in self.imports()}
