"""The HTTP transport, against servers that answer in every way a server can.

Its POST goes to port 80 in the clear and to any other port over TLS, so the servers listen on port 80 of a loopback
address of their own.
"""

import dataclasses

import pytest

from testing.driven_host import DrivenHost
from testing.processes import WaitTimeout
from testing.loopback import loopback_address
from testing.web_server import HoldingServer, WebServer, answering, byte_by_byte, hanging_up, http_answer, sending

# GetLastError() as WinINet gives it.
NOT_ENOUGH_MEMORY = 8
NAME_NOT_RESOLVED = 12007
CANNOT_CONNECT = 12029
ALL_ONES = 0xFFFFFFFF

CHUNKS = (1, 5000, 8191, 3)
WORDS = b"Well. Data has uploaded successfully"


@dataclasses.dataclass(frozen=True)
class Answer:
    """What a request gave: a text, or None with the error."""

    text: bytes | None
    error: int


class Transport:
    """A host that gives the transport its requests, with what it needs around it."""

    def __init__(self, stage):
        self.stage = stage
        self.host = DrivenHost(self.stage.wine(), self.stage.product("transport_host.exe"))

    def serve(self, answer, port=80):
        return self.stage.enter_context(WebServer(loopback_address(port), port, answer))

    def answer(self, line):
        kind, *values = line.split()
        if kind == "null":
            return Answer(None, int(values[0]))
        assert kind == "answer"
        return Answer(bytes.fromhex(values[0]) if len(values) > 1 else b"", 0)

    def request(self, *words):
        return self.answer(self.host.tell(*words))

    def post(self, server, body=b"body", path="/"):
        file = self.stage.artifacts / "body"
        file.write_bytes(body)
        return self.request("post", server.url + path, "Z:" + str(file).replace("/", "\\"))


@pytest.fixture
def transport(stage):
    return Transport(stage)


class TestPost:
    def test_carries_its_headers_and_every_byte_of_the_body(self, transport):
        server = transport.serve(answering(b"fine"))
        body = bytes(range(256)) * 300
        transport.host.tell("headers", "Content-Type: multipart/form-data; boundary=AaB03x")
        assert transport.post(server, body, "/index.php?option=com_mosforms&x=%20").text == b"fine"
        (request,) = server.requests
        assert request.line == "POST /index.php?option=com_mosforms&x=%20 HTTP/1.1"
        assert request.headers["content-type"] == "multipart/form-data; boundary=AaB03x"
        assert request.headers["user-agent"] == "Lumivale"
        assert request.headers["accept"] == "*/*"
        assert request.headers["host"] == server.address
        assert request.headers["content-length"] == str(len(body))
        assert "authorization" not in request.headers
        assert request.body == body

    def test_declares_a_form_until_told_otherwise(self, transport):
        server = transport.serve(answering(b"fine"))
        assert transport.request("text", server.url + "/", "a=1&b=2").text == b"fine"
        assert server.requests[0].headers["content-type"] == "application/x-www-form-urlencoded"

    def test_without_a_length_sends_the_text(self, transport):
        server = transport.serve(answering(b"fine"))
        assert transport.request("text", server.url + "/", "a text of 24 characters.").text == b"fine"
        assert server.requests[0].body == b"a text of 24 characters."

    def test_of_nothing_has_an_empty_body(self, transport):
        server = transport.serve(answering(b"fine"))
        assert transport.post(server, b"").text == b"fine"
        assert server.requests[0].body == b""

    def test_of_48_megabytes_arrives_whole(self, transport):
        server = transport.serve(answering(b"fine"))
        body = bytes(range(251)) * (48 * 1024 * 1024 // 251)
        assert transport.post(server, body).text == b"fine"
        assert server.requests[0].body == body

    def test_to_a_url_without_a_path_asks_for_the_root(self, transport):
        server = transport.serve(answering(b"fine"))
        assert transport.post(server, path="").text == b"fine"
        assert server.requests[0].line.startswith("POST / ")

    def test_to_another_port_than_80_speaks_tls_whatever_the_scheme(self, transport):
        server = transport.serve(lambda client: client.read_some(5), port=8080)
        assert transport.post(server).text is None
        assert server.requests, "nobody connected"
        assert server.requests[0][:2] == b"\x16\x03", "this is no TLS greeting"


class TestGet:
    def test_fetches_the_text(self, transport):
        server = transport.serve(answering(b"a page"), port=8080)
        assert transport.request("get", server.url + "/page?x=1").text == b"a page"
        (request,) = server.requests
        assert request.line == "GET /page?x=1 HTTP/1.1"
        assert request.headers["user-agent"] == "Lumivale"
        assert "content-type" not in request.headers

    def test_and_a_post_can_follow_each_other(self, transport):
        server = transport.serve(answering(b"fine"))
        for _ in range(3):
            assert transport.request("get", server.url + "/").text == b"fine"
            assert transport.post(server).text == b"fine"
        assert [request.line.split()[0] for request in server.requests] == ["GET", "POST"] * 3

    def test_of_what_nobody_serves_is_null(self, transport):
        answer = transport.request("get", f"http://{loopback_address(8080)}:8080/")
        assert (answer.text, answer.error) == (None, CANNOT_CONNECT)


class TestCalls:
    """What WinINet is asked for: 04000000 is to cache nothing, 00803000 adds TLS and two lenient checks."""

    def calls_of(self, transport, *request):
        transport.host.tell("calls")
        transport.host.tell("new")
        transport.request(*request)
        return transport.host.tell("calls").rstrip("; ").split("; ")

    def test_of_a_post_to_port_80(self, transport):
        address = loopback_address()
        assert self.calls_of(transport, "text", f"http://{address}/form?x=1", "body") == [
            "session Lumivale 1 - - 0",
            f'connect {address} 80 "" "" 3 4000000 0',
            "request POST /form?x=1 - - */* 4000000 0",
        ]

    @pytest.mark.parametrize(("scheme", "port"), [("http", 8080), ("https", 443)])
    def test_of_a_post_to_another_port(self, transport, scheme, port):
        address = loopback_address(port)
        assert self.calls_of(transport, "text", f"{scheme}://{address}:{port}/", "body") == [
            "session Lumivale 1 - - 0",
            f'connect {address} {port} "" "" 3 4000000 0',
            "request POST / - - */* 4803000 0",
        ]

    def test_of_a_get(self, transport):
        url = f"http://{loopback_address()}/page"
        assert self.calls_of(transport, "get", url) == ["session Lumivale 1 - - 0", f"url {url} - 0 0 0"]


class TestAnswer:
    def assert_text(self, transport, sent, expected=None, **options):
        server = transport.serve(answering(sent, **options))
        assert transport.post(server).text == (sent if expected is None else expected)

    def test_that_is_empty_is_an_empty_text(self, transport):
        self.assert_text(transport, b"")

    @pytest.mark.parametrize("size", [1, 8190, 8191, 8192, 8193, 16381, 16382, 16383, 16384])
    def test_is_whole_around_the_size_of_a_chunk(self, transport, size):
        self.assert_text(transport, (b"0123456789abcdef" * (size // 16 + 1))[:size])

    def test_of_5_megabytes_is_whole(self, transport):
        self.assert_text(transport, bytes(32 + number % 90 for number in range(5 * 1024 * 1024)))

    @pytest.mark.parametrize(
        "status", ["201 Created", "404 Not Found", "500 Internal Server Error", "503 Service Unavailable"]
    )
    def test_is_read_whatever_the_status(self, transport, status):
        self.assert_text(transport, b"words", status=status)

    def test_with_a_zero_byte_loses_the_rest_of_that_chunk_only(self, transport):
        first = b"a" * 100 + b"\0" + b"b" * (8191 - 101)
        self.assert_text(transport, first + b"c" * 50, b"a" * 100 + b"c" * 50)

    def test_of_zero_bytes_is_empty(self, transport):
        self.assert_text(transport, b"\0" * 30000, b"")

    PIECED = {
        "without a length ends with the connection": (b"x" * 20000, sending(b"HTTP/1.0 200 OK\r\n\r\n" + b"x" * 20000)),
        "in http chunks is put together": (
            b"y" * sum(CHUNKS),
            sending(
                b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
                *(b"%x\r\n%s\r\n" % (size, b"y" * size) for size in (*CHUNKS, 0)),
            ),
        ),
        "in single bytes is put together": (WORDS, byte_by_byte(http_answer(WORDS))),
    }

    @pytest.mark.parametrize("text, answer", PIECED.values(), ids=PIECED)
    def test_that_comes_in_pieces(self, transport, text, answer):
        assert transport.post(transport.serve(answer)).text == text

    def test_that_breaks_off_gives_what_had_arrived_or_nothing(self, transport):
        text = transport.post(transport.serve(sending(http_answer(b"z" * 20000)[:-5000]))).text
        assert text is not None
        assert text == b"z" * len(text)
        assert len(text) <= 15000

    def test_after_a_redirect_is_that_of_the_last_page(self, transport):
        def answer(client):
            request = client.read_request()
            if request.line.split()[1] == "/new":
                client.send(http_answer(b"the new page"))
            else:
                client.send(http_answer(b"the old page", "302 Found", ["Location: /new"]))

        server = transport.serve(answer)
        assert transport.post(server, path="/old").text == b"the new page"
        assert [request.line for request in server.requests] == ["POST /old HTTP/1.1", "GET /new HTTP/1.1"]


class TestFailure:
    def test_of_a_connection_is_null_with_its_error(self, transport):
        answer = transport.request("text", f"http://{loopback_address()}/", "body")
        assert (answer.text, answer.error) == (None, CANNOT_CONNECT)

    def test_of_a_name_is_null_with_its_error(self, transport):
        answer = transport.request("text", "http://upload.wendax.invalid/", "body")
        assert (answer.text, answer.error) == (None, NAME_NOT_RESOLVED)

    @pytest.mark.parametrize("url", ["no-url", "/index.php", "http:", "://", "http://"])
    def test_of_the_url_is_null_with_its_error(self, transport, url):
        answer = transport.request("text", url, "body")
        assert answer.text is None
        assert answer.error not in (0, ALL_ONES)

    @pytest.mark.parametrize("kind", ["post", "get"])
    def test_for_want_of_a_url_is_all_ones(self, transport, kind):
        answer = transport.request("nothing", kind)
        assert (answer.text, answer.error) == (None, ALL_ONES)

    def test_in_the_middle_of_the_body_is_null(self, transport):
        answer = transport.post(transport.serve(hanging_up), b"x" * (16 << 20))
        assert answer.text is None
        assert answer.error != 0

    def test_before_any_answer_is_null_or_empty(self, transport):
        # Wine takes it for an empty answer, Windows for a failure; neither confirms an upload.
        assert not transport.post(transport.serve(lambda client: client.read_request())).text

    def test_by_an_answer_that_is_not_http_is_null_or_empty(self, transport):
        assert not transport.post(transport.serve(sending(b"220 mail server, go away\r\n"))).text

    def test_is_forgotten_by_the_next_request(self, transport):
        assert transport.request("text", f"http://{loopback_address()}/", "body").text is None
        server = transport.serve(answering(b"fine"))
        assert transport.post(server).text == b"fine"

    def test_to_answer_keeps_the_request_waiting_and_does_it_no_harm(self, transport):
        # For a minute; slow_server_test.py waits for its end.
        with HoldingServer(loopback_address(), 80) as server:
            transport.host.send("text", server.url + "/", "body")
            assert server.arrived.wait(60)
            with pytest.raises(WaitTimeout):
                transport.host.receive(timeout=3)
        assert not transport.answer(transport.host.receive()).text
        server = transport.serve(answering(b"fine"))
        assert transport.post(server).text == b"fine"


class TestLittleMemory:
    @pytest.mark.parametrize("size", [8191, 8192, 100000, 1 << 20])
    def test_for_twice_the_answer_leaves_it_whole(self, transport, size):
        text = bytes(32 + number % 90 for number in range(size))
        server = transport.serve(answering(text))
        transport.host.tell("refuse", len(text) + 8192, 0)
        assert transport.post(server, b"").text == text

    def test_for_the_answer_cuts_it(self, transport):
        server = transport.serve(answering(b"x" * 100000))
        transport.host.tell("refuse", 50000, 0)
        text = transport.post(server, b"").text
        assert text == b"x" * len(text)
        assert len(text) > 50000 - 2 * 8192

    def test_for_any_block_of_a_request_is_null_with_its_error_and_does_the_next_no_harm(self, transport):
        server = transport.serve(answering(b"f" * 10000))
        url = f"{server.url}/index.php?option=com_mosforms"
        refused = 0
        while True:
            transport.host.tell("refuse", 0, refused + 1)
            answer = transport.request("text", url, "body")
            transport.host.tell("refuse", 0, 0)
            if answer.text:
                break
            assert (answer.text, answer.error) == (None, NOT_ENOUGH_MEMORY)
            assert transport.request("text", url, "body").text == b"f" * 10000
            refused += 1
        assert refused >= 2, "what is cut out of the URL, and the answer"


class TestManyRequests:
    """Nothing may be left behind by a request, whatever came of it."""

    def repeat(self, transport, commands, answer, count):
        for command in commands * count:
            transport.host.send(*command)
        for command in commands * count:
            line = transport.host.receive()
            if command[0] != "new":
                assert transport.answer(line).text == answer

    def held(self, transport):
        kind, *counts = transport.host.tell("held").split()
        assert kind == "held"
        return tuple(map(int, counts))

    @pytest.mark.parametrize(
        ("size", "commands"),
        [
            pytest.param(10000, [("text", "{url}/", "body")], id="that succeed"),
            pytest.param(100000, [("text", "{url}/", "body")], id="with long answers"),
            pytest.param(4, [("get", "{url}/"), ("text", "{url}/", "body")], id="of both kinds"),
            pytest.param(4, [("new",), ("text", "{url}/", "body")], id="of many transports"),
            pytest.param(None, [("text", "{url}/", "body"), ("get", "{url}/")], id="that fail to connect"),
            pytest.param(
                None,
                [("text", "no-url", "body"), ("get", "no-url"), ("nothing", "post")],
                id="without a sensible url",
            ),
        ],
    )
    def test_leave_nothing(self, transport, size, commands):
        """size: of the answers; None where nobody listens."""
        answer = None if size is None else b"x" * size
        url = transport.serve(answering(answer)).url if answer else f"http://{loopback_address()}"
        commands = [tuple(word.format(url=url) for word in command) for command in commands]
        # What the first ones set up for good (Wine's caches among it) is not counted.
        self.repeat(transport, commands, answer, 3)
        before = self.held(transport)
        self.repeat(transport, commands, answer, 120)
        after = self.held(transport)
        assert after[:2] == before[:2], "blocks and WinINet handles"
        assert before[2] > 0
        assert after[2] - before[2] < 10, "handles of the process"
        transport.host.tell("drop")
        assert self.held(transport)[:2] == (0, 0), "blocks and WinINet handles at the end"
