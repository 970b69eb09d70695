"""Reads the fault out of an error report: an .eml, text, or a minidump. docs/fault-description.md says how it is written."""

import dataclasses
import email
import email.policy
import pathlib
import re

import mail_text
import minidump

REASON = "Crush Expantion:"
STACK = "Stack Trace:"
THREADS = "Other threads: "  # begins a line; then each thread has one of these:
_THREAD = re.compile(r"Thread [0-9A-F]{8}:.*")

_MODULE = re.compile(
    r"(?P<base>(?:[0-9A-F]{8}){1,2}) (?P<size>[0-9A-F]{8}) (?P<stamp>[0-9A-F]{8}) (?P<version>[0-9.]+|-) "
    r"(?P<key>[0-9A-F]{9,40}|-) (?P<name>.+?)(?: \| (?P<pdb>.+))?(?P<gone> \[unloaded\])?"
)
_FRAME = re.compile(
    r"(?:(?P<address>(?:[0-9A-F]{8}){1,2}) )?(?P<module>[^+]+(?:\+[^+]+)*?)\+(?P<offset>[0-9A-F]{8})"
    r"(?P<gone> \[unloaded\])?(?: (?P<rest>.*))?"
)
_PLACE = re.compile(
    r"(?P<function>[^(\[].*?)?(?:\+0x[0-9A-F]+)?(?: ?\((?P<file>[^()]*):(?P<line>\d{1,7})\))?"
    r"(?: \[inlined\])?(?: \[unloaded\])?(?: ?\[guessed\])?"
)


class NoFault(Exception):
    """The file holds no description of a fault. The message says what it holds instead."""


@dataclasses.dataclass(frozen=True)
class Module:
    name: str
    base: int
    size: int
    time_stamp: int
    version: str  # empty if it has none
    key: str  # identity of its PDB; empty if it names none, or is gone
    pdb: str  # file name of its PDB
    gone: bool  # unloaded before the report was made


@dataclasses.dataclass(frozen=True)
class Frame:
    """One line of the trace that stands for a place in a module."""

    text: str  # the line as it stands
    address: str = ""  # eight digits, sixteen with 64 bits, or empty
    module: str = ""
    offset: int = 0
    exact: bool = False  # the faulting instruction itself; otherwise the address behind a call
    gone: bool = False
    inlined: bool = False  # a function inlined into the next frame, at the same address
    guessed: bool = False
    function: str = ""  # as far as the line itself tells
    file: str = ""
    line: int = 0


@dataclasses.dataclass(frozen=True)
class Fault:
    reason: list  # the lines in front of the list of modules
    modules: list
    trace: list  # a Frame, or the text of a line that stands for no place
    # The same of the other threads, from the line with their number on.
    threads: list = dataclasses.field(default_factory=list)

    def module(self, frame):
        """The module of a frame, or None: the list of a report may have been cut."""
        named = [module for module in self.modules if module.name == frame.module and module.gone == frame.gone]
        for module in named:
            if not frame.address or int(frame.address, 16) == module.base + frame.offset:
                return module
        return named[0] if named else None


def read(path):
    """The Fault in the file."""
    content = pathlib.Path(path).read_bytes()
    if minidump.is_minidump(content):
        return parse(minidump.text(content) or "")
    if re.match(rb"[A-Za-z-]+:[^\n]*\n", content) and re.search(
        rb"^(?i:MIME-Version|Content-Type):", content, re.MULTILINE
    ):
        return parse(_body(content))
    return parse(content.decode("windows-1251", "replace"))


def parse(text):
    """The Fault in a report's text."""
    lines = text.replace("\r\n", "\n").split("\n")
    if STACK not in lines:
        if "faultkit.dll was not found" in lines:
            raise NoFault("the report says that faultkit.dll was not found beside the program: there is no stack in it")
        raise NoFault("this is no report with a stack trace")
    stack = len(lines) - 1 - lines[::-1].index(STACK)
    before = lines[:stack]
    reason = before[len(before) - before[::-1].index(REASON) :] if REASON in before else []
    modules = [_module(match) for match in map(_MODULE.fullmatch, reason) if match]
    head = next((at for at, line in enumerate(reason) if line.startswith("Modules (")), len(reason))
    told = [line for line in reason[:head] if line]
    trace = list(_trace(lines[stack + 1 :]))
    # In a message in front of the modules; in a file of its own, in full, behind the stack.
    at = next((at for at, line in enumerate(told) if line.startswith(THREADS)), len(told))
    behind = lines[stack + len(trace) + 2 :]
    threads = told[at:] or (behind if behind and behind[0].startswith(THREADS) else [])
    return Fault(told[:at], modules, trace, list(_threads(threads)))


def _body(content):
    message = email.message_from_bytes(content, policy=email.policy.default)
    part = message.get_body(("plain", "html"))
    if part is None:
        raise NoFault("the mail has no text")
    return mail_text.words(part)[0]


def _module(match):
    name, key = match["name"], match["key"].replace("-", "")
    stem = name.rpartition(".")[0] or name
    return Module(
        name,
        int(match["base"], 16),
        int(match["size"], 16),
        int(match["stamp"], 16),
        match["version"].replace("-", ""),
        key,
        match["pdb"] or stem + ".pdb",
        bool(match["gone"]),
    )


def _threads(lines):
    first = False  # each thread's own first frame is where it was stopped
    for line in lines:
        if not line.strip():
            return
        if _THREAD.fullmatch(line) or line.startswith(THREADS):
            first = True
            yield line
            continue
        for frame in _trace([line]):
            if isinstance(frame, Frame):
                frame = dataclasses.replace(frame, exact=first)
                first = first and frame.inlined
            yield frame


def _trace(lines):
    first = True
    for line in lines:
        if not line.strip():
            return
        match = _FRAME.fullmatch(line)
        if not match:
            yield line
            first = False
            continue
        rest = match["rest"] or ""
        inlined = "[inlined]" in rest
        place = _PLACE.fullmatch(rest)
        told = (
            (place["function"].strip(), place["file"] or "", int(place["line"] or 0))
            if place and place["function"]
            else ()
        )
        yield Frame(
            line,
            match["address"] or "",
            match["module"],
            int(match["offset"], 16),
            first,
            bool(match["gone"]),
            inlined,
            "[guessed]" in rest,
            *told,
        )
        first = first and inlined
