"""The tables, the same in SQLite and PostgreSQL, and the engine to reach them. Times are seconds since 1970, days are days
since then."""

import sqlalchemy as sa

_metadata = sa.MetaData()
_text = lambda name, **options: sa.Column(name, sa.Text, nullable=False, default="", **options)
_number = lambda name, **options: sa.Column(name, sa.BigInteger, nullable=False, default=0, **options)
_id = lambda: sa.Column("id", sa.BigInteger().with_variant(sa.Integer, "sqlite"), primary_key=True, autoincrement=True)

crash = sa.Table(
    "crash",
    _metadata,
    _id(),
    _text("digest", unique=True),
    *map(_text, ("signature", "kind", "title", "module")),
    _text("state"),  # open, fixed, ignored
    _text("fixed_in"),
    _text("note"),
    _number("regressed"),  # 1: opened again by a report from the version that should have mended it
    _number("count"),
    _number("first_seen"),
    _number("last_seen"),
    sa.Column("merged_into", sa.BigInteger),  # the crash to which regrouping has moved all of its reports
    sa.Index("crash_by_count", "state", "count"),
    sa.Index("crash_by_last_seen", "state", "last_seen"),
)
report = sa.Table(
    "report",
    _metadata,
    _id(),
    _text("digest", unique=True),
    _text("content", index=True),  # digest of what the report says, whoever sent it whenever
    sa.Column("sent", sa.BigInteger),
    sa.Column("crash_id", sa.BigInteger),  # null: unreadable
    _number("received"),
    _number("happened"),  # as the message says; else when it was received
    _number("day"),
    *map(
        _text, ("road", "sender", "subject", "product", "version", "windows", "processor", "machine", "kind", "address")
    ),
    _number("size"),
    sa.Column("details", sa.LargeBinary),  # packed JSON, see reports.py
    _text("unreadable"),  # why
    _number("pending"),  # 1: waits for its symbols to be looked up
    sa.Column("forwarded", sa.BigInteger),  # when
    sa.Index("report_of_crash", "crash_id", "happened", "version", "machine"),
    sa.Index("report_by_time", "happened"),
    sa.Index("report_by_version", "version", "crash_id"),
    sa.Index("report_by_sender", "sender"),
    sa.Index("report_pending", "pending", sqlite_where=sa.text("pending = 1"), postgresql_where=sa.text("pending = 1")),
)
attachment = sa.Table(
    "attachment",
    _metadata,
    _id(),
    sa.Column("report_id", sa.BigInteger, nullable=False, index=True),
    _text("part"),
    _text("name"),  # the client's word
    _text("media"),  # what it is by its bytes: text, picture, minidump, other
    _number("size"),
    sa.Column("content", sa.LargeBinary, nullable=False),
)
# How many reports of a crash have this day, version or machine.
tally = sa.Table(
    "tally",
    _metadata,
    sa.Column("crash_id", sa.BigInteger, primary_key=True),
    sa.Column("what", sa.Text, primary_key=True),
    sa.Column("value", sa.Text, primary_key=True),
    _number("count"),
    sa.Index("tally_by_value", "what", "value"),
)
history = sa.Table(
    "history",
    _metadata,
    _id(),
    sa.Column("crash_id", sa.BigInteger, nullable=False, index=True),
    _number("time"),
    _text("text"),
)
# The modules in the stack of a report whose PDB would tell functions.
wants = sa.Table(
    "wants",
    _metadata,
    sa.Column("key", sa.Text, primary_key=True),
    sa.Column("report_id", sa.BigInteger, primary_key=True),
    _text("module"),
    sa.Index("wants_of_report", "report_id"),
)
symbol = sa.Table(
    "symbol",
    _metadata,
    sa.Column("key", sa.Text, primary_key=True),
    _text("name"),
    _number("added"),
    sa.Column("content", sa.LargeBinary),
)
# What llvm-symbolizer has said: JSON of [[function, file, line], ...], innermost first.
place = sa.Table("place", _metadata, sa.Column("at", sa.Text, primary_key=True), _text("said"))
setting = sa.Table("setting", _metadata, sa.Column("name", sa.Text, primary_key=True), _text("value"))


def open_engine(url):
    """The engine for a database's URL, with all tables in it. Transactions of writers() take SQLite's one lock at once."""
    if url.startswith("sqlite"):
        options = {"timeout": 60, "check_same_thread": False}
        engine = sa.create_engine(
            url, future=True, poolclass=sa.pool.QueuePool, pool_size=20, pool_use_lifo=True, connect_args=options
        )
        sa.event.listen(engine, "connect", _prepare_sqlite)
        sa.event.listen(engine, "begin", _begin_sqlite)
    else:
        engine = sa.create_engine(url, future=True, pool_pre_ping=True, pool_size=10, max_overflow=10)
    with engine.execution_options(writes=True).begin() as connection:
        if engine.dialect.name == "postgresql":  # other workers may be starting as well
            connection.execute(sa.text("SELECT pg_advisory_xact_lock(8241)"))
        _metadata.create_all(connection)
        for command in _SEARCH[engine.dialect.name]:
            connection.execute(sa.text(command))
    return engine


def _prepare_sqlite(connection, _record):
    connection.isolation_level = None  # transactions begin where _begin_sqlite says
    # FULL: what was answered with success survives the loss of power, too.
    for pragma in ("journal_mode=WAL", "synchronous=FULL", "cache_size=-8000", "journal_size_limit=67108864"):
        connection.execute(f"PRAGMA {pragma}")


def _begin_sqlite(connection):
    writes = connection.get_execution_options().get("writes")
    connection.exec_driver_sql("BEGIN IMMEDIATE" if writes else "BEGIN")


# The words of each report. Its table is one thing that the two databases have of their own; see words.py.
_SEARCH = {
    "sqlite": [
        "CREATE VIRTUAL TABLE IF NOT EXISTS search USING fts5(words, detail=none, tokenize=\"unicode61 tokenchars '_'\")"
    ],
    "postgresql": [
        "CREATE TABLE IF NOT EXISTS search (rowid bigint PRIMARY KEY, words tsvector NOT NULL)",
        "CREATE INDEX IF NOT EXISTS search_words ON search USING gin (words)",
    ],
}
