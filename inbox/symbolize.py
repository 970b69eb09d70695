"""The door to tools/symbolize, which reads fault texts and asks llvm-symbolizer."""

import pathlib
import sys

_TOOL = pathlib.Path(__file__).resolve().parents[1] / "tools" / "symbolize"
if str(_TOOL) not in sys.path:
    sys.path.append(str(_TOOL))

import pdbs  # noqa: E402,F401
import report  # noqa: E402,F401
import resolver  # noqa: E402,F401
