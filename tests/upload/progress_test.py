"""The upload dialog that shows how far it is, before servers that take their time."""

import os
import time

import pytest

import kept_reports
from testing import report_dialog
from testing.loopback import loopback_address
from testing.processes import wait_until
from testing.upload_body import CONFIRMATION, upload_body
from testing.upload_host import UploadHost
from testing.web_server import WebServer, answering, http_answer
from upload_dialog_test import FAILED, SENDING, Upload

YES = b"Well: " + CONFIRMATION
MEGABYTE = 1 << 20


class SlowReader:
    """For WebServer: takes so many bytes a second, then confirms. taken: of the body and what stands before it."""

    def __init__(self, rate, answer=YES):
        self.rate, self.text, self.taken, self.hung_up = rate, answer, 0, False

    def __call__(self, client):
        head = b""
        while b"\r\n\r\n" not in head:
            head += client.connection.recv(1)
        length = len(head) + int(head.lower().partition(b"content-length: ")[2].split()[0])
        self.taken = len(head)
        begin = time.monotonic()
        while self.taken < length and not client.server.wait_end(0):
            time.sleep(max(0.0, self.taken / self.rate - (time.monotonic() - begin)))
            try:
                got = client.connection.recv(min(65536, length - self.taken))
            except ConnectionError:
                got = b""
            if not got:
                self.hung_up = True
                return
            self.taken += len(got)
        client.send(http_answer(self.text))


class Progress(Upload):
    """An upload dialog that was asked to show its progress, over a report with a log of so many bytes."""

    def open_with(self, size, keep=False):
        assert self.report.tell("show-progress") == "1"
        if keep:
            assert self.report.tell("keep", self.host.path_of(b"unsent")) == "1"
        self.content = os.urandom(size)
        self.log = self.host.write(b"log", self.content)
        self.report.tell("post", b"-|-|" + self.log + b"|-")
        self.open()

    def bar(self):
        """Thousandths; None where there is no bar."""
        told = self.wine.run(self.stage.product("dialog_probe.exe"), "bar").text.strip()
        return None if told == "none" else int(told)

    def body(self):
        return upload_body({"Conversion_log": (self.log, self.content)})


@pytest.fixture
def progress(stage):
    return Progress(stage)


class TestProgress:
    def test_is_seen_to_grow_and_ends_with_thanks(self, progress):
        progress.report.tell("hold")
        progress.open_with(16 * MEGABYTE)
        assert progress.bar() is None
        progress.picture("1-start")
        reader = SlowReader(2 * MEGABYTE)
        with WebServer(progress.address, 80, reader):
            report_dialog.press(progress.screen, "Upload Report")
            wait_until(lambda: (progress.bar() or 0) > 300, "a part of the upload", 60)
            progress.picture("2-a-part")
            assert progress.shown() == (SENDING, False, True)
            seen = progress.bar()
            wait_until(lambda: progress.bar() > seen, "more of the upload", 60)
            assert progress.report.receive() == "closing"
            progress.picture("3-thanked")
            assert progress.bar() is None
            progress.report.send("go")
            progress.finish(1)
        assert reader.taken > len(progress.body())

    def test_of_an_upload_that_fails_gives_way_to_the_dialog_as_it_was(self, progress):
        progress.open_with(MEGABYTE)
        for _ in range(2):
            with WebServer(progress.address, 80, answering(b"No.")) as server:
                report_dialog.press(progress.screen, "Upload Report")
                progress.wait_shown(FAILED, takes_clicks=True)
                (request,) = server.requests
                assert request.body == progress.body()
            assert progress.bar() is None
        report_dialog.press(progress.screen, "Upload Report")  # nobody listens
        progress.wait_shown(FAILED, takes_clicks=True)
        progress.picture("failed")
        report_dialog.press(progress.screen, "Close")
        progress.finish(2)

    def test_leaves_every_byte_on_the_wire_as_it_is(self, stage):
        address = loopback_address()
        raw = []

        def answer(client):
            seen = b""
            while len(seen) < 2 * MEGABYTE:
                got = client.connection.recv(65536)
                if not got:
                    break
                seen += got
                if seen.endswith(b"--AaB03x\n") and b'"mosform"\n\n3\n--AaB03x\n' in seen[-100:]:
                    break
            raw.append(seen)
            client.send(http_answer(YES))

        screen = stage.desktop(width=1024, height=768)
        report = UploadHost(stage, address=address, wine=stage.wine(screen)).drive()
        report.tell("new")
        content = os.urandom(MEGABYTE)
        (stage.artifacts / "host" / "log").write_bytes(content)
        report.tell("post", b"-|-|log|-")
        with WebServer(address, 80, answer):
            for progress in (False, True):
                if progress:
                    report.tell("show-progress")
                report.send("dialog")
                report_dialog.press(screen, "Upload Report")
                assert report.receive() == "1"
        ordinary, in_blocks = raw
        assert ordinary == in_blocks
        assert ordinary.endswith(upload_body({"Conversion_log": (b"log", content)}))

    def test_takes_memory_for_one_body_where_the_ordinary_upload_takes_it_for_two(self, progress):
        progress.open_with(48 * MEGABYTE)
        report_dialog.press(progress.screen, "Close")
        progress.finish(2)
        before = self.memory(progress)[0]
        with WebServer(progress.address, 80, answering(YES)):
            progress.open()
            report_dialog.press(progress.screen, "Upload Report")
            progress.finish(1)
        most = self.memory(progress)[1]
        assert most - before < 1.2 * len(progress.body())

    def memory(self, progress):
        """Bytes in RAM, now and at most so far."""
        return tuple(1024 * int(kib) for kib in progress.report.tell("usage").split()[3:])


class TestClose:
    def test_stops_the_upload_long_before_its_end_and_closes_the_dialog(self, progress):
        progress.open_with(64 * MEGABYTE, keep=True)
        reader = SlowReader(MEGABYTE)
        with WebServer(progress.address, 80, reader):
            report_dialog.press(progress.screen, "Upload Report")
            wait_until(lambda: (progress.bar() or 0) > 100, "a part of the upload", 60)
            pressed = time.monotonic()
            report_dialog.press(progress.screen, "Close")
            progress.finish(2)
            assert time.monotonic() - pressed < 30  # of more than 50 that the upload would have taken
            wait_until(lambda: reader.hung_up, "the connection to end", 60)
        assert reader.taken < len(progress.body())
        assert list((progress.host.folder / "unsent").iterdir()) == []  # the user has taken it back

    def test_by_the_close_box_does_the_same(self, progress):
        progress.open_with(64 * MEGABYTE)
        reader = SlowReader(MEGABYTE)
        with WebServer(progress.address, 80, reader):
            window = report_dialog.press(progress.screen, "Upload Report")
            wait_until(lambda: (progress.bar() or 0) > 100, "a part of the upload", 60)
            progress.screen.close_window(window)
            progress.finish(2)
            wait_until(lambda: reader.hung_up, "the connection to end", 60)

    def test_leaves_a_report_that_can_be_sent_again(self, progress):
        progress.open_with(64 * MEGABYTE)
        with WebServer(progress.address, 80, SlowReader(MEGABYTE)):
            report_dialog.press(progress.screen, "Upload Report")
            wait_until(lambda: (progress.bar() or 0) > 0, "a part of the upload", 60)
            report_dialog.press(progress.screen, "Close")
            progress.finish(2)
        with WebServer(progress.address, 80, answering(YES)) as server:
            progress.open()
            report_dialog.press(progress.screen, "Upload Report")
            progress.finish(1)
        assert server.requests[-1].body == progress.body()


def test_order_to_quit_ends_the_upload_and_leaves_the_report_for_the_next_start(progress):
    progress.report.tell("quit-upload")
    progress.open_with(64 * MEGABYTE, keep=True)
    reader = SlowReader(MEGABYTE)
    with WebServer(progress.address, 80, reader):
        report_dialog.press(progress.screen, "Upload Report")
        progress.finish(0)
        wait_until(lambda: reader.hung_up, "the connection to end", 60)
    progress.report.end()
    (kept,) = kept_reports.read_all(progress.host.folder / "unsent")
    assert kept.body == progress.body()
