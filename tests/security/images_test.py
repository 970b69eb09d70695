"""The DLLs as files: the marks that Windows protects them by, what they import, what they tell about where they were made."""

import pathlib
import re

import pytest

from testing.image import X64
from testing.processes import REPO
from testing.product import DLLS

HERE = pathlib.Path(__file__).parent
GUARD_INSTRUMENTED, GUARD_FUNCTIONS_LISTED = 0x100, 0x400  # IMAGE_GUARD_CF_...
APPLICATION_DIR, SYSTEM32 = 0x200, 0x800  # LOAD_LIBRARY_SEARCH_...


@pytest.mark.parametrize("dll", DLLS)
def test_moves_to_any_address_and_keeps_data_from_running(stage, dll):
    headers = stage.image(dll).read("--file-headers")
    assert "IMAGE_DLL_CHARACTERISTICS_DYNAMIC_BASE" in headers
    assert "IMAGE_DLL_CHARACTERISTICS_NX_COMPAT" in headers
    assert "IMAGE_FILE_RELOCS_STRIPPED" not in headers
    assert re.search(r"BaseRelocationTableSize: 0x[1-9A-F]", headers)
    assert ("IMAGE_DLL_CHARACTERISTICS_HIGH_ENTROPY_VA" in headers) == stage.machine.choose(False, True)


@pytest.mark.parametrize("dll", DLLS)
def test_names_the_functions_that_pointers_may_call(stage, dll):
    told = stage.image(dll).read("--file-headers", "--coff-load-config")
    assert "IMAGE_DLL_CHARACTERISTICS_GUARD_CF" in told
    flags = int(re.search(r"GuardFlags \[ \((0x[0-9A-F]+)\)", told)[1], 16)
    assert flags & (GUARD_INSTRUMENTED | GUARD_FUNCTIONS_LISTED) == GUARD_INSTRUMENTED | GUARD_FUNCTIONS_LISTED
    assert int(re.search(r"GuardCFFunctionCount: (\d+)", told)[1]) > 0
    assert re.search(r"GuardCFCheckFunction: 0x[1-9A-F]", told)


@pytest.mark.parametrize("dll", DLLS)
def test_lists_its_exception_handlers(stage, dll):
    told = stage.image(dll).read("--file-headers", "--coff-load-config")
    if stage.machine is X64:  # there they are found by the unwind data alone
        assert "IMAGE_DLL_CHARACTERISTICS_NO_SEH" not in told
        return
    handlers = int(re.search(r"SEHandlerCount: (\d+)", told)[1])
    frames = {name for _, name in stage.image(dll).imports()} & {"__CxxFrameHandler3", "_except_handler3"}
    # Without a handler of its own the image says so, and then nothing in it is ever taken for one.
    assert ("IMAGE_DLL_CHARACTERISTICS_NO_SEH" in told) == (not frames)
    assert (handlers > 0) == bool(frames)


@pytest.mark.parametrize("dll", DLLS)
def test_has_no_section_that_can_be_written_and_run(stage, dll):
    told = stage.image(dll).read("--sections")
    sections = re.findall(r"Name: (\S+) .*?Characteristics \[.*?\n(.*?)\]", told, re.DOTALL)
    assert ".text" in [name for name, _ in sections]
    for name, marks in sections:
        assert not ("MEM_WRITE" in marks and "MEM_EXECUTE" in marks), name


@pytest.mark.parametrize("dll", DLLS)
def test_looks_for_its_imports_in_few_places(stage, dll):
    flags = int(re.search(r"DependentLoadFlags: (0x[0-9A-F]+)", stage.image(dll).read("--coff-load-config"))[1], 16)
    own = stage.image(dll).libraries() & set(DLLS)
    assert flags == (APPLICATION_DIR | SYSTEM32 if own else SYSTEM32)


def test_imports_what_the_lists_say(stage):
    lists = "".join((HERE / place / "imports.txt").read_text() for place in (".", stage.machine.name))
    listed = {tuple(line.split()) for line in lists.splitlines() if not line.startswith("#")}
    assert {(dll, *function) for dll in DLLS for function in stage.image(dll).imports()} == listed


@pytest.mark.parametrize("dll", DLLS)
def test_tells_nothing_about_the_machine_that_built_it(stage, dll):
    own = map(str, (REPO, pathlib.Path.home(), stage.product("Wendax.dll").parent))
    places = {*own, "/usr/", "/home/", "/root/", "/tmp/"} - {"/"}
    for file in (dll, dll.replace(".dll", ".pdb")):
        content = stage.product(file).read_bytes().lower()
        for place in places:
            for text in (place, place.replace("/", "\\")):
                for encoded in (text.lower().encode(), text.lower().encode("utf-16-le")):
                    assert encoded not in content, f"{text} in {file}"
