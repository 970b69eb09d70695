"""WriteFaultDump: minidumps, read by other readers than the one that wrote them."""

import struct
import subprocess

from describing import DescribingCase

THREADS, MODULES, EXCEPTION, SYSTEM = 3, 4, 6, 7  # kinds of stream


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
        """(eip, esp) of the fault."""
        context = self.part(EXCEPTION, 160)
        return struct.unpack_from("<I", context, 184)[0], struct.unpack_from("<I", context, 196)[0]

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


class Dump(DescribingCase):
    def dump(self, *faults, args=()):
        """(Description, path of the dump) of the last fault."""
        folder = self.folder(*self.FILES)
        descriptions = self.describe(*args, "--dump", "fault.dmp", *faults, folder=folder)
        self.assertEqual(descriptions[-1].after, ["--- dump 1 error 0"])
        return descriptions[-1], folder / "fault.dmp"

    def test_holds_the_fault_and_the_stack_that_the_text_tells_of(self):
        for fault, code in {"write": 0xC0000005, "divide": 0xC0000094}.items():
            with self.subTest(fault):
                description, path = self.dump(fault)
                dump = Minidump(path.read_bytes())
                thread, told, address = dump.exception
                self.assertEqual(told, code)
                self.assertEqual(f"{address:08X}", description.frames[0]["address"])
                eip, esp = dump.context
                self.assertEqual(eip, address)
                self.assertIn(f"Thread: {thread:08X}", description.reason)
                start, stack = dump.threads[thread]
                self.assertLessEqual(start, esp)
                # Every return address of the text is found in the stack, in that order.
                at = esp - start
                for frame in description.frames[1:]:
                    if not frame["inlined"]:
                        at = stack.find(struct.pack("<I", int(frame["address"], 16)), at)
                        self.assertGreaterEqual(at, 0, frame[0])

    def test_is_opened_by_other_readers(self):
        _, path = self.dump("write")
        told = subprocess.run(["obj2yaml-19", path], capture_output=True, text=True, check=True).stdout
        self.assertRegex(told, r"Exception Code: +0xC0000005")
        self.assertIn("describe_host.exe", told)
        self.assertRegex(told, r"Processor Arch: +X86")

    def test_replaces_what_is_there(self):
        folder = self.folder(*self.FILES)
        (folder / "fault.dmp").write_bytes(b"x" * 1_000_000)
        self.describe("--dump", "fault.dmp", "write", folder=folder)
        Minidump((folder / "fault.dmp").read_bytes())
        self.assertLess((folder / "fault.dmp").stat().st_size, 900_000)

    def test_names_the_faulting_thread_when_another_one_writes_it(self):
        # With its stack nearly used up, the faulting thread has the dump written for it.
        description, path = self.dump("little-stack", args=["--thread"])
        thread, code, _ = Minidump(path.read_bytes()).exception
        self.assertEqual(code, 0xC0000005)
        self.assertIn(f"Thread: {thread:08X}", description.reason)

    def test_failure_leaves_no_file_and_says_why(self):
        for path, error in {"": 87, "no such folder\\fault.dmp": 3}.items():
            with self.subTest(path):
                folder = self.folder(*self.FILES)
                description = self.describe_one("--dump", path, "write", folder=folder)
                self.assertEqual(description.after, [f"--- dump 0 error {error}"])
                self.assertEqual(sorted(file.name for file in folder.iterdir()), sorted(self.FILES))

    def test_without_pointers_there_is_a_dump_without_a_fault(self):
        _, path = self.dump("write", args=["--pointers", "null"])
        self.assertNotIn(EXCEPTION, Minidump(path.read_bytes()).streams)
