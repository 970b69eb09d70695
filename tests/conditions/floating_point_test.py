"""Reports of programs that fail in floating-point code, or have other settings for it than usual: each report is whole, and
the program finds its own settings afterwards."""

import re

import pytest

from testing import report_dialog
from testing.host import Host, redirect
from testing.loopback import loopback_address
from testing.picture import described
from testing.upload_body import YES
from testing.web_server import WebServer, answering

CAUGHT = "caught SEHWendaxExceptionGenerated"
# What a host calls, each with a fault of its own: once translated, once as it is.
FAILING = (
    "OpenCrushReport, OpenDlg, GenerateEmail, CopyScreenToBitmap, MsgBox, ScaleTo, upload's OpenDlg, Upload".split(", ")
)
# By what is unusual when the fault comes; the host's source says more.
STATES = "invalid zero-divide everything inexact pending sse mmx full-stack rounding"

pytestmark = pytest.mark.parametrize("state", STATES.split())


class FloatingPointHost:
    """One host for all states: each is a process of its own."""

    def __init__(self, stage):
        self.screen = stage.desktop(width=800, height=600)
        self.host = Host(stage, "floating_point_host.exe", helper="full", desktop=self.screen)
        self.picture = self.host.temp / "screen_copy.jpg"
        self.address = loopback_address()
        self.server = stage.enter_context(WebServer(self.address, 80, answering(YES)))
        redirect(self.host.folder / "Wendax.dll", "--upload-server", self.address)
        (self.host.folder / "notes.txt").write_bytes(b"what the host noted")

    def lines(self, *args, button=None):
        """Runs it, with the dialog's button pressed, if one is named, and gives what it printed."""
        self.picture.unlink(missing_ok=True)
        self.server.requests.clear()
        self.messages = len(self.host.opened())
        with self.host.start(*args, cwd=self.host.folder) as process:
            if button:
                report_dialog.press(self.screen, button)
            process.wait_family()
            return process.result().text.splitlines()

    def whole_message(self, artifacts):
        """The one message of the last run."""
        message = self.host.wait_messages(self.messages + 1)[-1]
        assert [name for name, _ in message.attachments] == ["screen_copy.jpg"]
        path = artifacts / "screen_copy.jpg"
        path.write_bytes(message.attachments[0][1])
        assert described(path, "%m %w %h") == "JPEG 512 512"
        assert re.search(rb"Procesor Clock Frequecy: \d+\n", message.body)
        return message


@pytest.fixture(scope="module")
def host(module_stage):
    return FloatingPointHost(module_stage)


def test_of_the_host_leave_a_whole_message_and_come_back(host, state, artifacts):
    assert host.lines("mail", state, button="Open Error Report") == [CAUGHT, "kept OpenCrushReport", "end"]
    message = host.whole_message(artifacts)
    assert b"\n\nStack Trace:\nfirst line 0 options 15 code " in message.body


def test_of_the_host_come_back_when_what_it_called_fails(host, state):
    kept = [f"kept {name}" for name in FAILING for _ in ("translated", "as it is")]
    assert host.lines("failing", state) == [CAUGHT, *kept, "end"]


def test_of_the_host_come_back_after_each_member_of_the_message_report(host, state, artifacts):
    kept = ["kept AttachScreenCopy", "kept OpenDlg", "answer 1", "kept GenerateEmail", "kept CopyScreenToBitmap"]
    assert host.lines("members", state, button="Open Error Report") == [CAUGHT, *kept, "end"]
    host.whole_message(artifacts)


def test_of_the_host_leave_a_whole_upload_and_come_back(host, state):
    kept = ["kept CreateScreenCopy", "kept CreateSystemInfo", "kept Upload", "answer 1", "kept OpenDlg", "answer 1"]
    assert host.lines("upload", state, "notes.txt", button="Upload Report") == [CAUGHT, *kept, "end"]
    assert len(host.server.requests) == 2
    for request in host.server.requests:
        assert b"what the host noted" in request.body
        assert b"Procesor Clock Frequecy" in request.body
        assert host.picture.read_bytes() in request.body
