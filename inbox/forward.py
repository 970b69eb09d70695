"""Sends reports on to a server that speaks Sentry's envelope protocol: one event each, with stack, modules and files."""

import json
import time
import urllib.error
import urllib.parse
import urllib.request
import uuid

from inbox import queries, reports, schema
from inbox.config import BadSetting

_MOST_FILE, _LIMIT_SECONDS = 20 << 20, 60


def endpoint(dsn):
    """(address of the envelopes, public key) of a DSN such as http://key@host:port/42."""
    parts = urllib.parse.urlsplit(dsn)
    path, _, project = parts.path.rpartition("/")
    if parts.scheme not in ("http", "https") or not parts.username or not parts.hostname or not project:
        raise BadSetting("a DSN looks like http://PUBLIC_KEY@HOST/PROJECT")
    return f"{parts.scheme}://{parts.netloc.rpartition('@')[2]}{path}/api/{project}/envelope/", parts.username


def forward(inbox, dsn, again=False, say=print):
    """Sends each report that has not been sent before. Returns (how many were sent, how many failed)."""
    address, key = endpoint(dsn)
    who = f"Sentry sentry_version=7, sentry_client=wendax-inbox/1.1.0, sentry_key={key}"
    headers = {"Content-Type": "application/x-sentry-envelope", "X-Sentry-Auth": who}
    sent = failed = 0
    condition = schema.report.c.crash_id.is_not(None)
    for report_id in inbox.ids(condition if again else condition & schema.report.c.forwarded.is_(None)):
        request = urllib.request.Request(address, envelope(inbox, report_id, dsn), headers)
        try:
            with urllib.request.urlopen(request, timeout=_LIMIT_SECONDS) as answer:
                answer.read()
        except OSError as error:
            failed += 1
            say(f"report {report_id}: {error}")
            if not isinstance(error, urllib.error.HTTPError):
                break  # nobody is there
        else:
            inbox.change(report_id, forwarded=int(time.time()))
            sent += 1
    return sent, failed


def envelope(inbox, report_id, dsn):
    """The bytes of the envelope of a report."""
    with inbox.engine.connect() as connection:
        row, files = queries.one_report(connection, report_id)
        crash = queries.one_crash(connection, row["crash_id"])
        small = [queries.one_attachment(connection, each["id"]) for each in files if each["size"] <= _MOST_FILE]
    made = event(row, crash, *inbox.reports.told(row))
    sent = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())
    pieces = [json.dumps({"event_id": made["event_id"], "sent_at": sent, "dsn": dsn}).encode()]

    def add(content, **header):
        pieces.extend((json.dumps({**header, "length": len(content)}).encode(), content))

    add(json.dumps(made).encode(), type="event", content_type="application/json")
    for each in small:
        kind = "event.minidump" if each["media"] == "minidump" else "event.attachment"
        name = f"{each['part'] or 'file'}-{each['id']}.{reports.ENDINGS[each['media']]}"
        add(each["content"], type="attachment", filename=name, attachment_type=kind)
    return b"\n".join(pieces) + b"\n"


def event(row, crash, facts, data):
    """A report as an event of the protocol."""
    system = {"type": "os", "name": "Windows", "version": row["windows"]}
    made = {"event_id": uuid.UUID(row["digest"][:32]).hex, "timestamp": row["happened"]}
    made |= {"fingerprint": [crash["signature"]], "platform": "native", "level": "fatal", "logger": "wendax"}
    made["release"] = f"{row['product']}@{row['version']}" if row["version"] else row["product"]
    made["tags"] = {name: row[name] for name in ("product", "version", "road") if row[name]}
    made["user"] = {"id": row["machine"]} if row["machine"] else None
    made["contexts"] = {"os": system, "device": {"type": "device", "cpu_description": row["processor"]}}
    made["extra"] = {"system": data.get("system", ""), **(facts.values if facts else {})}
    if not facts:
        return made | {"message": {"formatted": crash["title"]}}
    fault = {"type": facts.kind, "value": facts.words, "thread_id": facts.thread or None}
    fault["mechanism"] = {"type": "minidump" if facts.source == "minidump" else "generic", "handled": False}
    registers = {name.lower(): f"0x{value.lower()}" for name, value in facts.registers.items()}
    stack = [_frame(each) for each in reversed(facts.frames) if each.module]
    made["exception"] = {"values": [fault | {"stacktrace": {"frames": stack, "registers": registers}}]}
    return made | {"debug_meta": {"images": [_image(each) for each in facts.modules if not each.gone]}}


def _frame(each):
    frame = {"package": each.module, "function": each.function, "filename": each.file, "lineno": each.line}
    frame["instruction_addr"] = each.address and f"0x{each.address.lower()}"
    return {name: value for name, value in frame.items() if value}


def _image(module):
    image = {"type": "pe", "code_file": module.name, "code_id": f"{module.time_stamp:08X}{module.size:x}"}
    image |= {"debug_file": module.pdb, "image_addr": f"0x{module.base:x}", "image_size": module.size}
    if len(module.key) > 32:
        image["debug_id"] = f"{uuid.UUID(module.key[:32])}-{module.key[32:].lower()}"
    return image
