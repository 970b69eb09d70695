"""Reads messages: as the library writes them, and as mail programs send, forward and store them."""

import contextlib
import email
import email.header
import email.policy
import email.utils
import mailbox
import pathlib
import re
import time

import mail_text

from inbox.parcel import Attachment, Parcel, Unreadable

_MOST_HEADER, _MOST_PARTS = 2000, 1000  # characters of a header, parts of a message
_MARKS = ("Stack Trace:", "Crush Expantion:", "Windows Version:", " has performed an illegal operation.")


def messages(path, most):
    """(name, bytes) of each message in an .eml, an mbox, a Maildir, or a folder of them; none of one with more bytes."""
    path = pathlib.Path(path)
    if path.is_dir():
        is_maildir = (path / "cur").is_dir() and (path / "new").is_dir()
        for entry in sorted(path.iterdir()):
            if not (is_maildir and entry.name == "tmp" or entry.is_file() and entry.name.startswith(".")):
                yield from messages(entry, most)
    elif path.is_file():
        with open(path, "rb") as file:
            is_mbox = file.read(5) == b"From "
        if not is_mbox:
            yield str(path), path.read_bytes() if path.stat().st_size <= most else b""
            return
        with contextlib.closing(mailbox.mbox(path, create=False)) as box:
            for number, key in enumerate(box.iterkeys(), 1):
                with box.get_file(key) as file:
                    raw = re.sub(rb"(?m)^>(>*From )", rb"\1", file.read(most + 1))
                yield f"{path}, message {number}", raw if len(raw) <= most else b""


def parse(raw):
    """The Parcel in a message. Raises Unreadable."""
    try:
        return _parcel(email.message_from_bytes(raw, policy=email.policy.compat32))
    except Unreadable:
        raise
    except Exception as error:  # the package raises all sorts of things over hostile input
        raise Unreadable(f"the message can't be taken apart: {type(error).__name__}") from error


def _parcel(message):
    parts, carrier = [], {}
    _collect(message, message, parts, carrier)
    texts, attachments = [], []
    for part in parts:
        name = _header(part.get_filename() or "")
        if name or part.get_content_disposition() == "attachment" or part.get_content_maintype() != "text":
            content = mail_text.content(part)
            if name or content:
                attachments.append(Attachment(name, content))
        else:
            texts.append((part, *mail_text.words(part)))
    # The report's own text, or the first one. What else was said stays with it as a file.
    chosen = next((each for each in texts if any(mark in each[1] for mark in _MARKS)), texts[0] if texts else None)
    if chosen is None and not attachments:
        raise Unreadable("the message is empty")
    kind = chosen[0].get_content_type() if chosen else ""
    for part, words, _ in texts:
        other = part is not chosen[0] and (kind == "text/html" or part.get_content_type() != "text/html")
        if other and words.strip() and words.strip() not in chosen[1]:
            attachments.append(Attachment("words.txt", words.encode("utf-8", "replace")))
    inner = carrier.get(id(chosen[0]), message) if chosen else message
    sent = next((at for at in map(_date, (inner, message)) if at), None)
    sender = next((who for who in map(_sender, (inner, message)) if who), "")
    subject = _header(inner.get("Subject") or message.get("Subject") or "")
    if chosen and chosen[2]:
        sender, sent = "", None  # who quotes a report is not who has met the crash
    return Parcel("message", chosen[1] if chosen else "", tuple(attachments), sender, subject, sent)


def _collect(part, carrier, parts, carriers, depth=0):
    """The leaves of a message, and for each the innermost message that carries it."""
    if depth > 30 or len(parts) >= _MOST_PARTS:
        raise Unreadable("the message is nested too deep, or has too many parts")
    payload = part.get_payload()
    if isinstance(payload, list):
        inner = part.get_content_type() == "message/rfc822"
        for each in payload:
            _collect(each, each if inner else carrier, parts, carriers, depth + 1)
    elif payload or part.get("Content-Disposition"):
        parts.append(part)
        carriers[id(part)] = carrier


def _header(value):
    """An encoded header in plain text, on one line."""
    value = str(value)[:_MOST_HEADER]
    with contextlib.suppress(ValueError, LookupError, email.errors.MessageError):
        value = str(email.header.make_header(email.header.decode_header(value)))
    return " ".join(value.encode("utf-8", "replace").decode("utf-8", "replace").split())


def _sender(message):
    return email.utils.parseaddr(_header(message.get("From") or ""))[1].lower()[:200]


def _date(message):
    """When a mail program says it was sent. The library's own date, of an unsent draft, is none that anybody can read."""
    try:
        at = int(email.utils.parsedate_to_datetime(str(message.get("Date"))[:200]).timestamp())
    except (TypeError, ValueError, IndexError, OverflowError, AttributeError):
        return None
    return at if 800_000_000 < at < time.time() + 2 * 86400 else None
