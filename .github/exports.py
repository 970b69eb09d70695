"""Whether a DLL has each name that its module definition file lists.

usage: exports.py Wendax.def Wendax.dll      with a Python of the DLL's machine
"""

import ctypes
import pathlib
import re
import sys

definition, dll = map(pathlib.Path, sys.argv[1:])
section = definition.read_text("ascii").partition("EXPORTS\n")[2]
names = re.findall(r"^([\w?@$]+)", section, re.M)
library = ctypes.WinDLL(str(dll.resolve()))
missing = [name for name in names if not hasattr(library, name)]
print(f"{len(names) - len(missing)} of {len(names)} names found")
sys.exit("missing: " + " ".join(missing) if missing or not names else 0)
