"""Each console example, run as it lies there, does what its first lines say."""

import re
import shutil
import struct
import subprocess

import pytest

from testing import report_dialog
from testing.compilers import gcc
from testing.host import Host
from testing.image import X86
from testing.processes import REPO
from testing.product import DLLS, MACHINE
from testing.symbolizer import resolve

ACCESS_VIOLATION, DIVISION_BY_ZERO = "C0000005", "C0000094"


def codes_in(message):
    """The exception codes that the message names."""
    return re.findall(rb"\b(C00000[0-9A-F]{2})\b", message.body)


def assert_describes(message, code):
    assert code.encode() in codes_in(message)


class Scene:
    """An example and its dialog."""

    def __init__(self, stage):
        self.stage = stage

    def start(self, program, *args, exe=None):
        """exe: of another build of it."""
        self.screen = self.stage.desktop()
        self.host = Host(self.stage, program, files=DLLS, desktop=self.screen)
        if exe:
            shutil.copy(exe, self.host.exe)
        return self.host.start(*args, cwd=self.host.folder)

    def open_report(self, count=1):
        report_dialog.press(self.screen, "Open Error Report")
        return self.host.wait_messages(count)[-1]


@pytest.fixture
def scene(stage):
    return Scene(stage)


def test_smallest_host_reports_its_fault(scene):
    process = scene.start("smallest.exe")
    assert_describes(scene.open_report(), ACCESS_VIOLATION)
    assert process.wait_family() == 0


def test_threads_report_one_after_the_other_each_its_own_fault(scene):
    process = scene.start("threads.exe")
    messages = [scene.open_report(count) for count in (1, 2)]
    assert process.wait_family() == 0
    assert sorted(process.result().text.splitlines()) == ["divider: failed", "reader: done", "writer: failed"]
    described = [
        [code for code in (ACCESS_VIOLATION, DIVISION_BY_ZERO) if code.encode() in codes_in(message)]
        for message in messages
    ]
    assert sorted(described) == [[ACCESS_VIOLATION], [DIVISION_BY_ZERO]]


def test_minidump_is_attached_and_names_the_fault(scene):
    process = scene.start("minidump.exe")
    message = scene.open_report()
    assert process.wait_family() == 0
    assert [name for name, _ in message.attachments] == ["minidump.dmp"]
    dump = message.attachments[0][1]
    assert dump[:4] == b"MDMP"
    count, directory = struct.unpack_from("<II", dump, 8)
    streams = {kind: place for kind, _, place in struct.iter_unpack("<III", dump[directory : directory + 12 * count])}
    assert struct.unpack_from("<I", dump, streams[6] + 8)[0] == 0xC0000094  # the exception stream's code


def test_host_of_one_call_reports_its_fault_and_ends_by_its_code(scene):
    process = scene.start("cover.exe")
    assert_describes(scene.open_report(), ACCESS_VIOLATION)
    assert process.wait_family() == int(ACCESS_VIOLATION, 16) & 0xFF


def test_host_in_plain_c_reports_its_fault(scene):
    process = scene.start("c_host.exe")
    assert_describes(scene.open_report(), ACCESS_VIOLATION)
    assert process.wait_family() == int(ACCESS_VIOLATION, 16) & 0xFF


def test_host_in_plain_c_built_by_gcc_does_the_same(scene, stage):
    program = stage.artifacts / "c_host_gcc.exe"
    library = stage.product("Wendax.dll").parent.parent / "lib" / "Wendax.lib"
    source = [f"-I{REPO}/include", REPO / "examples/c-host/c_host.c", library]
    subprocess.run([*gcc(MACHINE), "-Wall", "-Wextra", "-Werror", *source, "-o", program], check=True)
    process = scene.start("c_host.exe", exe=program)
    message = scene.open_report()
    assert_describes(message, ACCESS_VIOLATION)
    details = (r"Signature: EXCEPTION_ACCESS_VIOLATION, written \| c_host\.exe@", r"[RE]IP [0-9A-F]{8}", "Modules ")
    for detail in details:
        assert re.search(rf"\n{detail}", message.body.decode("windows-1251")), detail
    assert b"c_host.exe+" in message.body.partition(b"\nStack Trace:\n")[2]
    assert process.wait_family() == int(ACCESS_VIOLATION, 16) & 0xFF


@pytest.mark.skipif(MACHINE is X86, reason="the distribution's Rust makes programs of 64 bits for Windows")
class TestRust:
    def reported(self, scene, *args):
        """(code by which the host in Rust ends, its report with functions and lines)."""
        process = scene.start("rust_host.exe", *args)
        message = scene.open_report()
        code = process.wait_family()
        report = scene.stage.artifacts / "report.eml"
        report.write_bytes(message.raw)
        return code, resolve(report, scene.host.folder)[2]

    def test_fault_is_reported_with_function_and_line(self, scene):
        code, text = self.reported(scene)
        assert code == int(ACCESS_VIOLATION, 16) & 0xFF
        assert re.search(r"write_title \([^()]*main\.rs:\d+\)", text), text

    def test_panic_is_reported_with_function_and_line(self, scene):
        code, text = self.reported(scene, "one")
        assert code == 0xE0000001 & 0xFF
        assert re.search(r"third \([^()]*main\.rs:\d+\)", text), text


def test_upload_example_writes_its_files_and_goes_on_when_nothing_is_sent(scene):
    process = scene.start("upload.exe")
    report_dialog.press(scene.screen, "Close")
    assert process.wait_family() == 0
    assert process.result().text == "not uploaded\n"
    assert (scene.host.folder / "upload.cfg").read_text() == "quality = high\n"
    assert (scene.host.temp / "system_info.txt").exists()
