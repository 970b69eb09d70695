"""What a host tells faultkit.dll, and what faultkit.dll tells of the process: values, notes, signature, the whole text."""

import datetime
import re
import shutil

import pytest

from testing.product import MACHINE
from testing.symbolizer import resolve


@pytest.fixture
def answers(describer, stage):
    """answers(command...): what telling_host answers to each, without a fault."""

    def ask(*commands):
        folder = describer.folder(*describer.TELLING)
        return stage.wine().run(folder / "telling_host.exe", *commands, cwd=folder).text.splitlines()

    return ask


def values(*pairs):
    return [word for key, value in pairs for word in ("value", key, value)]


def lines(description, start):
    """The lines of the reason that begin so."""
    return [line for line in description.reason if line.startswith(start)]


def line(description, start):
    (only,) = lines(description, start)
    return only


class TestProcess:
    def test_time_is_that_of_the_fault_in_local_time_and_utc(self, teller):
        before = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(seconds=1)
        text = line(teller("fault", "write"), "Time: ")
        match = re.fullmatch(r"Time: (\S+ \S+) ([+-]\d\d:\d\d) \((\S+ \S+) UTC\)", text)
        local = datetime.datetime.fromisoformat(match[1] + match[2])
        utc = datetime.datetime.fromisoformat(match[3] + "+00:00")
        assert local == utc
        assert before <= utc <= datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(seconds=1)

    @pytest.mark.parametrize("zone, ahead", (("Asia/Kolkata", "+05:30"), ("America/Bogota", "-05:00")))
    def test_local_time_has_its_distance_from_utc(self, teller, zone, ahead):
        text = line(teller("fault", "write", env={"TZ": zone}), "Time: ")
        match = re.fullmatch(r"Time: (\S+ \S+) ([+-]\d\d:\d\d) \((\S+ \S+) UTC\)", text)
        local = datetime.datetime.fromisoformat(match[1] + match[2])
        assert local == datetime.datetime.fromisoformat(match[3] + "+00:00")
        assert match[2] == ahead

    def test_program_system_memory_and_objects_are_told(self, teller):
        description = teller("fault", "write")
        assert re.fullmatch(r"Uptime: program 0:\d\d:\d\d, system \d+:\d\d:\d\d", line(description, "Uptime: "))
        assert line(description, "Program: ") == "Program: telling_host.exe"
        bits = MACHINE.choose("(32|64)", "64")
        assert re.fullmatch(
            rf"Windows: \d+\.\d+\.\d+ \({bits} bits\), code page \d+, language [a-z]{{2}}-[A-Z]{{2}}, (not )?elevated",
            line(description, "Windows: "),
        )
        memory = re.fullmatch(
            r"Memory: (\d+) of (\d+) MB physical free, (\d+) of (\d+) MB commit free, "
            r"(\d+) MB address space free, largest block (\d+) MB",
            line(description, "Memory: "),
        )
        physical, all_physical, commit, all_commit, space, largest = map(int, memory.groups())
        assert 0 < physical <= all_physical
        assert 0 < commit <= all_commit
        assert 0 < largest <= space <= MACHINE.choose(4096, 128 << 20)
        # Wine counts no handles.
        assert re.fullmatch(r"Objects: (\d+ handles, )?\d+ GDI, \d+ USER, 1 thread", line(description, "Objects: "))

    def test_what_may_be_private_is_told_only_where_the_host_allows_it(self, teller):
        for commands in ((), ("value", "faultkit.private", "0")):
            description = teller(*commands, "fault", "write")
            assert not [one for one in ("Path: ", "Command line: ", "Folder: ") if lines(description, one)]
        description = teller("value", "faultkit.private", "1", "fault", "write")
        assert re.fullmatch(r"Path: [A-Z]:\\.*\\telling_host\.exe", line(description, "Path: "))
        assert line(description, "Command line: ").endswith("value faultkit.private 1 fault write")
        assert re.fullmatch(r"Folder: [A-Z]:\\.*\\", line(description, "Folder: "))
        assert not lines(description, "Value ")


class TestSignature:
    def test_it_names_the_fault_and_the_programs_own_places(self, teller):
        description = teller("fault", "write")
        first, second, third = [frame for frame in description.frames if not frame["inlined"]][:3]
        key = description.modules()["telling_host.exe"][4]
        places = [f"telling_host.exe@{key}+{int(each['offset'], 16):X}" for each in (first, second, third)]
        kind = "EXCEPTION_ACCESS_VIOLATION, written"
        assert line(description, "Signature: ") == " | ".join([f"Signature: {kind}", *places])
        names = [f"telling_host.exe!{each['function']}" for each in (first, second, third)]
        assert line(description, "Signature names: ") == " | ".join([f"Signature names: {kind}", *names])

    def test_it_is_the_same_with_and_without_pdbs_and_in_every_process(self, teller):
        descriptions = [teller("fault", "divide", pdbs=pdbs) for pdbs in (True, False)]
        with_pdbs, without = [line(each, "Signature: ") for each in descriptions]
        assert with_pdbs == without
        assert lines(descriptions[0], "Signature names: ")
        assert not lines(descriptions[1], "Signature names: ")

    def test_faults_at_two_places_have_two(self, teller):
        kinds = ("write", "read", "divide")
        assert len({line(teller("fault", kind, pdbs=False), "Signature: ") for kind in kinds}) == 3

    @pytest.mark.parametrize("kind", ("shallow", "guest", "below-unloaded", "call-null"))
    def test_frames_of_every_kind_of_stack_have_one(self, describer, kind):
        first, second = (line(describer.describe_one(kind), "Signature: ") for _ in range(2))
        assert first == second
        assert re.search(r" \| (describe_host\.exe|fault_guest\.dll)@[0-9A-F]+\+[0-9A-F]+", first)

    def test_endless_recursion_has_few_places(self, describer):
        text = line(describer.describe_one("--thread", "stack"), "Signature names: ")
        assert re.fullmatch(
            r"Signature names: EXCEPTION_STACK_OVERFLOW \| describe_host\.exe![^|]*recurse( \| describe_host\.exe![^|]+){1,2}",
            text,
        ), text


class TestValues:
    def test_values_stand_in_the_reason(self, teller):
        told = values(("build", "nightly-411"), ("skin", "dark"), ("build", "nightly-412"))
        description = teller(*told, "fault", "write")
        assert lines(description, "Value ") == ["Value build = nightly-412", "Value skin = dark"]

    def test_value_can_be_taken_out(self, teller):
        assert not lines(teller(*values(("build", "1"), ("build", "-")), "fault", "write"), "Value ")

    def test_bad_keys_and_pointers_are_refused_with_a_reason(self, answers):
        told = answers(*values(("a=b", "x"), ("", "x"), ("k" * 32, "x"), ("k", "bad"), ("k", "x")))
        assert told == ["value 0 error 87"] * 3 + ["value 0 error 998", "value 1 error 0"]

    def test_thirty_third_key_is_refused(self, answers):
        told = answers(*values(*((f"key{number}", "x") for number in range(33))))
        assert told == ["value 1 error 0"] * 32 + ["value 0 error 8"]


class TestNotes:
    def test_notes_stand_in_the_reason_with_time_and_thread(self, teller):
        description = teller("note", "opening a.bmp", "note", "drawing\nit", "fault", "write")
        first, second = lines(description, "Note ")
        thread = line(description, "Thread: ")[8:]
        time = r"(?:\d{4}-\d\d-\d\d )?\d\d:\d\d:\d\d\.\d{3}"
        assert re.fullmatch(rf"Note {time} {thread}: opening a\.bmp", first)
        assert re.fullmatch(rf"Note {time} {thread}: drawing\?it", second)

    def test_bad_pointers_are_refused_and_long_notes_cut(self, teller, answers):
        description = teller("note", "bad", "long-note", "200", "long-note", "100000", "fault", "write", pdbs=False)
        assert [each.partition(": ")[2] for each in lines(description, "Note ")] == ["x" * 200] * 2
        assert answers("note", "bad") == ["note 0 error 998"]

    @pytest.mark.timeout(300)
    def test_last_64_notes_of_eight_threads_at_full_speed_are_whole_and_in_order(self, describer, teller):
        folder = describer.folder(*describer.TELLING)
        teller("flood", "20000", "text", "t.txt", "fault", "write", folder=folder)
        text = (folder / "t.txt").read_text("windows-1252")
        assert f"\n... {8 * 20000 - 64} earlier notes\n" in text
        notes = re.findall(r"^Note ([\d:. -]+) [0-9A-F]{8}: thread (\d) note (\d+) ([a-h]+) end$", text, re.M)
        assert len(notes) == len(re.findall("^Note ", text, re.M)) == 64
        assert [note[0] for note in notes] == sorted(note[0] for note in notes)
        for thread in range(8):
            numbers = [int(number) for _, one, number, letters in notes if int(one) == thread]
            assert all(letters == chr(ord("a") + thread) * 100 for _, one, _, letters in notes if int(one) == thread)
            # Without a gap, up to the thread's last.
            assert numbers == list(range(20000 - len(numbers), 20000))

    def test_reason_keeps_the_last_2_kb_of_notes(self, teller):
        commands = [word for number in range(40) for word in ("note", f"{number} " + "x" * 150)]
        description = teller(*commands, "fault", "write")
        notes = lines(description, "Note ")
        assert 1800 < len("\n".join(notes)) <= 2048
        assert notes[-1].partition(": ")[2].startswith("39 ")
        assert f"... {40 - len(notes)} earlier notes" in description.reason


class TestFit:
    def test_what_matters_most_is_kept_where_not_all_fits(self, teller):
        told = values(*((f"key {number}", f"{number} " + "v" * 120) for number in range(32)))
        notes = [word for number in range(64) for word in ("note", f"{number} " + "n" * 190)]
        threads = ["thread", "deep"] * 12
        description = teller(*told, *notes, *threads, "fault", "write")
        assert len("\n".join(description.reason)) < 12 * 1024
        assert len(lines(description, "Value key ")) == 32
        assert lines(description, "Signature: ") and lines(description, "Time: ")
        assert len(lines(description, "Note ")) > 6
        listed = description.modules()
        assert {"telling_host.exe", "faultkit.dll"} <= set(listed)

    def test_threads_give_way_to_the_programs_own_modules_and_these_to_values_and_notes(self, teller, describer):
        folder = describer.folder(*describer.TELLING, "fault_guest.dll")
        own = [f"own{number:02}.dll" for number in range(40)]
        for name in own:
            shutil.copy(folder / "fault_guest.dll", folder / name)
        loads = [word for name in own for word in ("load", name)]
        told = values(*((f"key {number}", f"{number} " + "v" * 110) for number in range(32)))
        notes = [word for number in range(20) for word in ("note", f"{number} " + "n" * 150)]
        threads = ["thread", "wait"] * 12
        description = teller(*loads, *told, *notes, *threads, "fault", "write", folder=folder)
        assert len(lines(description, "Value key ")) == 32
        assert 1800 < len("\n".join(lines(description, "Note "))) <= 2048
        listed = {name.partition(" | ")[0] for name in description.modules()}
        assert {"telling_host.exe", *own} <= listed
        assert "Other threads: 12" in description.reason
        assert 0 < len(lines(description, "Thread 0")) < 12
        # Of the lines about the process and of the system's modules there are none.
        assert not lines(description, "Uptime: ")
        assert not listed & {"ntdll.dll", "kernel32.dll", "msvcrt.dll"}

    def test_threads_give_way_to_values_and_the_systems_modules_to_threads(self, teller):
        description = teller(*["thread", "wait"] * 40, "fault", "write")
        text = "\n".join(description.reason)
        shown = len(lines(description, "Thread 0"))
        threads = text[text.index("\nOther threads: 40") : text.index("\nModules (")]
        assert 5 < shown < 40
        assert 2000 < len(threads) <= 3 * 1024
        assert f"\n... {40 - shown} more threads\nModules (" in text


class TestText:
    """The file for the fourth slot of an upload."""

    @pytest.fixture
    def write(self, describer, teller):
        """write(command...): the Description, and the text in the file."""

        def written(*commands, pdbs=False, fault="write"):
            folder = describer.folder(*describer.TELLING, *(("telling_host.pdb",) if pdbs else ()))
            description = teller(*commands, "text", "t.txt", "fault", fault, folder=folder)
            assert description.after == ["--- text 1 error 0"]
            return description, (folder / "t.txt").read_bytes().decode("windows-1252")

        return written

    def test_it_holds_reason_and_stack_and_the_whole_stacks_of_all_threads(self, write):
        description, text = write("value", "build", "7", "note", "last", "thread", "deep", pdbs=True)
        assert text.startswith("Crush Expantion:\n" + "\n".join(description.reason[:8]))
        for start in ("Signature: ", "Program: ", "Windows: ", "Objects: ", "Value ", "Note "):
            assert line(description, start) in text.splitlines()
        stack = "\n\nStack Trace:\n" + "\n".join(description.stack) + "\n\nOther threads: 1\nThread "
        assert stack in text
        other = text.partition("\nOther threads: 1\n")[2].splitlines()
        left_out = int(re.search(r"^\.\.\. (\d+) more frames$", "\n".join(other), re.M)[1])
        assert sum("go_deep" in each for each in other) + left_out == 3001
        assert re.fullmatch(rf"{MACHINE.address} ntdll\.dll\+.*", other[-1])

    def test_deep_stack_of_the_fault_is_whole(self, write):
        _, text = write(pdbs=True, fault="deep-write")
        stack = text.partition("\n\nStack Trace:\n")[2].partition("\n\n")[0]
        assert stack.count("::descend+") == 1001
        assert "more frames" not in stack

    @pytest.mark.parametrize("left", (8, 32))
    def test_thread_that_has_used_up_its_stack_has_it_written_too(self, describer, left):
        folder = describer.folder(*describer.TELLING)
        done = describer.stage.wine().run(
            folder / "telling_host.exe",
            *("thread", "wait", "left", left * 1024, "text-alone", "t.txt", "fault", "overflow"),
            cwd=folder,
        )
        assert (done.returncode, done.text) == (0, "--- text 1 error 0\n")
        text = (folder / "t.txt").read_text("windows-1252")
        assert text.startswith("Crush Expantion:\nEXCEPTION_STACK_OVERFLOW (C00000FD)")
        stack = text.partition("\n\nStack Trace:\n")[2].partition("\n\nOther threads: 1\n")[0].splitlines()
        assert len(stack) > 2000 and re.search(r" ntdll\.dll\+", stack[-1])
        assert any(re.fullmatch(r"\.\.\. \d+ more frames", each) for each in stack)

    def test_symbolize_names_the_functions_of_all_threads(self, describer, write):
        _, text = write("thread", "spin")
        folder = describer.folder("telling_host.pdb")
        (folder / "t.txt").write_text(text, "windows-1252")
        code, trace, output = resolve(folder / "t.txt", folder)
        assert code == 0, output
        assert any("write_null" in frame for frame in trace)
        others = output.partition("\nOther threads: 1\n")[2]
        assert re.search(r"^Thread [0-9A-F]{8}:\n[^\n]*spin", others), output

    def test_bad_path_and_pointers_are_refused_with_a_reason(self, describer, teller):
        folder = describer.folder(*describer.TELLING)
        for error, *commands in (
            (87, "text", ""),
            (3, "text", "no\\such\\folder\\t.txt"),
            (87, "bad-pointers", "text", "t.txt"),
        ):
            description = teller(*commands, "fault", "write", folder=folder)
            assert description.after == [f"--- text 0 error {error}"]
        assert sorted(file.name for file in folder.iterdir()) == sorted(describer.TELLING)
