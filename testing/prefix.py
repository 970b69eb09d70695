"""Wine prefixes: the project's own, and copies of it that a test may spoil."""

import atexit
import contextlib
import functools
import fnmatch
import itertools
import os
import pathlib
import re
import shutil
import signal
import subprocess

from testing.image import X86
from testing.processes import REPO, WaitTimeout, marked_processes, wait_until
from testing.product import MACHINE

COPIES = REPO / "build" / "test-prefixes"
SERVER_IDLE_SECONDS = 300
NO_DISPLAY_MARK = ".without-display"  # see scripts/lib/wine-env.sh

# Which of the machine's Wines all of this is about: "" for the first one, or "newer".
WINE = os.environ.get("WENDAX_WINE", "")


def variant_of(machine):
    """What names of prefixes and outputs end with, so that those of each machine and Wine lie apart."""
    return ("" if machine is X86 else f"-{machine.name}") + (f"-{WINE}" if WINE else "")


VARIANT = variant_of(MACHINE)
_count = itertools.count(1)


class Prefix:
    """A Wine prefix that exists. private says that nobody else uses it, so that all in it may be ended."""

    def __init__(self, path, private=False):
        self.path = pathlib.Path(path).resolve()
        self.private = private
        self.drive_c = self.path / "drive_c"
        if not (self.path / "system.reg").is_file():
            raise FileNotFoundError(f"no Wine prefix in {self.path}: run scripts/setup")

    @property
    def temp_dir(self):
        """The directory that Windows programs in this prefix take for their temporary files, as in the registry."""
        hive = (self.path / "user.reg").read_text("utf-8", "replace")
        section = re.search(r"^\[Environment\].*?(?=^\[|\Z)", hive, re.MULTILINE | re.DOTALL)
        value = section and re.search(r'^"TEMP"=(?:str\(2\):)?"(.*)"$', section[0], re.MULTILINE)
        if not value:
            raise LookupError(f"the registry in {self.path} has no TEMP")
        name = value[1].replace("\\\\", "\\").replace("%USERPROFILE%", f"C:\\users\\{self.user}")
        return self.to_unix(name)

    @property
    def user(self):
        """The name of the Windows user."""
        return next(entry.name for entry in (self.drive_c / "users").iterdir() if entry.name != "Public")

    def to_windows(self, path):
        """The Windows name of a path of this system: on C: for what is in the prefix, otherwise on Z:."""
        path = pathlib.Path(os.path.abspath(path))
        if path.is_relative_to(self.drive_c):
            return "C:\\" + str(path.relative_to(self.drive_c)).removeprefix(".").replace("/", "\\")
        return "Z:" + str(path).replace("/", "\\")

    def to_unix(self, name):
        """The path of this system for a Windows name with a drive. Letters match in either case, as Windows has it;
        what doesn't exist keeps the case of the name."""
        match = re.fullmatch(r"([A-Za-z]):[\\/](.*)", name, re.DOTALL)
        if not match:
            raise ValueError(f"not a full Windows name: {name!r}")
        drive = self.path / "dosdevices" / (match[1].lower() + ":")
        if not drive.is_dir():
            raise ValueError(f"no drive {match[1]}: in {self.path}")
        path = drive.resolve()
        for part in filter(None, re.split(r"[\\/]", match[2])):
            path = _entry(path, part)
        return path

    def server(self, *args):
        """Runs Wine's server for this prefix: "-w" waits until nothing runs in it, "-k" ends what does."""
        subprocess.run(
            [REPO / "scripts" / "lib" / "wineserver", *args],
            timeout=60,
            check=False,
            env={**os.environ, "WINEPREFIX": str(self.path)},
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )

    def stop(self):
        """Ends everything that runs in this prefix, and waits for its end. For private prefixes only."""
        self._must_be_private()
        self.server("-k")
        self.server("-w")

    def kill(self):
        """Like stop(), but at once: the registry is not written back."""
        self._must_be_private()
        wait_until(lambda: not self._kill_some(), f"the end of all in {self.path}", seen=self._running)
        place = self.path.stat()
        for sockets in pathlib.Path("/tmp").glob(f"*wine-*/server-{place.st_dev:x}-{place.st_ino:x}"):
            shutil.rmtree(sockets, ignore_errors=True)

    def _must_be_private(self):
        if not self.private:
            raise ValueError(f"others may be using {self.path}")

    def _running(self):
        return marked_processes(f"WINEPREFIX={self.path}".encode())

    def _kill_some(self):
        running = self._running()
        for pid in running:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)
        return running


def project_prefix(machine=MACHINE):
    """The prefix that scripts/setup made for programs of that machine, of the Wine that WENDAX_WINE names. Tests run in
    copies of it."""
    return Prefix(REPO / "build" / f"wineprefix{variant_of(machine)}")


@contextlib.contextmanager
def fresh_prefix(machine=MACHINE):
    """Context manager: a copy of the project's prefix, which goes at the end, with everything that runs in it. Its folder
    of temporary files is empty: what a demo has left in the original does not come along.

    The programs and libraries of Wine itself are shared with the original by hard links: replace them if you must,
    but never write into them.
    """
    _remove_left_behind()
    copy = COPIES / f"{os.getpid()}.{next(_count)}"
    try:
        _copy(project_prefix(machine), copy)
        prefix = Prefix(copy, private=True)
        try:
            # It stays between the programs of a test: while a server ends, a program that starts has 5 s to wait for it.
            prefix.server(f"-p{SERVER_IDLE_SECONDS}")
            yield prefix
        finally:
            prefix.kill()
    finally:
        shutil.rmtree(copy, ignore_errors=True)


@functools.cache
def shared_prefix():
    """A prefix that everybody in this process shares, so that files of tests may run at the same time. It goes with the
    process."""
    stack = contextlib.ExitStack()
    atexit.register(stack.close)
    return stack.enter_context(fresh_prefix())


def _copy(original, target):
    windows = original.drive_c / "windows"

    def copy(source, destination):
        # Not the registry: Wine's server writes into a file that has several links, instead of replacing it.
        if pathlib.Path(source).is_relative_to(windows):
            os.link(source, destination)
        else:
            shutil.copy2(source, destination)

    COPIES.mkdir(parents=True, exist_ok=True)
    temporary = original.temp_dir

    def passing(folder, names):
        # Should a server be at work in the original: it writes the registry anew under such names. The mark is that of
        # scripts/wine for a desktop without a display, which the copy doesn't have.
        left = [*fnmatch.filter(names, "reg*.tmp"), NO_DISPLAY_MARK]
        return names if pathlib.Path(folder) == temporary else left

    shutil.copytree(original.path, target, symlinks=True, copy_function=copy, ignore=passing)
    home = pathlib.Path.home()
    for folder, names, _ in os.walk(target / "drive_c" / "users"):
        for name in names:
            if pathlib.Path(folder, name).resolve().is_relative_to(home) and pathlib.Path(folder, name).is_symlink():
                raise RuntimeError(f"{folder}/{name} leads into {home}: remove build/wineprefix, run scripts/setup")


def _remove_left_behind():
    """Removes the copies of runs that were killed."""
    for copy in COPIES.glob("*.*"):
        if not pathlib.Path("/proc", copy.name.partition(".")[0]).exists():
            with contextlib.suppress(OSError, WaitTimeout):
                Prefix(copy, private=True).kill()
            shutil.rmtree(copy, ignore_errors=True)


def _entry(folder, name):
    """The entry of the folder with that name, in whatever case; the plain path if there is none."""
    exact = folder / name
    if exact.exists() or not folder.is_dir():
        return exact
    return next((entry for entry in folder.iterdir() if entry.name.casefold() == name.casefold()), exact)
