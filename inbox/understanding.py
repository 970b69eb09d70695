"""From what came in to what it says: program, machine, fault."""

import hashlib
import re

import minidump

from inbox import fault_text
from inbox.parcel import Unreadable

_MOST_SYSTEM = 40_000  # characters
_TEXT_SCAN = 2 << 20  # bytes of an uploaded file that are searched for a fault text


def understand(parcel):
    """(the Facts, or None where a Parcel tells of no fault; what it says of program and machine, as the store's columns; the
    system information as it came). Raises Unreadable where nothing in it says that it is a report."""
    system, facts = _system(parcel.text), _facts(parcel)
    for each in parcel.attachments:
        if not system and (each.part == "System_info" or each.name.lower().endswith("system_info.txt")):
            system = _system(each.content[: 4 * _MOST_SYSTEM].decode("windows-1252", "replace").replace("\r", ""))
    if parcel.road == "message" and not (system or facts or " has performed an illegal operation." in parcel.text):
        raise Unreadable("this message is no report: it has neither system information nor a fault")
    read = lambda pattern, text=system: found[1].strip() if (found := re.search(pattern, text, re.M)) else ""
    program = facts.modules[0] if facts and facts.modules else None
    product = read(r"^Product Name: (?!Unknown$)(.+)$")
    product = product or (program and (program.name.rpartition(".")[0] or program.name))
    product = product or read(r"^(.{1,80}?) has performed an illegal operation\.", parcel.text)
    version = program.version if program else ""
    version = version or read(r"^Product Version: (?!0\.0\.0\.0$)(\d+\.\d+\.\d+\.\d+)$")
    if not version and program and program.key:
        version = f"build {program.key[:8]}"
    # What follows it up to the next caption is part of the version of Windows.
    windows = system.partition("Windows Version:\n")[2].partition("Module Info:")[0]
    processor = read(r"^Extended Processor Name: *(\S.*)$") or read(r"^(?:Processor Name|Vendor): *(\S.*)$")
    told = {"product": product, "version": facts.values.get("version", version) if facts else version}
    told |= {"windows": windows, "processor": processor, "machine": _machine(parcel, system)}
    return facts, {name: " ".join(text.split())[:120] for name, text in told.items()}, system


def _facts(parcel):
    """From the message, a file that holds a fault text, or a minidump, in this order."""
    found = fault_text.find(parcel.text)
    texts = (each.content[:_TEXT_SCAN] for each in parcel.attachments)
    texts = (fault_text.find(text.decode("windows-1251", "replace")) for text in texts if b"Stack Trace:" in text)
    found = found or next(filter(None, texts), None)
    for each in parcel.attachments:
        if not (found and found.frames) and (text := minidump.text(each.content)):
            found = fault_text.find(text)
            found.source = "minidump"
    return found


def _system(text):
    """The system information within a text."""
    begin = text.find("Windows Version:\n")
    if begin < 0:
        return ""
    marks = ("\nDebug info is not", "\nCrush Expantion:", "\nfaultkit.dll was", "\nStack Trace:")
    ends = [at for at in (text.find(mark, begin) for mark in marks) if at > 0]
    return text[begin : min(ends, default=len(text))][:_MOST_SYSTEM].rstrip()


def _machine(parcel, system):
    """The same for all reports of a machine: made of what stays the same there, so not of the clock's measured frequency."""
    other = re.compile(r"Procesor Clock|Product|Company|Version number|Build num")
    kept = [" ".join(line.split()) for line in system.split("\n") if system and not other.match(line)]
    if not kept and not parcel.sender:
        return ""
    return hashlib.sha256("\n".join([parcel.sender, *kept]).encode("utf-8", "replace")).hexdigest()[:16]
