"""What Wendax.dll exports and imports, compared with checked-in lists."""

import pathlib

HERE = pathlib.Path(__file__).parent


def names_in(path):
    return {line for line in path.read_text().splitlines() if line and not line.startswith("#")}


def test_library_exports_what_the_list_says(stage):
    assert stage.image("Wendax.dll").exports() == names_in(HERE / stage.machine.name / "exports.txt")


def test_library_imports_only_from_what_every_windows_has(stage):
    imported = {" ".join(function) for function in stage.image("Wendax.dll").imports()}
    assert imported == names_in(HERE / "imports.txt") | names_in(HERE / stage.machine.name / "imports.txt")
