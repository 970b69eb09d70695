"""Takes reports in and groups them. Functions with a connection run within the caller's transaction."""

import collections
import dataclasses
import hashlib
import json
import re
import time
import types
import zlib

import minidump
import sqlalchemy as sa

from inbox import form, mail, queries, schema
from inbox.fault_text import Facts
from inbox.parcel import Attachment, Parcel, Unreadable
from inbox.schema import attachment, crash, report, tally, wants
from inbox.signature import signature
from inbox.understanding import understand

ENDINGS = {"text": "txt", "minidump": "dmp", "picture": "bin", "other": "bin"}  # of files, by what media_of says
_PICTURES = (b"\xff\xd8\xff", b"\x89PNG", b"GIF8", b"BM")
_MOST_WORDS = 300_000  # characters of a message that are kept
# What is known of what is unreadable.
_NOTHING = dict.fromkeys(("product", "version", "windows", "processor", "machine"), "")


def media_of(content):
    """What a file is, by its first bytes alone."""
    if minidump.is_minidump(content):
        return "minidump"
    if content.startswith(_PICTURES):
        return "picture"
    return "text" if content and b"\0" not in content[:4096] else "other"


class Reports:
    """The way in. rules: signature.Rules; symbols: Symbols; writer: Writer. ask: whether symbols are looked up while a report
    is taken in; otherwise it is marked as pending where that would tell more."""

    def __init__(self, writer, rules, symbols, ask=False):
        self._writer, self.rules, self._symbols, self._ask = writer, rules, symbols, ask

    def add_upload(self, body, sender="", received=None):
        """(id of the report, whether it is new, why it is unreadable or ""). What can't be read is kept whole."""
        return self._add(body, lambda: Parcel("upload", "", form.parse(body), sender), "upload", sender, received)

    def add_message(self, raw, received=None):
        return self._add(raw, lambda: mail.parse(raw), "message", "", received)

    def _add(self, raw, read, road, sender, received):
        reason, facts, known, system = "", None, {}, ""
        try:
            parcel = read()
            facts, known, system = understand(parcel)
            content = parcel.digest()
        except Unreadable as error:
            reason, parcel = str(error), Parcel(road, "", (Attachment("original", bytes(raw)),), sender)
            content = hashlib.sha256(b"unreadable:" + raw).hexdigest()
        now = received or int(time.time())
        crashed = facts.time if facts and 800_000_000 < facts.time < now + 2 * 86400 else None
        happened = crashed or parcel.sent or now
        details = {"facts": facts, "system": system, "words": parcel.text[:_MOST_WORDS]}
        details = json.dumps(details, separators=(",", ":"), default=vars).encode("utf-8", "replace")
        facts, wanted, more = self._known(facts, self._ask)
        made = None if reason else signature(facts, self.rules, known["product"])
        digest = hashlib.sha256(f"{content} {parcel.sender} {parcel.sent}".encode("utf-8", "replace")).hexdigest()
        row = {"digest": digest, "content": content, "sent": parcel.sent, "received": now, "happened": happened}
        row |= {"day": happened // 86400, "size": parcel.size, "pending": int(more), "crash_id": None}
        told = {"road": parcel.road, "sender": parcel.sender[:200], "subject": parcel.subject[:300]} | _NOTHING | known
        told |= {"kind": made.kind if made else "", "address": facts.address if facts else "", "unreadable": reason}
        row |= {name: _clean(text) for name, text in told.items()} | {"details": zlib.compress(details, 1)}
        names = [each.name for each in parcel.attachments]
        found = schema.words_of(*_words(row, facts, made), reason, *names, parcel.text[:4000])
        new = types.SimpleNamespace(parcel=parcel, row=row, signature=made, wanted=wanted, words=found)
        return *self._writer.together(_keep, new), reason

    def _known(self, facts, ask):
        """(facts with what symbols tell of their frames, {identity: module} of wanted ones, whether there is more to tell)."""
        if not facts:
            return None, {}, False
        frames, wanted, more = self._symbols.frames(facts.frames, ask)
        threads, _, later = self._symbols.frames(facts.threads, ask)
        return dataclasses.replace(facts, frames=frames, threads=threads), wanted, more or later

    def told(self, row, ask=False):
        """(facts as they are known by now, or None; what else is kept) of a report's row."""
        data = json.loads(zlib.decompress(row["details"])) if row["details"] else {}
        return self._known(Facts.of(data["facts"]) if data.get("facts") else None, ask)[0], data

    def regroup(self, report_id):
        """Looks a report's symbols up, and moves it to the crash of its signature. Returns whether it has moved."""
        asked = sa.select(report).where(report.c.id == report_id)
        with self._writer.engine.connect() as connection:
            row = schema.one_of(connection, asked)
        if not row or row["unreadable"]:
            return False
        facts, data = self.told(row, ask=True)
        made = signature(facts, self.rules, row["product"])
        found = schema.words_of(*_words(row, facts, made), data["words"][:4000])

        def write(connection):
            now = schema.one_of(connection, asked)
            if not now:
                return False
            old = schema.one_of(connection, sa.select(crash).where(crash.c.id == now["crash_id"]))
            schema.remove_words(connection, [report_id])
            schema.add_words(connection, {report_id: found})
            moved = now.copy()
            if old["digest"] != made.digest:
                _count(connection, [(made, moved)])
            new = moved["crash_id"]
            schema.change(connection, report, report_id, pending=0, crash_id=new, kind=made.kind)
            if new == old["id"]:
                return False
            _tally(connection, [now], -1)
            _inherit(connection, old, new)
            recount(connection, [old["id"]], merged_into=new)
            return True

        return self._writer.do(write)


def _keep(connection, items):
    """Stores the reports that aren't there yet, and returns [(id, whether it was new)]: a few statements for all of them."""
    columns = (report.c[name] for name in ("content", "digest", "sender", "sent"))
    contents = [each.row["content"] for each in items]
    known = connection.execute(sa.select(*columns).where(report.c.content.in_(contents))).all()
    new, answers = [], []
    for each in items:
        content, digest = each.row["content"], each.row["digest"]
        same = (theirs for said, theirs, *who in known if said == content and each.parcel.is_same(*who))
        if (found := next(same, None)) is None:
            new.append(each)
            known.append((content, digest, each.parcel.sender, each.parcel.sent))
        answers.append((found or digest, found is None))
    _count(connection, [(each.signature, each.row) for each in new if each.signature])
    schema.run(connection, report.insert(), [each.row for each in new])
    asked = sa.select(report.c.digest, report.c.id).where(report.c.digest.in_([digest for digest, _ in answers]))
    ids = dict(connection.execute(asked).all())
    added = {ids[each.row["digest"]]: each for each in new}
    files = [_file_row(at, file) for at, each in added.items() for file in each.parcel.attachments]
    schema.run(connection, attachment.insert(), files)
    wanted = [(at, key, _clean(name)) for at, each in added.items() for key, name in each.wanted.items()]
    schema.run(connection, wants.insert(), [dict(zip(("report_id", "key", "module"), row)) for row in wanted])
    schema.add_words(connection, {at: each.words for at, each in added.items()})
    return [(ids[digest], is_new) for digest, is_new in answers]


def _count(connection, pairs):
    """Finds or makes the crash of each (signature, row), which then has one report more; the row is given its crash_id."""
    crashes = {}
    for made, row in pairs:
        at, new = row["happened"], {name: _clean(getattr(made, name)) for name in ("digest", "kind", "title", "module")}
        new |= {"signature": _clean(made.text)[:4000], "state": "open", "count": 0, "first_seen": at, "last_seen": at}
        sums = crashes.setdefault(made.digest, new)
        sums["count"] += 1
        sums["first_seen"], sums["last_seen"] = min(at, sums["first_seen"]), max(at, sums["last_seen"])
    # All workers lock crashes in this order.
    rows = [crashes[digest] for digest in sorted(crashes)]
    earlier = lambda at: sa.case((sa.or_(crash.c.count == 0, at < crash.c.first_seen), at), else_=crash.c.first_seen)
    later = lambda at: sa.case((sa.or_(crash.c.count == 0, at > crash.c.last_seen), at), else_=crash.c.last_seen)
    sums = {"count": lambda count: crash.c.count + count, "merged_into": lambda _: None}
    schema.put(connection, crash, rows, first_seen=earlier, last_seen=later, **sums)
    columns = (crash.c[name] for name in ("digest", "id", "state", "fixed_in"))
    found = schema.all_of(connection, sa.select(*columns).where(crash.c.digest.in_(list(crashes))))
    by_digest = {each["digest"]: each for each in found}
    for made, row in pairs:
        of = by_digest[made.digest]
        row["crash_id"] = of["id"]
        if of["state"] == "fixed" and at_least(row["version"], of["fixed_in"]):
            of["state"] = "open"
            schema.change(connection, crash, of["id"], state="open", regressed=1)
            note_down(connection, of["id"], f"opened again: a report from {row['version']}, fixed in {of['fixed_in']}")
    _tally(connection, [row for _, row in pairs], 1)


def _tally(connection, rows, by):
    """Counts reports in the tallies of their crashes, or out of them."""
    counts = collections.Counter()
    for row in rows:
        for what in ("day", "version", "machine"):
            if row[what] or what != "machine":
                counts[row["crash_id"], what, str(row[what])] += by
    rows = [dict(zip(("crash_id", "what", "value", "count"), (*key, counts[key]))) for key in sorted(counts)]
    schema.put(connection, tally, rows, count=lambda count: tally.c.count + count)


def _inherit(connection, old, new):
    """A crash that begins with a report goes on where that one's former crash was; the last to leave takes the history."""
    count = sa.select(crash.c.count).where(crash.c.id == new)
    begins, last = connection.execute(count).scalar() == 1, old["count"] == 1
    if begins:
        taken = {name: old[name] for name in ("state", "fixed_in", "note", "regressed")}
        schema.change(connection, crash, new, **taken)
    if last:
        theirs = schema.history.update().where(schema.history.c.crash_id == old["id"])
        connection.execute(theirs.values(crash_id=new))
    if begins or last:
        verb = "joined by all" if last else "begun by"
        note_down(connection, new, f"{verb} reports that were grouped as: {old['signature'][:300]}")


def recount(connection, crash_ids, merged_into=None):
    """Brings the sums of crashes in line with their reports. One without any is merged, or it goes."""
    for crash_id in crash_ids:
        span = sa.select(sa.func.count(), sa.func.min(report.c.happened), sa.func.max(report.c.happened))
        count, first, last = connection.execute(span.where(report.c.crash_id == crash_id)).one()
        values = {"count": count, "first_seen": first, "last_seen": last} if count else {"merged_into": merged_into}
        schema.change(connection, crash, crash_id, **{"count": 0, **values})


def delete(connection, report_ids):
    """Deletes reports with all that came with them."""
    rows = schema.all_of(connection, sa.select(report).where(report.c.id.in_(report_ids)))
    if rows:
        for table, column in ((attachment, "report_id"), (wants, "report_id"), (report, "id")):
            connection.execute(table.delete().where(table.c[column].in_(report_ids)))
        schema.remove_words(connection, report_ids)
        counted = [row for row in rows if row["crash_id"]]
        _tally(connection, counted, -1)
        recount(connection, {row["crash_id"] for row in counted})
    return len(rows)


def note_down(connection, crash_id, text):
    connection.execute(schema.history.insert().values(crash_id=crash_id, time=int(time.time()), text=_clean(text)))


def at_least(version, other):
    """Whether a version is that one or a later one. Only numbers can be compared."""
    mine, theirs = queries.version_order(version), queries.version_order(re.sub(r"(\.0+)+$", "", other))  # 2.0.0 is 2
    return mine >= theirs and not any(is_word for is_word, *_ in mine + theirs)


def _words(row, facts, made):
    yield made.text if made else ""
    yield from (row[name] for name in ("subject", "sender", "product", "version", "windows", "processor"))
    if facts:
        yield from (facts.words, *(f"{name} {value}" for name, value in facts.values.items()))
        yield from (f"{each.module} {each.function} {each.file}" for each in facts.frames[:60])
        yield from facts.notes


def _file_row(report_id, each):
    kept = {"part": each.part, "name": _clean(each.name)[:1000], "media": media_of(each.content)}
    return {"report_id": report_id, "size": len(each.content), "content": each.content, **kept}


def _clean(text):
    """What every database takes: no zero, no half of a pair."""
    return text.replace("\0", "\ufffd").encode("utf-8", "replace").decode("utf-8")
