"""faultkit.dll where things are missing, broken or contested."""

import re
import shutil

import pytest

from testing.product import MACHINE


# Unwind data need no PDB, so only stacks of 32 bits are walked by the library as well.
ASKED_TO_WALK = MACHINE.choose(("StackWalk64",), ())
# Wine's notation: the library can't be loaded. The rest is what scripts/wine sets.
NO_DEBUG_LIBRARY = {"WINEDLLOVERRIDES": "winemenubuilder.exe=d;mscoree,mshtml=;dbghelp=d"}
OWN_DEBUG_LIBRARY = {"WINEDLLOVERRIDES": "winemenubuilder.exe=d;mscoree,mshtml=;dbghelp=n"}


def addresses(description):
    """(module, offset) of each frame, or its address where it is in none: the same in another process, where a module may
    be elsewhere. Inlined ones are left out: they need symbols."""
    frames = [frame for frame in description.frames if not frame["inlined"]]
    return [(frame["module"], frame["offset"]) if frame["module"] else frame["address"] for frame in frames]


class TestWithoutDebugLibrary:
    def test_addresses_and_modules_are_still_there(self, describer):
        with_it, without = describer.describe_one("mixed"), describer.describe_one("mixed", env=NO_DEBUG_LIBRARY)
        assert addresses(without) == addresses(with_it)
        assert set(without.functions) == {"?"}
        assert without.stack[-1] == "(no symbols: the system has no usable dbghelp.dll)"
        assert without.reason[-1] == "(no symbols: the system has no usable dbghelp.dll)"
        assert without.reason[0] == with_it.reason[0]

    def test_text_file_says_so_before_the_stack(self, describer, teller):
        folder = describer.folder(*describer.TELLING)
        teller("text", "t.txt", "fault", "write", folder=folder, env=NO_DEBUG_LIBRARY)
        text = (folder / "t.txt").read_text("windows-1252")
        assert "\n(no symbols: the system has no usable dbghelp.dll)\n\nStack Trace:\n" in text

    def test_dump_is_refused_and_leaves_no_file(self, describer):
        folder = describer.folder(*describer.FILES)
        description = describer.describe_one("--dump", "fault.dmp", "write", folder=folder, env=NO_DEBUG_LIBRARY)
        assert sorted(file.name for file in folder.iterdir()) == sorted(describer.FILES)
        assert description.after == ["--- dump 0 error 127"]  # ERROR_PROC_NOT_FOUND


@pytest.fixture
def bad_wine(stage):
    """A Wine with a debugging library of the test's own in the place of the system's."""
    prefix = stage.fresh_prefix()
    target = prefix.drive_c / "windows" / "system32" / "dbghelp.dll"
    target.unlink()
    shutil.copy(stage.helper("bad_dbghelp", "dbghelp.dll"), target)
    return stage.wine(prefix=prefix)


@pytest.fixture
def describe_with(describer, bad_wine):
    """describe_with(how, args...): the Description of the fault where that library behaves so."""

    def describe(how, *args, **options):
        env = {**OWN_DEBUG_LIBRARY, "BAD_DBGHELP_FAULTS_IN": how}
        return describer.describe_one(*args, env=env, wine=bad_wine, **options)

    return describe


class TestWithFaultingDebugLibrary:
    """A debugging library that faults in one of its functions."""

    @pytest.mark.parametrize(
        "function", ("SymInitialize", "SymLoadModuleEx", "SymFromAddr", *ASKED_TO_WALK, "SymCleanup")
    )
    def test_fault_of_the_library_is_swallowed_and_named(self, describer, describe_with, function):
        wanted = addresses(describer.describe_one("mixed"))
        description = describe_with(function, "mixed")
        note = (
            r"^\(symbols are incomplete: dbghelp\.dll met a fault, which was swallowed: C0000005 at "
            rf"{MACHINE.address}( dbghelp\.dll\+[0-9A-F]{{8}})?\)$"
        )
        assert re.search(note, description.stack[-1])
        assert re.search(note, description.reason[-1])
        assert addresses(description) == wanted
        assert "EXCEPTION_ACCESS_VIOLATION" in description.reason[0]

    @pytest.mark.parametrize("function", ("SymInitialize", "SymFromAddr", *ASKED_TO_WALK))
    def test_what_the_library_throws_is_swallowed_and_named(self, describer, describe_with, function):
        wanted = addresses(describer.describe_one("mixed"))
        description = describe_with("throw " + function, "mixed")
        assert re.search(r"^\(symbols are incomplete: dbghelp\.dll met a fault, .*E06D7363", description.stack[-1])
        assert addresses(description) == wanted

    @pytest.mark.parametrize("where", ("MiniDumpWriteDump", "throw MiniDumpWriteDump"))
    def test_dump_in_which_the_library_faults_or_throws_is_refused_and_leaves_no_file(
        self, describer, describe_with, where
    ):
        folder = describer.folder(*describer.FILES)
        description = describe_with(where, "--dump", "fault.dmp", "write", folder=folder)
        assert sorted(file.name for file in folder.iterdir()) == sorted(describer.FILES)
        assert description.after == ["--- dump 0 error 998"]  # ERROR_NOACCESS

    def test_library_whose_walk_goes_nowhere_is_not_believed(self, describer, describe_with):
        wanted = addresses(describer.describe_one("mixed"))
        assert addresses(describe_with("nothing", "mixed")) == wanted

    # As newer Wines walk beside a PDB: without what the PDB says about functions that keep no frame pointer.
    @pytest.mark.parametrize("fault", ("mixed", "shallow", "guest"))
    def test_functions_that_the_librarys_walk_passes_over_are_there(self, describer, describe_with, fault):
        wanted = addresses(describer.describe_one(fault, pdbs=False))
        assert len(wanted) > 6
        assert addresses(describe_with("frame-pointers", fault)) == wanted


class TestUseOfTheDebugLibrary:
    """Reading symbols is what a description takes its time for."""

    def told(self, describer, bad_wine, *args, **env):
        """What the debugging library was asked for, in order."""
        folder = describer.folder(*describer.FILES)
        done = bad_wine.run(folder / "describe_host.exe", *args, cwd=folder, env=OWN_DEBUG_LIBRARY | env)
        assert done.returncode == 0, done
        return [line for line in done.stderr.decode("ascii", "replace").splitlines() if line.startswith("dbghelp: ")]

    def test_reason_and_stack_of_a_fault_share_one_session_that_loads_a_module_once(self, describer, bad_wine):
        told = self.told(describer, bad_wine, "mixed")
        assert told[0].startswith("dbghelp: session "), told
        assert any(line.endswith("\\describe_host.exe") for line in told), told
        assert sorted(told) == sorted(set(told))

    def test_each_fault_has_a_session_of_its_own(self, describer, bad_wine):
        assert sum("session" in line for line in self.told(describer, bad_wine, "write", "divide")) == 2

    def test_library_is_not_led_to_the_process(self, describer, bad_wine):
        assert self.told(describer, bad_wine, "write")[0] == "dbghelp: session of process 0"

    @pytest.mark.skipif(not ASKED_TO_WALK, reason="no library is asked to walk")
    def test_library_is_asked_to_walk_from_the_registers_of_each_frame(self, describer, bad_wine):
        told = self.told(describer, bad_wine, "mixed", BAD_DBGHELP_FAULTS_IN="telling-walks")
        walks = [
            re.fullmatch(rf"dbghelp: walk from ({MACHINE.address} ({MACHINE.address}) \S+), registers (.+)", line)
            for line in told
            if "walk" in line
        ]
        assert len(walks) > 6
        assert all(walk[1] == walk[3] for walk in walks), told
        stack_pointers = [int(walk[2], 16) for walk in walks]
        assert stack_pointers == sorted(set(stack_pointers))


class TestWorsePointers:
    def describe_with(self, describer, pointers):
        return describer.describe_one("--pointers", pointers, "write")

    @pytest.mark.parametrize("pointers", ("null", "wild"))
    def test_null_and_wild_pointers_give_a_sentence_and_no_line(self, describer, pointers):
        description = self.describe_with(describer, pointers)
        assert description.reason == ["no description: the exception pointers can't be read"]
        assert description.stack == []

    def test_page_that_guards_a_stacks_end_is_left_as_it_is(self, describer):
        description = self.describe_with(describer, "guarded")
        assert description.reason == ["no description: the exception pointers can't be read"]
        assert description.after == ["--- the page is still guarded"]

    def test_without_a_record_there_are_still_registers_and_stack(self, describer):
        description = self.describe_with(describer, "no-record")
        assert description.reason[0] == "exception unknown: its record can't be read"
        assert re.search(rf"\n{MACHINE.choose('E', 'R')}AX {MACHINE.address} ", "\n".join(description.reason))
        assert "write_null" in description.functions[0]
        assert "main" in description.functions

    @pytest.mark.parametrize("pointers", ("no-context", "wild-context"))
    def test_without_a_context_there_is_still_the_instruction(self, describer, pointers):
        description = self.describe_with(describer, pointers)
        assert "EXCEPTION_ACCESS_VIOLATION" in description.reason[0]
        assert description.functions == ["write_null"]

    def test_pointers_that_lead_to_another_fault_give_its_stack(self, describer):
        description = self.describe_with(describer, "reused")
        assert "write_null" in description.reason[1]
        assert description.functions[0] == "thread_main"

    def test_next_line_with_other_pointers_is_the_end(self, describer):
        assert len(self.describe_with(describer, "stale").stack) == 1


class TestThreads:
    def test_threads_that_fault_at_the_same_time_all_get_through(self, describer, stage):
        folder = describer.folder(*describer.FILES)
        done = stage.wine().run(folder / "describe_host.exe", "--race", "write", "divide", cwd=folder)
        assert (done.returncode, done.text) == (0, "2 described\n" * 4)
