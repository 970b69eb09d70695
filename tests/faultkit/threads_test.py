"""The other threads of a process that fails: what faultkit.dll says of them, and that none of them can hold it up."""

import re
import time

import pytest

from dump_test import Minidump
from testing.product import MACHINE


@pytest.fixture
def folder(describer):
    """Where telling_host lies, its PDB beside it."""
    return describer.folder(*describer.TELLING, "telling_host.pdb")


@pytest.fixture
def told(teller):
    """told(kind...): (the blocks of the other threads, without "Thread NUMBER:"; the Description)."""

    def tell(*kinds, more=()):
        threads = [word for kind in kinds for word in ("thread", kind)]
        description = teller(*threads, *more, "fault", "write")
        text = "\n".join(description.reason)
        if "\nOther threads: " not in text:
            return [], description
        block = text[text.index("\nOther threads: ") : text.index("\nModules (")]
        return re.split(r"\nThread [0-9A-F]{8}:", block)[1:], description

    return tell


def test_program_with_one_thread_has_no_others(told):
    blocks, description = told()
    assert blocks == []
    assert not any("Other threads" in line for line in description.reason)


def test_waiting_thread_is_shown_down_to_the_programs_own_function(told):
    (block,), description = told("wait")
    frames = block.strip("\n").split("\n")
    assert len(frames) >= 2
    assert all(re.match(rf"{MACHINE.address} (ntdll|kernelbase|kernel32)\.dll\+", frame) for frame in frames[:-1])
    assert re.search(
        r" telling_host\.exe\+[0-9A-F]{8} .*companion_main\+0x[0-9A-F]+ \(.*companion_threads\.cpp:\d+\)$", frames[-1]
    )
    assert "Other threads: 1" in description.reason


def test_spinning_thread_is_shown_where_it_is(told):
    (block,), _ = told("spin")
    assert re.fullmatch(rf"\n{MACHINE.address} telling_host\.exe\+\S+ .*::spin\+\S+ \(\S+\)", block)


def test_each_other_thread_is_there_once(told):
    blocks, description = told("wait", "spin", "deep", "suspended")
    assert len(blocks) == 4
    numbers = re.findall(r"^Thread ([0-9A-F]{8}):", "\n".join(description.reason), re.M)
    assert len(set(numbers)) == 4
    assert re.search(r"^Thread: ([0-9A-F]{8})$", "\n".join(description.reason), re.M)[1] not in numbers
    assert any(line.endswith(", 5 threads") for line in description.reason if line.startswith("Objects: "))


def test_suspended_thread_is_shown_where_it_will_begin(told):
    (block,), _ = told("suspended")
    assert re.match(rf"\n{MACHINE.address} ntdll\.dll\+", block)


def test_thread_that_refuses_is_said_and_the_others_are_there(told):
    first, second = told("refusing", "spin")[0]
    assert first == " could not be stopped"
    assert "spin" in second


@pytest.mark.timeout(120)
def test_thread_that_can_not_be_stopped_in_time_is_said_and_the_others_are_there(told):
    blocks, description = told("wait", more=("stuck", "thread", "spin"))
    # Both were started by the host: neither can be read. Two more threads of faultkit.dll's own wait behind them.
    assert blocks == [" could not be stopped in time"] * 2
    assert description.functions[0] == "write_null"


@pytest.mark.timeout(120)
def test_behind_three_threads_that_can_not_be_stopped_the_next_one_is_there(told):
    blocks, _ = told("wait", "wait", "wait", "free", more=("stuck",))
    assert blocks[:3] == [" could not be stopped in time"] * 3
    assert "::spin+" in blocks[3]


@pytest.mark.timeout(120)
def test_behind_four_threads_that_can_not_be_stopped_no_other_is_tried(told):
    blocks, description = told("wait", "wait", "wait", "wait", "free", more=("stuck",))
    assert blocks == [" could not be stopped in time"] * 5
    assert description.functions[0] == "write_null"


def test_thread_that_runs_on_is_shown_as_it_was_at_one_moment(teller, folder):
    teller(*["thread", "alternate"] * 12, "text", "t.txt", "fault", "write", folder=folder)
    whole = (folder / "t.txt").read_text("windows-1252").partition("\nOther threads: 12\n")[2]
    blocks = re.split(r"^Thread [0-9A-F]{8}:\n", whole, flags=re.M)[1:]
    stacks = [re.findall(r"::(left|right)_(\d)\+", block) for block in blocks]
    assert len(stacks) == 12 and any(len(stack) == 4 for stack in stacks)
    for stack, block in zip(stacks, blocks):
        assert len({way for way, _ in stack}) <= 1, block
        assert [int(depth) for _, depth in stack] == list(range(len(stack), 0, -1)), block


@pytest.mark.timeout(120)
def test_thread_that_holds_the_heap_for_a_while_only_delays_the_text(told):
    begin = time.monotonic()
    (block,), description = told("hold-heap")
    assert "companion_main" in block or "hold_heap" in block
    assert description.functions[0] == "write_null"
    assert time.monotonic() - begin < 60


@pytest.mark.timeout(300)
@pytest.mark.parametrize("kind", ("heap", "loader"))
def test_threads_that_take_the_locks_of_heap_and_loader_all_the_time_never_hold_it_up(stage, folder, kind):
    done = stage.wine().run(
        folder / "telling_host.exe", "thread", kind, "thread", kind, "again", "20", cwd=folder, limit=90
    )
    assert (done.returncode, done.text) == (0, "20 reasons\n")


@pytest.mark.timeout(120)
def test_sixteen_threads_are_shown_as_far_as_there_is_space_and_all_in_the_file(teller, folder):
    threads = [word for kind in ("wait", "spin", "deep", "suspended") * 4 for word in ("thread", kind)]
    description = teller(*threads, "text", "t.txt", "fault", "write", folder=folder)
    text = "\n".join(description.reason)
    assert "Other threads: 16" in description.reason
    shown = len(re.findall("^Thread [0-9A-F]{8}:", text, re.M))
    assert shown > 8
    assert shown == 16 or f"\n... {16 - shown} more threads\n" in text
    assert len(text) < 12 * 1024
    whole = (folder / "t.txt").read_text("windows-1252").partition("\nOther threads: 16\n")[2]
    blocks = re.split(r"^Thread [0-9A-F]{8}:\n", whole, flags=re.M)[1:]
    assert len(blocks) == 16
    for function, count in {"::spin+": 4, "::go_deep+": 4, "::companion_main+": 12}.items():
        assert sum(function in block for block in blocks) == count, function


def test_fault_that_another_thread_describes_is_told_of_the_thread_that_failed(teller, folder):
    files = ("text", "t.txt", "dump", "fault.dmp")
    description = teller("thread", "wait", "by", "another", *files, "fault", "write", folder=folder)
    number = description.after[-1].removeprefix("--- thread ")
    text = (folder / "t.txt").read_text("windows-1252")
    for told in ("\n".join(description.reason), text):
        assert re.search("^Thread: (.*)$", told, re.M)[1] == number
        # Neither that thread nor the one that describes it is one of the others.
        assert "\nOther threads: 1\n" in told
        assert "companion_main" in re.split(r"\nThread [0-9A-F]{8}:", told)[1]
        assert len(re.findall("^Thread [0-9A-F]{8}:", told, re.M)) == 1
    assert description.functions[0] == "write_null"
    assert any(line.endswith(", 3 threads") for line in description.reason if line.startswith("Objects: "))
    dump = Minidump((folder / "fault.dmp").read_bytes())
    assert f"{dump.exception[0]:08X}" == number


@pytest.mark.timeout(120)
def test_of_more_than_64_threads_the_rest_is_counted(teller, folder):
    teller(*["thread", "wait"] * 70, "text", "t.txt", "fault", "write", folder=folder)
    told = (folder / "t.txt").read_text("windows-1252").partition("\nOther threads: 70\n")[2]
    shown = len(re.findall("^Thread [0-9A-F]{8}:", told, re.M))
    assert 0 < shown <= 64  # fewer where they can't be walked in 5 seconds
    assert told.endswith(f"\n... {70 - shown} more threads\n")
