"""Compiles the small Windows programs of these tests, once per run."""

import atexit
import functools
import pathlib
import subprocess
import tempfile

from testing.compilers import gcc
from testing.product import MACHINE

_folder = tempfile.TemporaryDirectory()
atexit.register(_folder.cleanup)


@functools.cache
def program(name):
    """The path of the program made from programs/NAME.c."""
    source = pathlib.Path(__file__).parent / "programs" / f"{name}.c"
    made = pathlib.Path(_folder.name) / f"{name}.exe"
    options = ("-Wall", "-Wextra", "-Werror", "-g", "-O1")
    subprocess.run([*gcc(MACHINE), *options, "-o", made, source, "-lgdi32"], check=True)
    return made
