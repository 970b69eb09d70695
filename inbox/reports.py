"""Takes reports in, and moves them between crashes when they are understood anew. Functions with a connection run within
the caller's transaction."""

import collections
import hashlib
import json
import re
import time
import types
import zlib

import minidump
import sqlalchemy as sa

from inbox import form, mail, schema, words
from inbox.facts import Facts
from inbox.parcel import Attachment, Parcel, Unreadable
from inbox.schema import attachment, crash, report, tally, wants
from inbox.signature import signature
from inbox.understanding import understand

ENDINGS = {"text": "txt", "minidump": "dmp", "picture": "bin", "other": "bin"}  # of files, by what media_of says
_PICTURES = (b"\xff\xd8\xff", b"\x89PNG", b"GIF8", b"BM")
_MOST_WORDS = 300_000  # characters of a message that are kept
_NOTHING = dict.fromkeys(
    ("product", "version", "windows", "processor", "machine"), ""
)  # is known of what is unreadable


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
        frames, wanted, more = self._symbols.frames(facts.frames, self._ask) if facts else ([], {}, False)
        made = None if reason else signature(facts, frames, self.rules, known["product"])
        now = received or int(time.time())
        happened = parcel.sent or now
        digest = hashlib.sha256(f"{content} {parcel.sender} {parcel.sent}".encode("utf-8", "replace")).hexdigest()
        row = {"digest": digest, "content": content, "sent": parcel.sent, "received": now, "happened": happened}
        row |= {"day": happened // 86400, "size": parcel.size, "pending": int(more), "crash_id": None}
        told = {
            "road": parcel.road,
            "sender": parcel.sender[:200],
            "subject": parcel.subject[:300],
            "unreadable": reason,
        }
        told |= {"kind": made.kind if made else "", "address": facts.address if facts else "", **_NOTHING, **known}
        row |= {name: _clean(text) for name, text in told.items()}
        details = {"facts": facts, "system": system, "words": parcel.text[:_MOST_WORDS]}
        row["details"] = zlib.compress(
            json.dumps(details, separators=(",", ":"), default=vars).encode("utf-8", "replace"), 1
        )
        names = [each.name for each in parcel.attachments]
        found = words.words_of(*_words(row, facts, frames, made), reason, *names, parcel.text[:4000])
        new = types.SimpleNamespace(parcel=parcel, row=row, signature=made, wanted=wanted, words=found)
        return *self._writer.together(_keep, new), reason

    def is_own(self, frame):
        return self.rules.is_own(frame)

    def told(self, row, ask=False):
        """(facts or None, frames as they are known by now, what else is kept) of a report's row."""
        data = json.loads(zlib.decompress(row["details"])) if row["details"] else {}
        facts = Facts.of(data["facts"]) if data.get("facts") else None
        return facts, self._symbols.frames(facts.frames, ask)[0] if facts else [], data

    def regroup(self, report_id):
        """Looks a report's symbols up, and moves it to the crash of its signature. Returns whether it has moved."""
        asked = sa.select(report).where(report.c.id == report_id)
        with self._writer.engine.connect() as connection:
            row = schema.one_of(connection, asked)
        if not row or row["unreadable"]:
            return False
        facts, frames, data = self.told(row, ask=True)
        made = signature(facts, frames, self.rules, row["product"])
        found = words.words_of(*_words(row, facts, frames, made), data["words"][:4000])

        def write(connection):
            now = schema.one_of(connection, asked)
            if not now:
                return False
            old = schema.one_of(connection, sa.select(crash).where(crash.c.id == now["crash_id"]))
            words.remove(connection, [report_id])
            words.add(connection, {report_id: found})
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
    words.add(connection, {at: each.words for at, each in added.items()})
    return [(ids[digest], is_new) for digest, is_new in answers]


def _count(connection, pairs):
    """Gives each row of a (signature, row) the crash_id of the crash with that signature, which then has one report more; it
    is made if there is none."""
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
    """A crash that begins with a report goes on where the report's former one was. The last one to leave takes the history
    along."""
    count = sa.select(crash.c.count).where(crash.c.id == new)
    begins, last = connection.execute(count).scalar() == 1, old["count"] == 1
    if begins:
        kept = {name: old[name] for name in ("state", "fixed_in", "note", "regressed")}
        schema.change(connection, crash, new, **kept)
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
    report_ids = list(report_ids)
    rows = schema.all_of(connection, sa.select(report).where(report.c.id.in_(report_ids)))
    if rows:
        for table, column in ((attachment, "report_id"), (wants, "report_id"), (report, "id")):
            connection.execute(table.delete().where(table.c[column].in_(report_ids)))
        words.remove(connection, report_ids)
        counted = [row for row in rows if row["crash_id"]]
        _tally(connection, counted, -1)
        recount(connection, {row["crash_id"] for row in counted})
    return len(rows)


def note_down(connection, crash_id, text):
    connection.execute(schema.history.insert().values(crash_id=crash_id, time=int(time.time()), text=_clean(text)))


def at_least(version, other):
    """Whether a version is that one or a later one. Only numbers can be compared."""
    if not all(re.fullmatch(r"\d{1,18}(\.\d{1,18})*", text) for text in (version, other)):
        return False
    mine, theirs = ([int(part) for part in text.split(".")] for text in (version, other))
    while theirs and not theirs[-1]:
        theirs.pop()  # 2.0.0 is 2
    return mine >= theirs


def _words(row, facts, frames, made):
    told = [row.get(name, "") for name in ("subject", "sender", "product", "version", "windows", "processor")]
    told += [facts.words, *facts.values.values()] if facts else []
    return [made.text if made else "", *told, *(f"{each.module} {each.function} {each.file}" for each in frames[:60])]


def _file_row(report_id, each):
    kept = {"part": each.part, "name": _clean(each.name)[:1000], "media": media_of(each.content)}
    return {"report_id": report_id, "size": len(each.content), "content": each.content, **kept}


def _clean(text):
    """What every database takes: no zero, no half of a pair."""
    return text.replace("\0", "\ufffd").encode("utf-8", "replace").decode("utf-8")
