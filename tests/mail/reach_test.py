"""The dialog of a host whose windows, pointer and keys are in the way, as its user meets it."""

import subprocess
import time
import unittest

from testing import report_dialog, runner
from testing.processes import wait_until
from testing.host import Host
from testing.prefix import WINE

HOST, OTHER = "FF00FF", "00FFFF"  # the colours of the host's window and of another program's


full_screen = unittest.skipIf(
    WINE == "newer",
    "the newer Wine asks without end for the pointer to be kept in a full-screen "
    "window of this desktop, and serves it no input",
)


class Reach(runner.Case):
    def start(self, *words, at=(100, 100, 300, 200)):
        """Starts the host and waits for its window."""
        self.screen = self.desktop()
        self.host = Host(self, "window_host.exe", helper="full", desktop=self.screen)
        self.process = self.host.start(*words, "at", *at, "colour", HOST)
        self.window = self.screen.wait_window("Host window", 120)

    def other_program(self, *place):
        """Shows a window of another program there, behind nothing; returns it."""
        self.host.start("at", *place, "colour", OTHER)
        wait_until(lambda: len(self.others()) == 1, "the other program's window", 120, seen=self.screen.windows)
        return self.others()[0]

    def others(self):
        return [
            window for window in self.screen.windows() if window.title == "Host window" and window.id != self.window.id
        ]

    def crash(self):
        """Makes the host fail by a click into its window; returns the dialog's window."""
        self.screen.click_window(self.window, 20, self.window.height - 20)
        return report_dialog.wait(self.screen)

    def crash_in_menu(self):
        """Makes the host fail by moving onto the choice of its menu; returns the dialog's window."""
        self.screen.click_window(self.window, 20, 9)

        def dialog():  # the menu takes its time to open
            self.screen.point(self.window.x + 30, self.window.y + 32)
            self.screen.point(self.window.x + 40, self.window.y + 32)
            return self.screen.find_window(report_dialog.TITLE)

        wait_until(dialog, "the host to fail", 60)
        return report_dialog.wait(self.screen)

    def covered(self, window, colour, picture):
        """How much of the window's place has that colour, in percent."""
        path = self.screen.screenshot(self.artifacts / f"{picture}.png")
        place = f"{window.width}x{window.height}+{window.x}+{window.y}"
        told = subprocess.run(
            [
                "convert",
                path,
                "-crop",
                place,
                "+repage",
                "-fill",
                "black",
                "+opaque",
                f"#{colour}",
                "-fill",
                "white",
                "-opaque",
                f"#{colour}",
                "-format",
                "%[fx:100*mean]",
                "info:",
            ],
            check=True,
            capture_output=True,
            text=True,
            timeout=60,
        ).stdout
        return float(told)

    def decline(self):
        report_dialog.press(self.screen, "Don't Open & Close")
        self.finish()
        self.assertEqual(self.host.opened(), [])

    def finish(self):
        report_dialog.wait_closed(self.screen, 60)
        self.process.wait_family()
        return self.process.result().text.splitlines()


class ThePointer(Reach):
    def drag(self):
        x, y = self.window.x + 30, self.window.y + 60
        self.screen.drag(x, y, x + 60, y + 20)
        report_dialog.wait(self.screen)

    def test_presses_buttons_after_a_fault_with_the_capture_held(self):
        self.start("drag")
        self.drag()
        report_dialog.press(self.screen, "Open Error Report")
        self.finish()
        self.host.wait_messages(1)

    def test_closes_the_dialog_after_a_fault_with_the_capture_held(self):
        self.start("drag")
        self.drag()
        self.screen.close_window(report_dialog.wait(self.screen))
        self.finish()
        self.assertEqual(self.host.opened(), [])

    def test_leaves_the_corner_where_the_host_kept_it(self):
        self.start("drag", "confined")
        self.drag()
        self.decline()

    @runner.wine_cannot("an open menu keeps the pointer to itself")
    def test_presses_buttons_after_a_fault_in_an_open_menu(self):
        self.start("menu")
        dialog = self.crash_in_menu()
        report_dialog.press(self.screen, "Don't Open & Close", dialog)
        time.sleep(2)  # Wine never answers; the wait for it is to be short
        self.assertIsNone(self.screen.find_window(report_dialog.TITLE))

    def test_is_seen_while_the_dialog_runs_and_hidden_again(self):
        self.start("click", "no-pointer")
        self.crash()
        self.screen.screenshot(self.artifacts / "dialog.png")
        report_dialog.press(self.screen, "Don't Open & Close")
        self.assertIn("pointer's show count -3", self.finish())


class TheKeys(Reach):
    DEAF_SECONDS = 1  # after the dialog was shown

    def start_typing(self):
        self.start("key")
        self.screen.activate(self.window)

    def outwait(self):
        """Lets the time pass in which no key counts: a stretch of time of its own, not a wait for something."""
        time.sleep(self.DEAF_SECONDS + 0.5)

    def answer_by_space(self):
        def closed():
            self.screen.key("space")
            return not self.screen.find_window(report_dialog.TITLE)

        wait_until(closed, "the space bar to press the button", 60)
        self.host.wait_messages(1)

    def test_of_who_types_while_the_program_fails_answer_nothing(self):
        for _ in range(5):  # until once the typing is done in time, on a machine however busy
            self.start_typing()
            begin = time.monotonic()
            self.screen.type_keys("space", 15, 20)
            in_time = time.monotonic() - begin < self.DEAF_SECONDS
            report_dialog.wait(self.screen)
            if in_time:
                break
            self.process.kill()
        self.assertTrue(in_time)
        self.decline()

    def test_held_since_before_answer_nothing(self):
        self.start_typing()
        self.screen.hold_key("space")
        report_dialog.wait(self.screen)
        self.outwait()
        self.screen.release_key("space")
        self.decline()

    def test_answer_nothing_while_another_is_held_since_before(self):
        self.start_typing()
        self.screen.hold_key("w")
        dialog = report_dialog.wait(self.screen)
        self.outwait()
        self.screen.key("space")
        self.screen.key("space")
        self.screen.release_key("w")
        self.assertEqual(report_dialog.wait(self.screen), dialog)
        self.answer_by_space()

    def test_answer_later_by_the_space_bar(self):
        self.start("click")
        self.screen.activate(self.crash())
        self.answer_by_space()

    def test_answer_after_a_fault_in_an_open_menu_which_is_closed_by_it(self):
        self.start("menu")
        self.screen.activate(self.crash_in_menu())
        self.answer_by_space()
        self.assertEqual(self.finish()[-1], "end")

    def test_enter_escape_and_tab_do_nothing_later_either(self):
        self.start("click")
        self.screen.activate(self.crash())
        self.outwait()
        self.screen.key("Return", "Escape", "Tab")
        self.decline()


class InFront(Reach):
    def test_of_a_topmost_window(self):
        self.start("click", "topmost", at=(200, 150, 900, 700))
        dialog = self.crash()
        self.assertLess(self.covered(dialog, HOST, "dialog"), 1)
        self.decline()

    @full_screen
    def test_of_a_full_screen_window(self):
        self.start("click", "full-screen")
        dialog = self.crash()
        self.assertLess(self.covered(dialog, HOST, "dialog"), 1)
        self.decline()

    @full_screen
    def test_of_a_topmost_full_screen_window(self):
        self.start("click", "full-screen", "topmost")
        dialog = self.crash()
        self.assertLess(self.covered(dialog, HOST, "dialog"), 1)
        self.decline()

    def stands_behind_another_program(self):
        dialog = self.crash()
        other = self.other_program(200, 250, 700, 500)
        self.screen.click_window(other, 20, other.height - 20)
        wait_until(lambda: self.covered(dialog, OTHER, "behind") > 50, "the other program to be in front", 60)
        self.screen.activate(dialog)
        wait_until(lambda: self.covered(dialog, OTHER, "front") < 1, "the dialog to be in front again", 60)
        self.decline()

    def test_of_an_ordinary_window_but_of_other_programs_not_for_good(self):
        self.start("click", at=(200, 150, 900, 700))
        self.stands_behind_another_program()

    def test_of_other_programs_not_for_good_where_a_topmost_window_of_the_host_is_elsewhere(self):
        self.start("click", "topmost", at=(0, 0, 250, 180))
        self.stands_behind_another_program()
