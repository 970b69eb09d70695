"""What the pages ask of the store. Lists are cut into pages; each takes the same time however many reports there are."""

import dataclasses
import datetime
import re
import time

import sqlalchemy as sa

from inbox import schema
from inbox.schema import all_of, attachment, crash, history, one_of, report, symbol, tally, wants

PAGE = 50
_MOST_ROWS = 100_000  # of an exported list
STATES = ("open", "fixed", "ignored", "all")
SORTS = {"count": "Most reports", "last": "Last seen", "first": "First seen"}


@dataclasses.dataclass(frozen=True)
class Filters:
    """What a list is narrowed to, all as the page's address has it."""

    q: str = ""
    module: str = ""
    function: str = ""
    product: str = ""
    version: str = ""
    sender: str = ""
    since: str = ""  # days as 2026-01-31
    until: str = ""
    state: str = "open"
    sort: str = "count"
    page: int = 1
    crash: int = 0

    @staticmethod
    def of(arguments):
        """From a request's arguments; what makes no sense is left out."""
        plain = vars(Filters())
        values = {name: " ".join(arguments.get(name, "").replace("\0", "").split())[:200] for name in plain}
        for name in ("page", "crash"):
            values[name] = int(values[name]) if re.fullmatch(r"\d{1,9}", values[name]) else 0
        values["page"] = min(max(values["page"], 1), 100_000)
        known = {"state": STATES, "sort": SORTS}
        wrong = [name for name in known if values[name] not in known[name]]
        wrong += [name for name in ("since", "until") if _day(values[name]) is None]
        return Filters(**values | {name: plain[name] for name in wrong})

    def asked(self):
        """Those that narrow, as an address has them."""
        plain = vars(Filters())
        return {name: value for name, value in vars(self).items() if value != plain[name] and name != "page"}

    def of_reports(self, dialect):
        """SQL conditions."""
        found = [schema.has_words(dialect, self.q)]
        found += [report.c[name] == vars(self)[name] for name in ("product", "version", "sender") if vars(self)[name]]
        found += [report.c.happened >= _day(self.since)] if self.since else []
        found += [report.c.happened < _day(self.until) + 86400] if self.until else []
        return [each for each in found if each is not None]

    def of_crashes(self):
        found = [crash.c.count > 0]
        found += [crash.c.state == self.state] if self.state != "all" else []
        for text, before in ((self.module, "| "), (self.function, "!")):
            like = f"%{before}%" + re.sub(r"([%_\\])", r"\\\1", text) + "%"
            found += [crash.c.signature.ilike(like, escape="\\")] if text else []
        return found


def _day(text):
    try:
        return int(datetime.datetime.fromisoformat(text + "T00:00:00+00:00").timestamp())
    except ValueError:
        return None


def _count_of(connection, source, conditions):
    return connection.execute(sa.select(sa.func.count()).select_from(source).where(*conditions)).scalar()


def crashes(connection, filters, whole=False):
    """([row], how many there are). A row is a dict with machines, versions and days beside the crash's columns."""
    columns, source, sums = list(crash.c), crash, crash.c
    if found := filters.of_reports(connection.dialect.name):
        at = report.c.happened
        mine = sa.select(report.c.crash_id, sa.func.count().label("count"), sa.func.min(at).label("first_seen"))
        mine = mine.add_columns(sa.func.max(at).label("last_seen")).group_by(report.c.crash_id)
        mine = mine.where(*found).subquery()
        sums, source = mine.c, crash.join(mine, mine.c.crash_id == crash.c.id)
        columns = [sums[each.name] if each.name in ("count", "first_seen", "last_seen") else each for each in columns]
    order = {"count": sums.count, "last": sums.last_seen, "first": sums.first_seen}[filters.sort]
    asked = sa.select(*columns).select_from(source).where(*filters.of_crashes()).order_by(order.desc(), crash.c.id)
    rows = _page(connection, asked, filters, whole)
    for start in range(0, len(rows), 500):
        _add_tallies(connection, rows[start : start + 500])
    return rows, _count_of(connection, source, filters.of_crashes())


def _page(connection, asked, filters, whole):
    start, most = (0, _MOST_ROWS) if whole else ((filters.page - 1) * PAGE, PAGE)
    return all_of(connection, asked.limit(most).offset(start))


def _add_tallies(connection, rows):
    by_id = {row["id"]: row for row in rows}
    for row in rows:
        row.update(machines=0, versions=[], days={})
    mine = sa.select(tally.c.crash_id).where(tally.c.crash_id.in_(list(by_id)), tally.c.count > 0)
    machines = mine.add_columns(sa.func.count()).where(tally.c.what == "machine").group_by(tally.c.crash_id)
    for crash_id, count in connection.execute(machines):
        by_id[crash_id]["machines"] = count
    for crash_id, value in connection.execute(mine.add_columns(tally.c.value).where(tally.c.what == "version")):
        by_id[crash_id]["versions"].append(value)
    days = mine.add_columns(tally.c.value, tally.c.count).where(tally.c.what == "day")
    for crash_id, value, count in connection.execute(days.where(tally.c.value >= str(int(time.time()) // 86400 - 29))):
        by_id[crash_id]["days"][int(value)] = count
    for row in rows:
        row["versions"].sort(key=version_order)


def version_order(text):
    """Sorts 1.10 behind 1.9."""
    whole = lambda part: part.isdecimal() and len(part) < 19
    return [(0, int(part), "") if whole(part) else (1, 0, part) for part in re.split(r"[. ]", text)]


def reports(connection, filters, unreadable=False, whole=False):
    """([row], how many there are), newest first."""
    found = filters.of_reports(connection.dialect.name)
    found.append(report.c.unreadable != "" if unreadable else report.c.crash_id.is_not(None))
    if filters.crash:
        found.append(report.c.crash_id == filters.crash)
    columns = [each for each in report.c if each.name not in ("details", "digest", "content", "sent")]
    asked = sa.select(*columns, crash.c.title).select_from(report.outerjoin(crash, crash.c.id == report.c.crash_id))
    asked = asked.where(*found).order_by(report.c.happened.desc(), report.c.id.desc())
    return _page(connection, asked, filters, whole), _count_of(connection, report, found)


def one_crash(connection, crash_id):
    """The crash with its tallies, or None; follows where its reports have gone."""
    for _ in range(20):
        row = one_of(connection, sa.select(crash).where(crash.c.id == crash_id))
        if not row or not row["merged_into"]:
            break
        crash_id = row["merged_into"]
    if not row or not row["count"]:
        return None
    _add_tallies(connection, [row])
    asked = sa.select(history).where(history.c.crash_id == row["id"])
    row["history"] = all_of(connection, asked.order_by(history.c.time.desc(), history.c.id.desc()).limit(100))
    return row


def by_version(connection, crash_id=None):
    """Reports, machines, first and last seen for each version, in their order; of all crashes with their products."""
    columns = [report.c.version] if crash_id else [report.c.product, report.c.version]
    at, distinct = report.c.happened, lambda column: sa.func.count(sa.distinct(column))
    sums = {"count": sa.func.count(), "first_seen": sa.func.min(at), "last_seen": sa.func.max(at)}
    sums |= {"machines": distinct(report.c.machine), "crashes": distinct(report.c.crash_id)}
    asked = sa.select(*columns, *(each.label(name) for name, each in sums.items())).group_by(*columns)
    of = report.c.crash_id == crash_id if crash_id else report.c.crash_id.is_not(None)
    rows = all_of(connection, asked.where(of))
    return sorted(rows, key=lambda row: (row.get("product", ""), version_order(row["version"])))


def by_day(connection, crash_id, days=60):
    """{day: (reports, machines)} of the last days."""
    day = (report.c.happened - report.c.happened % 86400) / 86400  # of what the index holds
    since = (int(time.time()) // 86400 - days + 1) * 86400
    asked = sa.select(day, sa.func.count(), sa.func.count(sa.distinct(report.c.machine)))
    asked = asked.where(report.c.crash_id == crash_id, report.c.happened >= since).group_by(day)
    return {int(at): (count, machines) for at, count, machines in connection.execute(asked)}


def one_report(connection, report_id):
    """(row, its attachments without their bytes), or None."""
    row = one_of(connection, sa.select(report).where(report.c.id == report_id))
    columns = [each for each in attachment.c if each.name != "content"]
    asked = sa.select(*columns).where(attachment.c.report_id == report_id).order_by(attachment.c.id)
    return (row, all_of(connection, asked)) if row else None


def one_attachment(connection, attachment_id):
    return one_of(connection, sa.select(attachment).where(attachment.c.id == attachment_id))


def symbols(connection, _filters, whole=False):
    """([row], how many): modules whose symbols would tell functions, the most wanted first, then what is here."""
    here, count, most = sa.select(symbol.c.key), sa.func.count().label("count"), _MOST_ROWS if whole else 200
    wanted = sa.select(wants.c.module, wants.c.key, count).where(wants.c.key.not_in(here))
    wanted = wanted.group_by(wants.c.module, wants.c.key).order_by(count.desc(), wants.c.key).limit(most)
    kept = sa.select(symbol.c.name.label("module"), symbol.c.key, symbol.c.added).order_by(symbol.c.added.desc())
    rows = [{"added": 0, **row} for row in all_of(connection, wanted)]
    rows += [{"count": 0, **row} for row in all_of(connection, kept.limit(5 * most))]
    return rows, len(rows)
