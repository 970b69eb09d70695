"""The build tree that all of this is about. WENDAX_BIN names its folder of programs (default build/windows/bin)."""

import os
import pathlib

from testing.image import X86, Image, machine_of
from testing.processes import REPO

BIN = pathlib.Path(os.environ.get("WENDAX_BIN") or REPO / "build" / "windows" / "bin").absolute()
DLLS = ("Wendax.dll", "KOBRTL.dll", "fall.dll", "faultkit.dll")  # what ships
MACHINE = machine_of(BIN / "Wendax.dll") if (BIN / "Wendax.dll").is_file() else X86


def product(name):
    """The path of a built program or DLL, which must be there."""
    path = BIN / name
    if not path.is_file():
        raise FileNotFoundError(f"{path} is missing: build that preset first")
    return path


def image(name):
    """A built program or DLL as a file."""
    return Image(product(name))


def helper(variant, name="faultkit.dll"):
    """A companion's stand-in, by its folder in the build tree."""
    return BIN.parent / "test-helpers" / variant / name
