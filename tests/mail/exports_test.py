"""What Wendax.dll exports and imports, compared with checked-in lists."""

import pathlib
import re
import subprocess

HERE = pathlib.Path(__file__).parent


def names_in(text):
    return [line for line in text.splitlines() if line and not line.startswith("#")]


def test_library_exports_what_the_list_says(stage):
    told = subprocess.run(
        ["llvm-readobj-19", "--coff-exports", stage.product("Wendax.dll")],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    exported = sorted(re.findall(r"Name: (\S+)", told))
    assert exported == sorted(names_in((HERE / "exports.txt").read_text()))


def test_library_imports_only_from_what_every_windows_has(stage):
    told = subprocess.run(
        ["llvm-readobj-19", "--coff-imports", stage.product("Wendax.dll")],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    imported = []
    for block in re.findall(r"Import \{(.*?)\n\}", told, re.S):
        library = re.search(r"Name: (\S+)", block)[1]
        imported += [f"{library} {name}" for name in re.findall(r"Symbol: (\S+) ", block)]
    assert sorted(imported) == sorted(names_in((HERE / "imports.txt").read_text()))
