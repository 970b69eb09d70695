"""The inbox as a server, for tests and measurements."""

import os
import sys
import urllib.error
import urllib.request

from testing.processes import REPO
from testing.service import Service, free_port, listens
from testing.upload_body import CONTENT_TYPE, FORM_PATH


def command(*arguments):
    return [sys.executable, "-m", "inbox", *map(str, arguments)]


class Served(Service):
    """An inbox that runs as its command does, on a free port of loopback."""

    def __init__(self, store, *options, env=None, address="127.0.0.1", port=None):
        super().__init__()
        self.address, self.port = address, port or free_port(address)
        self.url = f"http://{address}:{self.port}"
        self._command = command("--store", store, "--listen", f"{address}:{self.port}", *options)
        self._env = {**os.environ, "PYTHONPATH": str(REPO), "MALLOC_ARENA_MAX": "2", **(env or {})}

    def start(self):
        self.launch(self._command, lambda: listens(self.address, self.port), env=self._env)

    def get(self, path):
        """(status, bytes)."""
        return self._answer(self.url + path)

    def upload(self, body):
        return self._answer(urllib.request.Request(self.url + FORM_PATH, body, {"Content-Type": CONTENT_TYPE}))

    def _answer(self, request):
        try:
            with urllib.request.urlopen(request, timeout=120) as answer:
                return answer.status, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.read()
