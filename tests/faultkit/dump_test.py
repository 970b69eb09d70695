"""WriteFaultDump: minidumps, read by other readers than the one that wrote them."""

import re
import struct
import subprocess

import pytest
import report

from testing.product import MACHINE

ADDRESS = MACHINE.choose("<I", "<Q")
THREADS, EXCEPTION = 3, 6  # kinds of stream


class Minidump:
    """What the format says stands in the file."""

    def __init__(self, content):
        self.content = content
        signature, _, count, directory = struct.unpack_from("<4sIII", content)
        assert signature == b"MDMP", signature
        entries = [struct.unpack_from("<III", content, directory + 12 * at) for at in range(count)]
        self.streams = {kind: content[offset : offset + size] for kind, size, offset in entries}

    def part(self, stream, at):
        size, offset = struct.unpack_from("<II", self.streams[stream], at)
        return self.content[offset : offset + size]

    @property
    def exception(self):
        """(thread, code, address)"""
        thread, _, code, _, _, address = struct.unpack_from("<IIIIQQ", self.streams[EXCEPTION])
        return thread, code, address

    @property
    def context(self):
        """(instruction, stack pointer) of the fault."""
        context = self.part(EXCEPTION, 160)
        places = MACHINE.choose((184, 196), (248, 152))
        return tuple(struct.unpack_from(ADDRESS, context, place)[0] for place in places)

    @property
    def threads(self):
        """{thread: (start of its stack, stack)}"""
        found = {}
        for at in range(struct.unpack_from("<I", self.streams[THREADS])[0]):
            begin = 4 + 48 * at
            (thread,) = struct.unpack_from("<I", self.streams[THREADS], begin)
            (start,) = struct.unpack_from("<Q", self.streams[THREADS], begin + 24)
            found[thread] = start, self.part(THREADS, begin + 32)
        return found


def dump_of(describer, *args):
    """(Description, path of the dump) of the fault."""
    folder = describer.folder(*describer.FILES)
    description = describer.describe_one("--dump", "fault.dmp", *args, folder=folder)
    assert description.after == ["--- dump 1 error 0"]
    return description, folder / "fault.dmp"


@pytest.mark.parametrize("fault, code", {"write": 0xC0000005, "divide": 0xC0000094}.items(), ids=("write", "divide"))
def test_holds_the_fault_and_the_stack_that_the_text_tells_of(describer, fault, code):
    description, path = dump_of(describer, fault)
    dump = Minidump(path.read_bytes())
    thread, told, address = dump.exception
    assert told == code
    assert f"{address:0{2 * MACHINE.pointer}X}" == description.frames[0]["address"]
    instruction, stack_pointer = dump.context
    assert instruction == address
    assert f"Thread: {thread:08X}" in description.reason
    start, stack = dump.threads[thread]
    assert start <= stack_pointer
    # Every return address of the text is found in the stack, in that order.
    at = stack_pointer - start
    for frame in description.frames[1:]:
        if not frame["inlined"]:
            at = stack.find(struct.pack(ADDRESS, int(frame["address"], 16)), at)
            assert at >= 0, frame[0]


@pytest.mark.parametrize("fault", ("write", "divide", "call-null"))
def test_is_read_by_symbolize_as_the_text_is(describer, fault):
    description, path = dump_of(describer, fault)
    told, read = report.parse(description.text), report.read(path)
    registers = lambda fault: dict(
        re.findall(r"\b(R?[ABCDS][XIP]|E[A-Z]{2}|R\d+|R?BP) +([0-9A-F]{8,16})", "\n".join(fault.reason))
    )
    assert registers(read) == registers(told)
    assert len(registers(read)) == MACHINE.choose(10, 17)
    assert read.reason[1].partition(" (")[0] == told.reason[1].partition(" (")[0]
    own = ("describe_host.exe", "faultkit.dll")
    modules = lambda fault: [(each.name, each.base, each.size, each.time_stamp, each.version) for each in fault.modules]
    assert {each for each in modules(read) if each[0] in own} == {each for each in modules(told) if each[0] in own}
    # With 32 bits there are those of the callers that keep a frame pointer; with 64 bits there is the faulting frame alone,
    # but where no module lies its caller as well.
    place = lambda frame: (frame.module, frame.offset, frame.address) if isinstance(frame, report.Frame) else frame
    read, told = list(map(place, read.trace)), list(map(place, told.trace))
    exact = 2 if fault == "call-null" else 1
    assert read[:exact] == told[:exact]
    assert set(read) <= set(told) and len(read) >= MACHINE.choose(2, exact)


def test_is_opened_by_other_readers(describer):
    _, path = dump_of(describer, "write")
    told = subprocess.run(["obj2yaml-19", path], capture_output=True, text=True, check=True).stdout
    assert re.search(r"Exception Code: +0xC0000005", told)
    assert "describe_host.exe" in told
    assert re.search(f"Processor Arch: +{MACHINE.choose('X86', 'AMD64')}", told)


def test_replaces_what_is_there(describer):
    folder = describer.folder(*describer.FILES)
    (folder / "fault.dmp").write_bytes(b"x" * 1_000_000)
    describer.describe("--dump", "fault.dmp", "write", folder=folder)
    Minidump((folder / "fault.dmp").read_bytes())
    assert (folder / "fault.dmp").stat().st_size < 900_000


def test_names_the_faulting_thread_when_another_one_writes_it(describer):
    # With its stack nearly used up, the faulting thread has the dump written for it.
    description, path = dump_of(describer, "--thread", "little-stack")
    thread, code, _ = Minidump(path.read_bytes()).exception
    assert code == 0xC0000005
    assert f"Thread: {thread:08X}" in description.reason


@pytest.mark.parametrize("path, error", {"": 87, "no such folder\\fault.dmp": 3}.items(), ids=("no name", "no folder"))
def test_failure_leaves_no_file_and_says_why(describer, path, error):
    folder = describer.folder(*describer.FILES)
    description = describer.describe_one("--dump", path, "write", folder=folder)
    assert description.after == [f"--- dump 0 error {error}"]
    assert sorted(file.name for file in folder.iterdir()) == sorted(describer.FILES)


def test_without_pointers_there_is_a_dump_without_a_fault(describer):
    _, path = dump_of(describer, "--pointers", "null", "write")
    assert EXCEPTION not in Minidump(path.read_bytes()).streams
