"""An inbox of the test's own: its store, its pages, and one that listens."""

import contextlib
import pathlib
import re

import pytest

from inbox.config import Config
from inbox.core import Inbox
from inbox.web import make_app
from testing.inbox_server import Served
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


@pytest.fixture
def served(tmp_path):
    """served(*options): a Served inbox, which ends with the test."""
    with contextlib.ExitStack() as running:
        yield lambda *options, **where: running.enter_context(Served(tmp_path / "store", *options, **where))
