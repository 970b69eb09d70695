"""The whole road: a program without PDBs faults, the library makes its report, and the tool finds the line."""

import re
import shutil

from testing import report_dialog
from testing.host import Host
from testing.processes import REPO
from testing.product import MACHINE
from testing.symbolizer import resolve


def report(stage, *faults, folder="host"):
    """The messages that the host's user sends, one for each fault."""
    desktop = stage.desktop()
    host = Host(stage, "fault_host.exe", folder=folder, desktop=desktop)
    shutil.copy(stage.product("faultkit.dll"), host.folder)
    return report_dialog.open_reports(desktop, host, host.start(*faults, limit=280), len(faults))


def test_mail_leads_to_the_faulting_line(stage):
    pdbs = stage.artifacts / "pdbs"
    pdbs.mkdir()
    for name in ("fault_host.pdb", "Wendax.pdb", "KOBRTL.pdb"):
        shutil.copy(stage.product(name), pdbs)
    source = (REPO / "testing" / "cxx" / "faults.cpp").read_text("utf-8").splitlines()
    for message, piece in zip(report(stage, "write", "divide"), ("= 1;", "sink = 7 / zero;")):
        code, trace, output = resolve(message.path, pdbs)
        assert code == 0, output
        line = re.search(r"faults\.cpp:(\d+)\)", trace[0])[1]
        assert piece in source[int(line) - 1]
        assert any(re.match(r"\S+ fault_host\.exe\+\S+ main \(", frame) for frame in trace), output


def test_report_holds_the_whole_description(stage):
    (message,) = report(stage, "nested")
    body = message.body.decode("windows-1251")
    description = body[body.index("Crush Expantion:\n") :]
    assert description.startswith("Crush Expantion:\nEXCEPTION_ACCESS_VIOLATION (C0000005): "), description
    # Reason and stack are parted by one empty line, and the last frame, the thread's start, is there.
    assert re.search(rf"\n\nStack Trace:\n{MACHINE.address} fault_host\.exe\+[0-9A-F]{{8}}\n", description)
    assert re.search(rf"\n{MACHINE.address} ntdll\.dll\+[^\n]+\n", description)
    # The bound of a body is 33,057 characters; the rest of it must keep its space.
    assert len(description) < 26 * 1024 + 200


# A folder named in another alphabet than the system's: the ANSI calls know it as question marks.
def test_program_in_a_folder_outside_the_code_page_is_described(stage):
    (message,) = report(stage, "write", folder="Программа")
    body = message.body.decode("windows-1251")
    assert "faultkit.dll was not found" not in body
    assert "Crush Expantion:\nEXCEPTION_ACCESS_VIOLATION (C0000005): " in body
    assert re.search(rf"\n\nStack Trace:\n{MACHINE.address} fault_host\.exe\+[0-9A-F]{{8}}\n", body)
