"""tools/symbolize, run as a developer does."""

import subprocess
import sys

from testing.processes import REPO

TOOL = REPO / "tools" / "symbolize" / "symbolize.py"


def resolve(report, *folders, tool=TOOL):
    """(exit code, lines of the trace, whole output) of the tool."""
    done = subprocess.run([sys.executable, tool, report, *folders], capture_output=True, text=True, check=False)
    trace = done.stdout.partition("\nStack trace:\n")[2].partition("\n\n")[0].splitlines()
    return done.returncode, trace, done.stdout + done.stderr
