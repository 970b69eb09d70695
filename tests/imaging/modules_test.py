"""Format modules as the product loads them."""

import shutil


def told_by_host(stage, *args, modules=None, directory=None):
    env = {"IMAGING_MODULES": modules, "IMAGING_DIRECTORY": directory}
    result = stage.wine().run(stage.product("imaging_host.exe"), *args, env=env, check=True)
    return dict(line.split(": ", 1) if ": " in line else (line.rstrip(":"), "") for line in result.text.splitlines())


def test_a_module_of_another_maker_is_found_by_its_directory(stage):
    wine = stage.wine()
    folder = stage.artifacts / "module folder"
    folder.mkdir()
    shutil.copy(stage.product("xbm.dll"), folder / "other.flt")
    facts = told_by_host(stage, "formats", modules="other.flt", directory=wine.prefix.to_windows(folder) + "\\")
    assert facts == {"XBM": "save"}


def test_a_module_beside_the_host_is_found_without_a_directory(stage):
    assert told_by_host(stage, "formats", modules="xbm\n") == {"XBM": "save"}


def test_modules_that_are_missing_or_no_libraries_are_passed_over(stage):
    wine = stage.wine()
    (stage.artifacts / "text.dll").write_text("this is no library")
    directory = wine.prefix.to_windows(stage.artifacts)
    assert told_by_host(stage, "formats", modules="missing\ntext\n\n", directory=directory) == {}


def test_of_a_damaged_picture_the_format_that_its_name_tells_has_the_say(stage):
    calls = ("AppendDamaged", "Append", "LoadDamaged", "Load", "LoadDamagedPage", "LoadPage")
    none = {"pages appended": "0", "pages loaded": "0", "pages kept": "0"}
    for name, verdict in (("cut.xbm", "BADI"), ("cut.jpg", "CFLT"), ("cut.other", "CFLT")):
        cut = stage.artifacts / name
        cut.write_text("#define cut_width 9\n")
        facts = told_by_host(stage, "load", stage.wine().prefix.to_windows(cut), modules="faulty_module\nxbm\n")
        assert facts == dict.fromkeys(calls, verdict) | none, name


def test_a_picture_comes_from_a_resource(stage):
    assert told_by_host(stage, "resource", "PICTURE", modules="xbm") == {"load": "RCOK", "pages": "1"}
    assert told_by_host(stage, "resource", "NOPICTURE", modules="xbm") == {"load": "UNSF", "pages": "0"}
    assert told_by_host(stage, "resource", "MISSING", modules="xbm") == {"load": "MISS", "pages": "0"}


def test_a_fault_in_a_module_is_a_result(stage):
    assert told_by_host(stage, "module-faults") == {
        "load": "CFLT",
        "detect": "CFLT",
        "thumbnail": "CFLT",
        "thumbnail again": "CFLT",
        "save": "CFLT",
        "formats of one that can't be asked": "0",
    }


def test_a_fault_in_the_start_of_gdiplus_is_swallowed(stage):
    assert told_by_host(stage, "gdiplus-fault") == {
        "running after the fault": "0",
        "documents": "1",
        "running after the next try": "1",
        "running in the end": "0",
    }
