"""The same sources, built in another place, give the same bytes."""

import pathlib
import re
import shutil
import tempfile

import pytest
from package_test import run

from testing.processes import REPO
from testing.product import BIN, DLLS

SHIPPED = [pathlib.Path(name).stem for name in DLLS]

pytestmark = pytest.mark.timeout(800)


def build_elsewhere(stage, settings):
    """Builds what ships from a copy of the sources; returns the build folder."""
    place = pathlib.Path(stage.enter_context(tempfile.TemporaryDirectory(prefix="wendax-elsewhere-")))
    source = place / "some other folder"
    shutil.copytree(REPO, source, ignore=shutil.ignore_patterns("build", ".git", "__pycache__"))
    for command in (
        ["cmake", "--preset", BIN.parent.name, "-S", source, *settings],
        ["cmake", "--build", source / "build" / BIN.parent.name, "--target", *SHIPPED],
    ):
        run(*command, cwd=source)
    return source / "build" / BIN.parent.name


def test_dlls_pdbs_and_import_libraries_are_the_same_wherever_they_are_built(stage):
    ours = stage.product("Wendax.dll").parent.parent
    cache = (ours / "CMakeCache.txt").read_text()
    settings = [
        f"-D{name}={value}"
        for name, value in re.findall(r"^(CMAKE_BUILD_TYPE|WENDAX_[A-Z]+_(?:ADDRESS|SERVER)):\w+=(.*)$", cache, re.M)
    ]
    assert len(settings) == 3, settings
    theirs = build_elsewhere(stage, settings)
    for name in SHIPPED:
        for file in (f"bin/{name}.dll", f"bin/{name}.pdb", f"lib/{name}.lib"):
            same = (ours / file).read_bytes() == (theirs / file).read_bytes()
            assert same, file  # of the bytes pytest would show too many
