"""The e-mail dialog on screen, answered with the pointer."""

import pathlib
import time

from testing import report_dialog, runner
from testing.host import Host


def cpu_ticks(pid):
    """The processor time of a process so far, in clock ticks."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return int(fields[11]) + int(fields[12])


class Dialog(runner.Case):
    def start(self, *args, program="fault_host.exe", **size):
        self.screen = self.desktop(**size)
        self.host = Host(self, program, helper="full", desktop=self.screen)
        self.process = self.host.start(*args)
        return report_dialog.wait(self.screen)

    def finish(self):
        self.process.wait_family()
        return self.process.result().text.splitlines()

    def test_open_button_opens_the_message_and_the_host_goes_on(self):
        self.start("write")
        self.screen.screenshot(self.artifacts / "dialog.png")
        report_dialog.press(self.screen, "Open Error Report")
        report_dialog.wait_closed(self.screen)
        self.assertEqual(len(self.host.wait_messages(1)), 1)
        self.assertEqual(self.finish()[-2:], ["reported", "end"])

    def test_decline_button_makes_no_message(self):
        self.start("write")
        report_dialog.press(self.screen, "Don't Open & Close")
        report_dialog.wait_closed(self.screen)
        self.assertEqual(self.finish()[-2:], ["reported", "end"])
        self.assertEqual(self.host.opened(), [])
        self.assertEqual(self.host.messages_in_temp(), [])

    def test_close_box_declines(self):
        window = self.start("write")
        self.screen.close_window(window)
        report_dialog.wait_closed(self.screen)
        self.assertEqual(self.finish()[-2:], ["reported", "end"])
        self.assertEqual(self.host.opened(), [])

    def test_keys_answer_nothing(self):
        window = self.start("write")
        self.screen.activate(window)
        self.screen.key("Return", "Escape", "Tab")
        report_dialog.press(self.screen, "Don't Open & Close", window)
        self.finish()
        self.assertEqual(self.host.opened(), [])

    def test_dialog_stands_in_the_middle_of_the_work_area(self):
        window = self.start("write", width=1024, height=768)
        # The window's inside; the frame is a little wider than it and its title bar stands above.
        self.assertAlmostEqual(window.x + window.width / 2, 512, delta=8)
        self.assertAlmostEqual(window.y + window.height / 2, 384, delta=24)
        report_dialog.press(self.screen, "Don't Open & Close", window)
        self.finish()

    def test_waiting_dialog_uses_no_processor(self):
        window = self.start("write")
        pid = self.process.pid

        def stands_still():
            before = cpu_ticks(pid)
            time.sleep(1)  # a stretch of time to measure over, not a wait for something
            return cpu_ticks(pid) - before

        # A loop that spins takes a hundred ticks a second; one that waits takes none.
        self.assertLessEqual(min(stands_still() for _ in range(3)), 5)
        report_dialog.press(self.screen, "Don't Open & Close", window)
        self.finish()

    def icon_colour(self):
        """The colour of the icon, which is a green one in the host that has one."""
        return report_dialog.icon_colour(self.screen, self.artifacts / "icon.png")

    def test_icon_of_the_host_is_shown(self):
        self.start("write", program="fault_host_with_icon.exe")
        self.assertRegex(self.icon_colour(), r"\(0,192,0\)")
        report_dialog.press(self.screen, "Don't Open & Close")
        self.finish()

    def test_icon_of_the_host_is_shown_by_the_second_report_too(self):
        self.start("write", "divide", program="fault_host_with_icon.exe")
        report_dialog.press(self.screen, "Open Error Report")
        self.host.wait_messages(1)
        self.assertRegex(self.icon_colour(), r"\(0,192,0\)")
        report_dialog.press(self.screen, "Don't Open & Close")
        self.finish()

    def test_host_without_an_icon_leaves_the_templates(self):
        self.start("write")
        self.assertNotRegex(self.icon_colour(), r"\(0,192,0\)")
        report_dialog.press(self.screen, "Don't Open & Close")
        self.finish()
