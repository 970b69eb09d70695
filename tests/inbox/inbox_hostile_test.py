"""Two hundred hostile uploads and messages, and a fuzzer over both parsers: nothing runs, hangs or is lost."""

import base64
import os
import random
import time

import pytest
import sqlalchemy as sa

import made
import minidump
from conftest import MESSAGES
from inbox import fault_text, form, mail, schema
from inbox.parcel import Parcel, Unreadable
from inbox.understanding import understand
from inbox_pages_test import SCRIPT, bomb, picture
from testing.upload_body import CONFIRMATION, CONTENT_TYPE, FORM_PATH, PARTS, upload_body

RUNS = int(os.environ.get("WENDAX_INBOX_FUZZ_RUNS", "4000"))
SECONDS = 5  # that no single input may take on a busy machine
_TEXTS = (
    SCRIPT,
    "<svg onload=alert(1)>",
    "javascript:alert(1)",
    "{{ 7 * 7 }}{% include '/etc/passwd' %}",
    "../../../../etc/passwd",
    "C:\\..\\..\\windows\\win.ini",
    "'; DROP TABLE report; --",
    "%s%s%n%x",
    "\0\0null\0",
    "\x1b[2J\x07",
    "\u202egpj.exe",
    '=HYPERLINK("http://evil.example")',
    "A" * 100_000,
)


def hostile_messages():
    """(name, bytes)."""
    fields = ("sender", "subject", "product", "version", "processor")
    for number, text in enumerate(_TEXTS):
        flat = text.encode("utf-8", "replace").decode("latin-1")
        for field in fields:
            yield f"{field} {number}", made.message(made.fault_text(), **{field: flat})
        yield f"function {number}", made.message(made.fault_text((flat, "run")))
        yield f"module {number}", made.message(made.fault_text(program=flat))
        yield f"exception {number}", made.message(made.fault_text(kind=f"{flat} (C0000005): {flat}"))
    good = made.message(made.fault_text())
    body = base64.b64encode(b"x" * 5000)
    yield "header of 1 MB", b"X-Long: " + b"a" * (1 << 20) + b"\r\n" + good
    yield "million headers", b"".join(b"X-%d: y\r\n" % number for number in range(100_000)) + good
    yield "encoded words", good.replace(b"Subject: ", b"Subject: " + b"=?utf-8?q?=41?=" * 50_000)
    yield "unknown charset", good.replace(b"windows-1251", b"x-nothing-\xff")
    yield "wrong encoding", good.replace(b"7bit", b"base64")
    yield "endless boundary", good.replace(b"----=_NextPart_000_023D_01C25DB8.8402B210", b"-" * 60_000)
    yield "no boundary", good.replace(b"boundary=", b"nothing=")
    yield "cut in the head", good[:100]
    yield "cut in the body", good[: len(good) // 2]
    yield "zeros", good.replace(b" ", b"\0")
    yield "carriage returns alone", good.replace(b"\r\n", b"\r")
    nested = good
    for _ in range(60):
        nested = b"Content-Type: message/rfc822\r\n\r\n" + nested
    yield "nested 60 deep", nested
    parts = b"Content-Type: multipart/mixed; boundary=b\r\n\r\n" + b"--b\r\n\r\nx\r\n" * 5000
    yield "5000 parts", parts
    ladder = b"".join(b'Content-Type: multipart/mixed; boundary="b%d"\r\n\r\n--b%d\r\n' % (n, n) for n in range(400))
    yield "400 multiparts in one another", ladder + b"\r\nx"
    yield "frames without an end", made.message("Stack Trace:\n" + "00401000 a.exe+00001000\n" * 100_000)
    signs = "00401000 " + "+" * 60_000 + "\n" + "a+" * 30_000 + "00001000\n"
    yield "plus signs", made.message("Stack Trace:\n" + signs)
    modules = ["00400000 00010000 FF94A828 1.0 - a.dll"] * 50_000
    yield "modules without an end", made.message(made.fault_text(extra=modules))
    yield "blanks", made.message("Stack Trace:\n" + " " * 200_000 + "\n")
    yield "brackets", made.message(made.fault_text(("(" * 30_000 + "[" * 30_000,)))
    yield "html", good.replace(b"text/plain", b"text/html") + b"<" * 200_000
    yield "quotes", good + b">" * 300_000 + b"\n> Stack Trace:\n"
    attachment = (
        b"------=_NextPart_000_023D_01C25DB8.8402B210\r\n"
        b'Content-Disposition: attachment; filename="%s"\r\nContent-Transfer-Encoding: base64\r\n\r\n%s\r\n'
    )
    names = (b"../../x.py", b"C:\\\\x\\..\\y", b'a\tb"; x=y', b"=?utf-8?b?Li4v?=", b".htaccess", b"x.html")
    for name in (*names, b"\xff" * 300, b"x" * 70_000):
        yield f"attachment {name[:12]!r}", good.rstrip(b"-\r\n") + b"\r\n" + attachment % (name, body)
    yield "bomb", good.rstrip(b"-\r\n") + b"\r\n" + attachment % (b"screen_copy.jpg", base64.b64encode(bomb()))


def hostile_uploads():
    """(name, bytes)."""
    for number, text in enumerate(_TEXTS):
        raw = text.encode("utf-8", "replace")
        path = raw.replace(b"\0", b"")[:30_000]
        for part in PARTS:
            files = {**made.upload_files(made.fault_text(extra=[f"{number} = {part}"])), part: (path, raw)}
            yield f"{part} {number}", upload_body(files)
    good = upload_body(made.upload_files(made.fault_text(), picture()))
    yield "cut", good[:-1]
    yield "CR LF", good.replace(b"\n", b"\r\n")
    yield "twice", good + good
    yield "other boundary", good.replace(b"AaB03x", b"AaB03y")
    yield "zeros in front", bytes(1000) + good
    yield "quotes in a path", upload_body({"Conversion_log": (b'a"b"\xff', b"x")})
    yield "path of 1 MB", upload_body({"Conversion_log": (b"p" * (1 << 20), b"x")})
    yield "starts of parts", good[:300] * 3000
    yield "bomb", upload_body(made.upload_files(picture=bomb()))
    dump = (MESSAGES / "wine.dmp").read_bytes()
    for name, wrong in (("streams", b"\xff" * 4), ("directory", b"\xff\xff\xff\x7f")):
        at = 8 if name == "streams" else 12
        yield f"minidump, {name}", upload_body({"Conversion_log": (b"x", dump[:at] + wrong + dump[at + 4 :])})


def kept(box):
    count = sa.select(sa.func.count()).select_from(schema.report)
    return made.read(box, lambda connection: connection.execute(count).scalar())


@pytest.mark.timeout(600)
def test_every_hostile_message_is_understood_or_kept(box):
    count = 0
    for name, raw in hostile_messages():
        begin = time.monotonic()
        report_id, _, _ = box.reports.add_message(raw)
        assert report_id, name
        assert time.monotonic() - begin < SECONDS, name
        count += 1
    assert count >= 130
    assert kept(box) > 100  # some of them say the same
    assert made.add(box, made.fault_text(("after",)))[1:] == (True, "")


@pytest.mark.timeout(600)
def test_every_hostile_upload_is_confirmed_or_kept_as_unreadable(box, pages):
    count = 0
    for name, body in hostile_uploads():
        begin, before = time.monotonic(), kept(box)
        answer = pages.client.post(FORM_PATH, data=body, content_type=CONTENT_TYPE)
        assert answer.status_code in (200, 400), name
        assert (CONFIRMATION in answer.data) == (answer.status_code == 200), name
        assert kept(box) == before + 1 or answer.status_code == 200, name
        assert time.monotonic() - begin < SECONDS, name
        count += 1
    assert count >= 80
    for report_id in range(1, kept(box) + 1, 3):
        shown = pages.get(f"/report/{report_id}").text
        assert "<script" not in shown and "<svg onload" not in shown, report_id
    for path in "/ /?state=all /reports /unreadable /versions /symbols /reports.csv /crashes.json".split():
        shown = pages.get(path)
        assert path.endswith(("csv", "json")) or "<script" not in shown.text


def mutated(chance, seeds):
    """One of the seeds, changed in a few places: bytes, pieces, lengths, and pieces of another."""
    data = bytearray(chance.choice(seeds))
    for _ in range(chance.choice((1, 1, 2, 4, 16))):
        at = chance.randrange(len(data) + 1)
        kind = chance.randrange(6)
        size = chance.choice((1, 2, 8, 64, 1024))
        if kind == 0 and data:
            data[at % len(data)] = chance.randrange(256)
        elif kind == 1:
            del data[at : at + size]
        elif kind == 2:
            data[at:at] = bytes(chance.randrange(256) for _ in range(min(size, 64)))
        elif kind == 3:
            data[at:at] = data[at : at + size] * chance.choice((1, 2, 50))
        elif kind == 4:
            other = chance.choice(seeds)
            start = chance.randrange(len(other))
            data[at:at] = other[start : start + size]
        else:
            data[at:at] = chance.choice(
                (b"\n", b"\r\n", b"\0", b"--AaB03x--\n", b"Stack Trace:\n", b"> ", b"\xff\xfe", b"=?", b"\n\n")
            )
    return bytes(data[: 1 << 17])


def read_message(raw):
    parcel = mail.parse(raw)
    parcel.digest()
    understand(parcel)


def read_upload(raw):
    understand(Parcel("upload", "", form.parse(raw)))


def seeds_of_uploads():
    yield upload_body(made.upload_files(made.fault_text(), picture()))
    yield upload_body({"Conversion_log": (b"C:\\x.dmp", (MESSAGES / "wine.dmp").read_bytes()), **made.upload_files()})
    yield upload_body({})


@pytest.mark.timeout(3600)
@pytest.mark.parametrize(
    "read, seeds",
    (
        (read_message, [path.read_bytes() for path in sorted(MESSAGES.glob("*.eml"))]),
        (read_upload, list(seeds_of_uploads())),
        (
            lambda raw: fault_text.find(raw.decode("windows-1251", "replace")),
            [made.fault_text().encode(), *(path.read_bytes() for path in sorted(MESSAGES.glob("told_*.txt")))],
        ),
        (lambda raw: fault_text.find(minidump.text(raw) or ""), [(MESSAGES / "wine.dmp").read_bytes()]),
    ),
    ids=("messages", "uploads", "fault texts", "minidumps"),
)
def test_any_mutation_is_read_or_refused(read, seeds):
    chance, slowest = random.Random(RUNS), 0.0
    for number in range(RUNS):
        raw = mutated(chance, seeds)
        begin = time.monotonic()
        try:
            read(raw)
        except Unreadable as refused:
            assert str(refused)
        except Exception as error:
            raise AssertionError(f"run {number}: {raw[:4000]!r}") from error
        slowest = max(slowest, time.monotonic() - begin)
    assert slowest < SECONDS
