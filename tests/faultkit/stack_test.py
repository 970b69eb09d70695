"""The stack trace: of code without frame pointers, of deep, broken and vanished stacks."""

import re

import pytest

from testing.product import MACHINE
from describing import short, source_line

# From the host's own outermost functions on, every trace looks the same.
BELOW = ["commit_stack_fault", "commit", "run_faults", "main", "mainCRTStartup"]


def own_functions(description):
    """The functions in modules of the test, outermost last."""
    return [
        short(frame["function"])
        for frame in description.frames
        if frame["module"] in ("describe_host.exe", "fault_guest.dll")
    ]


@pytest.fixture
def own(describer):
    """own(fault): those of its stack."""
    return lambda *args, **options: own_functions(describer.describe_one(*args, **options))


class TestStack:
    def test_calls_of_every_kind_are_followed_through_code_without_frame_pointers(self, describer):
        description = describer.describe_one("mixed")
        assert own_functions(description) == [
            "write_to_null",
            "inlined_step",
            "draw",
            "on_locale",
            "standard_step",
            "fast_step",
            "mixed_calls",
            *BELOW,
        ]
        system = description.frames[4]
        assert system["module"] == "kernelbase.dll"
        # A Wine whose libraries are stripped knows no names in them.
        assert system["function"] in ("EnumSystemLocalesA", None)

    # By its ANSI name the system's library doesn't find the program, nor the PDB beside it.
    def test_program_in_a_folder_outside_the_code_page_has_its_functions_names(self, describer, own):
        folder = describer.folder(*describer.FILES, *describer.PDBS) / "Программа"
        folder.mkdir()
        for file in folder.parent.glob("*.*"):
            file.rename(folder / file.name)
        assert own("mixed", folder=folder) == own("mixed")

    def test_lines_are_those_of_the_calls(self, describer):
        for frame in describer.describe_one("mixed").frames:
            mark = short(frame["function"])
            if mark in ("write_to_null", "on_locale", "standard_step", "fast_step", "mixed_calls"):
                assert source_line(frame).endswith(f"// mark: {mark}"), frame[0]

    def test_inlined_function_is_a_line_of_its_own(self, describer):
        inlined, outer = describer.describe_one("mixed").frames[1:3]
        assert inlined["inlined"]
        assert not outer["inlined"]
        assert inlined["offset"] == outer["offset"]
        assert source_line(inlined).endswith("// mark: inlined_step")

    def test_destructors_on_the_way_do_not_hide_the_frames(self, own):
        assert own("nested")[:4] == ["write_null", "inner", "nested", "commit_fault"]

    def test_recursion_within_the_bound_is_whole(self, own):
        found = own("shallow")
        # 100 levels, and the one that noticed the end.
        assert [name for name in found if name != "descend"] == ["write_to_null", "shallow", *BELOW]
        assert found.count("descend") == 101

    def test_recursion_100000_deep_keeps_its_top_and_its_bottom_and_counts_the_rest(self, describer):
        description = describer.describe_one("deep")
        gap = [at for at, line in enumerate(description.stack) if line.startswith("... ")]
        assert len(gap) == 1
        left_out = re.fullmatch(r"\.\.\. (\d+) more frames", description.stack[gap[0]])[1]
        own = own_functions(description)
        assert own[0] == "write_to_null"
        assert own[-len(BELOW) - 1 :] == ["deep", *BELOW]
        assert own.count("descend") + int(left_out) == 100001
        assert gap[0] == 96
        assert sum(len(line) + 1 for line in description.stack) < MACHINE.choose(14, 15) * 1024

    def test_overwritten_return_address_is_bridged(self, own):
        found = own("smashed")
        assert found[:2] == ["write_to_null", "overrun"]
        assert found[-3:] == ["run_faults", "main", "mainCRTStartup"]
        # What was lost is left out, and nothing is made up.
        assert found[2:] == [name for name in BELOW if name in found[2:]]

    @pytest.mark.parametrize("damage", ("bad-frame-pointer", "circular-chain"))
    def test_corrupted_frame_pointer_and_circular_chain_neither_end_nor_trap_the_walk(self, own, damage):
        name = damage.replace("-", "_")
        assert own(damage) == [f"fault_with_{name}", name, *BELOW]

    @pytest.mark.skipif(MACHINE.choose(True, False), reason="32-bit code is nowhere described")
    def test_code_that_no_unwind_data_describe_is_bridged_by_a_marked_guess(self, describer):
        description = describer.describe_one("--vectored", "undescribed")
        assert own_functions(description) == ["?", "undescribed", *BELOW]
        assert [bool(frame["guessed"]) for frame in description.frames[:3]] == [False, True, False]

    def test_call_through_a_null_pointer_leads_back_to_its_maker(self, describer):
        description = describer.describe_one("call-null")
        assert description.stack[0] == "0" * 2 * MACHINE.pointer + " no module"
        assert own_functions(description) == ["call_null", *BELOW]

    def test_fault_in_a_loaded_library_names_it(self, describer):
        description = describer.describe_one("guest")
        assert [frame["module"] for frame in description.frames[:3]] == [
            "fault_guest.dll",
            "fault_guest.dll",
            "describe_host.exe",
        ]
        assert own_functions(description)[:3] == ["fault_inside", "guest_fault", "in_guest"]

    def test_fault_in_an_unloaded_library_names_it(self, describer):
        description = describer.describe_one("unloaded")
        assert re.search(rf"^{MACHINE.address} fault_guest\.dll\+[0-9A-F]{{8}} \[unloaded\]$", description.stack[0])
        assert own_functions(description) == ["?", "in_unloaded_guest", *BELOW]

    def test_walk_passes_through_an_unloaded_library(self, describer):
        description = describer.describe_one("below-unloaded")
        assert description.frames[2]["gone"]
        assert own_functions(description) == ["write_to_null", "unload_and_fault", "?", "below_unloaded_guest", *BELOW]

    def test_nearly_used_up_stack_is_walked_with_symbols(self, own):
        found = own("--thread", "little-stack")
        assert found[:3] == ["write_to_null", "use_up_stack", "use_up_stack"]
        assert found[-1] == "thread_main"

    def test_same_fault_twice_gives_the_same_lines(self, describer):
        first, second = describer.describe("mixed", "mixed")
        assert first.stack == second.stack

    def test_reason_asked_for_in_the_middle_leaves_the_trace_as_it_is(self, describer):
        folder = describer.folder(*describer.FILES, *describer.PDBS)
        asked = describer.describe_one("--ask-again", "mixed", folder=folder)
        assert asked.stack == describer.describe_one("mixed", folder=folder).stack


class TestRandomDescents:
    """Functions of all shapes, in random order, over a stack full of stale return addresses."""

    SEEDS = range(1, 26)

    @pytest.mark.parametrize("pdbs", (False, True), ids=("as released", "with PDBs"))
    def test_every_frame_is_there_and_no_other(self, describer, pdbs):
        descriptions = describer.describe(*(f"descent-{seed}" for seed in self.SEEDS), pdbs=pdbs)
        assert len(descriptions) == len(self.SEEDS)
        for description in descriptions:
            truth = description.truth
            assert len(truth) > 10, description.fault
            found = [
                frame["address"]
                for frame in description.frames
                if frame["module"] == "describe_host.exe" and not frame["inlined"]
            ]
            # The faulting instruction comes first; behind the truth are the frames that commit the fault.
            assert found[1 : len(truth) + 1] == truth, description.fault


@pytest.mark.parametrize("variable", ("_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH"))
def test_pdbs_are_found_where_the_environment_says(describer, variable):
    place = "Z:" + str(describer.folder(*describer.PDBS)).replace("/", "\\")
    named = describer.describe_one("guest", pdbs=False, env={variable: place})
    assert "guest_fault" in named.functions[:3], named.functions
    assert "guest_fault" not in describer.describe_one("guest", pdbs=False).functions


class TestOptions:
    ADDRESS = MACHINE.address
    MODULE = r"describe_host\.exe\+[0-9A-F]{8}"
    FUNCTION = r"`anonymous namespace'::write_null\+0x[0-9A-F]+"
    LINE = r"\([^()]+faults\.cpp:\d+\)"

    @pytest.mark.parametrize(
        "bits, pattern",
        (
            (0, ADDRESS),
            (1, MODULE),
            (3, f"{MODULE} {FUNCTION}"),
            (5, f"{MODULE} {LINE}"),
            (8, ADDRESS),
            (9, f"{ADDRESS} {MODULE}"),
            (15, f"{ADDRESS} {MODULE} {FUNCTION} {LINE}"),
        ),
        ids=("address", "module", "function", "line", "address alone", "address and module", "all"),
    )
    def test_each_bit_switches_its_piece_on(self, describer, bits, pattern):
        line = describer.describe_one("--options", bits, "write").stack[0]
        assert re.search(f"^{pattern}$", line)
