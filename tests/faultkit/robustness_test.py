"""faultkit.dll where things are missing, broken or contested."""

import shutil

from describing import DescribingCase

# Wine's notation: the library can't be loaded. The rest is what scripts/wine sets.
NO_DEBUG_LIBRARY = {"WINEDLLOVERRIDES": "winemenubuilder.exe=d;mscoree,mshtml=;dbghelp=d"}
OWN_DEBUG_LIBRARY = {"WINEDLLOVERRIDES": "winemenubuilder.exe=d;mscoree,mshtml=;dbghelp=n"}


def addresses(description):
    """(address, module, offset) of each frame, inlined ones left out: they need symbols."""
    return [
        (frame["address"], frame["module"], frame["offset"]) for frame in description.frames if not frame["inlined"]
    ]


class WithoutDebugLibrary(DescribingCase):
    def test_addresses_and_modules_are_still_there(self):
        with_it, without = self.describe_one("mixed"), self.describe_one("mixed", env=NO_DEBUG_LIBRARY)
        self.assertEqual(addresses(without), addresses(with_it))
        self.assertEqual(set(without.functions), {"?"})
        self.assertEqual(without.stack[-1], "(no symbols: the system has no usable dbghelp.dll)")
        self.assertEqual(without.reason[-1], "(no symbols: the system has no usable dbghelp.dll)")
        self.assertEqual(without.reason[0], with_it.reason[0])

    def test_dump_is_refused_and_leaves_no_file(self):
        folder = self.folder(*self.FILES)
        description = self.describe_one("--dump", "fault.dmp", "write", folder=folder, env=NO_DEBUG_LIBRARY)
        self.assertEqual(sorted(file.name for file in folder.iterdir()), sorted(self.FILES))
        self.assertEqual(description.after, ["--- dump 0 error 127"])  # ERROR_PROC_NOT_FOUND


class BadLibraryCase(DescribingCase):
    """With a debugging library of the test's own in the place of the system's."""

    def wine_with_bad_library(self):
        prefix = self.fresh_prefix()
        target = prefix.drive_c / "windows" / "system32" / "dbghelp.dll"
        target.unlink()
        shutil.copy(self.product("Wendax.dll").parent.parent / "test-helpers" / "bad_dbghelp" / "dbghelp.dll", target)
        return self.wine(prefix=prefix)


class WithFaultingDebugLibrary(BadLibraryCase):
    """A debugging library that faults in one of its functions."""

    def describe_with(self, function):
        return self.describe_one(
            "mixed", env={**OWN_DEBUG_LIBRARY, "BAD_DBGHELP_FAULTS_IN": function}, wine=self.wine_with_bad_library()
        )

    def test_fault_of_the_library_is_swallowed_and_named(self):
        wanted = addresses(self.describe_one("mixed"))
        for function in ("SymInitialize", "SymLoadModuleEx", "SymFromAddr", "StackWalk64", "SymCleanup"):
            with self.subTest(function):
                description = self.describe_with(function)
                note = (
                    r"^\(symbols are incomplete: dbghelp\.dll met a fault, which was swallowed: C0000005 at [0-9A-F]{8}"
                    r"( dbghelp\.dll\+[0-9A-F]{8})?\)$"
                )
                self.assertRegex(description.stack[-1], note)
                self.assertRegex(description.reason[-1], note)
                self.assertEqual(addresses(description), wanted)
                self.assertIn("EXCEPTION_ACCESS_VIOLATION", description.reason[0])

    def test_what_the_library_throws_is_swallowed_and_named(self):
        wanted = addresses(self.describe_one("mixed"))
        for function in ("SymInitialize", "SymFromAddr", "StackWalk64"):
            with self.subTest(function):
                description = self.describe_one(
                    "mixed",
                    env={**OWN_DEBUG_LIBRARY, "BAD_DBGHELP_FAULTS_IN": "throw " + function},
                    wine=self.wine_with_bad_library(),
                )
                self.assertRegex(
                    description.stack[-1], r"^\(symbols are incomplete: dbghelp\.dll met a fault, .*E06D7363"
                )
                self.assertEqual(addresses(description), wanted)

    def test_dump_in_which_the_library_faults_or_throws_is_refused_and_leaves_no_file(self):
        for where in ("MiniDumpWriteDump", "throw MiniDumpWriteDump"):
            with self.subTest(where):
                folder = self.folder(*self.FILES)
                description = self.describe_one(
                    "--dump",
                    "fault.dmp",
                    "write",
                    folder=folder,
                    wine=self.wine_with_bad_library(),
                    env={**OWN_DEBUG_LIBRARY, "BAD_DBGHELP_FAULTS_IN": where},
                )
                self.assertEqual(sorted(file.name for file in folder.iterdir()), sorted(self.FILES))
                self.assertEqual(description.after, ["--- dump 0 error 998"])  # ERROR_NOACCESS

    def test_library_whose_walk_goes_nowhere_is_not_believed(self):
        wanted = addresses(self.describe_one("mixed"))
        self.assertEqual(addresses(self.describe_with("nothing")), wanted)

    # As newer Wines walk beside a PDB: without what the PDB says about functions that keep no frame pointer.
    def test_functions_that_the_librarys_walk_passes_over_are_there(self):
        for fault in ("mixed", "shallow", "guest"):
            with self.subTest(fault):
                wanted = addresses(self.describe_one(fault, pdbs=False))
                self.assertGreater(len(wanted), 6)
                got = self.describe_one(
                    fault,
                    wine=self.wine_with_bad_library(),
                    env={**OWN_DEBUG_LIBRARY, "BAD_DBGHELP_FAULTS_IN": "frame-pointers"},
                )
                self.assertEqual(addresses(got), wanted)


class UseOfTheDebugLibrary(BadLibraryCase):
    """Reading symbols is what a description takes its time for."""

    def told(self, *args):
        """What the debugging library was asked for, in order."""
        folder = self.folder(*self.FILES)
        done = self.wine_with_bad_library().run(folder / "describe_host.exe", *args, cwd=folder, env=OWN_DEBUG_LIBRARY)
        self.assertEqual(done.returncode, 0, done)
        return [line for line in done.stderr.decode("ascii", "replace").splitlines() if line.startswith("dbghelp: ")]

    def test_reason_and_stack_of_a_fault_share_one_session_that_loads_a_module_once(self):
        told = self.told("mixed")
        self.assertTrue(told[0].startswith("dbghelp: session "), told)
        self.assertTrue(any(line.endswith("\\describe_host.exe") for line in told), told)
        self.assertEqual(sorted(told), sorted(set(told)))

    def test_each_fault_has_a_session_of_its_own(self):
        self.assertEqual(sum("session" in line for line in self.told("write", "divide")), 2)

    def test_library_is_not_led_to_the_process(self):
        self.assertEqual(self.told("write")[0], "dbghelp: session of process 0")


class WorsePointers(DescribingCase):
    def describe_with(self, pointers):
        return self.describe_one("--pointers", pointers, "write")

    def test_null_and_wild_pointers_give_a_sentence_and_no_line(self):
        for pointers in ("null", "wild"):
            with self.subTest(pointers):
                description = self.describe_with(pointers)
                self.assertEqual(description.reason, ["no description: the exception pointers can't be read"])
                self.assertEqual(description.stack, [])

    def test_page_that_guards_a_stacks_end_is_left_as_it_is(self):
        description = self.describe_with("guarded")
        self.assertEqual(description.reason, ["no description: the exception pointers can't be read"])
        self.assertEqual(description.after, ["--- the page is still guarded"])

    def test_without_a_record_there_are_still_registers_and_stack(self):
        description = self.describe_with("no-record")
        self.assertEqual(description.reason[0], "exception unknown: its record can't be read")
        self.assertRegex("\n".join(description.reason), r"\nEAX [0-9A-F]{8} ")
        self.assertIn("write_null", description.functions[0])
        self.assertIn("main", description.functions)

    def test_without_a_context_there_is_still_the_instruction(self):
        for pointers in ("no-context", "wild-context"):
            with self.subTest(pointers):
                description = self.describe_with(pointers)
                self.assertIn("EXCEPTION_ACCESS_VIOLATION", description.reason[0])
                self.assertEqual(description.functions, ["write_null"])

    def test_pointers_that_lead_to_another_fault_give_its_stack(self):
        description = self.describe_with("reused")
        self.assertIn("write_null", description.reason[1])
        self.assertEqual(description.functions[0], "thread_main")

    def test_next_line_with_other_pointers_is_the_end(self):
        self.assertEqual(len(self.describe_with("stale").stack), 1)


class Threads(DescribingCase):
    def test_threads_that_fault_at_the_same_time_all_get_through(self):
        folder = self.folder(*self.FILES)
        done = self.wine().run(folder / "describe_host.exe", "--threads", "4", "write", "divide", cwd=folder)
        self.assertEqual((done.returncode, done.text), (0, "thread ends\n" * 4))
