"""Wine prefixes: the project's own, and copies of it that a test may spoil."""

import contextlib
import itertools
import os
import pathlib
import re
import shutil
import subprocess

from support.processes import REPO

COPIES = REPO / "build" / "test-prefixes"
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

    def server(self, *args, timeout=60.0):
        """Runs Wine's server for this prefix: "-w" waits until nothing runs in it, "-k" ends what does."""
        subprocess.run([REPO / "scripts" / "lib" / "wineserver", *args], timeout=timeout, check=False,
                       env={**os.environ, "WINEPREFIX": str(self.path)}, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def stop(self):
        """Ends everything that runs in this prefix, and waits for its end. For private prefixes only."""
        if not self.private:
            raise ValueError(f"others may be using {self.path}")
        self.server("-k")
        self.server("-w")


def project_prefix():
    """The prefix that scripts/setup made, for the Wine that WENDAX_WINE names. Tests that run at the same time share it."""
    wine = os.environ.get("WENDAX_WINE")
    return Prefix(REPO / "build" / ("wineprefix-" + wine if wine else "wineprefix"))


@contextlib.contextmanager
def fresh_prefix():
    """Context manager: a copy of the project's prefix, which goes at the end, with everything that runs in it. Its folder
    of temporary files is empty: what a demo has left in the original does not come along.

    The programs and libraries of Wine itself are shared with the original by hard links: replace them if you must,
    but never write into them.
    """
    _remove_left_behind()
    copy = COPIES / f"{os.getpid()}.{next(_count)}"
    try:
        _copy(project_prefix(), copy)
        prefix = Prefix(copy, private=True)
        try:
            yield prefix
        finally:
            prefix.stop()
    finally:
        shutil.rmtree(copy, ignore_errors=True)


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
    shutil.copytree(original.path, target, symlinks=True, copy_function=copy,
                    ignore=lambda folder, names: names if pathlib.Path(folder) == temporary else ())
    home = pathlib.Path.home()
    for folder, names, _ in os.walk(target / "drive_c" / "users"):
        for name in names:
            if pathlib.Path(folder, name).resolve().is_relative_to(home) and pathlib.Path(folder, name).is_symlink():
                raise RuntimeError(f"{folder}/{name} leads into {home}: remove build/wineprefix, run scripts/setup")


def _remove_left_behind():
    """Removes the copies of runs that were killed."""
    for copy in COPIES.glob("*.*"):
        if not pathlib.Path("/proc", copy.name.partition(".")[0]).exists():
            with contextlib.suppress(OSError, subprocess.TimeoutExpired):
                Prefix(copy, private=True).stop()
            shutil.rmtree(copy, ignore_errors=True)


def _entry(folder, name):
    """The entry of the folder with that name, in whatever case; the plain path if there is none."""
    exact = folder / name
    if exact.exists() or not folder.is_dir():
        return exact
    return next((entry for entry in folder.iterdir() if entry.name.casefold() == name.casefold()), exact)
