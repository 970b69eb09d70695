"""Runs a Windows program of unit tests in a Wine prefix of its own, and ends with its exit code.

usage: python3 -m testing.unit_tests PROGRAM [ARGS...]

Run directly, it would keep a reader of its output waiting for what Wine starts beside it, which lives some seconds longer.
"""

import sys

from testing.image import machine_of
from testing.prefix import fresh_prefix
from testing.wine import Wine


def main():
    with fresh_prefix(machine_of(sys.argv[1])) as prefix:
        wine = Wine(prefix=prefix)
        # Wine's own programs begin with the first one and write where it does: a fault of theirs is none of the tests'.
        wine.run("cmd", "/c", "exit")
        result = wine.run(*sys.argv[1:], limit=540)
    sys.stdout.buffer.write(result.stdout)
    sys.stderr.buffer.write(result.stderr)
    return result.returncode


if __name__ == "__main__":
    sys.exit(main())
