"""The inbox: receives crash reports, groups them by what crashed, and shows them in a browser. docs/inbox.md says how."""

import pathlib
import sys

# Where fault texts are read and llvm-symbolizer is asked: report.py, pdbs.py, resolver.py.
sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "tools" / "symbolize"))
