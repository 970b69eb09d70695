"""A stack overflow, which leaves the report some kilobytes of stack: whole reports all the same."""

import re

import pytest

from testing import report_dialog
from testing.host import Host, redirect
from testing.loopback import loopback_address
from testing.processes import wait_until
from testing.product import DLLS, MACHINE
from testing.upload_body import YES
from testing.web_server import WebServer, answering

NOTES = b"what the host noted\r\n" * 500
ONCE = ["caught", "reported"]
# What follows where the outermost module has symbols, as Wine has of 64 bits.
FUNCTION = r"(?: \w+\+0x[0-9a-f]+ \(.*\))?"
LEAST_RESERVE = MACHINE.choose(40, 48)  # KB: more than any report may need
SMALL_STACKS = (64, 128, 256, 512, 1024)  # KB


def overflow_host(stage, desktop):
    host = Host(stage, "overflow_host.exe", files=DLLS, desktop=desktop)
    (host.folder / "notes.txt").write_bytes(NOTES)
    return host


def check_message(message, address):
    """Fault and trace are there, and so is everything else."""
    body = message.body.decode("windows-1251")
    description = body[body.index("Crush Expantion:\n") :]
    assert description.startswith("Crush Expantion:\nEXCEPTION_STACK_OVERFLOW (C00000FD)"), description
    trace = description.partition("\n\nStack Trace:\n")[2].partition("\n\n")[0].splitlines()
    (gap,) = [line for line in trace if line.startswith("... ")]
    assert int(re.fullmatch(r"\.\.\. (\d+) more frames", gap)[1]) > 100
    # The same function, whose call of itself returns to one place, above and below the gap.
    at = trace.index(gap)
    (recursion,) = set(trace[1:at])
    assert re.match(address + r" overflow_host\.exe\+", recursion)
    assert recursion in trace[at + 1 :]
    assert re.fullmatch(address + r" \S+\+[0-9A-F]{8}" + FUNCTION, trace[-1]), trace[-6:]
    attached = dict(message.attachments)
    assert attached["notes.txt"] == NOTES
    picture = attached["screen_copy.jpg"]
    assert picture.startswith(b"\xFF\xD8") and picture.endswith(b"\xFF\xD9")
    assert message.whole


def mail(stage, *args, times=1):
    desktop = stage.desktop(width=800, height=600)
    host = overflow_host(stage, desktop)
    process = host.start("mail", *args, "--times", times, cwd=host.folder)
    messages = report_dialog.open_reports(desktop, host, process, times)
    assert process.result().text.splitlines() == [*ONCE * times, "end"]
    for message in messages:
        check_message(message, stage.machine.address)


def upload(stage, *args, times=1):
    desktop = stage.desktop(width=800, height=600)
    host = overflow_host(stage, desktop)
    address = loopback_address()
    redirect(host.folder / "Wendax.dll", "--upload-server", address)
    server = stage.enter_context(WebServer(address, 80, answering(YES)))
    process = host.start("upload", *args, "--times", times, cwd=host.folder)
    for count in range(1, times + 1):
        report_dialog.press(desktop, "Upload Report")
        wait_until(lambda: process.stdout.count(b"reported") == count, "the report", seen=process.output)
    process.wait_family()
    assert process.result().text.splitlines() == [*["caught", "uploaded", "reported"] * times, "end"]
    for request in server.requests:
        assert NOTES in request.body
        assert b"\xFF\xD8\xFF" in request.body
        assert b"Cannot extract version number of Lumivale" in request.body
    assert len(server.requests) == times


def test_becomes_a_message_with_trace_screenshot_and_file(stage):
    mail(stage)


def test_becomes_an_upload(stage):
    upload(stage)


@pytest.mark.parametrize("road", (mail, upload))
def test_of_the_same_thread_again_is_reported_again(stage, road):
    road(stage, times=2)


def test_of_another_thread_is_reported(stage):
    mail(stage, "--thread")


@pytest.mark.parametrize("road", (mail, upload))
@pytest.mark.parametrize("size", SMALL_STACKS)
def test_of_a_small_thread_is_reported(stage, size, road):
    road(stage, "--stack", size)


@pytest.mark.parametrize("road", (mail, upload))
def test_needs_no_more_than_the_least_reserve(stage, road):
    road(stage, "--reserve", LEAST_RESERVE)
