"""What a user gets from a report in which one call failed, in words."""

import re

from testing.mail import Message

WHOLE = "whole report"

_SYSTEM_TEXT = re.compile(
    rb"\nWindows Version:\n(?P<windows>.*?)\n?\nModule Info:(?P<program>.*?)\nCPU Info:(?P<processor>.*?)\n"
    rb"Monitor info:\n(?P<display>.*?)\n\n(?P<browser>(?:Internet Explorer|Cannot extract version number of Int).*?)"
    rb"\n\n(?P<printers>Printers list:.*?\n\nDefault printer: \n.*?)\n\n"
    rb"(?P<application>Lumivale.*?\nBuild number[^\n]*|Cannot extract version number of Lumivale)",
    re.DOTALL,
)
_FAULT_TEXT = re.compile(
    rb"Crush Expantion:\n(?P<fault>.*?)(?:\nModules[^\n]*:\n(?P<modules>.*?))?\n\nStack Trace:\n", re.DOTALL
)
_STACK = re.compile(rb"\nStack Trace:\n(?P<stack>.*?)\n*\Z", re.DOTALL)
_NAMES = {
    "windows": "the Windows version",
    "program": "the program's version",
    "processor": "the processor",
    "display": "the display",
    "browser": "the browser's version",
    "printers": "the printers",
    "application": "the host application's version",
    "fault": "the fault's description",
    "modules": "the list of modules",
    "stack": "the whole stack",
    "screenshot": "the screenshot",
    "file": "the host's file",
    "date": "the date",
}


def _normal(text):
    """Without what differs from one report to the next: addresses, registers, the clock."""
    text = re.sub(rb"Frequecy: -?\d+", b"Frequecy: #", text)
    return re.sub(rb"\b[0-9A-F]{8}\b", b"#", text)


# From failing_host.rc and failing_host.cpp: texts from outside that look like formats.
_FOREIGN_TEXTS = (
    ("program", b"Company: 100% Failing %s%n Company\n"),
    ("application", b"100% Failing %s%n Company\n"),
    ("printers", b"\nLaser%s\n"),
)


def _check_whole(facts, expected_to_lack=()):
    missing = [name for key, name in _NAMES.items() if not facts.get(key) and key not in expected_to_lack]
    if missing:
        raise AssertionError(f"no whole report: it is without {missing}")
    for key, text in _FOREIGN_TEXTS:
        if text not in facts[key]:
            raise AssertionError(f"{text} is not in {facts[key]}")


def _system_facts(text):
    found = _SYSTEM_TEXT.search(text)
    return found.groupdict() if found else {}


def _fault_facts(text):
    found, stack = _FAULT_TEXT.search(text), _STACK.search(text)
    facts = found.groupdict() if found else {}
    # Those of the host and the library; which others of the system are there differs.
    facts["modules"] = sorted(
        line
        for line in (facts.get("modules") or b"").splitlines()
        if line.endswith((b"failing_host.exe", b"Wendax.dll", b"KOBRTL.dll", b"ntdll.dll"))
    )
    # The host's own frames differ; the outermost one is there when none is missing.
    lines = stack["stack"].splitlines() if stack else []
    facts["stack"] = (lines[0], lines[-1]) if len(lines) > 2 else None
    return facts


def _mail_facts(message):
    text = _normal(message.body)
    facts = _system_facts(text) | _fault_facts(text)
    files = dict(message.attachments)
    facts["screenshot"] = files.get("screen_copy.jpg", b"")[:3] == b"\xff\xd8\xff"
    facts["file"] = files.get("attached.bin")
    facts["date"] = re.fullmatch(r"\w+day, \d\d, \d\d \d\d:\d\d:\d\d \+0000", message.parsed["Date"] or "") is not None
    return facts


def _without(facts, whole, kind):
    names = dict(_NAMES)
    if not any(facts.get(key) for key in _SYSTEM_TEXT.groupindex):
        names = {"windows": "the system information"} | {
            key: name for key, name in names.items() if key not in _SYSTEM_TEXT.groupindex
        }
    missing = [name for key, name in names.items() if facts.get(key) != whole.get(key)]
    return f"{kind} without {', '.join(missing)}" if missing else WHOLE


class MailOutcomes:
    """whole: the .eml file of a report in which nothing failed."""

    def __init__(self, whole):
        self.whole = _mail_facts(Message(whole))
        _check_whole(self.whole)

    def of(self, dialogs, path):
        if not dialogs:
            return "no dialog, no message"
        if not path:
            return "no message"
        if not path.exists() or not path.stat().st_size:
            return "the mail program is told to open a message that could not be written"
        message = Message(path)
        if not message.raw.endswith(b".8402B210\r\n"):
            return "a message that is cut off"
        return _without(_mail_facts(message), self.whole, "message")


def _parts(body):
    """{name: content} of the parts with files."""
    pattern = (
        rb'content-disposition: form-data; name="(\w+)"; filename="[^"]*"\nContent-type: image/pjpeg\n'
        rb"Content-Transfer-Encoding: binary\n\n(.*?)\n\n--AaB03x--\n"
    )
    return dict(re.findall(pattern, body, re.DOTALL))


def _upload_facts(body):
    parts = _parts(body)
    facts = _system_facts(_normal(parts.get(b"System_info", b"").replace(b"\r\n", b"\n")) + b"\n")
    facts["screenshot"] = parts.get(b"Screen_copy", b"")[:3] == b"\xff\xd8\xff"
    facts["file"] = parts.get(b"Conversion_log") or None
    return facts


class UploadOutcomes:
    """whole: the body of an upload in which nothing failed."""

    def __init__(self, whole):
        self.whole = _upload_facts(whole)
        _check_whole(self.whole, ("fault", "modules", "stack", "date"))

    def of(self, dialogs, answer, body):
        if not dialogs:
            return "no dialog, no upload"
        if body is None:
            return "no upload, as the dialog says" if answer == 2 else "no upload; the dialog goes by itself"
        outcome = _without(_upload_facts(body), self.whole, "upload")
        return outcome if answer == 1 else f"{outcome}, which the dialog says has failed"
