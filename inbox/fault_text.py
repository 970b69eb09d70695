"""Understands what faultkit.dll says about a fault (docs/fault-description.md). Unknown lines are kept as they stand."""

import contextlib
import dataclasses
import datetime
import re

import report

_MOST_TEXT, _MOST_LINE, _MOST_MORE = 1 << 20, 600, 400  # characters, characters, lines
_MOST_MODULES, _MOST_FRAMES, _MOST_VALUES = 600, 2000, 100
_EXCEPTION = re.compile(r"(?:(?P<name>[^()\n]{1,80}) )?\((?P<code>[0-9A-F]{8})\)(?:[:,] (?P<words>.*))?")
# R8 and R9 of 64 bits have a second space behind them, which aligns them with the others.
_REGISTER = re.compile(r"\b([A-Z][A-Z0-9]{1,5}) {1,2}([0-9A-F]{4,16})(?=\s|$)")
_REGISTER_LINE = re.compile(r"(?:[A-Z][A-Z0-9]{1,5} {1,2}[0-9A-F]{4,16}(?:\s+|$)){2,16}$|MXCSR [0-9A-F]{8}$")
_MODULE_LINE = re.compile(r"[0-9A-F]{8,16} [0-9A-F]{8,16} [0-9A-F]{8} ")
_SIGNATURE = re.compile(r" \| ([^|@]+)@[0-9A-F]{9,40}\+([0-9A-F]{1,8})")
_VALUE = re.compile(r"(?:Value )?([\w .-]{1,60}?)(?: =|:) (.{0,500})")


@dataclasses.dataclass(frozen=True)
class Frame(report.Frame):
    """A place in the stack, or with an empty module a line that stands for none."""

    key: str = ""  # identity of the module's PDB
    stamp: int = 0


@dataclasses.dataclass
class Facts:
    """What is known about one fault: plain data, kept in the store as JSON."""

    kind: str = "unknown fault"  # name of the exception, or its code
    words: str = ""  # the whole line about it
    code: str = ""
    address: str = ""
    thread: str = ""
    time: int = 0  # seconds since 1970, or 0
    registers: dict = dataclasses.field(default_factory=dict)
    modules: list = dataclasses.field(default_factory=list)
    frames: list = dataclasses.field(default_factory=list)
    threads: list = dataclasses.field(default_factory=list)  # the others' frames, each behind a line about the thread
    places: list = dataclasses.field(default_factory=list)  # [module, offset] of its own signature
    values: dict = dataclasses.field(default_factory=dict)  # of the process and of the host
    notes: list = dataclasses.field(default_factory=list)  # of the host
    more: list = dataclasses.field(default_factory=list)  # lines that nobody here knows, in their order
    source: str = "text"  # or "minidump"

    @staticmethod
    def of(data):
        """From what the store has kept."""
        facts = Facts(**data)
        facts.modules = [report.Module(*each.values()) for each in facts.modules]
        facts.frames, facts.threads = ([Frame(**each) for each in some] for some in (facts.frames, facts.threads))
        return facts


def find(text):
    """The Facts in a text, or None where it tells of no fault."""
    text = text.replace("\r\n", "\n").replace("\0", "\ufffd")
    starts = [match.start() for match in re.finditer(r"^Crush Expantion:$", text, re.M)]
    begin = starts[-1] if starts else text.find("Stack Trace:\n")
    if begin < 0:
        return None
    lines = [line[:_MOST_LINE] for line in text[begin : begin + _MOST_TEXT].split("\n")]
    if report.STACK not in lines:
        lines.append(report.STACK)
    # One trace is walked: what a host itself printed below with such a caption is more text. In a file the other threads
    # follow it.
    end_of = lambda start: next((at for at in range(start, len(lines)) if not lines[at].strip()), len(lines))
    stack = lines.index(report.STACK)
    end = end_of(stack + 1)
    if end + 1 < len(lines) and lines[end + 1].startswith(report.THREADS):
        end = end_of(end + 1)
    end = min(end, stack + 1 + _MOST_FRAMES)
    fault = report.parse("\n".join(lines[:end]))
    facts = Facts(modules=fault.modules[:_MOST_MODULES])
    facts.frames, facts.threads = ([_frame(each, fault) for each in some] for some in (fault.trace, fault.threads))
    if starts:
        behind = next((at for at in range(stack) if lines[at].startswith("Modules (")), stack)
        _read_reason(facts, fault.reason + [line for line in lines[behind + 1 : stack] if not _MODULE_LINE.match(line)])
    if not facts.frames:  # there was no room for them
        keys = {module.name.lower(): module.key for module in facts.modules}
        facts.frames = [Frame(f"{name}+{at:08X}", "", name, at, key=keys.get(name, "")) for name, at in facts.places]
    facts.more += "\n".join(lines[end:]).strip().splitlines()[:_MOST_MORE]
    return facts


def _read_reason(facts, lines):
    for line in filter(str.strip, lines):
        exception = None if facts.words else _EXCEPTION.match(line)
        name, _, rest = line.partition(": ")
        value = _VALUE.fullmatch(line)
        if exception:
            facts.words, facts.code, facts.kind = line, exception["code"], _kind(exception)
        elif name == "Instruction":
            facts.address = rest.partition(" ")[0][:16]
        elif name == "Thread":
            facts.thread = rest[:16]
        elif name == "Signature" and (places := _SIGNATURE.findall(rest)):
            facts.places = [[module.lower(), int(offset, 16)] for module, offset in places[:20]]
        elif _REGISTER_LINE.match(line):
            facts.registers.update(_REGISTER.findall(line))
        elif line.startswith("Note ") or line.endswith(" earlier notes"):
            facts.notes.append(line.removeprefix("Note "))
        elif value and name not in ("Code", "Signature names") and len(facts.values) < _MOST_VALUES:
            facts.values[value[1]] = value[2]
            facts.time = _utc(rest) if name == "Time" else facts.time
        elif name not in ("Code", "Signature names") and len(facts.more) < _MOST_MORE:
            facts.more.append(line)


def _utc(text):
    """Seconds since 1970."""
    with contextlib.suppress(ValueError):
        if found := re.search(r"\((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)\.\d+ UTC\)", text):
            return int(datetime.datetime.fromisoformat(found[1] + "+00:00").timestamp())
    return 0


def _kind(exception):
    """The name, with how memory was touched or what was thrown: what one bug has in common on all machines."""
    name = exception["name"] or "exception"
    kind = name if name != "exception" else f"exception {exception['code']}"
    words = exception["words"] or ""
    touched = re.search(r"could not be (read|written|executed)", words)
    thrown = re.search(r", type (\S{1,120})", words)
    return kind + (f", {touched[1]}" if touched else "") + (f" {thrown[1]}" if thrown else "")


def _frame(each, fault):
    if not isinstance(each, report.Frame):
        return Frame(each)
    module = fault.module(each)
    return Frame(**vars(each), key=module.key, stamp=module.time_stamp) if module else Frame(**vars(each))
