"""The inbox itself: the store, the way in, and what goes on in the background."""

import itertools
import logging
import pathlib
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import sqlalchemy as sa

from inbox import mail, reports, schema
from inbox.signature import Rules
from inbox.symbols import Symbols
from inbox.writer import Writer

log = logging.getLogger("inbox")


class Inbox:
    """Opens the store of a Config, and makes it if there is none."""

    def __init__(self, config, ask=False):
        self.config = config
        config.store.mkdir(parents=True, exist_ok=True, mode=0o700)
        self.engine = schema.open_engine(config.url)
        self.writer = Writer(self.engine)
        self.symbols = Symbols(self.engine, config.store / "symbols")
        self.reports = reports.Reports(self.writer, Rules.read(config.rules_file), self.symbols, ask)
        self._seen = {}

    def add_files(self, paths, say=print):
        """Takes in every message below the paths, and says a line for each that is unreadable. (new, known, unreadable)."""
        counts = [0, 0, 0]

        def add(named):
            name, raw = named
            _, new, wrong = self.reports.add_message(raw) if raw else (0, False, "too large, left out")
            return name, 2 if wrong else 0 if new else 1, wrong

        messages = itertools.chain.from_iterable(mail.messages(path, self.config.max_report) for path in paths)
        with ThreadPoolExecutor(16) as pool:  # which wait for the disk together
            while some := list(itertools.islice(messages, 16)):
                for name, which, wrong in pool.map(add, some):
                    counts[which] += 1
                    if wrong:
                        say(f"{name}: {wrong}")
        return tuple(counts)

    def watch_once(self, folders, say=log.info):
        """Takes in the messages that are new or changed since the last time."""
        for folder in map(pathlib.Path, folders):
            for path in sorted(folder.rglob("*")) if folder.is_dir() else [folder]:
                try:
                    state = path.stat()
                    mark = (state.st_mtime_ns, state.st_size)
                    # What is still being written is left for the next time.
                    young = time.time() - state.st_mtime < 1 or path.parent.name == "tmp"
                    if young or not path.is_file() or self._seen.get(path) == mark:
                        continue
                    self.add_files([path], say)
                    self._seen[path] = mark
                except OSError as error:
                    say(f"{path}: {error}")

    def regroup(self):
        """Understands every report anew by the rules as they are. Returns how many have moved."""
        moved = 0
        for ids in self.in_pieces(schema.report.c.crash_id.is_not(None)):
            moved += sum(self.reports.regroup(each) for each in ids)
        self._set("rules", self.reports.rules.identity)
        return moved

    def resolve_pending(self):
        """Looks up the symbols of the reports that wait for them. Returns how many there were."""
        done = 0
        for ids in self.in_pieces(schema.report.c.pending == 1):
            for each in ids:
                try:
                    self.reports.regroup(each)
                except Exception:  # one report must not stop the others
                    log.exception("the symbols of report %d", each)
                    self.change(each, pending=0)
                done += 1
        return done

    def delete(self, condition):
        """Deletes the reports for which the condition holds. Returns how many."""
        gone = 0
        for ids in self.in_pieces(condition):
            gone += self.writer.do(lambda connection, these=ids: reports.delete(connection, these))
        return gone

    def delete_old(self):
        seconds = self.config.keep_seconds
        return self.delete(schema.report.c.received < int(time.time()) - seconds) if seconds else 0

    def work(self, folders=()):
        """Starts what goes on beside the requests: symbols, changed rules, the age of reports, and folders to watch."""
        threading.Thread(target=self._work, args=(folders,), name="work", daemon=True).start()

    def _work(self, folders):
        swept = 0.0
        while True:
            try:
                if not swept and self._get("rules") != self.reports.rules.identity:
                    log.info("by these rules %d reports have moved", self.regroup())
                self.resolve_pending()
                if time.monotonic() - swept > 3600 or not swept:
                    swept = time.monotonic()
                    if gone := self.delete_old():
                        log.info("deleted %d reports that are older than %s", gone, self.config.keep)
                self.watch_once(folders)
            except Exception:
                log.exception("the work in the background goes on after this")
            time.sleep(2)

    def in_pieces(self, condition):
        last = 0
        while True:
            asked = sa.select(schema.report.c.id).where(condition, schema.report.c.id > last)
            asked = asked.order_by(schema.report.c.id).limit(200)
            with self.engine.connect() as connection:
                ids = connection.execute(asked).scalars().all()
            if not ids:
                return
            yield ids
            last = ids[-1]

    def change(self, report_id, **values):
        self.writer.do(lambda connection: schema.change(connection, schema.report, report_id, **values))

    def _get(self, name):
        with self.engine.connect() as connection:
            asked = sa.select(schema.setting.c.value).where(schema.setting.c.name == name)
            return connection.execute(asked).scalar() or ""

    def _set(self, name, value):
        text = "INSERT INTO setting(name, value) VALUES (:name, :value) ON CONFLICT (name) DO UPDATE SET value = :value"
        self.writer.do(lambda connection: connection.execute(sa.text(text), {"name": name, "value": value}))
