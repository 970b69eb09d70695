#!/usr/bin/env python3
"""Makes a short-form import library for a system DLL from the names in a mingw-w64 import archive.

usage: make_import_library.py MACHINE ARCHIVE.a DLL OUTPUT.lib
       make_import_library.py MACHINE LIST.def [FURTHER.def] OUTPUT.lib

MACHINE is llvm-dlltool's: i386 or i386:x86-64. FURTHER.def holds names alone, which are added to those of the list.
"""

import pathlib
import subprocess
import sys


def imported_names(archive, machine):
    """The names without the underscore that C names begin with for i386, such as MessageBoxA@16. Those of the compiler's own
    calls, which begin with two underscores, come from the C runtime."""
    prefix = "__imp__" if machine == "i386" else "__imp_"
    listing = subprocess.run(
        ["llvm-nm-19", "--defined-only", archive], check=True, capture_output=True, text=True
    ).stdout
    names = set()
    for line in listing.splitlines():
        symbol = line.split()[-1] if line.split() else ""
        if symbol.startswith(prefix):
            names.add(symbol[len(prefix) :])
    names = {name for name in names if not name.startswith("__")}
    if not names:
        sys.exit(f"{archive}: holds no import")
    return sorted(names)


def main():
    machine, first, *others, output = sys.argv[1:]
    definition = pathlib.Path(output).with_suffix(".def")
    if first.endswith(".def"):
        text = "".join(pathlib.Path(name).read_text("utf-8") for name in (first, *others))
    else:
        text = "LIBRARY %s\nEXPORTS\n%s\n" % (others[0], "\n".join(imported_names(first, machine)))
    definition.write_text(text, "utf-8")
    # -k drops the @N of the linker's names from the names that the loader looks up.
    subprocess.run(["llvm-dlltool-19", "-m", machine, "-k", "-d", definition, "-l", output], check=True)


if __name__ == "__main__":
    main()
