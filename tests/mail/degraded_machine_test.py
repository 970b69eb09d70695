"""The e-mail report where something is in its way: the documented outcome, no crash, no message box."""

from testing import report_dialog, runner
from testing.host import Host


class Trouble(runner.Case):
    def report(self, *args, temp=None, prepare=None, **options):
        """A report that the user opens; gives the host's lines."""
        self.screen = self.desktop()
        self.host = Host(self, "fault_host.exe", helper="full", desktop=self.screen, **options)
        if prepare:
            prepare(self.host)
        if temp:
            for name in ("TMP", "TEMP"):
                self.host.wine.set_registry(r"HKEY_CURRENT_USER\Environment", name, temp)
        process = self.host.start(*args, "write")
        report_dialog.press(self.screen, "Open Error Report")
        report_dialog.wait_closed(self.screen)
        process.wait_family()
        self.assertEqual(self.screen.windows(), [])
        return process.result().text.splitlines()

    def assert_host_went_on(self, lines):
        self.assertEqual(lines[-2:], ["reported", "end"])

    def test_no_program_for_messages_leaves_the_message_in_the_temporary_folder(self):
        self.assert_host_went_on(self.report(mail_program=False))
        self.assertEqual(len(self.host.messages_in_temp()), 1)

    def test_missing_temporary_folder_leaves_nothing(self):
        self.assert_host_went_on(self.report(temp="C:\\nowhere\\at all"))
        self.assertEqual(self.host.messages_in_temp(), [])

    def test_temporary_folder_that_is_a_file_leaves_nothing(self):
        def prepare(host):
            (host.prefix.drive_c / "file").write_bytes(b"kept")

        self.assert_host_went_on(self.report(temp="C:\\file", prepare=prepare))
        self.assertEqual((self.host.prefix.drive_c / "file").read_bytes(), b"kept")

    def test_temporary_folder_with_blanks_and_other_letters_is_used(self):
        def prepare(host):
            (host.prefix.drive_c / "временные файлы").mkdir()

        self.assert_host_went_on(self.report(temp="C:\\временные файлы", prepare=prepare, locale="ru_RU.UTF-8"))
        self.assertEqual(len(list((self.host.prefix.drive_c / "временные файлы").glob("ema*.eml"))), 1)

    def test_library_in_a_folder_with_blanks_and_other_letters_works(self):
        self.assert_host_went_on(self.report(folder="Программы и файлы", locale="ru_RU.UTF-8"))
        body = self.host.wait_messages(1)[0].body
        self.assertIn(b"reason code C0000005", body)
