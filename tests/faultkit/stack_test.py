"""The stack trace: of code without frame pointers, of deep, broken and vanished stacks."""

import re

from describing import DescribingCase, short, source_line

# From the host's own outermost functions on, every trace looks the same.
BELOW = ["commit_stack_fault", "commit", "run_faults", "main", "mainCRTStartup"]


class Stack(DescribingCase):
    def own(self, description):
        """The functions in modules of the test, outermost last."""
        return [
            short(frame["function"])
            for frame in description.frames
            if frame["module"] in ("describe_host.exe", "fault_guest.dll")
        ]

    def test_calls_of_every_kind_are_followed_through_code_without_frame_pointers(self):
        description = self.describe_one("mixed")
        self.assertEqual(
            self.own(description),
            ["write_to_null", "inlined_step", "draw", "on_locale", "standard_step", "fast_step", "mixed_calls", *BELOW],
        )
        system = description.frames[4]
        self.assertEqual(system["module"], "kernelbase.dll")
        # A Wine whose libraries are stripped knows no names in them.
        self.assertIn(system["function"], ("EnumSystemLocalesA", None))

    # By its ANSI name the system's library doesn't find the program, nor the PDB beside it.
    def test_program_in_a_folder_outside_the_code_page_has_its_functions_names(self):
        folder = self.folder(*self.FILES, *self.PDBS) / "Программа"
        folder.mkdir()
        for file in folder.parent.glob("*.*"):
            file.rename(folder / file.name)
        self.assertEqual(self.own(self.describe_one("mixed", folder=folder)), self.own(self.describe_one("mixed")))

    def test_lines_are_those_of_the_calls(self):
        for frame in self.describe_one("mixed").frames:
            mark = short(frame["function"])
            if mark in ("write_to_null", "on_locale", "standard_step", "fast_step", "mixed_calls"):
                self.assertTrue(source_line(frame).endswith(f"// mark: {mark}"), frame[0])

    def test_inlined_function_is_a_line_of_its_own(self):
        inlined, outer = self.describe_one("mixed").frames[1:3]
        self.assertTrue(inlined["inlined"])
        self.assertFalse(outer["inlined"])
        self.assertEqual(inlined["offset"], outer["offset"])
        self.assertTrue(source_line(inlined).endswith("// mark: inlined_step"))

    def test_destructors_on_the_way_do_not_hide_the_frames(self):
        description = self.describe_one("nested")
        self.assertEqual(self.own(description)[:4], ["write_null", "inner", "nested", "commit_fault"])

    def test_recursion_within_the_bound_is_whole(self):
        own = self.own(self.describe_one("shallow"))
        # 100 levels, and the one that noticed the end.
        self.assertEqual([name for name in own if name != "descend"], ["write_to_null", "shallow", *BELOW])
        self.assertEqual(own.count("descend"), 101)

    def test_recursion_100000_deep_keeps_its_top_and_its_bottom_and_counts_the_rest(self):
        description = self.describe_one("deep")
        gap = [at for at, line in enumerate(description.stack) if line.startswith("... ")]
        self.assertEqual(len(gap), 1)
        left_out = re.fullmatch(r"\.\.\. (\d+) more frames", description.stack[gap[0]])[1]
        own = self.own(description)
        self.assertEqual(own[0], "write_to_null")
        self.assertEqual(own[-len(BELOW) - 1 :], ["deep", *BELOW])
        self.assertEqual(own.count("descend") + int(left_out), 100001)
        self.assertEqual(gap[0], 96)
        self.assertLess(sum(len(line) + 1 for line in description.stack), 14 * 1024)

    def test_overwritten_return_address_is_bridged(self):
        own = self.own(self.describe_one("smashed"))
        self.assertEqual(own[:2], ["write_to_null", "overrun"])
        self.assertEqual(own[-3:], ["run_faults", "main", "mainCRTStartup"])
        # What was lost is left out, and nothing is made up.
        self.assertEqual(own[2:], [name for name in BELOW if name in own[2:]])

    def test_corrupted_frame_pointer_does_not_end_the_walk(self):
        own = self.own(self.describe_one("bad-frame-pointer"))
        self.assertEqual(own, ["fault_with_bad_frame_pointer", "bad_frame_pointer", *BELOW])

    def test_circular_chain_does_not_trap_the_walk(self):
        own = self.own(self.describe_one("circular-chain"))
        self.assertEqual(own, ["fault_with_circular_chain", "circular_chain", *BELOW])

    def test_call_through_a_null_pointer_leads_back_to_its_maker(self):
        description = self.describe_one("call-null")
        self.assertEqual(description.stack[0], "00000000 no module")
        self.assertEqual(self.own(description), ["call_null", *BELOW])

    def test_fault_in_a_loaded_library_names_it(self):
        description = self.describe_one("guest")
        self.assertEqual(
            [frame["module"] for frame in description.frames[:3]],
            ["fault_guest.dll", "fault_guest.dll", "describe_host.exe"],
        )
        self.assertEqual(self.own(description)[:3], ["fault_inside", "guest_fault", "in_guest"])

    def test_fault_in_an_unloaded_library_names_it(self):
        description = self.describe_one("unloaded")
        self.assertRegex(description.stack[0], r"^[0-9A-F]{8} fault_guest\.dll\+[0-9A-F]{8} \[unloaded\]$")
        self.assertEqual(self.own(description), ["?", "in_unloaded_guest", *BELOW])

    def test_walk_passes_through_an_unloaded_library(self):
        description = self.describe_one("below-unloaded")
        self.assertTrue(description.frames[2]["gone"])
        self.assertEqual(
            self.own(description), ["write_to_null", "unload_and_fault", "?", "below_unloaded_guest", *BELOW]
        )

    def test_nearly_used_up_stack_is_walked_with_symbols(self):
        description = self.describe_one("--thread", "little-stack")
        own = self.own(description)
        self.assertEqual(own[:3], ["write_to_null", "use_up_stack", "use_up_stack"])
        self.assertEqual(own[-1], "thread_main")

    def test_same_fault_twice_gives_the_same_lines(self):
        first, second = self.describe("mixed", "mixed")
        self.assertEqual(first.stack, second.stack)

    def test_reason_asked_for_in_the_middle_leaves_the_trace_as_it_is(self):
        self.assertEqual(self.describe_one("--ask-again", "mixed").stack, self.describe_one("mixed").stack)


class RandomDescents(DescribingCase):
    """Functions of all shapes, in random order, over a stack full of stale return addresses."""

    SEEDS = range(1, 26)

    def check(self, pdbs):
        seeds = [f"descent-{seed}" for seed in self.SEEDS]
        for description in self.describe(*seeds, pdbs=pdbs):
            with self.subTest(description.fault):
                truth = description.truth
                self.assertGreater(len(truth), 10)
                found = [
                    frame["address"]
                    for frame in description.frames
                    if frame["module"] == "describe_host.exe" and not frame["inlined"]
                ]
                # The faulting instruction comes first; behind the truth are the frames that commit the fault.
                self.assertEqual(found[1 : len(truth) + 1], truth)

    def test_release_host_without_pdbs_gives_every_frame_and_no_other(self):
        self.check(pdbs=False)

    def test_host_with_pdbs_gives_every_frame_and_no_other(self):
        self.check(pdbs=True)


class Options(DescribingCase):
    def first_line(self, bits):
        return self.describe_one("--options", bits, "write").stack[0]

    def test_each_bit_switches_its_piece_on(self):
        address, module = r"[0-9A-F]{8}", r"describe_host\.exe\+[0-9A-F]{8}"
        function, line = r"`anonymous namespace'::write_null\+0x[0-9A-F]+", r"\([^()]+faults\.cpp:\d+\)"
        for bits, pattern in {
            0: address,
            1: module,
            3: f"{module} {function}",
            5: f"{module} {line}",
            8: address,
            9: f"{address} {module}",
            15: f"{address} {module} {function} {line}",
        }.items():
            with self.subTest(bits):
                self.assertRegex(self.first_line(bits), f"^{pattern}$")
