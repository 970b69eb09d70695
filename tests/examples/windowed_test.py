"""The windowed example, used with the pointer: every button, both reports."""

import re

import pytest

from testing import report_dialog, windowed
from testing.host import Host
from testing.processes import WaitTimeout
from testing.product import DLLS

# Of an overflowing division Wine has the code of one by zero.
CODES = ("C0000005", "C0000005", "C0000005", "C0000094", "C000009[45]", "C000008E", "C000001D", "C0000096", "80000003")

pytestmark = pytest.mark.timeout(600)


class Windowed:
    """The example, started, and its window."""

    def __init__(self, stage):
        self.screen = stage.desktop()
        self.host = Host(stage, "windowed.exe", files=DLLS, desktop=self.screen)
        self.process = self.host.start(limit=600)
        self.window = windowed.wait(self.screen)

    def commit(self, number):
        windowed.commit(self.screen, self.window, number)

    def close(self):
        self.screen.close_window(self.window)
        assert self.process.wait_family() == 0


@pytest.fixture
def example(stage):
    return Windowed(stage)


def test_each_fault_becomes_a_report_and_the_program_goes_on(example, stage):
    for number, code in enumerate(CODES):
        example.commit(number)
        report_dialog.press(example.screen, "Open Error Report")
        body = example.host.wait_messages(number + 1)[-1].body
        report_dialog.wait_closed(example.screen)
        assert re.search(code.encode(), body), f"fault {number}"
    example.screen.screenshot(stage.artifacts / "window.png")
    example.close()


def test_picture_and_log_are_attached(example):
    windowed.choose_picture(example.screen, example.window)
    example.commit(windowed.WRITE_NOWHERE)
    report_dialog.press(example.screen, "Open Error Report")
    attached = dict(example.host.wait_messages(1)[0].attachments)
    assert attached["screen_copy.jpg"][:2] == b"\xFF\xD8"
    assert attached["windowed.log"] == b"started\r\nWrite to nowhere\r\n"
    report_dialog.wait_closed(example.screen)
    example.close()


def test_upload_dialog_is_shown_when_chosen(example, stage):
    windowed.choose_upload(example.screen, example.window)
    example.commit(windowed.WRITE_NOWHERE)
    report_dialog.wait(example.screen)
    example.screen.screenshot(stage.artifacts / "upload.png")
    report_dialog.press(example.screen, "Close")
    report_dialog.wait_closed(example.screen)
    assert (example.host.temp / "system_info.txt").exists()
    assert example.host.messages_in_temp() == []
    example.close()


@pytest.mark.xfail(
    strict=True,
    raises=AssertionError,
    reason="not under Wine: the stack guarantee has no effect, and the process ends in Wine's own handler",
)
def test_stack_overflow_is_reported(example):
    example.commit(windowed.OVERFLOW_STACK)
    try:
        report_dialog.wait(example.screen, 20)
    except WaitTimeout as timeout:
        raise AssertionError("no dialog") from timeout
