#!/usr/bin/env python3
"""Makes a short-form import library for a system DLL from the names in a mingw-w64 import archive.

usage: make_import_library.py ARCHIVE DLL OUTPUT.lib
       make_import_library.py LIST.def OUTPUT.lib
"""

import pathlib
import subprocess
import sys


def imported_names(archive):
    """The names without their leading underscore, such as MessageBoxA@16."""
    listing = subprocess.run(
        ["llvm-nm-19", "--defined-only", archive], check=True, capture_output=True, text=True
    ).stdout
    names = set()
    for line in listing.splitlines():
        symbol = line.split()[-1] if line.split() else ""
        if symbol.startswith("__imp__"):
            names.add(symbol[len("__imp__") :])
    if not names:
        sys.exit(f"{archive}: holds no import")
    return sorted(names)


def make_library(definition, output):
    # -k drops the @N of the linker's names from the names that the loader looks up.
    subprocess.run(["llvm-dlltool-19", "-m", "i386", "-k", "-d", definition, "-l", output], check=True)


def main():
    if len(sys.argv) == 3:
        make_library(sys.argv[1], sys.argv[2])
        return
    archive, dll, output = sys.argv[1:4]
    definition = pathlib.Path(output).with_suffix(".def")
    definition.write_text("LIBRARY %s\nEXPORTS\n%s\n" % (dll, "\n".join(imported_names(archive))))
    make_library(str(definition), output)


if __name__ == "__main__":
    main()
