"""Servers whose answers take their time, or have no end: how long the user is held by them."""

import time

import upload_dialog_test
from testing import report_dialog
from testing.processes import wait_until
from testing.runner import Case
from testing.driven_host import DrivenHost
from testing.loopback import loopback_address
from testing.upload_body import CONFIRMATION
from testing.web_server import WebServer
from testing.upload_host import UploadHost

LIMIT = 60  # seconds for an answer whose headers are there
LATE = 30  # more on a busy machine
MOST = 16 << 20  # bytes of an answer
HEADERS = b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 1000000000\r\n\r\n"


class SlowServer(WebServer):
    """Gives headers at once, then the text, then a byte each second; without a text it never answers. arrived is when
    the request was there."""

    def __init__(self, text, bytes_more=0):
        super().__init__(loopback_address(), 80, self._answer)
        self.text, self.more, self.arrived = text, bytes_more, None

    def _answer(self, client):
        client.read_request()
        self.arrived = time.monotonic()
        if self.text is not None:
            client.send(HEADERS + self.text)
        for _ in range(self.more):
            if self.wait_end(1):
                return
            client.send(b".")
        self.wait_end()


class Dialog:
    """The dialog of an upload report to that address, on a desktop of its own."""

    def __init__(self, case, address):
        self.screen = case.desktop(width=1024, height=768)
        self.wine = case.wine(self.screen, locale="ru_RU.UTF-8")
        self.probe = case.product("dialog_probe.exe")
        self.report = UploadHost(case, address=address, wine=self.wine).drive()
        self.report.tell("new")
        self.report.send("dialog")

    def press(self, button):
        report_dialog.press(self.screen, button)

    def shown(self):
        return self.wine.run(self.probe).text.split()


class AUserWithASlowServer(Case):
    def test_is_held_for_a_minute_and_what_has_come_by_then_counts(self):
        """All at once, because each takes a minute."""
        dripping = self.enterContext(SlowServer(b"Well: " + CONFIRMATION, bytes_more=1000))
        dialog = Dialog(self, dripping.address)
        dialog.press("Upload Report")

        servers = {
            "drips": self.enterContext(SlowServer(b"Well: ", bytes_more=1000)),
            "stops in the middle": self.enterContext(SlowServer(b"x" * 10000, bytes_more=2)),
            "never answers": self.enterContext(SlowServer(None)),
        }
        hosts = {name: DrivenHost(self.wine(), self.product("transport_host.exe")) for name in servers}
        for name, host in hosts.items():
            host.send("text", servers[name].url + "/", "body")

        self.assertEqual(dialog.report.receive(timeout=LIMIT + LATE + 60), "1", "thanked, and closed by itself")
        self.assert_took_the_limit(time.monotonic() - dripping.arrived)
        report_dialog.wait_closed(dialog.screen)

        answers = {name: host.receive(timeout=LIMIT + LATE).split() for name, host in hosts.items()}
        for name, (kind, *values) in answers.items():
            with self.subTest(name):
                self.assert_took_the_limit(int(values[-1]) / 1000)
                text = bytes.fromhex(values[0]) if kind == "answer" and len(values) == 2 else b""
                if name == "drips":
                    self.assertEqual(text.rstrip(b"."), b"Well: ")
                    self.assertGreater(len(text), len(b"Well: ") + LIMIT // 2)
                elif name == "stops in the middle":
                    self.assertEqual(text, b"x" * 10000 + b"..")
                else:
                    self.assertEqual(text, b"")

    def assert_took_the_limit(self, seconds):
        self.assertGreater(seconds, LIMIT - 1)
        self.assertLess(seconds, LIMIT + LATE)


class AUserWithAServerThatSendsTooMuch(Case):
    """More than the bound; then it waits, so that only the bound ends the answer."""

    def serve(self, text):
        return self.enterContext(SlowServer(text * (MOST // len(text) + 10000)))

    def test_can_try_again_after_16_megabytes(self):
        dialog = Dialog(self, self.serve(b"Data ").address)
        dialog.press("Upload Report")
        failed = upload_dialog_test.WhatTheDialogShows.FAILED.encode("cp1251").hex()
        wait_until(lambda: dialog.shown() == [failed, "1", "1"], "the failure", LIMIT - 1, seen=dialog.shown)
        dialog.press("Close")
        self.assertEqual(dialog.report.receive(), "2")

    def test_gets_the_16_megabytes(self):
        server = self.serve(b"0123456789")
        host = DrivenHost(self.wine(), self.product("transport_host.exe"))
        host.send("text", server.url + "/", "body")
        kind, text, _ = host.receive(LIMIT - 1).split()
        self.assertEqual((kind, bytes.fromhex(text)), ("answer", (b"0123456789" * (MOST // 10 + 1))[:MOST]))
