"""Reads the words of a message as they were before mail programs quoted, wrapped or marked them up."""

import html
import re

_MOST_TEXT = 4 << 20  # bytes of one part
_MOST_LINE = 2000  # characters that wrapped lines are joined to


def content(part):
    """The bytes of a part."""
    decoded = part.get_payload(decode=True)
    return decoded if isinstance(decoded, bytes) else b""


def words(part):
    """(the words of a part, freed of what mail programs do to them: soft line ends, quoting, wrapped lines; whether there was
    quoting)."""
    whole = content(part)[:_MOST_TEXT]
    charset = str(part.get_content_charset() or "windows-1251")
    try:
        text = whole.decode(charset, "replace")
    except (LookupError, ValueError):
        text = whole.decode("windows-1251", "replace")
    text = text.replace("\r\n", "\n")
    if part.get_content_type() == "text/html":
        text = text if "<pre" in text.lower() else text.replace("\n", " ")
        text = html.unescape(re.sub(r"<[^<>]*>", "", re.sub(r"(?i)<(?:br|/p|/div|/tr)\b[^<>]{0,200}> ?", "\n", text)))
    text = text.replace("\xa0", " ")
    if part.get_param("format") == "flowed":
        text = re.sub(r"(?<=[^ \n]) \n(?! |>|-- )", " ", text)
    lines = text.split("\n")
    quoted = re.search(r"^>[> ]{0,20}(?:Stack Trace:|Windows Version:)", text, re.M) is not None
    if quoted:
        lines = [re.sub(r"^(?:> ?){1,20}", "", line) for line in lines]
    return "\n".join(_unwrapped(lines)), quoted


def _unwrapped(lines):
    """Joins what was wrapped: long lines of the reason, and those of modules and frames, which begin with a number."""
    names = "Signature|Signature names|Time|Uptime|Program|Windows|Memory|Objects|Path|Command line|Folder|Thread"
    told = rf"(?:{names}): |Value |Note "
    more_of = {  # what a line begins with, and what goes on with it
        r"[^()]{0,80}\([0-9A-F]{8}\)[:,] |Instruction: ": r"(?![A-Z]\w+: )",
        told: rf"(?!{told}|Other threads: |\.\.\. |[A-Z0-9]{{2,5}} +[0-9A-F]{{8}})",
        r"[A-Z]\w{1,5} {1,2}[0-9A-F]{8,16} ": r"[0-9A-F]{4,16}\b|[A-Z]\w{1,5} {1,2}[0-9A-F]{4,16}$",  # registers
    }
    start = re.compile(r"[0-9A-F]{8,16} |\.\.\. |Stack Trace:|Thread [0-9A-F]{8}:|\(|[^\s+]+\+[0-9A-F]{8,16}")
    inside, kept = "", []
    for line in lines:
        if line.startswith(("Crush Expantion:", "Other threads: ", "Modules (", "Stack Trace:")):
            inside = line[0]
        elif not line.strip():
            inside = ""
        elif inside == "C":
            full = 60 < len(kept[-1]) + len(line.split()[0]) < _MOST_LINE
            if full and any(re.match(one, kept[-1]) and re.match(more, line) for one, more in more_of.items()):
                kept[-1] += " " + line.strip()
                continue
        elif inside and kept and (not start.match(line) or (line[0] == "(" and "+" in kept[-1])):
            if len(kept[-1]) < _MOST_LINE and re.match(r"[0-9A-F]{8,16} |Modules \(", kept[-1]):
                kept[-1] += " " + line.strip()
                continue
        kept.append(line)
    return kept
