"""An inbox of the test's own: its store, its pages, and one that listens."""

import os
import pathlib
import re
import socket
import sys
import urllib.error
import urllib.request

import pytest

from inbox.config import Config
from inbox.core import Inbox
from inbox.web import make_app
from testing.processes import REPO, spawn, stop, wait_until
from testing.upload_body import CONTENT_TYPE, FORM_PATH

MESSAGES = pathlib.Path(__file__).with_name("messages")


@pytest.fixture
def messages():
    """{name: bytes} of real messages of the library."""
    return {path.stem: path.read_bytes() for path in MESSAGES.glob("*.eml")}


@pytest.fixture
def config(tmp_path):
    return Config(tmp_path / "store", min_free=0)


@pytest.fixture
def box(config):
    made = Inbox(config)
    yield made
    made.engine.dispose()


@pytest.fixture
def nested():
    """{bits: what faultkit.dll said about one bug of one program, built for 32 and for 64 bits}."""
    return {bits: (MESSAGES / f"nested_{bits}.txt").read_text("utf-8") for bits in (32, 64)}


@pytest.fixture
def told():
    """{bits: what faultkit.dll said where the host had set values}, of 32 bits as a file, of 64 as in a message."""
    return {bits: (MESSAGES / f"told_{bits}.txt").read_text("utf-8") for bits in (32, 64)}


class Pages:
    """A browser's requests, without one."""

    def __init__(self, box):
        self.client = make_app(box).test_client()

    def get(self, path, status=200, **options):
        answer = self.client.get(path, **options)
        assert answer.status_code == status, (path, answer.status_code, answer.text[:500])
        return answer

    def token(self, path="/login"):
        return re.search(r'name="token" value="([^"]+)"', self.get(path).text)[1]

    def post(self, path, status=302, token=None, **fields):
        token = self.token("/crash/1") if token is None else token
        answer = self.client.post(path, data={**fields, "token": token})
        assert answer.status_code == status, (path, answer.status_code, answer.text[:500])
        return answer

    def upload(self, body, status=200):
        answer = self.client.post(FORM_PATH, data=body, content_type=CONTENT_TYPE)
        assert answer.status_code == status, answer.text
        return answer.data


@pytest.fixture
def pages(box):
    return Pages(box)


class Served:
    """An inbox that runs as its command does, on a free port of loopback."""

    def __init__(self, store, *options, env=None, address="127.0.0.1", port=None):
        if not port:
            with socket.socket() as probe:
                probe.bind((address, 0))
                port = probe.getsockname()[1]
        self.address, self.port, self.url = address, port, f"http://{address}:{port}"
        self.log_path = pathlib.Path(store).with_suffix(".log")
        self._command = command("--store", store, "--listen", f"{address}:{port}", *options)
        self._env = {**os.environ, "PYTHONPATH": str(REPO), "MALLOC_ARENA_MAX": "2", **(env or {})}
        self.process = None

    def __enter__(self):
        with open(self.log_path, "ab") as log:
            self.process = spawn(self._command, env=self._env, stdout=log, stderr=log)

        def listens():
            if self.process.poll() is not None:
                raise RuntimeError(f"the inbox has ended: {self.log()}")
            with socket.socket() as probe:
                return probe.connect_ex((self.address, self.port)) == 0

        wait_until(listens, "the inbox to listen", seen=self.log)
        return self

    def __exit__(self, *failure):
        stop(self.process)

    def log(self):
        return self.log_path.read_text("utf-8", "replace")

    def get(self, path):
        """(status, bytes)."""
        try:
            with urllib.request.urlopen(self.url + path, timeout=60) as answer:
                return answer.status, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.read()

    def upload(self, body):
        request = urllib.request.Request(self.url + FORM_PATH, body, {"Content-Type": CONTENT_TYPE})
        try:
            with urllib.request.urlopen(request, timeout=120) as answer:
                return answer.status, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.read()


def command(*arguments):
    return [sys.executable, "-m", "inbox", *map(str, arguments)]


@pytest.fixture
def served(tmp_path):
    """served(*options): a Served inbox, which ends with the test."""
    running = []

    def serve(*options, store="store", **where):
        running.append(Served(tmp_path / store, *options, **where).__enter__())
        return running[-1]

    yield serve
    for each in running:
        each.__exit__()
