"""Sends reports on to a server that speaks Sentry's envelope protocol: one event each, with stack, modules and files."""

import json
import time
import urllib.error
import urllib.parse
import urllib.request
import uuid

import sqlalchemy as sa

from inbox import queries, schema
from inbox.config import BadSetting

_MOST_FILE, _LIMIT_SECONDS = 20 << 20, 60


def endpoint(dsn):
    """(address of the envelopes, public key) of a DSN such as http://key@host:port/42."""
    parts = urllib.parse.urlsplit(dsn)
    path, _, project = parts.path.rpartition("/")
    if parts.scheme not in ("http", "https") or not parts.username or not parts.hostname or not project:
        raise BadSetting("a DSN looks like http://PUBLIC_KEY@HOST/PROJECT")
    host = f"{parts.hostname}:{parts.port}" if parts.port else parts.hostname
    return f"{parts.scheme}://{host}{path}/api/{project}/envelope/", parts.username


def forward(inbox, dsn, again=False, say=print):
    """Sends each report that has not been sent before. Returns (how many were sent, how many failed)."""
    address, key = endpoint(dsn)
    condition = schema.report.c.crash_id.is_not(None)
    if not again:
        condition = sa.and_(condition, schema.report.c.forwarded.is_(None))
    counts = [0, 0]
    for ids in inbox.in_pieces(condition):
        for report_id in ids:
            try:
                _post(address, key, envelope(inbox, report_id, dsn))
            except (urllib.error.URLError, OSError) as error:
                counts[1] += 1
                say(f"report {report_id}: {error}")
                if not isinstance(error, urllib.error.HTTPError):
                    return tuple(counts)  # nobody is there
                continue
            inbox.change(report_id, forwarded=int(time.time()))
            counts[0] += 1
    return tuple(counts)


def _post(address, key, body):
    who = f"Sentry sentry_version=7, sentry_client=wendax-inbox/1.0, sentry_key={key}"
    headers = {"Content-Type": "application/x-sentry-envelope", "X-Sentry-Auth": who}
    with urllib.request.urlopen(urllib.request.Request(address, body, headers), timeout=_LIMIT_SECONDS) as answer:
        answer.read()


def envelope(inbox, report_id, dsn):
    """The bytes of the envelope of a report."""
    with inbox.engine.connect() as connection:
        row, files = queries.one_report(connection, report_id)
        crash = queries.one_crash(connection, row["crash_id"])
        small = [each for each in files if each["size"] <= _MOST_FILE]
        contents = [queries.one_attachment(connection, each["id"])["content"] for each in small]
    made = event(row, crash, *inbox.reports.told(row))
    sent = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())
    pieces = [json.dumps({"event_id": made["event_id"], "sent_at": sent, "dsn": dsn}).encode()]
    pieces += _item({"type": "event", "content_type": "application/json"}, json.dumps(made).encode())
    for each, content in zip(small, contents):
        end = {"minidump": "dmp", "text": "txt"}.get(each["media"], "bin")
        kind = "event.minidump" if each["media"] == "minidump" else "event.attachment"
        name = f"{each['part'] or 'file'}-{each['id']}.{end}"
        pieces += _item({"type": "attachment", "filename": name, "attachment_type": kind}, content)
    return b"\n".join(pieces) + b"\n"


def _item(header, content):
    return [json.dumps({**header, "length": len(content)}).encode(), content]


def event(row, crash, facts, frames, data):
    """A report as an event of the protocol."""
    made = {
        "event_id": uuid.UUID(row["digest"][:32]).hex,
        "timestamp": row["happened"], "platform": "native", "level": "fatal", "logger": "wendax",
        "release": f"{row['product']}@{row['version']}" if row["version"] else row["product"],
        "fingerprint": [crash["signature"]],
        "tags": {name: row[name] for name in ("product", "version", "road") if row[name]},
        "user": {"id": row["machine"]} if row["machine"] else None,
        "contexts": {
            "os": {"type": "os", "name": "Windows", "version": row["windows"]},
            "device": {"type": "device", "cpu_description": row["processor"]},
        },
        "extra": {"system": data.get("system", ""), **(facts.values if facts else {})},
    }  # fmt: skip
    if not facts:
        made["message"] = {"formatted": crash["title"]}
        return made
    made["exception"] = {
        "values": [{
            "type": facts.kind, "value": facts.words, "thread_id": facts.thread or None,
            "mechanism": {"type": "minidump" if facts.source == "minidump" else "generic", "handled": False},
            "stacktrace": {
                "frames": [_frame(each) for each in reversed(frames) if each.module],
                "registers": {name.lower(): f"0x{value.lower()}" for name, value in facts.registers.items()},
            },
        }]
    }  # fmt: skip
    made["debug_meta"] = {"images": [_image(each) for each in facts.modules if not each.gone]}
    return made


def _frame(each):
    frame = {"package": each.module, "function": each.function, "filename": each.file, "lineno": each.line}
    frame["instruction_addr"] = each.address and f"0x{each.address.lower()}"
    return {name: value for name, value in frame.items() if value}


def _image(module):
    image = {
        "type": "pe", "code_file": module.name, "code_id": f"{module.stamp:08X}{module.size:x}", "debug_file": module.pdb,
        "image_addr": f"0x{module.base:x}", "image_size": module.size,
    }  # fmt: skip
    if len(module.key) > 32:
        image["debug_id"] = f"{uuid.UUID(module.key[:32])}-{module.key[32:].lower()}"
    return image
