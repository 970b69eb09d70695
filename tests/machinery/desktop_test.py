"""A Desktop shows windows, and acts on them as a user does."""

import os
import re
import subprocess
import sys

import pytest

from testing.desktop import Desktop
from testing.processes import REPO, WaitTimeout, run_tool, wait_until
from compiled import program


class ShownWindow:
    """A program's window on a desktop."""

    def __init__(self, stage):
        self.screen = stage.desktop()
        self.process = stage.wine(self.screen).start(program("window"), "A window")
        self.window = self.screen.wait_window("A window")

    def wait_line(self, line):
        wait_until(lambda: line in self.printed(), f"the line {line!r}", seen=self.printed)

    def printed(self):
        return self.process.stdout.decode().splitlines()


@pytest.fixture
def shown(stage):
    return ShownWindow(stage)


class TestDesktopWithAWindow:
    def test_tells_the_size_of_its_inside(self, shown):
        assert (shown.window.width, shown.window.height) == (300, 200)

    def test_clicks_at_the_very_pixel(self, shown):
        for x, y in ((0, 0), (123, 45), (299, 199)):
            shown.screen.click_window(shown.window, x, y)
            shown.wait_line(f"left {x} {y}")

    def test_clicks_twice_at_the_same_place(self, shown):
        for times in (1, 2):
            shown.screen.click_window(shown.window, 5, 6)
            wait_until(lambda: shown.printed().count("left 5 6") == times, f"click {times}", seen=shown.printed)

    def test_clicks_with_the_right_button(self, shown):
        shown.screen.click_window(shown.window, 7, 8, button=3)
        shown.wait_line("right 7 8")

    def test_refuses_to_click_outside_the_window(self, shown):
        with pytest.raises(ValueError):
            shown.screen.click_window(shown.window, 300, 0)

    def test_presses_keys(self, shown):
        shown.screen.activate(shown.window)
        shown.screen.key("Return", "a")
        shown.wait_line("key 13")
        shown.wait_line("key 65")

    def test_closes_the_window_by_its_close_box(self, shown):
        shown.screen.close_window(shown.window)
        shown.screen.wait_no_window("A window")
        assert shown.process.wait() == 7
        assert shown.printed() == ["close"]

    def test_takes_a_picture_of_the_whole_desktop(self, shown, stage):
        picture = shown.screen.screenshot(stage.artifacts / "desktop.png")
        x, y = shown.window.x + 150, shown.window.y + 100

        def colours():
            shown.screen.screenshot(picture)
            form = f"%wx%h %[pixel:p{{{x},{y}}}] %[pixel:p{{1,1}}]"
            return run_tool(["convert", picture, "-format", form, "info:"], os.environ)

        # Shown is not painted yet.
        wait_until(
            lambda: re.fullmatch(r"1280x1024 (red|srgb\(255,0,0\)) (black|gray\(0\)|srgb\(0,0,0\))", colours()),
            "a red window on black",
            seen=colours,
        )

    def test_waits_in_vain_for_a_window_that_is_not_there_and_says_so(self, shown):
        with pytest.raises(WaitTimeout) as caught:
            shown.screen.wait_window("Another", timeout=0.3)
        assert re.search("0.3 s for a window with the title 'Another'.*title='A window'", str(caught.value))

    def test_finds_a_window_by_a_pattern(self, shown):
        assert shown.screen.find_window(re.compile("^A w")) == shown.window
        assert shown.screen.find_window(re.compile("^w")) is None


class TestDesktopOnItsOwn:
    def test_shows_a_title_in_other_letters(self, stage):
        screen = stage.desktop()
        stage.wine(screen, locale="ru_RU.UTF-8").start(program("window"), "Ошибка")
        screen.wait_window("Ошибка")

    def test_is_apart_from_another_one(self, stage):
        first, second = stage.desktop(), stage.desktop(width=800, height=600)
        assert first.env != second.env
        stage.wine(first).start(program("window"), "Here")
        first.wait_window("Here")
        assert second.windows() == []

    def test_ends_its_processes_when_the_test_fails(self):
        with pytest.raises(ZeroDivisionError):
            with Desktop():
                started = children(os.getpid())
                assert sorted(started.values()) == ["Xvfb", "openbox"]
                1 / 0
        assert still_running(started) == {}

    def test_does_not_outlive_a_killed_test(self):
        script = (
            "import time\nfrom testing.desktop import Desktop\n"
            "with Desktop():\n print('ready', flush=True)\n time.sleep(600)\n"
        )
        env = {**os.environ, "PYTHONPATH": str(REPO)}
        with subprocess.Popen([sys.executable, "-c", script], stdout=subprocess.PIPE, text=True, env=env) as test:
            try:
                assert test.stdout.readline() == "ready\n"
                started = children(test.pid)
                assert sorted(started.values()) == ["Xvfb", "openbox"]
            finally:
                test.kill()
        wait_until(lambda: not still_running(started), "the desktop to go", seen=lambda: still_running(started))


def children(parent):
    """{pid: name} of the processes that this one has started and that run."""
    return {pid: name for pid, name in listed("--ppid", parent).items() if name != "ps"}


def still_running(processes):
    """Those of {pid: name} that run under the same name still."""
    return dict(listed("--pid", ",".join(map(str, processes))).items() & processes.items())


def listed(*which):
    command = ["ps", "-o", "pid=,stat=,comm=", *map(str, which)]
    lines = subprocess.run(command, text=True, capture_output=True, check=False).stdout.splitlines()
    found = (line.split(maxsplit=2) for line in lines)
    return {int(pid): name for pid, state, name in found if state[0] not in "ZX"}
