"""Takes reports in, and moves them between crashes when they are understood anew. Functions with a connection run within
the caller's transaction."""

import hashlib
import json
import re
import time
import zlib

import sqlalchemy as sa

from inbox import form, mail, minidump, schema, words
from inbox.facts import Facts
from inbox.parcel import Attachment, Parcel, Unreadable
from inbox.signature import signature
from inbox.understanding import understand

DAY = 86400
_PICTURES = (b"\xff\xd8\xff", b"\x89PNG", b"GIF8", b"BM")


def pack(data):
    return zlib.compress(json.dumps(data, separators=(",", ":")).encode("utf-8", "replace"), 1)


def unpack(content):
    return json.loads(zlib.decompress(content)) if content else {}


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
        now = received or int(time.time())
        try:
            parcel = read()
            understood = understand(parcel)
        except Unreadable as reason:
            parcel = Parcel(road, "", (Attachment("original", bytes(raw)),), sender)
            digest = hashlib.sha256(b"unreadable:" + raw).hexdigest()
            return self._store(parcel, None, digest, now, str(reason)) + (str(reason),)
        return self._store(parcel, understood, parcel.digest(), now, "") + ("",)

    def _store(self, parcel, understood, digest, now, reason):
        happened = parcel.sent or now
        identity = hashlib.sha256(f"{digest} {parcel.sender} {parcel.sent}".encode("utf-8", "replace")).hexdigest()
        row = {"digest": identity, "content": digest, "sent": parcel.sent, "received": now, "happened": happened}
        row.update(day=happened // DAY, road=parcel.road, sender=_clean(parcel.sender[:200]), size=parcel.size)
        row.update(subject=_clean(parcel.subject[:300]), unreadable=reason)
        facts = understood and understood.facts
        frames, wanted, more = self._symbols.frames(facts.frames, self._ask) if facts else ([], {}, False)
        made = signature(facts, frames, self.rules, understood.product) if understood else None
        if understood:
            for name in ("product", "version", "windows", "processor", "machine"):
                row[name] = _clean(getattr(understood, name))
            row.update(kind=made.kind, address=facts.address if facts else "", pending=int(more))
            told = {"facts": facts and facts.to_data(), "system": understood.system, "words": understood.words}
            row["details"] = pack(told)
        names = [each.name for each in parcel.attachments]
        found = words.words_of(*_words(row, facts, frames, made), reason, *names, parcel.text[:4000])

        def write(connection):
            columns = schema.report.c.id, schema.report.c.sender, schema.report.c.sent
            for known, *who in connection.execute(sa.select(*columns).where(schema.report.c.content == digest)):
                if parcel.is_same(*who):
                    return known, False
            if made:
                row["crash_id"] = self._counted(connection, made, row)
            report_id = connection.execute(schema.report.insert(), row).inserted_primary_key[0]
            if parcel.attachments:
                files = [_file_row(report_id, each) for each in parcel.attachments]
                connection.execute(schema.attachment.insert(), files)
            if wanted:
                rows = [{"key": key, "report_id": report_id, "module": _clean(name)} for key, name in wanted.items()]
                connection.execute(schema.wants.insert(), rows)
            words.add(connection, report_id, found)
            return report_id, True

        try:
            return self._writer.do(f"{made.digest if made else ''} {digest}", write)
        except sa.exc.IntegrityError:  # another worker was first with the same report
            return self._writer.do("", write)

    def _counted(self, connection, made, row):
        """The id of the crash with that signature, which now has one report more; made if there is none."""
        text = (
            "INSERT INTO crash"
            "(digest, signature, kind, title, module, state, fixed_in, note, regressed, count, first_seen, last_seen)"
            " VALUES (:digest, :signature, :kind, :title, :module, 'open', '', '', 0, 1, :at, :at)"
            " ON CONFLICT (digest) DO UPDATE SET count = crash.count + 1, merged_into = NULL,"
            " first_seen = CASE WHEN crash.count = 0 OR :at < crash.first_seen THEN :at ELSE crash.first_seen END,"
            " last_seen = CASE WHEN crash.count = 0 OR :at > crash.last_seen THEN :at ELSE crash.last_seen END"
            " RETURNING id, state, fixed_in"
        )
        values = {name: _clean(getattr(made, name)) for name in ("kind", "title", "module")}
        values.update(digest=made.digest, signature=_clean(made.text)[:4000], at=row["happened"])
        crash_id, state, fixed_in = connection.execute(sa.text(text), values).one()
        _tally(connection, crash_id, row, 1)
        if state == "fixed" and at_least(row["version"], fixed_in):
            schema.change(connection, schema.crash, crash_id, state="open", regressed=1)
            note_down(connection, crash_id, f"opened again: a report from {row['version']}, fixed in {fixed_in}")
        return crash_id

    def told(self, row, ask=False):
        """(facts or None, frames as they are known by now, what else is kept) of a report's row."""
        data = unpack(row["details"])
        facts = Facts.from_data(data["facts"]) if data.get("facts") else None
        return facts, self._symbols.frames(facts.frames, ask)[0] if facts else [], data

    def regroup(self, report_id):
        """Looks a report's symbols up, and moves it to the crash of its signature. Returns whether it has moved."""
        asked = sa.select(schema.report).where(schema.report.c.id == report_id)
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
            old = schema.one_of(connection, sa.select(schema.crash).where(schema.crash.c.id == now["crash_id"]))
            words.remove(connection, [report_id])
            words.add(connection, report_id, found)
            new = old["id"] if old["digest"] == made.digest else self._counted(connection, made, now)
            schema.change(connection, schema.report, report_id, pending=0, crash_id=new, kind=made.kind)
            if new == old["id"]:
                return False
            _tally(connection, old["id"], now, -1)
            _inherit(connection, old, new)
            recount(connection, [old["id"]], merged_into=new)
            return True

        return self._writer.do(made.digest, write)


def _inherit(connection, old, new):
    """A crash that begins with a report goes on where the report's former one was. The last one to leave takes the history
    along."""
    count = sa.select(schema.crash.c.count).where(schema.crash.c.id == new)
    begins, last = connection.execute(count).scalar() == 1, old["count"] == 1
    if begins:
        kept = {name: old[name] for name in ("state", "fixed_in", "note", "regressed")}
        schema.change(connection, schema.crash, new, **kept)
    if last:
        theirs = schema.history.update().where(schema.history.c.crash_id == old["id"])
        connection.execute(theirs.values(crash_id=new))
    if begins or last:
        verb = "joined by all" if last else "begun by"
        note_down(connection, new, f"{verb} reports that were grouped as: {old['signature'][:300]}")


def recount(connection, crash_ids, merged_into=None):
    """Brings the sums of crashes in line with their reports. One without any is merged, or it goes."""
    for crash_id in crash_ids:
        span = sa.select(sa.func.count(), sa.func.min(schema.report.c.happened), sa.func.max(schema.report.c.happened))
        count, first, last = connection.execute(span.where(schema.report.c.crash_id == crash_id)).one()
        values = {"count": count, "first_seen": first, "last_seen": last} if count else {"merged_into": merged_into}
        schema.change(connection, schema.crash, crash_id, **{"count": 0, **values})


def _tally(connection, crash_id, row, by):
    text = (
        "INSERT INTO tally(crash_id, what, value, count) VALUES (:crash, :what, :value, :by)"
        " ON CONFLICT (crash_id, what, value) DO UPDATE SET count = tally.count + :by"
    )
    values = [("day", str(row["day"])), ("version", row["version"])]
    values += [("machine", row["machine"])] if row["machine"] else []
    rows = [{"crash": crash_id, "what": what, "value": value, "by": by} for what, value in values]
    connection.execute(sa.text(text), rows)


def delete(connection, report_ids):
    """Deletes reports with all that came with them."""
    report_ids = list(report_ids)
    rows = schema.all_of(connection, sa.select(schema.report).where(schema.report.c.id.in_(report_ids)))
    for row in rows:
        if row["crash_id"]:
            _tally(connection, row["crash_id"], row, -1)
    for table, column in ((schema.attachment, "report_id"), (schema.wants, "report_id"), (schema.report, "id")):
        connection.execute(table.delete().where(table.c[column].in_(report_ids)))
    if report_ids:
        words.remove(connection, report_ids)
    recount(connection, {row["crash_id"] for row in rows if row["crash_id"]})
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
    return {
        "report_id": report_id, "part": each.part, "name": _clean(each.name)[:1000], "media": media_of(each.content),
        "size": len(each.content), "content": each.content,
    }  # fmt: skip


def _clean(text):
    """What every database takes: no zero, no half of a pair."""
    return text.replace("\0", "\ufffd").encode("utf-8", "replace").decode("utf-8")
