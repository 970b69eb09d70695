"""The tables of virtual operations as the product toolchain built them, in the order that others rely on."""

import pathlib
import re
import subprocess

STREAM = """
_G OpenWide Open Seek IsEndOfData IsEmpty HasError Tell SetPosition Size ModificationTime SetSize ReadByte ReadWord
ReadDword ReadQword Read ReadLine WriteByte WriteWord WriteDword WriteQword Write WriteString WriteFormat Flush Close
""".split()
FILM = """
_G AppendDamaged Append LoadDamaged Load LoadDamagedPage LoadPage AppendAs LoadAs LoadPageAs AppendMemory LoadMemory
LoadMemoryPage LoadResource FileInfo FileInfoAs MemoryInfo SaveWith SaveSafely Save SaveMemory SetTitle Clone Reset
RemovePage SourceFormat PageWidth PageHeight PageDepth PageLayers
""".split()
TABLES = {
    "VMemStream@@": STREAM,
    "VStdioFileStream@@": STREAM,
    "Film@glib@@": FILM,
    "Slide@glib@@": ["_G", "Stretch", "Flatten", "Clone", "SetCurrentPage"],
    "GdiPlusInit@glib@@": ["_G"],
}

BY_SLOT = """slot 2: 1
slot 3: 1
slot 6 at first: 1
slot 19: 1
slot 20: 1
slot 21: 1
slot 22: 1
slot 23: 3
slot 24: 2
slot 25: 1
slot 26: 1
slot 10: 27
slot 6 then: 0
slot 8: 27
slot 4: 1
slot 18: XYZ
slot 9: 1
slot 13: 65
slot 14: 17218
slot 15: 1195787588
slot 16 ends: 79
slot 17: 4
slot 17 read: PQRSTUVWXYZ
slot 5: 1
slot 7: 0
slot 11 is old: {old}
slot 12: 1
slot 10 then: 7
slot 27: 1
slot 1 gives the object: 1
"""


def test_tables_hold_their_operations_in_the_fixed_order(stage):
    objects = stage.product("imaging_host.exe").parent.parent / "glib" / "CMakeFiles" / "glib.dir"
    found = {}
    for path in objects.glob("*.obj"):  # they hold code for the linker to optimise, in which tables still have names
        code = subprocess.run(["llvm-dis-19", "-o", "-", path], check=True, capture_output=True, text=True).stdout
        tables = re.findall(r'^@"\?\?_7(\S+)6B@" = .*? \{ \[\d+ x ptr\] \[(ptr @[^]]*)\]', code, re.MULTILINE)
        for name, slots in tables:
            found[name] = re.findall(r'ptr @"?([^",]+)', slots)
    for table, operations in TABLES.items():
        assert table in found
        # ??_G is the deleting destructor, and a name ends at its class.
        shown = [name[2:4] if name.startswith("??") else name[1:].split("@")[0] for name in found[table]]
        assert shown == operations, table


def test_tables_of_both_streams_work_for_a_caller_who_knows_the_order_alone(stage):
    wine = stage.wine()
    path = pathlib.Path(stage.artifacts) / "stream.bin"
    result = wine.run(stage.product("imaging_host.exe"), "stream-slots", wine.prefix.to_windows(path), check=True)
    memory, file = result.text.removeprefix("memory\n").split("file\n")
    assert memory == BY_SLOT.format(old=1)
    assert file == BY_SLOT.format(old=0)
    assert path.read_bytes() == b"ABCDEFG"


def test_index_errors_are_the_containers_own(stage):
    result = stage.wine().run(stage.product("imaging_host.exe"), "index-error", check=True)
    assert result.text == "index: 7\nsize: 0\ndocuments: 0\n"
