"""Each console example, run as it lies there, does what its first lines say."""

import re
import struct
import subprocess

from testing import report_dialog, runner
from testing.host import LIBRARY_FILES, Host
from testing.processes import REPO

ACCESS_VIOLATION, DIVISION_BY_ZERO = "C0000005", "C0000094"


def codes_in(message):
    """The exception codes of the fault's description, which follows the last of the system text's captions."""
    return re.findall(rb"\b(C00000[0-9A-F]{2})\b", message.body)


class Example(runner.Case):
    def start(self, program, *more_files):
        self.screen = self.desktop()
        self.host = Host(self, program, files=(*LIBRARY_FILES, "faultkit.dll", *more_files), desktop=self.screen)
        return self.host.start(cwd=self.host.folder)

    def open_report(self, count=1):
        report_dialog.press(self.screen, "Open Error Report")
        return self.host.wait_messages(count)[-1]

    def assert_describes(self, message, code):
        self.assertIn(code.encode(), codes_in(message))

    def test_smallest_host_reports_its_fault(self):
        process = self.start("smallest.exe")
        self.assert_describes(self.open_report(), ACCESS_VIOLATION)
        self.assertEqual(process.wait_family(), 0)

    def test_threads_report_one_after_the_other_each_its_own_fault(self):
        process = self.start("threads.exe")
        messages = [self.open_report(count) for count in (1, 2)]
        self.assertEqual(process.wait_family(), 0)
        self.assertEqual(
            sorted(process.result().text.splitlines()), ["divider: failed", "reader: done", "writer: failed"]
        )
        described = [
            [code for code in (ACCESS_VIOLATION, DIVISION_BY_ZERO) if code.encode() in codes_in(message)]
            for message in messages
        ]
        self.assertEqual(sorted(described), [[ACCESS_VIOLATION], [DIVISION_BY_ZERO]])

    def test_minidump_is_attached_and_names_the_fault(self):
        process = self.start("minidump.exe")
        message = self.open_report()
        self.assertEqual(process.wait_family(), 0)
        self.assertEqual([name for name, _ in message.attachments], ["minidump.dmp"])
        dump = message.attachments[0][1]
        self.assertEqual(dump[:4], b"MDMP")
        count, directory = struct.unpack_from("<II", dump, 8)
        streams = {
            kind: place for kind, _, place in struct.iter_unpack("<III", dump[directory : directory + 12 * count])
        }
        self.assertEqual(struct.unpack_from("<I", dump, streams[6] + 8)[0], 0xC0000094)  # the exception stream's code

    def test_host_in_plain_c_reports_its_fault(self):
        process = self.start("c_host.exe")
        self.assert_describes(self.open_report(), ACCESS_VIOLATION)
        process.wait_family()

    def test_host_in_plain_c_built_by_gcc_makes_a_report_without_details(self):
        program = self.artifacts / "c_host_gcc.exe"
        library = self.product("Wendax.dll").parent.parent / "lib" / "Wendax.lib"
        subprocess.run(
            [
                "i686-w64-mingw32-gcc-posix",
                "-Wall",
                "-Wextra",
                "-Werror",
                f"-I{REPO}/include",
                REPO / "examples/c-host/c_host.c",
                library,
                "-o",
                program,
            ],
            check=True,
            timeout=120,
        )
        self.screen = self.desktop()
        self.host = Host(self, "c_host.exe", files=(*LIBRARY_FILES, "faultkit.dll"), desktop=self.screen)
        self.host.exe.write_bytes(program.read_bytes())
        process = self.host.start()
        message = self.open_report()
        process.wait_family()
        self.assertIn(b"Debug info is not accessible.\n", message.body)

    def test_upload_example_writes_its_files_and_goes_on_when_nothing_is_sent(self):
        process = self.start("upload.exe")
        report_dialog.press(self.screen, "Close")
        self.assertEqual(process.wait_family(), 0)
        self.assertEqual(process.result().text, "not uploaded\n")
        self.assertEqual((self.host.folder / "upload.cfg").read_text(), "quality = high\n")
        self.assertTrue((self.host.temp / "system_info.txt").exists())
