"""tools/symbolize: a report from a program without PDBs, resolved where the PDBs are."""

import email.message
import pathlib
import re
import shutil
import struct
import subprocess
import sys

from testing import runner
from testing.processes import REPO
from describing import DescribingCase, FRAME, short

sys.path.insert(0, str(REPO / "tools" / "symbolize"))

import images  # noqa: E402
import pdbs  # noqa: E402
import report  # noqa: E402

TOOL = REPO / "tools" / "symbolize" / "symbolize.py"
OWN = ("describe_host.exe", "fault_guest.dll")


def places(lines):
    """What the lines say about frames in the test's own modules: (offset, function, file, line, inlined)."""
    matches = [match for match in map(FRAME.fullmatch, lines) if match and match["module"] in OWN]
    return [
        (
            match["module"],
            match["offset"],
            short(match["function"]),
            pathlib.PurePosixPath((match["file"] or "").replace("\\", "/")).name,
            match["line"],
            bool(match["inlined"]),
        )
        for match in matches
    ]


class SymbolizeCase(DescribingCase):
    def resolve(self, path, *folders):
        """(exit code, lines of the trace, whole output) of the tool."""
        done = subprocess.run(
            [sys.executable, TOOL, path, *folders], capture_output=True, text=True, timeout=200, check=False
        )
        trace = done.stdout.partition("\nStack trace:\n")[2].partition("\n\n")[0].splitlines()
        return done.returncode, trace, done.stdout + done.stderr

    def saved(self, text):
        path = self.folder() / "report.txt"
        path.write_text(text, "windows-1251")
        return path


class ReleaseHost(SymbolizeCase):
    """The same fault in the same program, once with PDBs beside it and once without."""

    KINDS = (
        "write",
        "nested",
        "mixed",
        "guest",
        "shallow",
        "bad-frame-pointer",
        "smashed",
        "call-null",
        "float",
        "little-stack",
        "deep",
    )

    def test_resolved_report_has_the_lines_that_the_pdbs_gave_directly(self):
        pdb_folder = self.folder(*self.PDBS)
        for kind in self.KINDS:
            with self.subTest(kind):
                direct = self.describe_one(kind)
                released = self.describe_one(kind, pdbs=False)
                self.assertEqual(
                    {short(frame["function"]) for frame in released.frames if frame["module"] in OWN}, {"?"}
                )
                code, trace, output = self.resolve(self.saved(released.text), pdb_folder)
                self.assertEqual(code, 0, output)
                wanted = places(direct.stack)
                self.assertGreater(len(wanted), 4)
                self.assertEqual(places(trace), wanted)

    def test_frames_of_an_unloaded_library_are_resolved_too(self):
        released = self.saved(self.describe_one("below-unloaded", pdbs=False).text)
        code, trace, output = self.resolve(released, self.folder(*self.PDBS))
        self.assertEqual(code, 0)
        self.assertRegex(
            "\n".join(trace), r"fault_guest\.dll\+[0-9A-F]{8} guest_call \([^()]*guest\.cpp:\d+\) \[unloaded\]"
        )
        self.assertIn("fault_guest.dll: unloaded before the report;", output)
        # With its file at hand the module is identified by more than its name.
        code, _, output = self.resolve(released, self.folder(*self.PDBS, *self.FILES))
        self.assertEqual(code, 0)
        self.assertNotIn("fault_guest.dll: unloaded", output)

    def test_lines_that_stand_for_no_place_are_kept(self):
        _, trace, _ = self.resolve(self.saved(self.describe_one("deep", pdbs=False).text), self.folder(*self.PDBS))
        self.assertRegex("\n".join(trace), r"\n\.\.\. \d+ more frames\n")

    def test_real_report_from_its_mail(self):
        message = email.message.EmailMessage()
        message.set_content(
            f"Hello,\n\nsomething broke.\n\n{self.describe_one('guest', pdbs=False).text}",
            charset="windows-1251",
            cte="8bit",
        )
        message.add_attachment(b"x" * 100, maintype="application", subtype="octet-stream", filename="a.bin")
        path = self.folder() / "report.eml"
        path.write_bytes(message.as_bytes())
        code, trace, output = self.resolve(path, self.folder(*self.PDBS))
        self.assertEqual(code, 0, output)
        self.assertIn("fault_inside", trace[0])


class WrongPdbs(SymbolizeCase):
    def test_missing_pdb_is_named_with_its_identity(self):
        released = self.describe_one("guest", pdbs=False)
        code, trace, output = self.resolve(self.saved(released.text), self.folder("describe_host.pdb"))
        self.assertEqual(code, 1)
        key = released.modules()["fault_guest.dll"][4]
        self.assertIn(f"fault_guest.dll: fault_guest.pdb with the identity {key} is missing", output)
        self.assertEqual(trace[0], released.stack[0])
        self.assertIn("in_guest", trace[2])

    def test_pdb_of_another_build_is_refused(self):
        folder = self.folder("fault_guest.pdb")
        shutil.copy(self.product("faultkit.pdb"), folder / "describe_host.pdb")
        released = self.describe_one("guest", pdbs=False)
        code, trace, output = self.resolve(self.saved(released.text), folder)
        self.assertEqual(code, 1)
        self.assertRegex(
            output,
            r"describe_host\.exe: describe_host\.pdb does not match: wanted [0-9A-F]{33}, but \S+ is " r"[0-9A-F]{33}",
        )
        self.assertEqual(trace[2], released.stack[2])

    def test_pdb_is_found_by_its_identity_under_any_name(self):
        folder = self.folder("fault_guest.pdb")
        (folder / "store" / "describe_host.pdb").mkdir(parents=True)
        shutil.copy(self.product("describe_host.pdb"), folder / "store" / "describe_host.pdb" / "copy of it.PDB")
        code, trace, _ = self.resolve(self.saved(self.describe_one("guest", pdbs=False).text), folder)
        self.assertEqual(code, 0)
        self.assertIn("in_guest", trace[2])

    def test_damaged_and_foreign_pdbs_are_named_not_tripped_over(self):
        released = self.saved(self.describe_one("guest", pdbs=False).text)
        whole = self.product("fault_guest.pdb").read_bytes()
        for words, content in {
            "no PDB": b"something else",
            "a damaged PDB": whole[:300],
            "old format": b"Microsoft C/C++ program database 2.00\r\n\x1aJG\0\0" + bytes(100),
        }.items():
            with self.subTest(words):
                folder = self.folder("describe_host.pdb")
                (folder / "fault_guest.pdb").write_bytes(content)
                code, _, output = self.resolve(released, folder)
                self.assertEqual(code, 1)
                self.assertRegex(output, rf"fault_guest\.pdb does not match: .*{words}")

    def test_module_that_names_no_pdb_is_told_and_no_failure(self):
        _, _, output = self.resolve(self.saved(self.describe_one("write", pdbs=False).text), self.folder(*self.PDBS))
        self.assertIn("ntdll.dll: names no PDB", output)

    def test_input_without_a_fault_is_refused_in_words(self):
        for text, words in {
            "nothing": "no report with a stack trace",
            "x\nfaultkit.dll was not found\n": "faultkit.dll was not found beside the program",
        }.items():
            with self.subTest(words):
                code, _, output = self.resolve(self.saved(text), self.folder())
                self.assertEqual(code, 2)
                self.assertIn(words, output)
        code, _, output = self.resolve(self.folder() / "missing.eml", self.folder())
        self.assertEqual(code, 2)
        self.assertIn("missing.eml", output)


class Identity(runner.Case):
    """The tool's own reading of PDBs and program files, compared with another reader's."""

    def test_key_of_a_pdb_is_the_one_in_its_module(self):
        for name in ("describe_host", "fault_guest", "faultkit"):
            told = subprocess.run(
                ["llvm-pdbutil-19", "dump", "--summary", self.product(name + ".pdb")],
                capture_output=True,
                text=True,
                check=True,
            ).stdout
            guid = re.search(r"GUID: \{([0-9A-F-]+)\}", told)[1].replace("-", "")
            age = int(re.search(r"Age: (\d+)", told)[1])
            self.assertEqual(pdbs.read_key(self.product(name + ".pdb")), f"{guid}{age:X}")

    def test_any_truncated_pdb_is_read_or_refused(self):
        whole = self.product("fault_guest.pdb").read_bytes()
        path = self.artifacts / "cut.pdb"
        for size in range(0, len(whole), 997):
            path.write_bytes(whole[:size])
            try:
                pdbs.read_key(path)
            except pdbs.BadPdb:
                pass

    def test_any_damaged_pdb_header_is_read_or_refused(self):
        whole = bytearray(self.product("fault_guest.pdb").read_bytes())
        path = self.artifacts / "damaged.pdb"
        for at in range(32, 56, 4):
            for value in (0, 1, 0x7FFFFFFF, 0xFFFFFFFF):
                damaged = whole.copy()
                struct.pack_into("<I", damaged, at, value)
                path.write_bytes(damaged)
                try:
                    pdbs.read_key(path)
                except pdbs.BadPdb:
                    pass

    def test_stand_in_carries_the_identity_it_was_given(self):
        path = self.artifacts / "stand-in.exe"
        path.write_bytes(images.stand_in("/some/where.pdb", "00112233445566778899AABBCCDDEEFF1A"))
        told = subprocess.run(
            ["llvm-readobj-19", "--coff-debug-directory", path], capture_output=True, text=True, check=True
        ).stdout
        self.assertIn("PDBGUID: {00112233-4455-6677-8899-AABBCCDDEEFF}", told)
        self.assertIn("PDBAge: 26", told)
        self.assertIn("PDBFileName: /some/where.pdb", told)


class ReportText(runner.Case):
    def parse(self, *stack, modules=()):
        return report.parse(
            "\n".join(["Crush Expantion:", "words", "Modules (base, size):", *modules, "", "Stack Trace:", *stack, ""])
        )

    def test_module_names_may_hold_blanks_and_plus_signs(self):
        fault = self.parse(
            "00401234 my + host.exe+00001234 f+0x1 (a b.cpp:3)",
            modules=["00400000 00001000 5F000000 1.2.3.4 0123456789ABCDEF0123456789ABCDEF1 my + host.exe"],
        )
        (frame,) = fault.trace
        self.assertEqual((frame.module, frame.offset), ("my + host.exe", 0x1234))
        self.assertEqual(fault.module(frame).pdb, "my + host.pdb")

    def test_other_name_of_the_pdb_is_taken_from_the_list(self):
        fault = self.parse(
            "00401234 host.exe+00001234",
            modules=["00400000 00001000 5F000000 - 0123456789ABCDEF0123456789ABCDEF1 host.exe | other.pdb"],
        )
        self.assertEqual(fault.modules[0].pdb, "other.pdb")
        self.assertEqual(fault.modules[0].name, "host.exe")

    def test_only_the_first_frame_is_exact(self):
        fault = self.parse(
            "00401234 host.exe+00001234 inner (a.cpp:3) [inlined]",
            "00401234 host.exe+00001234 f+0x1",
            "00401334 host.exe+00001334 g+0x1",
        )
        self.assertEqual([frame.exact for frame in fault.trace], [True, True, False])

    def test_fault_outside_every_module_leaves_no_frame_exact(self):
        fault = self.parse("00000000 no module", "00401334 host.exe+00001334 g+0x1")
        self.assertEqual(fault.trace[0], "00000000 no module")
        self.assertFalse(fault.trace[1].exact)

    def test_trace_ends_at_the_first_empty_line(self):
        fault = report.parse("Stack Trace:\n00401234 host.exe+00001234\n\n------=_NextPart\nx+00000001\n")
        self.assertEqual(len(fault.trace), 1)

    def test_lines_without_address_are_read(self):
        (frame,) = self.parse("host.exe+00001234 f+0x1").trace
        self.assertEqual((frame.address, frame.module, frame.offset), ("", "host.exe", 0x1234))

    def test_module_list_that_was_cut_is_told(self):
        fault = self.parse("00401234 host.exe+00001234")
        self.assertIsNone(fault.module(fault.trace[0]))
