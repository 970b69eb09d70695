"""The scripts that a developer starts with: their help, and a set-up that may be killed at any time."""

import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile

import pytest

from testing.prefix import Prefix
from testing.processes import REPO, spawn, stop, wait_until


# What scripts/wine is given goes to Wine.
SCRIPTS = [
    path.name for path in sorted((REPO / "scripts").iterdir()) if not path.suffix and path.name not in ("lib", "wine")
]


@pytest.mark.parametrize("name", SCRIPTS)
def test_help_of_a_script_says_how_to_call_it_and_does_nothing(name):
    command, nothing = [REPO / "scripts" / name, "--help"], subprocess.DEVNULL
    told = subprocess.run(command, text=True, capture_output=True, timeout=30, stdin=nothing, check=False)
    assert (told.returncode, told.stderr) == (0, "")
    assert re.search(rf"usage: .*\b{name}\b|scripts/{name} ", told.stdout)


class Checkout:
    """Another checkout, with the Wine that this one has, and what runs there."""

    def __init__(self, path):
        self.path = path
        shutil.copytree(REPO / "scripts", path / "scripts")
        kind, place = (REPO / "build" / "wine.conf").read_text("utf-8").rstrip("\n").split(" ", 1)
        self.environment = dict(os.environ)
        if kind == "root":
            self.environment["WENDAX_TOOLS"] = str(pathlib.Path(place).parent)

    def end_all(self):
        for pid in self.programs():
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)
        wait_until(lambda: not self.programs(), "the end of all in the checkout", seen=self.programs)

    def programs(self):
        """What runs in a prefix of the checkout: {process id: prefix}."""
        found = {}
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                words = (entry / "environ").read_bytes().decode(errors="replace").split("\0")
                prefixes = [word for word in words if word.startswith(f"WINEPREFIX={self.path}/")]
                if prefixes and (entry / "stat").read_text(errors="replace").rpartition(")")[2].split()[0] not in "ZX":
                    found[int(entry.name)] = prefixes[0].partition("=")[2]
        return found

    def set_up(self):
        out = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT, "text": True}
        return spawn([self.path / "scripts" / "setup"], env=self.environment, **out)

    def shells(self, script):
        """The process of the script, and those of its sub-shells; not the programs that they run."""
        listed = subprocess.run(
            ["ps", "-o", "pid=,comm=", "--sid", str(script.pid)], text=True, check=True, capture_output=True
        ).stdout
        return [int(pid) for pid, name in (line.split(maxsplit=1) for line in listed.splitlines()) if name == "bash"]

    def half_made(self):
        """The processes of a prefix into which Wine has begun to write."""
        running = self.programs()
        written = any(
            (pathlib.Path(prefix) / "drive_c" / "windows" / "system32" / "kernel32.dll").exists()
            for prefix in running.values()
        )
        return running if written else {}


@pytest.fixture
def checkout():
    with tempfile.TemporaryDirectory(prefix="wendax-setup.") as folder:
        made = Checkout(pathlib.Path(folder))
        yield made
        made.end_all()


def test_setup_that_was_killed_writes_nothing_into_the_next_prefix(checkout):
    first = checkout.set_up()
    try:
        left = wait_until(checkout.half_made, "the prefix to grow", 200, seen=checkout.programs)
    finally:
        for pid in checkout.shells(first):
            os.kill(pid, signal.SIGKILL)
        first.wait()
        first.stdout.close()
    left |= checkout.programs()
    second = checkout.set_up()
    try:
        grows = wait_until(
            lambda: {pid: prefix for pid, prefix in checkout.programs().items() if pid not in left},
            "the next prefix to grow",
            200,
            seen=checkout.programs,
        )
        assert set(grows.values()) & set(left.values()) == set()
        said = second.communicate(timeout=250)[0]
        assert second.returncode == 0, said
    finally:
        stop(second)
        second.stdout.close()
    assert checkout.programs().keys() & left.keys() == set()
    build = checkout.path / "build"
    assert sorted(path.name for path in build.glob("wineprefix*")) == ["wineprefix", "wineprefix-x64"]
    for path in build.glob("wineprefix*"):
        assert (Prefix(path).drive_c / "windows" / "explorer.exe").is_file()
