#!/usr/bin/env python3
"""Turns the stack trace of an error report into functions, files and lines.

usage: symbolize.py REPORT FOLDER...

REPORT is the .eml that a user sent, its text in a file, or a minidump. The FOLDERs, searched with everything below them,
hold the PDBs of the program as it was shipped: a build's output, or a symbol store; of a program that GCC has linked with -g
and -Wl,--build-id the program itself, as it was before it was stripped. Either is taken only if it belongs to the very module
of the report. Without --build-id it is the program alone that was shipped as it was linked.
Needs llvm-symbolizer; LLVM_SYMBOLIZER may name it.

Prints the reason, then one line per frame, the other threads, and last what is missing. Ends with 0, with 1 when a PDB of
a module in the stacks is missing or does not match, with 2 when there is nothing to work on.
"""

import argparse
import pathlib
import sys

import pdbs
import report
import resolver


def main(arguments=None):
    parser = argparse.ArgumentParser(usage="symbolize.py REPORT FOLDER...", description=__doc__.splitlines()[0])
    parser.add_argument("report", metavar="REPORT", help="the .eml, its text in a file, or a minidump")
    parser.add_argument("folders", metavar="FOLDER", nargs="+", help="where the PDBs are")
    options = parser.parse_args(arguments)
    try:
        fault = report.read(options.report)
        for folder in options.folders:
            if not pathlib.Path(folder).is_dir():
                raise OSError(f"{folder} is no folder")
        answer = resolver.resolve(fault, pdbs.Folders(options.folders))
    except (OSError, report.NoFault, resolver.NoSymbolizer) as error:
        print(f"symbolize: {error}", file=sys.stderr)
        return 2
    print("\n".join(fault.reason))
    print("\nStack trace:")
    print("\n".join(answer.lines))
    if answer.threads:
        print("\n" + "\n".join(answer.threads))
    if answer.remarks:
        print("\n" + "\n".join(answer.remarks))
    return 1 if answer.incomplete else 0


if __name__ == "__main__":
    sys.exit(main())
