"""The windowed example, used with the pointer: every button, both reports."""

from testing import report_dialog, runner, windowed
from testing.host import LIBRARY_FILES, Host

CODES = ("C0000005", "C0000005", "C0000005", "C0000094", None, "C000008E", "C000001D", "C0000096", "80000003")


class Windowed(runner.Case):
    time_limit = 600

    def setUp(self):
        super().setUp()
        self.screen = self.desktop()
        self.host = Host(self, "windowed.exe", files=(*LIBRARY_FILES, "faultkit.dll"), desktop=self.screen)
        self.process = self.host.start(limit=600)
        self.window = windowed.wait(self.screen)

    def commit(self, number):
        windowed.commit(self.screen, self.window, number)

    def close(self):
        self.screen.close_window(self.window)
        self.assertEqual(self.process.wait_family(), 0)

    def test_each_fault_becomes_a_report_and_the_program_goes_on(self):
        for count, (number, code) in enumerate(enumerate(CODES), 1):
            self.commit(number)
            report_dialog.press(self.screen, "Open Error Report")
            body = self.host.wait_messages(count)[-1].body
            report_dialog.wait_closed(self.screen)
            if code:
                self.assertIn(code.encode(), body, f"fault {number}")
        self.screen.screenshot(self.artifacts / "window.png")
        self.close()

    def test_picture_and_log_are_attached(self):
        windowed.choose_picture(self.screen, self.window)
        self.commit(windowed.WRITE_NOWHERE)
        report_dialog.press(self.screen, "Open Error Report")
        attached = dict(self.host.wait_messages(1)[0].attachments)
        self.assertEqual(attached["screen_copy.jpg"][:2], b"\xFF\xD8")
        self.assertEqual(attached["windowed.log"], b"started\r\nWrite to nowhere\r\n")
        report_dialog.wait_closed(self.screen)
        self.close()

    def test_upload_dialog_is_shown_when_chosen(self):
        windowed.choose_upload(self.screen, self.window)
        self.commit(windowed.WRITE_NOWHERE)
        report_dialog.wait(self.screen)
        self.screen.screenshot(self.artifacts / "upload.png")
        report_dialog.press(self.screen, "Close")
        report_dialog.wait_closed(self.screen)
        self.assertTrue((self.host.temp / "system_info.txt").exists())
        self.assertEqual(self.host.messages_in_temp(), [])
        self.close()

    @runner.wine_cannot("the stack guarantee has no effect, and the process ends in Wine's own handler")
    def test_stack_overflow_is_reported(self):
        self.commit(windowed.OVERFLOW_STACK)
        try:
            report_dialog.wait(self.screen, 20)
        except Exception as timeout:
            raise AssertionError("no dialog") from timeout
