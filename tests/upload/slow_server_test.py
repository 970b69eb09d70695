"""Servers whose answers take their time, or have no end: how long the user is held by them."""

import time

from testing import report_dialog
from testing.driven_host import DrivenHost
from testing.loopback import loopback_address
from testing.upload_body import YES
from testing.web_server import WebServer
from uploading import FAILED

LIMIT = 60  # seconds for an answer whose headers are there
LATE = 30  # more on a busy machine
MOST = 16 << 20  # bytes of an answer
HEADERS = b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 1000000000\r\n\r\n"


class SlowServer(WebServer):
    """Gives headers at once, then the text, then a byte each second; without a text it never answers. arrived is when
    the request was there."""

    def __init__(self, text, bytes_more=0, address=None):
        super().__init__(address or loopback_address(), 80, self._answer)
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


def took_the_limit(seconds):
    return LIMIT - 1 < seconds < LIMIT + LATE


class TestUserWithASlowServer:
    def test_is_held_for_a_minute_and_what_has_come_by_then_counts(self, stage, dialog):
        """All at once, because each takes a minute."""
        dripping = stage.enter_context(SlowServer(YES, bytes_more=1000, address=dialog.address))
        dialog.open()
        dialog.press("Upload Report")

        servers = {
            "drips": stage.enter_context(SlowServer(b"Well: ", bytes_more=1000)),
            "stops in the middle": stage.enter_context(SlowServer(b"x" * 10000, bytes_more=2)),
            "never answers": stage.enter_context(SlowServer(None)),
        }
        hosts = {name: DrivenHost(stage.wine(), stage.product("transport_host.exe")) for name in servers}
        for name, host in hosts.items():
            host.send("text", servers[name].url + "/", "body")

        assert dialog.report.receive(timeout=LIMIT + LATE + 60) == "1", "thanked, and closed by itself"
        assert took_the_limit(time.monotonic() - dripping.arrived)
        report_dialog.wait_closed(dialog.screen)

        texts = {}
        for name, host in hosts.items():
            kind, *values = host.receive(timeout=LIMIT + LATE).split()
            assert took_the_limit(int(values[-1]) / 1000), (name, values[-1])
            texts[name] = bytes.fromhex(values[0]) if kind == "answer" and len(values) == 2 else b""
        assert texts["drips"].rstrip(b".") == b"Well: "
        assert len(texts["drips"]) > len(b"Well: ") + LIMIT // 2
        assert texts["stops in the middle"] == b"x" * 10000 + b".."
        assert texts["never answers"] == b""


class TestUserWithAServerThatSendsTooMuch:
    """More than the bound; then it waits, so that only the bound ends the answer."""

    def serve(self, stage, text, address=None):
        return stage.enter_context(SlowServer(text * (MOST // len(text) + 10000), address=address))

    def test_can_try_again_after_16_megabytes(self, stage, dialog):
        self.serve(stage, b"Data ", dialog.address)
        dialog.open()
        dialog.press("Upload Report")
        dialog.wait_shown(FAILED, timeout=LIMIT - 1)
        dialog.close()

    def test_gets_the_16_megabytes(self, stage):
        server = self.serve(stage, b"0123456789")
        host = DrivenHost(stage.wine(), stage.product("transport_host.exe"))
        host.send("text", server.url + "/", "body")
        kind, text, _ = host.receive(LIMIT - 1).split()
        assert (kind, bytes.fromhex(text)) == ("answer", (b"0123456789" * (MOST // 10 + 1))[:MOST])
