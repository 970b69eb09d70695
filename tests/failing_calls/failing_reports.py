"""Runs failing_host and reads what it prints."""

import collections
import dataclasses
import pathlib
import shutil

from testing.host import Host, redirect
from testing.product import DLLS, MACHINE

HERE = pathlib.Path(__file__).parent
# Those of both machines, and those of the one that the build tree is for.
CALLS = "".join((HERE / place / "calls.txt").read_text() for place in (".", MACHINE.name))
CONTENT = bytes(range(256)) * 4


@dataclasses.dataclass(frozen=True)
class Round:
    """One report. call is (library, function), None for one in which nothing was to fail."""

    call: tuple
    number: int
    failed: bool
    returned: str
    dialogs: int
    boxes: int
    uploads: int
    answer: int
    more_held: int
    message: str


class FailingHost:
    """road: "message" or "upload". record: what is written into the library's record."""

    def __init__(self, stage, road, record):
        self.road = road
        # A small screen: its picture is taken each time.
        self.host = Host(stage, "failing_host.exe", files=DLLS, desktop=stage.desktop(width=320, height=240))
        if record:
            redirect(self.host.folder / "Wendax.dll", *record)
        (self.host.folder / "calls.txt").write_text(CALLS)
        application = shutil.copy(self.host.exe, self.host.folder / "Lumivale.exe")
        self.host.wine.set_registry(
            r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\App Paths\Lumivale.exe",
            "",
            self.host.prefix.to_windows(application),
        )
        self.host.wine.set_registry(r"HKEY_LOCAL_MACHINE\Software\Torvex", "CPU instruction set", "SSE2")
        (self.host.folder / "attached.bin").write_bytes(CONTENT)

    def path_of(self, message):
        return None if message == "-" else self.host.prefix.to_unix(message)

    def run(self, plan, limit):
        """plan: {(library, function): numbers}. Returns ({call: count in a whole report}, [Round], {what was
        left: how often})."""
        orders = self.host.folder / "orders.txt"
        lines = (f"{library} {name} {' '.join(map(str, numbers))}\n" for (library, name), numbers in plan.items())
        orders.write_text("".join(lines))
        words = ("C:\\host\\calls.txt", self.road, "C:\\host\\attached.bin")
        with open(orders, "rb") as stdin:
            return self._read(self.host.run(*words, cwd=self.host.folder, limit=limit, stdin=stdin))

    def _read(self, result):
        counts, rounds, held, call = {}, [], collections.Counter(), None
        lines = result.text.splitlines()
        for line in lines:
            words = line.split()
            if words[0] == "calls":
                counts[words[1], words[2]] = int(words[3])
            elif words[0] == "failing":
                call = words[1], words[2]
            elif words[0] == "round":
                number = int(words[1])
                facts = (words[2] == "failed", words[3], *map(int, words[4:9]), " ".join(words[9:]))
                rounds.append(Round(call if number else None, number, *facts))
            elif words[0] == "held":
                held[f"{call}: {line}"] += 1
            elif line != "end":
                raise AssertionError(f"{line}, after {rounds[-1:]}")
        assert (lines[-1:], result.returncode) == (["end"], 0), result
        return counts, rounds, held
