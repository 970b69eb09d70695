"""tools/redirect.py: the DLL that ships, with another mailbox and another server."""

import shutil
import subprocess
import sys

from support import report_dialog, runner
from support.host import LIBRARY_FILES, Host, redirect
from support.processes import REPO


class Redirect(runner.Case):
    def setUp(self):
        super().setUp()
        self.dll = self.artifacts / "Wendax.dll"
        shutil.copy(self.product("Wendax.dll"), self.dll)

    def shown(self):
        return subprocess.run([sys.executable, REPO / "tools/redirect.py", self.dll], text=True, stdout=subprocess.PIPE,
                              timeout=60, check=True).stdout.splitlines()

    def test_message_goes_to_the_new_address(self):
        desktop = self.desktop()
        host = Host(self, "smallest.exe", files=LIBRARY_FILES, desktop=desktop)
        redirect(host.folder / "Wendax.dll", "--support-address", "crashes@example.com")
        process = host.start()
        report_dialog.press(desktop, "Open Error Report")
        self.assertEqual(host.wait_messages(1)[0].recipient, '"crashes@example.com" ')
        self.assertEqual(process.wait_family(), 0)

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
        for option, text in (("--support-address", ""), ("--support-address", "nobody"),
                             ("--support-address", 'a"@b.example'), ("--support-address", "{Date}@b.example"),
                             ("--support-address", "x" * 116 + "@example.com"), ("--upload-server", ""),
                             ("--upload-server", "http://b.example"), ("--upload-server", "b.example/path"),
                             ("--upload-server", "b.example:81"), ("--upload-server", "y" * 128)):
            with self.subTest(option=option, text=text):
                with self.assertRaisesRegex(ValueError, "is no |is longer than"):
                    redirect(self.dll, option, text)
                self.assertEqual(self.dll.read_bytes(), before)

    def test_other_files_are_refused(self):
        with self.assertRaisesRegex(ValueError, "no Wendax.dll"):
            redirect(self.product("KOBRTL.dll"), "--upload-server", "b.example")


if __name__ == "__main__":
    runner.main()
