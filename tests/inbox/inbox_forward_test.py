"""Reports sent on by the envelope protocol: what goes out, and a real receiver of it. The receiver is the npm package
@spotlightjs/spotlight in the one version that this was tried with; the test fetches it where WENDAX_INBOX_SPOTLIGHT=1."""

import json
import os
import shutil
import subprocess
import urllib.request

import pytest

import made
from inbox import forward
from inbox.config import BadSetting
from testing.processes import REPO
from testing.service import Service, free_port, listens
from testing.upload_body import upload_body
from testing.web_server import WebServer, answering

SPOTLIGHT = "2.6.3"


def fill(box):
    """A report with a stack and files, and one without a fault."""
    box.reports.add_upload(upload_body(made.upload_files(made.fault_text(), b"\xff\xd8\xff picture")), "10.0.0.1")
    made.add(box, product="Other")


def items(body):
    """[(header, content)] of an envelope, behind its own header."""
    header, _, rest = body.partition(b"\n")
    found = [(json.loads(header), b"")]
    while rest.strip():
        line, _, rest = rest.partition(b"\n")
        head = json.loads(line)
        found.append((head, rest[: head["length"]]))
        rest = rest[head["length"] + 1 :]
    return found


@pytest.fixture
def receiver():
    with WebServer("127.0.0.1", free_port(), answering(b"{}")) as server:
        yield server


def test_event_holds_stack_modules_and_files(box, receiver):
    fill(box)
    assert forward.forward(box, f"http://key@127.0.0.1:{receiver.port}/42") == (2, 0)
    first, second = receiver.requests
    assert first.line == "POST /api/42/envelope/ HTTP/1.1"
    assert "sentry_key=key" in first.headers["x-sentry-auth"]
    (head, _), (kind, event), *files = items(first.body)
    assert kind["type"] == "event"
    event = json.loads(event)
    assert event["event_id"] == head["event_id"] and len(event["event_id"]) == 32
    assert event["release"] == "Drawing Board@1.0.0.0"
    (fault,) = event["exception"]["values"]
    assert fault["type"] == "EXCEPTION_ACCESS_VIOLATION, read"
    assert fault["stacktrace"]["frames"][-1] == {
        "function": "draw",
        "package": "board.exe",
        "filename": "src\\draw.cpp",
        "lineno": 10,
        "instruction_addr": "0x00401000",
    }
    image = event["debug_meta"]["images"][0]
    assert (image["code_id"], image["debug_id"]) == ("FF94A82810000", "01234567-89ab-cdef-0123-456789abcdef-1")
    assert (image["image_addr"], image["image_size"], image["debug_file"]) == ("0x400000", 0x10000, "board.pdb")
    assert [(head["type"], len(content)) for head, content in files] == [
        ("attachment", head["length"]) for head, _ in files
    ]
    assert files[1][1] == b"\xff\xd8\xff picture"
    assert json.loads(items(second.body)[1][1])["message"]["formatted"] == "No fault told by Other"


def test_each_report_goes_once(box, receiver):
    fill(box)
    dsn = f"http://key@127.0.0.1:{receiver.port}/42"
    forward.forward(box, dsn)
    made.add(box, made.fault_text(("new",)))
    assert forward.forward(box, dsn) == (1, 0)
    assert forward.forward(box, dsn, again=True) == (3, 0)


def test_report_that_is_refused_is_sent_again_the_next_time(box, receiver):
    fill(box)
    receiver.answer = answering(b"no", status="429 Too Many Requests")
    said = []
    assert forward.forward(box, f"http://key@127.0.0.1:{receiver.port}/42", say=said.append) == (0, 2)
    assert "429" in said[0]
    receiver.answer = answering(b"{}")
    assert forward.forward(box, f"http://key@127.0.0.1:{receiver.port}/42") == (2, 0)


@pytest.mark.parametrize("dsn", ("", "http://host/1", "ftp://key@host/1", "http://key@host/", "http://key@/1"))
def test_address_that_is_none_is_refused(dsn):
    with pytest.raises(BadSetting):
        forward.endpoint(dsn)


class Spotlight(Service):
    """The receiver on a port of loopback."""

    def start(self):
        folder = REPO / "build" / "spotlight"
        program = folder / "node_modules" / "@spotlightjs" / "spotlight" / "bin" / "run.js"
        if not program.is_file():
            folder.mkdir(parents=True, exist_ok=True)
            (folder / "package.json").write_text('{"private": true}\n')
            fetch = f"npm install --ignore-scripts --no-audit --no-fund @spotlightjs/spotlight@{SPOTLIGHT}"
            subprocess.run(fetch.split(), cwd=folder, check=True, timeout=600)
        self.port = free_port()
        self.launch(["node", program, str(self.port)], lambda: listens("127.0.0.1", self.port), 120)


@pytest.mark.skipif(not os.environ.get("WENDAX_INBOX_SPOTLIGHT"), reason="fetches a package of npm")
@pytest.mark.skipif(not shutil.which("npm"), reason="npm is not installed")
@pytest.mark.timeout(900)
def test_real_receiver_shows_the_event(box):
    fill(box)
    with Spotlight() as spotlight:
        address = f"http://127.0.0.1:{spotlight.port}/stream"
        request = urllib.request.Request(address, headers={"Accept": "text/event-stream"})
        stream = urllib.request.urlopen(request, timeout=60)
        assert forward.forward(box, f"http://key@127.0.0.1:{spotlight.port}/1") == (2, 0)
        told = b""
        while told.count(b"EXCEPTION_ACCESS_VIOLATION") < 1 or b"No fault told by Other" not in told:
            line = stream.readline()
            assert line, told[-2000:]
            told += line
    assert b"draw.cpp" in told and b"debug_meta" in told
