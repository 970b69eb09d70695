"""The upload dialog that shows how far it is, before servers that take their time."""

import os
import time

import pytest

import kept_reports
from testing.processes import wait_until
from testing.upload_body import YES, upload_body
from testing.web_server import WebServer, answering, http_answer
from uploading import FAILED, SENDING, WESTERN, UploadDialog

MEGABYTE = 1 << 20


class SlowReader:
    """For WebServer: takes so many bytes a second, then confirms. taken: of the body and what stands before it."""

    def __init__(self, rate):
        self.rate, self.taken, self.hung_up = rate, 0, False

    def __call__(self, client):
        head, _, body = client.read_head(piece=1)
        self.taken = len(head) + 4
        length = self.taken + body
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
        client.send(http_answer(YES))


class Progress(UploadDialog):
    """An upload dialog that was asked to show its progress, over a report with a log of so many bytes."""

    def open_with(self, size, keep=False):
        assert self.report.tell("show-progress") == "1"
        if keep:
            assert self.report.tell("keep", self.path_of(b"unsent")) == "1"
        self.content = os.urandom(size)
        self.log = self.write(b"log", self.content)
        self.post(log=self.log)
        self.open()

    def bar(self):
        """Thousandths; None where there is no bar."""
        told = self.probe("bar").strip()
        return None if told == "none" else int(told)

    def wait_bar(self, more_than):
        wait_until(lambda: (self.bar() or 0) > more_than, "a part of the upload", 60)

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
            progress.press("Upload Report")
            progress.wait_bar(300)
            progress.picture("2-a-part")
            assert progress.shown() == (SENDING, False, True)
            progress.wait_bar(progress.bar())
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
                progress.press("Upload Report")
                progress.wait_shown(FAILED)
                (request,) = server.requests
                assert request.body == progress.body()
            assert progress.bar() is None
        progress.fail()
        progress.picture("failed")
        progress.close()

    def test_leaves_every_byte_on_the_wire_as_it_is(self, stage):
        raw = []

        def answer(client):
            seen = b""
            while len(seen) < 2 * MEGABYTE and (got := client.connection.recv(65536)):
                seen += got
                if seen.endswith(b"--AaB03x\n") and b'"mosform"\n\n3\n--AaB03x\n' in seen[-100:]:
                    break
            raw.append(seen)
            client.send(http_answer(YES))

        dialog = UploadDialog(stage, locale=WESTERN)
        content = os.urandom(MEGABYTE)
        dialog.write(b"log", content)
        dialog.post(log=b"log")
        with WebServer(dialog.address, 80, answer):
            for progress in (False, True):
                if progress:
                    dialog.report.tell("show-progress")
                dialog.open()
                dialog.press("Upload Report")
                assert dialog.report.receive() == "1"
        ordinary, in_blocks = raw
        assert ordinary == in_blocks
        assert ordinary.endswith(upload_body({"Conversion_log": (b"log", content)}))

    def test_takes_memory_for_one_body_where_the_ordinary_upload_takes_it_for_two(self, progress):
        progress.open_with(48 * MEGABYTE)
        progress.close()
        before = progress.memory()[0]
        progress.open()
        progress.upload_now()
        assert progress.memory()[1] - before < 1.2 * len(progress.body())


class TestClose:
    def test_stops_the_upload_long_before_its_end_and_closes_the_dialog(self, progress):
        progress.open_with(64 * MEGABYTE, keep=True)
        reader = SlowReader(MEGABYTE)
        with WebServer(progress.address, 80, reader):
            progress.press("Upload Report")
            progress.wait_bar(100)
            pressed = time.monotonic()
            progress.close()
            assert time.monotonic() - pressed < 30  # of more than 50 that the upload would have taken
            wait_until(lambda: reader.hung_up, "the connection to end", 60)
        assert reader.taken < len(progress.body())
        assert list((progress.folder / "unsent").iterdir()) == []  # the user has taken it back

    def test_by_the_close_box_does_the_same(self, progress):
        progress.open_with(64 * MEGABYTE)
        reader = SlowReader(MEGABYTE)
        with WebServer(progress.address, 80, reader):
            window = progress.press("Upload Report")
            progress.wait_bar(100)
            progress.screen.close_window(window)
            progress.finish(2)
            wait_until(lambda: reader.hung_up, "the connection to end", 60)

    def test_leaves_a_report_that_can_be_sent_again(self, progress):
        progress.open_with(64 * MEGABYTE)
        with WebServer(progress.address, 80, SlowReader(MEGABYTE)):
            progress.press("Upload Report")
            progress.wait_bar(0)
            progress.close()
        progress.open()
        assert progress.upload_now().body == progress.body()


def test_order_to_quit_ends_the_upload_and_leaves_the_report_for_the_next_start(progress):
    progress.report.tell("quit-upload")
    progress.open_with(64 * MEGABYTE, keep=True)
    reader = SlowReader(MEGABYTE)
    with WebServer(progress.address, 80, reader):
        progress.press("Upload Report")
        progress.finish(0)
        wait_until(lambda: reader.hung_up, "the connection to end", 60)
    progress.report.end()
    (kept,) = kept_reports.read_all(progress.folder / "unsent")
    assert kept.body == progress.body()
