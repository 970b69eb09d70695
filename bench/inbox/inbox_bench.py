#!/usr/bin/env python3
"""Measures the inbox as it runs: uploads of several clients, then pages and search, and the server's memory.

usage: bench/inbox/inbox_bench.py [--database sqlite|postgres|URL]... [--reports 100000] [--signatures 5000] [--folder FOLDER]

Prints a row of docs/inbox.md's table for each step of filling: reports there are, taken in a second since the row before,
milliseconds (the median of several) of the first page, of the page of the largest crash, of a search, and the server's memory.
postgres is one of the benchmark's own. Several databases are measured one after the other.
"""

import argparse
import contextlib
import http.client
import os
import pathlib
import random
import re
import statistics
import sys
import tempfile
import threading
import time

REPO = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(REPO), str(REPO / "tests" / "inbox")]

import made  # noqa: E402
from postgres import Postgres  # noqa: E402
from testing.inbox_server import Served  # noqa: E402
from testing.upload_body import CONFIRMATION, CONTENT_TYPE, FORM_PATH, upload_body  # noqa: E402

CLIENTS = 16
TABLE = (
    "| Database | Reports in the store | Taken in a second | First page | Page of the largest crash | Search"
    " | Memory of the server |",
    "| --- | ---: | ---: | ---: | ---: | ---: | ---: |",
)
SEARCHES = ("function_17_of", "chip 4711", "board version_3", "EXCEPTION_ACCESS_VIOLATION")


def body(number, signatures, chance):
    """A report with 12 frames and 30 modules; few signatures have most of the reports."""
    which = (
        min(int(chance.paretovariate(0.6)) - 1, signatures - 1)
        if chance.random() < 0.7
        else chance.randrange(signatures)
    )
    places = [f"function_{which}_of_it", *(f"step_{which % 97}_{depth}" for depth in range(11))]
    extra = [f"{0x10000000 + each * 0x100000:08X} 00010000 FF94A828 1.0.0.0 - library{each}.dll" for each in range(30)]
    text = made.fault_text(places, version=f"{which % 3 + 1}.{number * 10 // 100_000}.0.0")
    text = text.replace("7B600000 00061000", "\n".join(extra) + "\n7B600000 00061000", 1)
    files = made.upload_files(processor=f"Chip {number % 20_000}")
    files["File_for_conversion"] = (b"C:\\fault.txt", text.encode())
    return upload_body(files)


def fill(server, numbers, signatures):
    """Uploads all of these and returns how many seconds it took."""
    jobs, lock = iter(numbers), threading.Lock()
    failures = []

    def client(seed):
        chance = random.Random(seed)
        connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=120)
        while True:
            with lock:
                number = next(jobs, None)
            if number is None:
                return
            connection.request("POST", FORM_PATH, body(number, signatures, chance), {"Content-Type": CONTENT_TYPE})
            answer = connection.getresponse().read()
            if CONFIRMATION not in answer:
                failures.append(answer)

    begin = time.monotonic()
    threads = [threading.Thread(target=client, args=(numbers.start * 100 + each,)) for each in range(CLIENTS)]
    for each in threads:
        each.start()
    for each in threads:
        each.join()
    if failures:
        raise RuntimeError(failures[0])
    return time.monotonic() - begin


def milliseconds(server, *paths, rounds=5):
    times = []
    for path in paths * rounds:
        begin = time.monotonic()
        status, _ = server.get(path)
        times.append((time.monotonic() - begin) * 1000)
        if status != 200:
            raise RuntimeError(f"{path}: {status}")
    return statistics.median(times)


def memory(server):
    status = pathlib.Path(f"/proc/{server.process.pid}/status").read_text("ascii")
    return int(re.search(r"^VmRSS:\s+(\d+)", status, re.M)[1]) / 1024


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--database", action="append")
    parser.add_argument("--reports", type=int, default=100_000)
    parser.add_argument("--signatures", type=int, default=5000)
    parser.add_argument("--folder")
    options = parser.parse_args()
    print(*TABLE, sep="\n", flush=True)
    for database in options.database or ["sqlite"]:
        with tempfile.TemporaryDirectory(dir=options.folder) as folder, contextlib.ExitStack() as stack:
            url = stack.enter_context(Postgres()).url if database == "postgres" else database
            run(pathlib.Path(folder, "store"), options, "" if database == "sqlite" else url)
        print(f"load afterwards: {os.getloadavg()[0]:.1f}", file=sys.stderr, flush=True)


def run(store, options, database):
    name = "PostgreSQL" if database else "SQLite"
    with Served(store, *(("--database", database) if database else ())) as server:
        done = 0
        for upto in (1000, 3000, 10_000, 30_000, 100_000):
            if done >= options.reports:
                break
            upto = min(upto, options.reports)
            seconds = fill(server, range(done, upto), options.signatures)
            pages = [milliseconds(server, "/"), milliseconds(server, "/crash/1")]
            pages.append(milliseconds(server, *(f"/?q={words.replace(' ', '+')}" for words in SEARCHES), rounds=3))
            figures = [
                f"{(upto - done) / seconds:.0f}",
                *(f"{each:.0f} ms" for each in pages),
                f"{memory(server):.0f} MB",
            ]
            print("| " + " | ".join([name, f"{upto:,}", *figures]) + " |", flush=True)
            done = upto


if __name__ == "__main__":
    main()
