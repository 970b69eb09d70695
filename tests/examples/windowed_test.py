"""The windowed example, used with the pointer: every button, both reports."""

from support import report_dialog, runner
from support.host import LIBRARY_FILES, Host

TITLE = "Ways to fail"

# Where the window has its controls, in pixels, and which code each fault has.
MARGIN, ROW, COLUMN = 12, 28, 190
FAULTS = ("C0000005", "C0000005", "C0000005", "C0000094", None, "C000008E", "C000001D", "C0000096", "80000003")
OVERFLOW_STACK = 9


class Windowed(runner.Case):
    time_limit = 600

    def setUp(self):
        super().setUp()
        self.screen = self.desktop()
        self.host = Host(self, "windowed.exe", files=(*LIBRARY_FILES, "faultkit.dll"), desktop=self.screen)
        self.process = self.host.start(limit=600)
        self.window = self.screen.wait_window(TITLE, 120)

    def click(self, column, row, below=0):
        self.screen.click_window(self.window, MARGIN + column * COLUMN + 20, MARGIN + row * ROW + ROW // 2 + below)

    def commit(self, number):
        """Presses the button of that fault."""
        self.click(number % 2, 2 + number // 2, below=MARGIN)

    def close(self):
        self.screen.close_window(self.window)
        self.assertEqual(self.process.wait_family(), 0)

    def test_each_fault_becomes_a_report_and_the_program_goes_on(self):
        for count, (number, code) in enumerate(enumerate(FAULTS), 1):
            self.commit(number)
            report_dialog.press(self.screen, "Open Error Report")
            body = self.host.wait_messages(count)[-1].body
            report_dialog.wait_closed(self.screen)
            if code:
                self.assertIn(code.encode(), body, f"fault {number}")
        self.screen.screenshot(self.artifacts / "window.png")
        self.close()

    def test_upload_dialog_is_shown_when_chosen(self):
        self.click(0, 1)
        self.commit(1)
        report_dialog.wait(self.screen)
        self.screen.screenshot(self.artifacts / "upload.png")
        report_dialog.press(self.screen, "Close")
        report_dialog.wait_closed(self.screen)
        self.assertTrue((self.host.temp / "system_info.txt").exists())
        self.assertEqual(self.host.messages_in_temp(), [])
        self.close()

    @runner.wine_cannot("the stack guarantee has no effect, and the process ends in Wine's own handler")
    def test_stack_overflow_is_reported(self):
        self.commit(OVERFLOW_STACK)
        try:
            report_dialog.wait(self.screen, 20)
        except Exception as timeout:
            raise AssertionError("no dialog") from timeout


if __name__ == "__main__":
    runner.main()
