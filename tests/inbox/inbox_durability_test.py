"""What was answered with success is there: with fifty uploads at a time, and when the inbox is killed at any moment."""

import http.client
import itertools
import os
import random
import signal
import sqlite3
import threading
import time
import urllib.error
from concurrent.futures import ThreadPoolExecutor

import pytest

import made
from testing.upload_body import CONFIRMATION, upload_body

SECONDS = float(os.environ.get("WENDAX_INBOX_SECONDS", "10"))  # that fifty clients upload for
KILLS = int(os.environ.get("WENDAX_INBOX_KILLS", "50"))


def body(number):
    text = made.fault_text((f"f{number % 40}", "run"), extra=[f"EBX {number:08X}  ECX 00000000"])
    return upload_body(made.upload_files(text, processor=f"Chip {number}"))


def stored(path):
    """The processors of all reports in a store, each of which one upload had to itself."""
    with sqlite3.connect(path / "inbox.db") as connection:
        assert connection.execute("PRAGMA integrity_check").fetchone() == ("ok",)
        return [processor for (processor,) in connection.execute("SELECT processor FROM report")]


@pytest.mark.timeout(400)
def test_fifty_uploads_at_once_are_all_there_and_none_twice(served, tmp_path):
    server = served()
    confirmed, end, numbers = [], time.monotonic() + SECONDS, itertools.count()

    def client(_):
        while time.monotonic() < end:
            number = next(numbers)
            status, answer = server.upload(body(number))
            assert status == 200 and CONFIRMATION in answer, answer
            confirmed.append(f"Chip {number}")

    with ThreadPoolExecutor(50) as pool:
        list(pool.map(client, range(50)))
    assert len(confirmed) >= 50
    assert sorted(stored(tmp_path / "store")) == sorted(confirmed)


@pytest.mark.timeout(900)
def test_killed_at_any_moment_it_keeps_what_it_has_confirmed(served, tmp_path):
    confirmed, numbers = set(), itertools.count()
    server, chance = served(), random.Random(7)
    for _ in range(KILLS):
        sent = threading.Event()

        def client(_):
            while True:
                number = next(numbers)
                try:
                    status, answer = server.upload(body(number))
                except (urllib.error.URLError, OSError, http.client.HTTPException):
                    return
                if status == 200 and CONFIRMATION in answer:
                    confirmed.add(f"Chip {number}")
                    sent.set()

        with ThreadPoolExecutor(4) as pool:
            clients = [pool.submit(client, each) for each in range(4)]
            assert sent.wait(60)
            time.sleep(chance.random() * 0.1)
            os.killpg(server.process.pid, signal.SIGKILL)
            server.process.wait()
            for each in clients:
                each.result()
        server.__enter__()
    there = stored(tmp_path / "store")
    assert len(there) == len(set(there))
    assert confirmed - set(there) == set()
    assert len(confirmed) >= KILLS
