#!/usr/bin/env python3
"""Marks the exception tables of a 64-bit image as good for faults, too, as the compiler does with -fasync-exceptions.

usage: mark_tables.py IMAGE

Most sources are built without that option, which makes their tables much longer. Without its mark a fault that passes such a
function destroys nothing of it; with it what was there at the last call, as in 32-bit images.
"""

import pathlib
import struct
import sys

MAGIC = 0x19930522
FLAGS = 36  # from the magic number on; bit 0: for C++ exceptions alone


def main():
    path = pathlib.Path(sys.argv[1])
    image = bytearray(path.read_bytes())
    at = image.find(struct.pack("<I", MAGIC))
    while at >= 0:
        (flags,) = struct.unpack_from("<I", image, at + FLAGS)
        if flags not in (0, 1):
            sys.exit(f"{path}: no exception table at {at:#x}, though it begins like one")
        struct.pack_into("<I", image, at + FLAGS, 0)
        at = image.find(struct.pack("<I", MAGIC), at + 1)
    path.write_bytes(image)


if __name__ == "__main__":
    main()
