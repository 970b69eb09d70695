"""Slots and fields of the composer's classes, in the product's own ABI."""

TRUE = (
    "slot 3 result, slot 5 result, slot 6 result, slot 7 result, coder destructor, file no security, file no view, "
    "security attributes name the descriptor, security attributes are inherited, security list asked for, "
    "security list is present and null, slot 7 opens, open mapping is inherited, open name, slot 5 flushes, "
    "slot 6 name, closed pointers and lengths are 0, freed security, file destructor, composer message"
)
EXPECTED = dict.fromkeys(TRUE.split(", "), "1") | {
    "coder size": "260",
    "coder unbuilt flag": "0",
    "coder unbuilt rest": "85",  # what lay there: the constructor touches the flag alone
    "coder built flag": "255",
    "coder value of z": "51",
    "coder value of byte 255": "255",
    "slot 3 bytes": "abc",
    "slot 4 result": "0",
    "slot 4 bytes": "def",
    "slot 5 text": "Z2hp=",
    "slot 6 text": "ams=",
    "slot 7 text": "bA==",
    "file size of the object": "64",
    "file no mapping": "-1",
    "file granularity": "65536",
    "security attributes length": "12",
    "open data minus view": "4464",
    "open data": str(ord("d")),
    "open data length": "123",
    "open view length": "4587",
    "open file size": "70123",
    "open mapped length": "123",
    "closed mapping": "-1",
    "composer size": "28",
}


SIZES_64 = {
    "coder size": "264",
    "file size of the object": "88",
    "security attributes length": "24",
    "composer size": "40",
}


def test_classes_have_their_functions_and_fields_where_a_visual_cpp_caller_looks(stage):
    wine = stage.wine()
    path = stage.artifacts / "file.bin"
    path.write_bytes(b"x" * 70000 + b"data" + b"x" * 119)
    result = wine.run(stage.product("compose_abi_host.exe"), wine.prefix.to_windows(path), check=True)
    assert dict(line.split(": ", 1) for line in result.text.splitlines()) == EXPECTED | stage.machine.choose(
        {}, SIZES_64
    )
