"""A private X desktop with a window manager, and a user who looks, points and clicks."""

import contextlib
import dataclasses
import os
import pathlib
import re
import select
import tempfile
import time

from testing.processes import WaitTimeout, run_tool, spawn, stop, wait_until

START_SECONDS = 120.0


@dataclasses.dataclass(frozen=True)
class Window:
    """A window that the window manager shows. Place and size in pixels, of its inside, without the frame."""

    id: int
    title: str
    x: int
    y: int
    width: int
    height: int


class Desktop:
    """Context manager. Inside it, env holds the environment for programs that are to show here."""

    def __init__(self, width=1280, height=1024):
        self.width, self.height = width, height
        self.env = {}
        self._stack = contextlib.ExitStack()

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self._log = stack.enter_context(tempfile.TemporaryFile())
            self.env = {"DISPLAY": self._start_server(stack)}
            self._start_window_manager(stack)
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *failure):
        self._stack.close()

    # Looking

    def windows(self):
        """The windows that are to be seen, oldest first."""
        listed = self._ask("xprop", "-root", "-notype", "_NET_CLIENT_LIST") or ""
        found = (self._window(int(number, 16)) for number in re.findall(r"0x[0-9a-f]+", listed))
        return [window for window in found if window]

    def find_window(self, title):
        """The first window with that title (text, or a compiled pattern to search for), or None."""
        return next((window for window in self.windows() if _matches(window.title, title)), None)

    def wait_window(self, title, timeout=60.0):
        """Waits until a window with that title is on screen and has come to rest; returns it."""
        last = None

        def at_rest():
            nonlocal last
            before, last = last, self.find_window(title)
            return last if last == before else None

        return wait_until(at_rest, f"a window with the title {_shown(title)}", timeout, seen=self.windows)

    def wait_no_window(self, title, timeout=60.0):
        """Waits until no window with that title is left."""
        wait_until(lambda: not self.find_window(title), f"the window {_shown(title)} to go", timeout, seen=self.windows)

    def screenshot(self, path):
        """Writes a picture of the whole desktop to path (its ending names the format); returns the path."""
        path = pathlib.Path(path)
        self._do("import", "-silent", "-window", "root", path)
        return path

    # Acting

    def click(self, x, y, button=1):
        """Moves the pointer to that place on the desktop and presses a button there (1 left, 2 middle, 3 right)."""
        self.point(x, y)
        wait_until(lambda: self._pointer() == (x, y), f"the pointer to be at {x}, {y}", seen=self._pointer)
        self._do("xdotool", "click", button)

    def point(self, x, y):
        """Moves the pointer to that place on the desktop."""
        self._do("xdotool", "mousemove", x, y)

    def drag(self, x, y, to_x, to_y):
        """Presses the left button at a place on the desktop and moves the pointer, the button held, to another one, where
        it is let go."""
        self._do("xdotool", "mousemove", x, y, "mousedown", 1)
        self._do("xdotool", "mousemove", to_x, to_y)
        self._do("xdotool", "mouseup", 1)

    def click_window(self, window, x, y, button=1):
        """Clicks at that place inside the window, counted from its upper left corner."""
        if not (0 <= x < window.width and 0 <= y < window.height):
            raise ValueError(f"{x}, {y} is outside {window}")
        self.click(window.x + x, window.y + y, button)

    def close_window(self, window):
        """Clicks the close box in the frame of the window. It may refuse to close: wait_no_window() tells."""
        told = self._do("xprop", "-id", window.id, "-notype", "_NET_FRAME_EXTENTS")
        extents = [int(number) for number in re.findall(r"\d+", told.partition("=")[2])]
        if len(extents) != 4 or extents[2] < 10:
            raise RuntimeError(f"no title bar on {window}: {told.strip()}")
        title_bar = extents[2]
        self.click(window.x + window.width - title_bar // 2, window.y - title_bar // 2)

    def key(self, *names):
        """Presses keys, one after the other, by their X names: "Return", "Escape", "alt+F4"."""
        self._do("xdotool", "key", *names)

    def type_keys(self, name, count, milliseconds):
        """Presses a key that many times, at that distance in time."""
        self._do("xdotool", "key", "--repeat", count, "--repeat-delay", milliseconds, "--delay", milliseconds, name)

    def hold_key(self, name):
        """Presses a key and leaves it down: it repeats until release_key()."""
        self._do("xdotool", "keydown", name)

    def release_key(self, name):
        self._do("xdotool", "keyup", name)

    def activate(self, window):
        """Brings the window to the front and gives it the keyboard."""
        self._do("xdotool", "windowactivate", window.id)
        wait_until(lambda: self._active() == window.id, f"{window} to become active", seen=self.windows)

    # Inside

    def _start_server(self, stack):
        reader, writer = os.pipe()
        with open(reader, "rb", buffering=0) as told, open(writer, "wb") as teller:
            server = spawn(
                [
                    "Xvfb",
                    "-displayfd",
                    writer,
                    "-screen",
                    "0",
                    f"{self.width}x{self.height}x24",
                    "-noreset",
                    "-nolisten",
                    "tcp",
                ],
                pass_fds=[writer],
                stdout=self._log,
                stderr=self._log,
            )
            stack.callback(stop, server)
            teller.close()
            number, end = b"", time.monotonic() + START_SECONDS
            while not number.endswith(b"\n"):
                if not select.select([told], [], [], max(0.0, end - time.monotonic()))[0]:
                    raise WaitTimeout(f"Xvfb named no display within {START_SECONDS:g} s: {self._logged()}")
                got = told.read(64)
                if not got:
                    raise RuntimeError(f"Xvfb ended at once: {self._logged()}")
                number += got
        return f":{int(number)}"

    def _start_window_manager(self, stack):
        config = pathlib.Path(__file__).with_name("openbox.xml")
        manager = spawn(
            ["openbox", "--sm-disable", "--config-file", config],
            env=self._environment(),
            stdout=self._log,
            stderr=self._log,
        )
        stack.callback(stop, manager)

        def ready():
            if manager.poll() is not None:
                raise RuntimeError(f"openbox ended at once: {self._logged()}")
            return "window id" in (self._ask("xprop", "-root", "_NET_SUPPORTING_WM_CHECK") or "")

        wait_until(ready, "the window manager to start", START_SECONDS, seen=self._logged)

    def _window(self, number):
        """The window of that id, or None if it is gone or not to be seen."""
        title = self._ask("xdotool", "getwindowname", number)
        told = self._ask("xwininfo", "-id", number) or ""
        if title is None or "Map State: IsViewable" not in told:
            return None
        place = [
            int(re.search(rf"{name}:\s+(-?\d+)", told)[1])
            for name in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
        ]
        return Window(number, title.removesuffix("\n"), *place)

    def _pointer(self):
        told = self._do("xdotool", "getmouselocation", "--shell")
        return tuple(int(re.search(rf"^{axis}=(\d+)", told, re.MULTILINE)[1]) for axis in "XY")

    def _active(self):
        told = re.search(r"0x[0-9a-f]+", self._ask("xprop", "-root", "-notype", "_NET_ACTIVE_WINDOW") or "")
        return told and int(told[0], 16)

    def _environment(self):
        return {**os.environ, "LC_ALL": "C.UTF-8", **self.env}

    def _do(self, *argv):
        return run_tool(argv, self._environment())

    def _ask(self, *argv):
        """Like _do, but None where the window that was asked about has just gone."""
        return run_tool(argv, self._environment(), check=False)

    def _logged(self):
        return os.pread(self._log.fileno(), 4096, 0).decode("utf-8", "replace").strip() or "(no words)"


def _matches(text, wanted):
    return text == wanted if isinstance(wanted, str) else wanted.search(text) is not None


def _shown(title):
    return repr(title if isinstance(title, str) else title.pattern)
