"""What a user gets from a report in which one call failed; words() says it in the document."""

import dataclasses
import enum
import re

from testing.mail import Message


# The parts of a report, in the order in which words() names them.
Part = enum.Flag(
    "Part",
    "WINDOWS PROGRAM PROCESSOR DISPLAY BROWSER PRINTERS APPLICATION FAULT PROCESS MODULES STACK SCREENSHOT FILE DATE",
)
SYSTEM = Part.WINDOWS | Part.PROGRAM | Part.PROCESSOR | Part.DISPLAY | Part.BROWSER | Part.PRINTERS | Part.APPLICATION


class End(enum.Enum):
    """How far the report comes. road is "message" or "upload", report what there is of it."""

    ARRIVES = "{report}"
    CUT_OFF = "a {road} that is cut off"
    UNWRITTEN = "the mail program is told to open a message that could not be written"
    TOLD_AS_FAILED = "{report}, which the dialog says has failed"
    FAILS_AS_TOLD = "no {road}, as the dialog says"
    NONE = "no {road}"
    NONE_UNTOLD = "no {road}; the dialog goes by itself"
    NO_DIALOG = "no dialog, no {road}"


# What happens beside. OUT_OF_MEMORY: an exception to the host. NEXT_TOO: the next report has the same outcome.
Also = enum.Flag("Also", "OUT_OF_MEMORY BOX NEXT_TOO")


@dataclasses.dataclass(frozen=True)
class Outcome:
    lost: Part = Part(0)
    end: End = End.ARRIVES
    also: Also = Also(0)

    def words(self, road):
        lost = [name for part, name in _NAMES.items() if part in self.lost]
        if SYSTEM in self.lost:
            lost = ["the system information"] + [name for part, name in _NAMES.items() if part in self.lost & ~SYSTEM]
        report = f"{road} without {', '.join(lost)}" if lost else "whole report"
        return self.end.value.format(road=road, report=report) + "".join(
            f" (and {words})" for one, words in _ALSO.items() if one in self.also
        )


WHOLE = Outcome()

_SYSTEM_TEXT = re.compile(
    rb"\nWindows Version:\n(?P<windows>.*?)\n?\nModule Info:(?P<program>.*?)\nCPU Info:(?P<processor>.*?)\n"
    rb"Monitor info:\n(?P<display>.*?)\n\n(?P<browser>(?:Internet Explorer|Cannot extract version number of Int).*?)"
    rb"\n\n(?P<printers>Printers list:.*?\n\nDefault printer: \n.*?)\n\n"
    rb"(?P<application>Lumivale.*?\nBuild number[^\n]*|Cannot extract version number of Lumivale)",
    re.DOTALL,
)
# What is told of other threads differs: each may be anywhere, and the system starts some of its own.
_FAULT_TEXT = re.compile(
    rb"Crush Expantion:\n(?P<fault>.*?)(?:\n(?P<process>Time: .*?))?(?:\nOther threads: .*?)?"
    rb"(?:\nModules[^\n]*:\n(?P<modules>.*?))?\n\nStack Trace:\n",
    re.DOTALL,
)
_STACK = re.compile(rb"\nStack Trace:\n(?P<stack>.*?)\n*\Z", re.DOTALL)
_NAMES = {
    Part.WINDOWS: "the Windows version",
    Part.PROGRAM: "the program's version",
    Part.PROCESSOR: "the processor",
    Part.DISPLAY: "the display",
    Part.BROWSER: "the browser's version",
    Part.PRINTERS: "the printers",
    Part.APPLICATION: "the host application's version",
    Part.FAULT: "the fault's description",
    Part.PROCESS: "what is told of the process",
    Part.MODULES: "the list of modules",
    Part.STACK: "the whole stack",
    Part.SCREENSHOT: "the screenshot",
    Part.FILE: "the host's file",
    Part.DATE: "the date",
}
_ALSO = {
    Also.OUT_OF_MEMORY: "the host catches gen::genlib_out_of_memory",
    Also.BOX: "a message box",
    Also.NEXT_TOO: "so is the next report",
}


def _normal(text):
    """Without what differs from one report to the next: addresses, registers, the clock."""
    text = re.sub(rb"Frequecy: -?\d+", b"Frequecy: #", text)
    return re.sub(rb"\b(?:[0-9A-F]{8}){1,2}\b", b"#", text)


# From failing_host.rc and failing_host.cpp: texts from outside that look like formats.
_FOREIGN_TEXTS = (
    (Part.PROGRAM, b"Company: 100% Failing %s%n Company\n"),
    (Part.APPLICATION, b"100% Failing %s%n Company\n"),
    (Part.PRINTERS, b"\nLaser%s\n"),
)


def _check_whole(facts, parts):
    assert [part for part in _NAMES if facts.get(part)] == [part for part in _NAMES if part in parts]
    for part, text in _FOREIGN_TEXTS:
        assert text in facts[part]


def _parts(found):
    """{Part: text} of what a pattern found."""
    return {Part[name.upper()]: text for name, text in found.groupdict().items()} if found else {}


def _fault_facts(text):
    facts, stack = _parts(_FAULT_TEXT.search(text)), _STACK.search(text)
    # Which figures are known; they themselves differ.
    process = re.sub(rb"#|\d+", b"#", facts.get(Part.PROCESS) or b"")
    facts[Part.PROCESS] = re.sub(rb" thread\b", b" threads", process)
    # Those of the host and the library; which others of the system are there differs.
    facts[Part.MODULES] = sorted(
        line
        for line in (facts.get(Part.MODULES) or b"").splitlines()
        if line.endswith((b"failing_host.exe", b"Wendax.dll", b"KOBRTL.dll", b"ntdll.dll"))
    )
    # The host's own frames differ; the outermost one is there when none is missing.
    lines = stack["stack"].splitlines() if stack else []
    facts[Part.STACK] = (lines[0], lines[-1]) if len(lines) > 2 else None
    return facts


def _mail_facts(message):
    text = _normal(message.body)
    facts = _parts(_SYSTEM_TEXT.search(text)) | _fault_facts(text)
    files = dict(message.attachments)
    facts[Part.SCREENSHOT] = files.get("screen_copy.jpg", b"")[:3] == b"\xff\xd8\xff"
    facts[Part.FILE] = files.get("attached.bin")
    date = message.parsed["Date"] or ""
    facts[Part.DATE] = re.fullmatch(r"\w+day, \d\d, \d\d \d\d:\d\d:\d\d \+0000", date) is not None
    return facts


def _lost(facts, whole):
    lost = Part(0)
    for part in _NAMES:
        if facts.get(part) != whole.get(part):
            lost |= part
    return lost


class MailOutcomes:
    """whole: the .eml file of a report in which nothing failed."""

    def __init__(self, whole):
        self.whole = _mail_facts(Message(whole))
        _check_whole(self.whole, ~Part(0))

    def of(self, dialogs, path):
        if not dialogs:
            return Outcome(end=End.NO_DIALOG)
        if not path:
            return Outcome(end=End.NONE)
        if not path.exists() or not path.stat().st_size:
            return Outcome(end=End.UNWRITTEN)
        message = Message(path)
        if not message.whole:
            return Outcome(end=End.CUT_OFF)
        return Outcome(_lost(_mail_facts(message), self.whole))


def _files(body):
    """{name: content} of the parts with files."""
    pattern = (
        rb'content-disposition: form-data; name="(\w+)"; filename="[^"]*"\nContent-type: image/pjpeg\n'
        rb"Content-Transfer-Encoding: binary\n\n(.*?)\n\n--AaB03x--\n"
    )
    return dict(re.findall(pattern, body, re.DOTALL))


def _upload_facts(body):
    files = _files(body)
    text = _normal(files.get(b"System_info", b"").replace(b"\r\n", b"\n")) + b"\n"
    facts = _parts(_SYSTEM_TEXT.search(text))
    facts[Part.SCREENSHOT] = files.get(b"Screen_copy", b"")[:3] == b"\xff\xd8\xff"
    facts[Part.FILE] = files.get(b"Conversion_log") or None
    return facts


class UploadOutcomes:
    """whole: the body of an upload in which nothing failed."""

    def __init__(self, whole):
        self.whole = _upload_facts(whole)
        _check_whole(self.whole, SYSTEM | Part.SCREENSHOT | Part.FILE)

    def of(self, dialogs, answer, body):
        if not dialogs:
            return Outcome(end=End.NO_DIALOG)
        if body is None:
            return Outcome(end=End.FAILS_AS_TOLD if answer == 2 else End.NONE_UNTOLD)
        return Outcome(_lost(_upload_facts(body), self.whole), End.ARRIVES if answer == 1 else End.TOLD_AS_FAILED)
