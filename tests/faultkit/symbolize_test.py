"""tools/symbolize: a report from a program without PDBs, resolved where the PDBs are."""

import contextlib
import email.message
import pathlib
import re
import shutil
import struct
import subprocess

import images
import pdbs
import pytest
import report

from testing.image import Image
from testing.symbolizer import resolve
from describing import FRAME, short

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


@pytest.fixture
def saved(describer):
    """saved(text): the path of a file with that report."""

    def save(text):
        path = describer.folder() / "report.txt"
        path.write_text(text, "windows-1251")
        return path

    return save


class TestReleaseHost:
    """The same fault in the same program, once with PDBs beside it and once without."""

    @pytest.mark.parametrize(
        "kind",
        "write nested mixed guest shallow bad-frame-pointer smashed call-null float little-stack deep".split(),
    )
    def test_resolved_report_has_the_lines_that_the_pdbs_gave_directly(self, describer, saved, kind):
        direct = describer.describe_one(kind)
        released = describer.describe_one(kind, pdbs=False)
        assert {short(frame["function"]) for frame in released.frames if frame["module"] in OWN} == {"?"}
        code, trace, output = resolve(saved(released.text), describer.folder(*describer.PDBS))
        assert code == 0, output
        wanted = places(direct.stack)
        assert len(wanted) > 4
        assert places(trace) == wanted

    def test_frames_of_an_unloaded_library_are_resolved_too(self, describer, saved):
        released = saved(describer.describe_one("below-unloaded", pdbs=False).text)
        code, trace, output = resolve(released, describer.folder(*describer.PDBS))
        assert code == 0
        assert re.search(
            r"fault_guest\.dll\+[0-9A-F]{8} guest_call \([^()]*guest\.cpp:\d+\) \[unloaded\]", "\n".join(trace)
        )
        assert "fault_guest.dll: unloaded before the report;" in output
        # With its file at hand the module is identified by more than its name.
        code, _, output = resolve(released, describer.folder(*describer.PDBS, *describer.FILES))
        assert code == 0
        assert "fault_guest.dll: unloaded" not in output

    def test_lines_that_stand_for_no_place_are_kept(self, describer, saved):
        _, trace, _ = resolve(saved(describer.describe_one("deep", pdbs=False).text), describer.folder(*describer.PDBS))
        assert re.search(r"\n\.\.\. \d+ more frames\n", "\n".join(trace))

    def test_real_report_from_its_mail(self, describer):
        message = email.message.EmailMessage()
        words = f"Hello,\n\nsomething broke.\n\n{describer.describe_one('guest', pdbs=False).text}"
        message.set_content(words, charset="windows-1251", cte="8bit")
        message.add_attachment(b"x" * 100, maintype="application", subtype="octet-stream", filename="a.bin")
        path = describer.folder() / "report.eml"
        path.write_bytes(message.as_bytes())
        code, trace, output = resolve(path, describer.folder(*describer.PDBS))
        assert code == 0, output
        assert "fault_inside" in trace[0]


class TestWrongPdbs:
    def test_missing_pdb_is_named_with_its_identity(self, describer, saved):
        released = describer.describe_one("guest", pdbs=False)
        code, trace, output = resolve(saved(released.text), describer.folder("describe_host.pdb"))
        assert code == 1
        key = released.modules()["fault_guest.dll"][4]
        assert f"fault_guest.dll: fault_guest.pdb with the identity {key} is missing" in output
        assert trace[0] == released.stack[0]
        assert "in_guest" in trace[2]

    def test_pdb_of_another_build_is_refused(self, describer, saved, stage):
        folder = describer.folder("fault_guest.pdb")
        shutil.copy(stage.product("faultkit.pdb"), folder / "describe_host.pdb")
        released = describer.describe_one("guest", pdbs=False)
        code, trace, output = resolve(saved(released.text), folder)
        assert code == 1
        assert re.search(
            r"describe_host\.exe: describe_host\.pdb does not match: wanted [0-9A-F]{33}, but \S+ is [0-9A-F]{33}",
            output,
        )
        assert trace[2] == released.stack[2]

    def test_pdb_is_found_by_its_identity_under_any_name(self, describer, saved, stage):
        folder = describer.folder("fault_guest.pdb")
        (folder / "store" / "describe_host.pdb").mkdir(parents=True)
        shutil.copy(stage.product("describe_host.pdb"), folder / "store" / "describe_host.pdb" / "copy of it.PDB")
        code, trace, _ = resolve(saved(describer.describe_one("guest", pdbs=False).text), folder)
        assert code == 0
        assert "in_guest" in trace[2]

    def test_damaged_and_foreign_pdbs_are_named_not_tripped_over(self, describer, saved, stage):
        released = saved(describer.describe_one("guest", pdbs=False).text)
        whole = stage.product("fault_guest.pdb").read_bytes()
        for words, content in {
            "no PDB": b"something else",
            "a damaged PDB": whole[:300],
            "old format": b"Microsoft C/C++ program database 2.00\r\n\x1aJG\0\0" + bytes(100),
        }.items():
            folder = describer.folder("describe_host.pdb")
            (folder / "fault_guest.pdb").write_bytes(content)
            code, _, output = resolve(released, folder)
            assert code == 1, words
            assert re.search(rf"fault_guest\.pdb does not match: .*{words}", output)

    def test_module_that_names_no_pdb_is_told_and_no_failure(self, describer, saved):
        released = saved(describer.describe_one("write", pdbs=False).text)
        _, _, output = resolve(released, describer.folder(*describer.PDBS))
        assert "ntdll.dll: names no PDB" in output

    def test_input_without_a_fault_is_refused_in_words(self, describer, saved):
        for text, words in {
            "nothing": "no report with a stack trace",
            "x\nfaultkit.dll was not found\n": "faultkit.dll was not found beside the program",
        }.items():
            code, _, output = resolve(saved(text), describer.folder())
            assert code == 2, words
            assert words in output
        code, _, output = resolve(describer.folder() / "missing.eml", describer.folder())
        assert code == 2
        assert "missing.eml" in output


class TestIdentity:
    """The tool's own reading of PDBs and program files, compared with another reader's."""

    def test_key_of_a_pdb_is_the_one_in_its_module(self, stage):
        for name in ("describe_host", "fault_guest", "faultkit"):
            command = ["llvm-pdbutil-19", "dump", "--summary", stage.product(name + ".pdb")]
            told = subprocess.run(command, capture_output=True, text=True, check=True).stdout
            guid = re.search(r"GUID: \{([0-9A-F-]+)\}", told)[1].replace("-", "")
            age = int(re.search(r"Age: (\d+)", told)[1])
            assert pdbs.read_key(stage.product(name + ".pdb")) == f"{guid}{age:X}"

    @pytest.mark.parametrize("damage", ("cut", "header"))
    def test_any_damaged_pdb_is_read_or_refused(self, stage, artifacts, damage):
        whole = stage.product("fault_guest.pdb").read_bytes()
        if damage == "cut":
            damaged = (whole[:size] for size in range(0, len(whole), 997))
        else:
            numbers = [struct.pack("<I", value) for value in (0, 1, 0x7FFFFFFF, 0xFFFFFFFF)]
            damaged = (whole[:at] + number + whole[at + 4 :] for at in range(32, 56, 4) for number in numbers)
        path = artifacts / "damaged.pdb"
        for content in damaged:
            path.write_bytes(content)
            with contextlib.suppress(pdbs.BadPdb):
                pdbs.read_key(path)

    def test_stand_in_carries_the_identity_it_was_given(self, artifacts):
        path = artifacts / "stand-in.exe"
        path.write_bytes(images.stand_in("/some/where.pdb", "00112233445566778899AABBCCDDEEFF1A"))
        told = Image(path).read("--coff-debug-directory")
        assert "PDBGUID: {00112233-4455-6677-8899-AABBCCDDEEFF}" in told
        assert "PDBAge: 26" in told
        assert "PDBFileName: /some/where.pdb" in told


class TestReportText:
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
        assert (frame.module, frame.offset) == ("my + host.exe", 0x1234)
        assert fault.module(frame).pdb == "my + host.pdb"

    def test_other_name_of_the_pdb_is_taken_from_the_list(self):
        fault = self.parse(
            "00401234 host.exe+00001234",
            modules=["00400000 00001000 5F000000 - 0123456789ABCDEF0123456789ABCDEF1 host.exe | other.pdb"],
        )
        assert fault.modules[0].pdb == "other.pdb"
        assert fault.modules[0].name == "host.exe"

    def test_only_the_first_frame_is_exact(self):
        fault = self.parse(
            "00401234 host.exe+00001234 inner (a.cpp:3) [inlined]",
            "00401234 host.exe+00001234 f+0x1",
            "00401334 host.exe+00001334 g+0x1",
        )
        assert [frame.exact for frame in fault.trace] == [True, True, False]

    def test_fault_outside_every_module_leaves_no_frame_exact(self):
        fault = self.parse("00000000 no module", "00401334 host.exe+00001334 g+0x1")
        assert fault.trace[0] == "00000000 no module"
        assert not fault.trace[1].exact

    def test_trace_ends_at_the_first_empty_line(self):
        fault = report.parse("Stack Trace:\n00401234 host.exe+00001234\n\n------=_NextPart\nx+00000001\n")
        assert len(fault.trace) == 1

    def test_lines_without_address_are_read(self):
        (frame,) = self.parse("host.exe+00001234 f+0x1").trace
        assert (frame.address, frame.module, frame.offset) == ("", "host.exe", 0x1234)

    def test_module_list_that_was_cut_is_told(self):
        fault = self.parse("00401234 host.exe+00001234")
        assert fault.module(fault.trace[0]) is None
