"""A Desktop shows windows, and acts on them as a user does."""

import os
import pathlib
import re
import subprocess
import sys

from testing.desktop import Desktop
from testing.processes import WaitTimeout, wait_until
from testing.runner import Case
from testing.processes import REPO, run_tool
from compiled import program


class Desktop_with_a_window(Case):
    def setUp(self):
        self.screen = self.desktop()
        self.process = self.wine(self.screen).start(program("window"), "A window")
        self.window = self.screen.wait_window("A window")

    def wait_line(self, line):
        wait_until(lambda: line in self.printed(), f"the line {line!r}", seen=self.printed)

    def printed(self):
        return self.process.stdout.decode().splitlines()

    def test_tells_the_size_of_its_inside(self):
        self.assertEqual((self.window.width, self.window.height), (300, 200))

    def test_clicks_at_the_very_pixel(self):
        for x, y in ((0, 0), (123, 45), (299, 199)):
            self.screen.click_window(self.window, x, y)
            self.wait_line(f"left {x} {y}")

    def test_clicks_twice_at_the_same_place(self):
        for times in (1, 2):
            self.screen.click_window(self.window, 5, 6)
            wait_until(lambda: self.printed().count("left 5 6") == times, f"click {times}", seen=self.printed)

    def test_clicks_with_the_right_button(self):
        self.screen.click_window(self.window, 7, 8, button=3)
        self.wait_line("right 7 8")

    def test_refuses_to_click_outside_the_window(self):
        with self.assertRaises(ValueError):
            self.screen.click_window(self.window, 300, 0)

    def test_presses_keys(self):
        self.screen.activate(self.window)
        self.screen.key("Return", "a")
        self.wait_line("key 13")
        self.wait_line("key 65")

    def test_closes_the_window_by_its_close_box(self):
        self.screen.close_window(self.window)
        self.screen.wait_no_window("A window")
        self.assertEqual(self.process.wait(), 7)
        self.assertEqual(self.printed(), ["close"])

    def test_takes_a_picture_of_the_whole_desktop(self):
        picture = self.screen.screenshot(self.artifacts / "desktop.png")
        x, y = self.window.x + 150, self.window.y + 100

        def colours():
            self.screen.screenshot(picture)
            return run_tool(
                ["convert", picture, "-format", f"%wx%h %[pixel:p{{{x},{y}}}] %[pixel:p{{1,1}}]", "info:"], os.environ
            )

        # Shown is not painted yet.
        wait_until(
            lambda: re.fullmatch(r"1280x1024 (red|srgb\(255,0,0\)) (black|gray\(0\)|srgb\(0,0,0\))", colours()),
            "a red window on black",
            seen=colours,
        )

    def test_waits_in_vain_for_a_window_that_is_not_there_and_says_so(self):
        with self.assertRaises(WaitTimeout) as caught:
            self.screen.wait_window("Another", timeout=0.3)
        self.assertRegex(str(caught.exception), "0.3 s for a window with the title 'Another'.*title='A window'")

    def test_finds_a_window_by_a_pattern(self):
        self.assertEqual(self.screen.find_window(re.compile("^A w")), self.window)
        self.assertIsNone(self.screen.find_window(re.compile("^w")))


class Desktop_on_its_own(Case):
    def test_shows_a_title_in_other_letters(self):
        screen = self.desktop()
        self.wine(screen, locale="ru_RU.UTF-8").start(program("window"), "Ошибка")
        screen.wait_window("Ошибка")

    def test_is_apart_from_another_one(self):
        first, second = self.desktop(), self.desktop(width=800, height=600)
        self.assertNotEqual(first.env, second.env)
        self.wine(first).start(program("window"), "Here")
        first.wait_window("Here")
        self.assertEqual(second.windows(), [])

    def test_ends_its_processes_when_the_test_fails(self):
        with self.assertRaises(ZeroDivisionError):
            with Desktop():
                started = children(os.getpid())
                self.assertEqual(sorted(started.values()), ["Xvfb", "openbox"])
                1 / 0
        self.assertEqual(still_running(started), {})

    def test_does_not_outlive_a_killed_test(self):
        script = (
            "import time\nfrom testing.desktop import Desktop\n"
            "with Desktop():\n print('ready', flush=True)\n time.sleep(600)\n"
        )
        with subprocess.Popen(
            [sys.executable, "-c", script],
            stdout=subprocess.PIPE,
            text=True,
            env={**os.environ, "PYTHONPATH": str(REPO)},
        ) as test:
            try:
                self.assertEqual(test.stdout.readline(), "ready\n")
                started = children(test.pid)
                self.assertEqual(sorted(started.values()), ["Xvfb", "openbox"])
            finally:
                test.kill()
        wait_until(lambda: not still_running(started), "the desktop to go", seen=lambda: still_running(started))


def children(parent):
    """{pid: name} of the processes that this one has started and that run."""
    found = {}
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        name, state, of = stat(entry)
        if of == parent and state not in "ZX":
            found[int(entry.name)] = name
    return found


def still_running(processes):
    """Those of {pid: name} that run under the same name still."""
    seen = {pid: stat(pathlib.Path("/proc", str(pid))) for pid in processes}
    return {pid: name for pid, name in processes.items() if seen[pid][0] == name and seen[pid][1] not in "ZX"}


def stat(entry):
    """Name, state and parent of a process; no name and state X if it is gone."""
    try:
        text = (entry / "stat").read_text(errors="replace")
    except OSError:
        return "", "X", 0
    fields = text.rpartition(")")[2].split()
    return text[text.index("(") + 1 : text.rindex(")")], fields[0], int(fields[1])
