"""What Wendax.dll exports, compared with a checked-in list."""

import pathlib


def test_library_exports_what_the_list_says(stage):
    lines = (pathlib.Path(__file__).parent / stage.machine.name / "exports.txt").read_text().splitlines()
    assert stage.image("Wendax.dll").exports() == {line for line in lines if not line.startswith("#")}
