"""Takes apart what faultkit.dll says about faults."""

import dataclasses
import functools
import re

from testing.processes import REPO
from testing.product import MACHINE

FRAME = re.compile(
    rf"(?P<address>{MACHINE.address}) (?P<module>[^+]+)\+(?P<offset>[0-9A-F]{{8}})(?P<gone> \[unloaded\])?"
    r"(?: (?!\[guessed)(?P<function>[^(]+?)(?P<displacement>\+0x[0-9A-F]+)?(?: \((?P<file>[^()]+):(?P<line>\d+)\))?"
    r"(?P<inlined> \[inlined\])?)?(?P<guessed> \[guessed\])?"
)


@dataclasses.dataclass
class Description:
    """What was said about one fault."""

    fault: str
    reason: list  # lines
    stack: list  # lines
    after: list  # what the host printed then
    truth: list  # the return addresses that the host itself noted, innermost first

    @property
    def text(self):
        return "\n".join(["Crush Expantion:", *self.reason, "", "Stack Trace:", *self.stack, ""])

    @property
    def frames(self):
        """The stack's lines that stand for a place, as matches of FRAME."""
        return [match for match in map(FRAME.fullmatch, self.stack) if match]

    @property
    def functions(self):
        """The functions of the stack without their namespaces, "?" for a frame without one."""
        return [short(frame["function"]) for frame in self.frames]

    def modules(self):
        """{name: (base, size, time stamp, version, key)} as text."""
        start = next(at for at, line in enumerate(self.reason) if line.startswith("Modules ("))
        fields = [line.split(" ", 5) for line in self.reason[start + 1 :] if re.match(f"{MACHINE.address} ", line)]
        return {field[5]: tuple(field[:5]) for field in fields}


def short(function):
    """Without namespaces and classes."""
    return (function or "?").rpartition("::")[2]


@functools.cache
def source(name):
    """The lines of a source file of the hosts, by the path in a PDB, which is the same wherever it was built."""
    path = REPO / name.replace("\\", "/").partition("C:/wendax/")[2]
    return path.read_text("utf-8").splitlines()


def source_line(frame):
    """The line of source that a frame names."""
    return source(frame["file"])[int(frame["line"]) - 1].strip()


def take_apart(text, truth):
    """The Description in what a host printed from one fault's name on."""
    fault, _, rest = text.partition("\nCrush Expantion:\n")
    reason, _, rest = rest.partition("\n\nStack Trace:\n")
    lines = rest.rstrip("\n").split("\n")
    after = next((at for at, line in enumerate(lines) if line.startswith("--- ")), len(lines))
    return Description(fault, reason.split("\n"), [line for line in lines[:after] if line], lines[after:], truth)


def take_all_apart(text):
    """The Descriptions in all that a host printed, in order."""
    before, *parts = text.split("=== ")
    descriptions = []
    for part in parts:
        # The host notes the truth before it faults, so it stands at the end of what came before.
        descriptions.append(take_apart(part, before.partition("--- truth")[2].split()))
        before = part
    return descriptions
