"""The tables, the same in SQLite and PostgreSQL, the engine to reach them, and what the two say differently. Times are seconds
since 1970, days are days since then."""

import itertools
import queue
import re
import threading
from concurrent.futures import Future

import sqlalchemy as sa
from sqlalchemy.dialects import postgresql, sqlite

_MOST_JOBS = 100  # of one transaction
_metadata = sa.MetaData()
_text = lambda name, **options: sa.Column(name, sa.Text, nullable=False, default="", **options)
_number = lambda name, **options: sa.Column(name, sa.BigInteger, nullable=False, default=0, **options)
_id = lambda: sa.Column("id", sa.BigInteger().with_variant(sa.Integer, "sqlite"), primary_key=True, autoincrement=True)
_key = lambda name: sa.Column(name, sa.Text, primary_key=True)
_reference = lambda name: sa.Column(name, sa.BigInteger, nullable=False, index=True)

# state: open, fixed or ignored. regressed: 1 if a report from the version that should have mended it has opened it again.
# merged_into: the crash to which regrouping has moved all of its reports.
crash = sa.Table(
    "crash",
    _metadata,
    _id(),
    _text("digest", unique=True),
    *map(_text, ("signature", "kind", "title", "module", "state", "fixed_in", "note")),
    *map(_number, ("regressed", "count", "first_seen", "last_seen")),
    sa.Column("merged_into", sa.BigInteger),
    sa.Index("crash_by_count", "state", "count"),
    sa.Index("crash_by_last_seen", "state", "last_seen"),
)
# content: digest of what the report says, whoever sent it whenever. crash_id: null if it is unreadable, for that reason.
# happened: as the report says, else when it was received. details: packed JSON, see reports.py. pending: 1 while it waits
# for its symbols to be looked up. forwarded: when.
report = sa.Table(
    "report",
    _metadata,
    _id(),
    _text("digest", unique=True),
    _text("content", index=True),
    *(sa.Column(name, sa.BigInteger) for name in ("sent", "crash_id", "forwarded")),
    *map(_number, ("received", "happened", "day", "size", "pending")),
    *map(_text, "road sender subject product version windows processor machine kind address unreadable".split()),
    sa.Column("details", sa.LargeBinary),
    sa.Index("report_of_crash", "crash_id", "happened", "version", "machine"),
    sa.Index("report_by_time", "happened"),
    sa.Index("report_by_version", "version", "crash_id"),
    sa.Index("report_by_sender", "sender"),
    sa.Index("report_pending", "pending", sqlite_where=sa.text("pending = 1"), postgresql_where=sa.text("pending = 1")),
)
# name: the client's word. media: what it is by its bytes, text, picture, minidump or other.
_content = lambda: sa.Column("content", sa.LargeBinary, nullable=False)
_of_report, _columns = _reference("report_id"), map(_text, ("part", "name", "media"))
attachment = sa.Table("attachment", _metadata, _id(), _of_report, *_columns, _number("size"), _content())
# How many reports of a crash have this day, version or machine.
_of_crash = sa.Column("crash_id", sa.BigInteger, primary_key=True)
tally = sa.Table("tally", _metadata, _of_crash, _key("what"), _key("value"), _number("count"), sqlite_with_rowid=False)
history = sa.Table("history", _metadata, _id(), _reference("crash_id"), _number("time"), _text("text"))
# The modules in the stack of a report whose PDB would tell functions.
_wanted_by = sa.Column("report_id", sa.BigInteger, primary_key=True, index=True)
wants = sa.Table("wants", _metadata, _key("key"), _wanted_by, _text("module"))
symbol = sa.Table("symbol", _metadata, _key("key"), _text("name"), _number("added"), _content())
# What llvm-symbolizer has said: JSON of [[function, file, line], ...], innermost first.
place = sa.Table("place", _metadata, _key("at"), _text("said"))
setting = sa.Table("setting", _metadata, _key("name"), _text("value"))


def all_of(connection, asked):
    return [dict(row) for row in connection.execute(asked).mappings()]


def one_of(connection, asked):
    return next(iter(all_of(connection, asked.limit(1))), None)


def setting_of(connection, name):
    return connection.execute(sa.select(setting.c.value).where(setting.c.name == name)).scalar()


def change(connection, table, row_id, **values):
    connection.execute(table.update().where(table.c.id == row_id).values(values))


def run(connection, statement, rows):
    """Executes it for each of the rows."""
    if rows:
        connection.execute(statement, rows)


def put(connection, table, rows, **changes):
    """Inserts rows. One whose key is there is changed instead: columns to what these functions make of the new values."""
    insert = {"sqlite": sqlite, "postgresql": postgresql}[connection.dialect.name].insert(table)
    values = {name: made(sa.literal_column(f"excluded.{name}")) for name, made in changes.items()}
    keys = ["digest"] if "digest" in table.c else table.primary_key.columns
    run(connection, insert.on_conflict_do_update(index_elements=keys, set_=values), rows)


def open_engine(url):
    """The engine for a database's URL, with all tables in it. Those with the option writes take SQLite's one lock at once."""
    if url.startswith("sqlite"):
        pool = {"poolclass": sa.pool.QueuePool, "pool_size": 20, "pool_use_lifo": True}
        engine = sa.create_engine(url, future=True, connect_args={"timeout": 60, "check_same_thread": False}, **pool)
        sa.event.listen(engine, "connect", _prepare_sqlite)
        sa.event.listen(engine, "begin", _begin_sqlite)
    else:
        pool = {"pool_pre_ping": True, "pool_size": 10, "max_overflow": 10}
        engine = sa.create_engine(url, future=True, executemany_mode="values_plus_batch", **pool)
    with engine.execution_options(writes=True).begin() as connection:
        if engine.dialect.name == "postgresql":  # other workers may be starting as well
            connection.execute(sa.text("SELECT pg_advisory_xact_lock(8241)"))
        _metadata.create_all(connection)
        connection.execute(sa.text(_SEARCH[engine.dialect.name]))
    return engine


def _prepare_sqlite(connection, _record):
    connection.isolation_level = None  # transactions begin where _begin_sqlite says
    # FULL: what was answered with success survives the loss of power, too.
    for pragma in ("journal_mode=WAL", "synchronous=FULL", "cache_size=-8000", "journal_size_limit=67108864"):
        connection.execute(f"PRAGMA {pragma}")


def _begin_sqlite(connection):
    writes = connection.get_execution_options().get("writes")
    connection.exec_driver_sql("BEGIN IMMEDIATE" if writes else "BEGIN")


# The words of each report, for full-text search: the one table that the two databases have of their own.
_MOST_WORDS = 800
_SEARCH = {
    "sqlite": "CREATE VIRTUAL TABLE IF NOT EXISTS search"
    " USING fts5(words, detail=none, tokenize=\"unicode61 tokenchars '_'\")",
    "postgresql": "CREATE TABLE IF NOT EXISTS search (rowid bigint PRIMARY KEY, words tsvector NOT NULL);"
    " CREATE INDEX IF NOT EXISTS search_words ON search USING gin (words)",
}


def words_of(*texts):
    """The different words in the texts, in lower case: letters, digits and underscores."""
    return list(dict.fromkeys(word[:60] for text in texts for word in re.findall(r"\w+", text.lower())))[:_MOST_WORDS]


def add_words(connection, words):
    """words: those of each report, by its id."""
    if connection.dialect.name == "sqlite":
        insert, words = "(:id, :words)", {each: " ".join(found) for each, found in words.items()}
    else:
        insert = "(:id, array_to_tsvector(:words))"
    rows = [{"id": each, "words": found} for each, found in words.items()]
    run(connection, sa.text(f"INSERT INTO search(rowid, words) VALUES {insert}"), rows)


def remove_words(connection, report_ids):
    connection.execute(sa.text("DELETE FROM search WHERE rowid = :id"), [{"id": each} for each in report_ids])


def has_words(dialect, query):
    """The SQL condition for reports that have words that begin as those of the query; None where it has none."""
    found = words_of(query)[:20]
    if not found:
        return None
    if dialect == "sqlite":
        match, asked = "search MATCH :asked", " ".join(f'"{word}"*' for word in found)
    else:
        match, asked = "words @@ CAST(:asked AS tsquery)", " & ".join(f"'{word}':*" for word in found)
    return sa.text(f"report.id IN (SELECT rowid FROM search WHERE {match})").bindparams(asked=asked)


class Writer:
    """One thread that writes: what several requests bring at the same moment shares a transaction, and with it statements and
    the wait for the disk. Nobody is told of success before that transaction is kept."""

    def __init__(self, engine):
        self.engine = engine.execution_options(writes=True)
        self._jobs = queue.SimpleQueue()
        threading.Thread(target=self._run, name="writer", daemon=True).start()

    def do(self, job):
        """Returns job(connection), called in a transaction, or raises what it raised."""
        return self.together(lambda connection, _: [job(connection)], None)

    def together(self, job, item):
        """The same for job(connection, items), which returns the results of all items that are there at the moment."""
        future = Future()
        self._jobs.put((job, item, future))
        return future.result()

    def _run(self):
        while True:
            batch = [self._jobs.get()]
            while len(batch) < _MOST_JOBS and not self._jobs.empty():
                batch.append(self._jobs.get())
            if self._fails(batch):  # one has failed, and the transaction with it: each by itself
                for each in batch:
                    error = self._fails([each])
                    if isinstance(error, sa.exc.DBAPIError):  # another worker was first, or the connection is gone
                        error = self._fails([each])
                    if error:
                        each[2].set_exception(error)

    def _fails(self, batch):
        """Does the jobs in one transaction and tells their results, or returns what one has raised."""
        results = []
        try:
            with self.engine.begin() as connection:
                for job, same in itertools.groupby(batch, lambda each: each[0]):
                    results += job(connection, [item for _, item, _ in same])
        except Exception as error:  # goes to whoever has asked
            return error
        for (_, _, future), result in zip(batch, results):
            future.set_result(result)
        return None
