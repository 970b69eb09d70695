"""A web server whose every answer is written by the test."""

import contextlib
import dataclasses
import socket
import struct
import threading


@dataclasses.dataclass(frozen=True)
class Request:
    """What a client sent: the request line, the headers by lower-case name, the body."""

    line: str
    headers: dict
    body: bytes


class WebServer:
    """Context manager. answer(client) is called for each connection, in a thread of its own; the connection is closed
    after it. What arrives is kept: requests holds it in order, as Request, or as bytes where it is no whole request."""

    def __init__(self, address, port, answer):
        self.address, self.port = address, port
        self.answer = answer
        self.requests = []
        self.failures = []

    def __enter__(self):
        self._ending = threading.Event()
        self._listener = socket.create_server((self.address, self.port))
        self._threads = [threading.Thread(target=self._accept, daemon=True)]
        self._threads[0].start()
        return self

    def __exit__(self, *failure):
        self.end()
        if self.failures and not any(failure):
            raise self.failures[0]

    def end(self):
        """Ends the server and its connections, as leaving the context does."""
        self._ending.set()
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        for thread in self._threads:
            thread.join(60)

    @property
    def url(self):
        port = "" if self.port == 80 else f":{self.port}"
        return f"http://{self.address}{port}"

    def wait_end(self, timeout=None):
        """Waits until the server is to end: for an answer that never comes."""
        return self._ending.wait(timeout)

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:
                return
            thread = threading.Thread(target=self._serve, args=(client,), daemon=True)
            self._threads.append(thread)
            thread.start()

    def _serve(self, client):
        with client:
            client.settimeout(60)
            try:
                self.answer(Client(self, client))
            except (ConnectionError, TimeoutError):
                pass  # The program under test may hang up at any time.
            except Exception as error:  # To be raised where the test can see it.
                self.failures.append(error)


class Client:
    """One connection, seen from the server."""

    def __init__(self, server, connection):
        self.server, self.connection = server, connection

    def read_head(self, piece=65536):
        """Reads what stands before the body: (that, what has come of the body with it, the length of the body). The last is
        None if the client hung up earlier."""
        got = b""
        while b"\r\n\r\n" not in got:
            read = self.connection.recv(piece)
            if not read:
                return got, b"", None
            got += read
        head, _, body = got.partition(b"\r\n\r\n")
        return head, body, int((head.lower() + b"\r\n").partition(b"content-length: ")[2].partition(b"\r\n")[0] or 0)

    def read_request(self):
        """Reads a request and keeps it; returns it, or None if the client hung up before its body."""
        head, body, length = self.read_head()
        if length is None:
            self.server.requests += [head] if head else []
            return None
        lines = head.decode("latin-1").split("\r\n")
        headers = {name.lower(): value for name, _, value in (line.partition(": ") for line in lines[1:])}
        pieces, missing = [body], length - len(body)
        while missing > 0 and (got := self.connection.recv(1 << 20)):
            pieces.append(got)
            missing -= len(got)
        request = Request(lines[0], headers, b"".join(pieces))
        self.server.requests.append(request)
        return request

    def read_some(self, count):
        """Reads that many bytes, whatever they are, and keeps them."""
        read = b""
        while len(read) < count and (got := self.connection.recv(count - len(read))):
            read += got
        self.server.requests.append(read)
        return read

    def send(self, data):
        self.connection.sendall(data)

    def reset(self):
        """Ends the connection at once, with whatever is under way in it."""
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.connection.close()


def http_answer(body, status="200 OK", headers=()):
    """The bytes of a whole answer, after which the connection ends."""
    head = [
        f"HTTP/1.1 {status}",
        "Content-Type: text/html",
        f"Content-Length: {len(body)}",
        "Connection: close",
        *headers,
    ]
    return "\r\n".join([*head, "", ""]).encode("latin-1") + body


def answering(body, status="200 OK", headers=()):
    """For WebServer: reads one request and gives that answer."""

    def answer(client):
        if client.read_request():
            client.send(http_answer(body, status, headers))

    return answer


def sending(*pieces, pause=0.0):
    """For WebServer: reads one request and sends these bytes, each after a pause."""

    def answer(client):
        client.read_request()
        for piece in pieces:
            client.send(piece)
            client.server.wait_end(pause)

    return answer


def byte_by_byte(data):
    """For WebServer: reads one request and sends these bytes, each alone."""
    return sending(*(bytes([byte]) for byte in data), pause=0.01)


def hanging_up(client):
    """For WebServer: ends the connection in the middle of a body."""
    client.read_some(100000)
    # Once the client can send no more: Wine's own send can miss a reset that comes earlier, and hang.
    client.server.wait_end(0.5)
    client.reset()


class HoldingServer(WebServer):
    """Keeps requests waiting. arrived: one is there. release: to be set for the answer, bytes; without one there never is
    any."""

    def __init__(self, address, port, answer=None):
        super().__init__(address, port, self._hold)
        self.arrived, self.release = threading.Event(), threading.Event()
        self._answer = answer

    def _hold(self, client):
        if client.read_request():
            self.arrived.set()
            if self._answer is None:
                self.wait_end()
            elif self.release.wait(120):
                client.send(self._answer)
