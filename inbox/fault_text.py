"""Understands what faultkit.dll says about a fault; docs/fault-description.md shows it. Lines that are not known here, of a
later faultkit.dll, are kept as they stand."""

import re

import report

from inbox.facts import Facts, Frame

_MOST_TEXT, _MOST_LINE, _MOST_MORE = 1 << 20, 600, 400  # characters, characters, lines
_MOST_MODULES, _MOST_FRAMES = 600, 2000
_EXCEPTION = re.compile(r"(?:(?P<name>[^()\n]{1,80}) )?\((?P<code>[0-9A-F]{8})\)(?:[:,] (?P<words>.*))?")
# R8 and R9 of 64 bits have a second space behind them, which aligns them with the others.
_REGISTER = re.compile(r"\b([A-Z][A-Z0-9]{1,5}) {1,2}([0-9A-F]{4,16})(?=\s|$)")
_REGISTER_LINE = re.compile(r"(?:[A-Z][A-Z0-9]{1,5} {1,2}[0-9A-F]{4,16}(?:\s+|$)){2,16}$|MXCSR [0-9A-F]{8}$")
_MODULE_LINE = re.compile(r"[0-9A-F]{8,16} [0-9A-F]{8,16} [0-9A-F]{8} ")
_VALUE = re.compile(r"(?:Value )?([\w .-]{1,60}?)(?: =|:) (.{0,500})")
_PLACE = re.compile(
    r"(?:\[unloaded\] ?)?(?P<function>[^(\[].*?)?(?:\+0x[0-9A-F]+)?(?: ?\((?P<file>[^()]*):(?P<line>\d{1,7})\))?"
    r"(?: \[inlined\])?(?: \[unloaded\])?(?: ?\[guessed\])?"
)


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
    # One trace is walked: what a host itself printed below with such a caption is more text.
    stack = lines.index(report.STACK)
    end = next((at for at in range(stack + 1, len(lines)) if not lines[at].strip()), len(lines))
    end = min(end, stack + 1 + _MOST_FRAMES)
    fault = report.parse("\n".join(lines[:end]))
    facts = Facts()
    _read_reason(facts, lines[1:stack] if starts else [])
    facts.modules = fault.modules[:_MOST_MODULES]
    facts.frames = [_frame(each, fault) for each in fault.trace]
    facts.more += "\n".join(lines[end:]).strip().splitlines()[:_MOST_MORE]
    return facts


def _read_reason(facts, lines):
    seen = False
    for line in lines:
        exception = None if seen else _EXCEPTION.match(line)
        name, _, rest = line.partition(": ")
        if exception:
            seen, facts.words, facts.code = True, line, exception["code"]
            facts.kind = _kind(exception)
        elif name == "Instruction":
            facts.address = rest.partition(" ")[0][:16]
        elif name == "Thread":
            facts.thread = rest[:16]
        elif _REGISTER_LINE.match(line):
            facts.registers.update(_REGISTER.findall(line))
        elif name == "Code" or line.startswith("Modules (") or _MODULE_LINE.match(line) or not line.strip():
            continue
        else:
            value = _VALUE.fullmatch(line)
            if value and len(facts.values) < 100:
                facts.values[value[1]] = value[2]
            elif len(facts.more) < _MOST_MORE:
                facts.more.append(line)


def _kind(exception):
    """The name, with how memory was touched or what was thrown: what one bug has in common on all machines."""
    kind = exception["name"] or "exception"
    if kind == "exception":
        kind = f"exception {exception['code']}"
    words = exception["words"] or ""
    touched = re.search(r"could not be (read|written|executed)", words)
    thrown = re.search(r", type (\S{1,120})", words)
    return kind + (f", {touched[1]}" if touched else "") + (f" {thrown[1]}" if thrown else "")


def _frame(each, fault):
    if not isinstance(each, report.Frame):
        return Frame(str(each))
    module = fault.module(each)
    frame = Frame(each.text, each.module, each.offset, each.address, exact=each.exact)
    frame.inlined, frame.guessed = each.inlined, each.guessed
    if module:
        frame.key, frame.stamp = module.key, module.time_stamp
    rest = each.text.partition(f"{each.module}+")[2]
    place = _PLACE.fullmatch(rest.partition(" ")[2])
    if place and place["function"]:
        frame.function, frame.file = place["function"].strip(), place["file"] or ""
        frame.line = int(place["line"] or 0)
    return frame
