"""The inbox itself: the store, the way in, and what goes on in the background."""

import itertools
import logging
import pathlib
import time
from concurrent.futures import ThreadPoolExecutor

import sqlalchemy as sa

from inbox import mail, reports, schema
from inbox.schema import report
from inbox.signature import Rules
from inbox.symbols import Symbols

log = logging.getLogger("inbox")


class Inbox:
    """Opens the store of a Config, and makes it if there is none."""

    def __init__(self, config, ask=False):
        self.config = config
        config.store.mkdir(parents=True, exist_ok=True, mode=0o700)
        self.engine = schema.open_engine(config.url)
        self.writer = schema.Writer(self.engine)
        rules = pathlib.Path(config.rules or config.store / "groups.txt")
        if not config.rules and not rules.is_file():
            rules = pathlib.Path(__file__).with_name("groups.txt")
        self.symbols = Symbols(self.engine, config.store / "symbols")
        self.reports = reports.Reports(self.writer, Rules(rules.read_text("utf-8", "replace")), self.symbols, ask)
        self._seen = {}

    def add_files(self, paths, say=print):
        """Takes in every message below the paths, and says a line for each that is unreadable. (new, known, unreadable)."""
        counts, add_message = [0, 0, 0], self.reports.add_message
        add = lambda named: (named[0], *(add_message(named[1]) if named[1] else (0, False, "too large, left out")))
        messages = itertools.chain.from_iterable(mail.messages(path, self.config.max_report) for path in paths)
        with ThreadPoolExecutor(16) as pool:  # which wait for the disk together
            while some := list(itertools.islice(messages, 16)):
                for name, _, new, wrong in pool.map(add, some):
                    counts[2 if wrong else 0 if new else 1] += 1
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
                    young = 0 <= time.time() - state.st_mtime < 1 or path.parent.name == "tmp"
                    if not young and path.is_file() and self._seen.get(path) != mark:
                        self.add_files([path], say)
                        self._seen[path] = mark
                except OSError as error:
                    say(f"{path}: {error}")

    def regroup(self):
        """Understands every report anew by the rules as they are. Returns how many have moved."""
        moved = sum(map(self.reports.regroup, self.ids(report.c.crash_id.is_not(None))))
        rules = {"name": "rules", "value": self.reports.rules.identity}
        self.writer.do(lambda connection: schema.put(connection, schema.setting, [rules], value=lambda new: new))
        return moved

    def resolve_pending(self):
        """Looks up the symbols of the reports that wait for them. Returns how many there were."""
        done = 0
        for done, each in enumerate(self.ids(report.c.pending == 1), 1):
            try:
                self.reports.regroup(each)
            except Exception:  # one report must not stop the others
                log.exception("the symbols of report %d", each)
                self.change(each, pending=0)
        return done

    def delete(self, condition):
        """Deletes the reports for which the condition holds. Returns how many."""
        ids, gone = self.ids(condition), 0
        while some := list(itertools.islice(ids, 200)):
            gone += self.writer.do(lambda connection, some=some: reports.delete(connection, some))
        return gone

    def delete_old(self):
        return self.delete(report.c.received < int(time.time()) - keep) if (keep := self.config.keep_seconds) else 0

    def work(self, folders=()):
        """What goes on beside the requests, for ever: symbols, changed rules, the age of reports, and folders to watch."""
        swept = 0.0
        while True:
            try:
                with self.engine.connect() as connection:
                    rules = schema.setting_of(connection, "rules")
                if not swept and rules != self.reports.rules.identity:
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

    def ids(self, condition):
        """The ids of the reports for which the condition holds."""
        last = 0
        while True:
            asked = sa.select(report.c.id).where(condition, report.c.id > last).order_by(report.c.id).limit(200)
            with self.engine.connect() as connection:
                found = connection.execute(asked).scalars().all()
            if not found:
                return
            yield from found
            last = found[-1]

    def change(self, report_id, **values):
        self.writer.do(lambda connection: schema.change(connection, report, report_id, **values))
