"""From what came in to what it says: program, machine, fault."""

import dataclasses
import hashlib
import re

from inbox import fault_text, minidump
from inbox.facts import Facts
from inbox.parcel import Unreadable

_MOST_SYSTEM, _MOST_WORDS = 40_000, 300_000  # characters
_TEXT_SCAN = 2 << 20  # bytes of an uploaded file that are searched for a fault text


@dataclasses.dataclass(frozen=True)
class Understood:
    facts: Facts | None = None  # None: the report tells of no fault
    product: str = ""
    version: str = ""
    windows: str = ""
    processor: str = ""
    machine: str = ""  # the same for reports from the same machine, as far as they can tell
    system: str = ""  # the system information as it came
    words: str = ""  # the text of the message as it came


def understand(parcel):
    """The Understood of a Parcel. Raises Unreadable where nothing in it says that it is a report."""
    system, facts = _system(parcel.text), _facts(parcel)
    for each in parcel.attachments:
        if not system and (each.part == "System_info" or each.name.lower().endswith("system_info.txt")):
            system = _system(each.content[: 4 * _MOST_SYSTEM].decode("windows-1252", "replace").replace("\r", ""))
    if parcel.road == "message" and not (system or facts or " has performed an illegal operation." in parcel.text):
        raise Unreadable("this message is no report: it has neither system information nor a fault")
    read = lambda pattern: _first(pattern, system)
    program = facts.modules[0] if facts and facts.modules else None
    product = read(r"^Product Name: (.+)$")
    product = "" if product == "Unknown" else product
    if not product and program:
        product = program.name.rpartition(".")[0] or program.name
    product = product or _first(r"^(.{1,80}?) has performed an illegal operation\.", parcel.text)
    version = program.version if program else ""
    told = re.fullmatch(r"\d+\.\d+\.\d+\.\d+", read(r"^Product Version: (\S+)$"))
    if not version and told and told[0] != "0.0.0.0":
        version = told[0]
    if not version and program and program.key:
        version = f"build {program.key[:8]}"
    if facts:
        version = facts.values.get("version", version)
    processor = _first(r"^(?:Extended Processor Name|Processor Name|Vendor): *(\S.*)$", system)
    processor = read(r"^Extended Processor Name: *(\S.*)$") or processor
    short = map(_short, (product, version, _windows(system), processor))
    return Understood(facts, *short, _machine(parcel, system), system, parcel.text[:_MOST_WORDS])


def _facts(parcel):
    """From the message, a file that holds a fault text, or a minidump, in this order."""
    found = fault_text.find(parcel.text)
    for each in parcel.attachments:
        start = each.content[:_TEXT_SCAN]
        if not found and b"Stack Trace:" in start:
            found = fault_text.find(start.decode("windows-1251", "replace"))
    for each in parcel.attachments:
        if not (found and found.frames) and minidump.is_minidump(each.content):
            found = minidump.find(each.content) or found
    return found


def _system(text):
    """The system information within a text."""
    begin = text.find("Windows Version:\n")
    if begin < 0:
        return ""
    marks = ("\nDebug info is not", "\nCrush Expantion:", "\nfaultkit.dll was", "\nStack Trace:")
    ends = [at for at in (text.find(mark, begin) for mark in marks) if at > 0]
    return text[begin : min(ends, default=len(text))][:_MOST_SYSTEM].rstrip()


def _windows(system):
    """The version on one line; what follows it up to the next caption is part of it."""
    section = system.partition("Windows Version:\n")[2].partition("Module Info:")[0]
    return " ".join(section.split())


def _machine(parcel, system):
    """Of what stays the same on one machine: not the clock as it was measured, nor the program."""
    kept = [
        line
        for line in system.split("\n")
        if not re.match(r"Procesor Clock|Product|Company|Version number|Build num", line)
    ]
    if not kept and not parcel.sender:
        return ""
    whole = "\n".join([parcel.sender, *(" ".join(line.split()) for line in kept)])
    return hashlib.sha256(whole.encode("utf-8", "replace")).hexdigest()[:16]


def _first(pattern, text):
    found = re.search(pattern, text, re.M)
    return found[1].strip() if found else ""


def _short(text):
    return " ".join(text.split())[:120]
