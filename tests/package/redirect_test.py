"""tools/redirect.py: the DLL that ships, with another mailbox and another server. And the build's own settings."""

import errno
import importlib.util
import os
import shutil
import subprocess
import sys
from unittest import mock

from testing import report_dialog, runner
from testing.host import LIBRARY_FILES, Host, redirect
from testing.processes import REPO


MARK = b"WENDAX REPORTS>\0"
DESK = b'Crash Desk" <crashes@example.com>\r\nX-Report-To: "'
NAMELESS = b'" <crashes@example.com>\r\nX-Report-To: "'


class Redirect(runner.Case):
    def setUp(self):
        super().setUp()
        self.dll = self.artifacts / "Wendax.dll"
        shutil.copy(self.product("Wendax.dll"), self.dll)

    def shown(self):
        return subprocess.run(
            [sys.executable, REPO / "tools/redirect.py", self.dll],
            text=True,
            stdout=subprocess.PIPE,
            timeout=60,
            check=True,
        ).stdout.splitlines()

    def written(self):
        """What the library knows as its recipient."""
        return self.dll.read_bytes().partition(MARK)[2][:128].partition(b"\0")[0]

    def test_message_goes_to_the_new_address(self):
        for address, lines in (
            ("crashes@example.com", ['To: "crashes@example.com" ']),
            ("Crash Desk <crashes@example.com>", ['To: "Crash Desk" <crashes@example.com>', 'X-Report-To: "" ']),
            ("<crashes@example.com>", ['To: "" <crashes@example.com>', 'X-Report-To: "" ']),
        ):
            with self.subTest(address):
                desktop = self.desktop()
                host = Host(self, "smallest.exe", files=LIBRARY_FILES, desktop=desktop)
                redirect(host.folder / "Wendax.dll", "--support-address", address)
                process = host.start()
                report_dialog.press(desktop, "Open Error Report")
                message = host.wait_messages(1)[0].raw.decode("latin-1")
                self.assertEqual(message.split("\r\n")[: len(lines) + 1], [*lines, "Reply-To: "])
                self.assertEqual(process.wait_family(), 0)

    def test_address_with_a_name_or_in_brackets_is_written_so_that_mail_programs_take_it(self):
        for address, written, shown in (
            ("crashes@example.com", b"crashes@example.com", "crashes@example.com"),
            ("Crash Desk <crashes@example.com>", DESK, "Crash Desk <crashes@example.com>"),
            ("  Crash Desk<crashes@example.com>", DESK, "Crash Desk <crashes@example.com>"),
            ("<crashes@example.com>", NAMELESS, "<crashes@example.com>"),
            (
                "Smith, J. (100%) @home; $x <a@b.example>",
                b'Smith, J. (100%) @home; $x" <a@b.example>\r\nX-Report-To: "',
                "Smith, J. (100%) @home; $x <a@b.example>",
            ),
        ):
            with self.subTest(address):
                redirect(self.dll, "--support-address", address)
                self.assertEqual(self.written(), written)
                self.assertEqual(self.shown()[0], "e-mail reports go to " + shown)
        redirect(self.dll, "--upload-server", "reports.example.com")
        self.assertEqual(self.written(), written)

    def test_each_place_is_set_without_the_other(self):
        address, server = self.shown()
        redirect(self.dll, "--support-address", "a@b.example")
        self.assertEqual(self.shown(), ["e-mail reports go to a@b.example", server])
        redirect(self.dll, "--upload-server", "reports.example.com")
        self.assertEqual(self.shown(), ["e-mail reports go to a@b.example", "upload reports go to reports.example.com"])
        self.assertIn("@", address)

    def test_nothing_but_the_texts_changes_and_the_way_back_is_open(self):
        before = self.dll.read_bytes()
        address, server = (line.rpartition(" ")[2] for line in self.shown())
        redirect(self.dll, "--support-address", "x" * 115 + "@example.com", "--upload-server", "y" * 127)
        self.assertEqual(len(self.dll.read_bytes()), len(before))
        redirect(self.dll, "--support-address", address, "--upload-server", server)
        self.assertEqual(self.dll.read_bytes(), before)

    def test_what_is_no_address_is_refused_and_nothing_written(self):
        before = self.dll.read_bytes()
        for option, text in (
            ("--support-address", ""),
            ("--support-address", "nobody"),
            ("--support-address", 'a"@b.example'),
            ("--support-address", "{Date}@b.example"),
            ("--support-address", "x" * 116 + "@example.com"),
            ("--support-address", "x" * 89 + " <crashes@example.com>"),  # 128 are written
            ("--support-address", 'A "quoted" name <a@b.example>'),
            ("--support-address", "Back\\slash <a@b.example>"),
            ("--support-address", "{Date} <a@b.example>"),
            ("--support-address", "Пётр <a@b.example>"),
            ("--support-address", "Two\r\nlines <a@b.example>"),
            ("--support-address", "<nobody>"),
            ("--support-address", "Desk <a@b.example"),
            ("--support-address", "Desk <a@b.example> x"),
            ("--support-address", "Desk <<a@b.example>"),
            ("--upload-server", ""),
            ("--upload-server", "http://b.example"),
            ("--upload-server", "b.example/path"),
            ("--upload-server", "b.example:81"),
            ("--upload-server", "y" * 128),
        ):
            with self.subTest(option=option, text=text):
                with self.assertRaisesRegex(ValueError, "is no |is longer than"):
                    redirect(self.dll, option, text)
                self.assertEqual(self.dll.read_bytes(), before)

    def test_name_that_just_fits_is_taken(self):
        redirect(self.dll, "--support-address", "x" * 88 + " <crashes@example.com>")
        self.assertEqual(len(self.written()), 127)

    def test_file_that_can_not_be_replaced_stays_as_it_was_with_nothing_beside_it(self):
        spec = importlib.util.spec_from_file_location("redirect", REPO / "tools/redirect.py")
        tool = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(tool)
        before = self.dll.read_bytes()
        for call in ("chmod", "replace"):
            with self.subTest(call), mock.patch.object(os, call, side_effect=PermissionError(errno.EACCES, "in use")):
                with self.assertRaises(PermissionError):
                    tool.redirect(self.dll, upload_server="reports.example.com")
                self.assertEqual(list(self.artifacts.iterdir()), [self.dll])
                self.assertEqual(self.dll.read_bytes(), before)

    def test_record_that_is_no_text_is_refused(self):
        content = self.dll.read_bytes()
        for place in (0, 128):
            at = content.index(MARK) + len(MARK) + place
            for damaged in (b"\xEF", b"x" * 128):
                with self.subTest(place=place, damaged=damaged):
                    self.dll.write_bytes(content[:at] + damaged + content[at + len(damaged) :])
                    for option in ((), ("--upload-server", "b.example")):
                        with self.assertRaisesRegex(ValueError, r"^redirect: .*Wendax\.dll: this [^\n]*\n$"):
                            redirect(self.dll, *option)

    def test_other_files_are_refused(self):
        with self.assertRaisesRegex(ValueError, "no Wendax.dll"):
            redirect(self.product("KOBRTL.dll"), "--upload-server", "b.example")


class BuildSettings(runner.Case):
    def configure(self, *settings):
        command = ["cmake", "--fresh", "--preset", "windows", "-B", self.artifacts / "build", *settings]
        done = subprocess.run(
            command, cwd=REPO, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=250, check=False
        )
        return done.returncode, " ".join(done.stdout.split())

    def test_address_with_a_name_is_built_in_so_that_mail_programs_take_it(self):
        code, told = self.configure(
            "-DWENDAX_SUPPORT_ADDRESS=Crash Desk <crashes@example.com>", "-DWENDAX_UPLOAD_SERVER=reports.example.com"
        )
        self.assertEqual(code, 0, told)
        target = "report/CMakeFiles/report.dir/destinations_win.cpp.obj"
        subprocess.run(
            ["cmake", "--build", self.artifacts / "build", "--target", target],
            check=True,
            stdout=subprocess.PIPE,
            timeout=250,
        )
        places = (self.artifacts / "build" / target).read_bytes().partition(MARK)[2][:256]
        self.assertEqual(places, DESK.ljust(128, b"\0") + b"reports.example.com".ljust(128, b"\0"))

    def test_what_is_no_address_ends_the_configuring_with_its_reason(self):
        for setting, reason in (
            ("WENDAX_SUPPORT_ADDRESS=nobody", "'nobody' is no address"),
            ("WENDAX_UPLOAD_SERVER=b.example/path", "'b.example/path' is no host name"),
        ):
            with self.subTest(setting):
                code, told = self.configure("-D" + setting)
                self.assertNotEqual(code, 0)
                self.assertIn(reason, told)
