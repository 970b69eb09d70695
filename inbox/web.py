"""The pages, and the form that the library uploads to."""

import contextlib
import csv
import datetime
import functools
import io
import pathlib
import shutil
import threading
import warnings

import flask
import sqlalchemy as sa
from PIL import Image
from werkzeug.exceptions import HTTPException

from inbox import access, plots, queries, reports, schema
from inbox.queries import Filters

CONFIRMATION = "Data has uploaded successfully"  # what the library looks for, and not at the very beginning
_LARGE = 4 << 20  # bytes of a body, of which there is one at a time
_MOST_ID = 1 << 62
_MOST_PIXELS, _MOST_BYTES = 40_000_000, 32 << 20  # of a picture
_ONE_AT_A_TIME = threading.BoundedSemaphore(1)
_COLUMNS = {  # of the lists as files
    "crashes": "id title kind module state fixed_in regressed count machines versions first_seen last_seen signature note",
    "versions": "product version count machines crashes first_seen last_seen",
    "symbols": "module key count added",
    "unreadable": "id received road sender size unreadable",
    "reports": "id crash_id title happened received road sender subject product version windows processor machine kind"
    " address size",
}


def make_app(inbox):
    """The Flask application over an Inbox."""
    app = flask.Flask("inbox", root_path=str(pathlib.Path(__file__).parent))
    app.jinja_env.trim_blocks = app.jinja_env.lstrip_blocks = True
    app.jinja_env.filters.update(time=_time, day=lambda seconds: _time(seconds)[:10])
    known = {"spark": plots.spark, "SORTS": queries.SORTS, "STATES": queries.STATES}
    known |= {"has_password": bool(inbox.config.password), "is_own": lambda frame: inbox.reports.rules.is_own(frame)}
    app.jinja_env.globals.update(known)
    access.protect(app, inbox.engine, inbox.config)
    for add in (_add_upload, _add_lists, _add_pages, _add_changes):
        add(app, inbox)

    @app.errorhandler(HTTPException)
    def refuse(error):
        if flask.request.path == "/index.php":
            return _plain(error.code, error.description)
        return _message(error.name, error.description), error.code

    @app.errorhandler(Exception)
    def fail(error):
        app.logger.exception("the request failed")
        if isinstance(error, sa.exc.OperationalError) and "full" in str(error.orig):
            return _plain(507, "The disk is full.")
        return _plain(500, "The request failed; the log says why.")

    return app


def _add_upload(app, inbox):
    one_large = threading.BoundedSemaphore(1)
    config = inbox.config

    def refused(status, words):
        app.logger.warning("refused with %d, %d bytes: %s", status, flask.request.content_length or 0, words)
        return _plain(status, words)

    @app.post("/index.php")
    def upload():
        if flask.request.args.get("option") != "com_mosforms":
            flask.abort(404)
        announced = flask.request.content_length or 0
        if announced > config.max_report:
            return refused(413, "The report is too large.")
        if shutil.disk_usage(config.store).free < config.min_free + announced:
            return refused(507, "There is no room for more reports.")
        with one_large if announced > _LARGE else threading.Lock():
            body = flask.request.get_data(cache=False)
            report_id, _, wrong = inbox.reports.add_upload(body, flask.request.remote_addr or "")
        if wrong:
            app.logger.warning("kept as unreadable report %d, %d bytes: %s", report_id, announced, wrong)
            return _plain(400, f"Kept as unreadable: {wrong}.")
        return _plain(200, f"Report {report_id}: {CONFIRMATION}.")


def _add_lists(app, inbox):
    def add(name, path, ask):
        """A list as a page, or whole as CSV or JSON."""

        def view(form="html"):
            filters = Filters.of(flask.request.args)
            with inbox.engine.connect() as connection:
                rows, total = ask(connection, filters, whole=form != "html")
            if form != "html":
                return _file(name, form, rows)
            more = {"chart": plots.versions_chart, "pages": -(-total // queries.PAGE), "filters": filters}
            return flask.render_template(f"{name}.html", rows=rows, total=total, **more)

        app.add_url_rule(path, name, view)
        app.add_url_rule(f"/{name}.<any(csv, json):form>", f"{name}_file", view)

    def versions(connection, filters, whole):
        rows, sums = queries.by_version(connection), {}
        for row in rows:
            sums[row["product"]] = sums.get(row["product"], 0) + row["count"]
        chosen = filters.product if filters.product in sums else max(sums, key=sums.get, default="")
        flask.g.products, flask.g.product = sorted(sums), chosen
        rows = rows if whole else [row for row in rows if row["product"] == chosen]
        return rows, len(rows)

    add("crashes", "/", queries.crashes)
    add("reports", "/reports", queries.reports)
    add("unreadable", "/unreadable", functools.partial(queries.reports, unreadable=True))
    add("versions", "/versions", versions)
    add("symbols", "/symbols", queries.symbols)


def _file(name, form, rows):
    rows = [{column: row[column] for column in _COLUMNS[name].split()} for row in rows]
    if form == "json":
        return flask.jsonify(rows)
    made = io.StringIO()
    written = csv.DictWriter(made, _COLUMNS[name].split())
    written.writeheader()
    written.writerows({column: _cell(value) for column, value in row.items()} for row in rows)
    return _download(made.getvalue(), f"{name}.csv", "text/csv")


def _cell(value):
    """A client's word must not become a formula in a spreadsheet."""
    text = " ".join(value) if isinstance(value, list) else str(value)
    return "'" + text if text[:1] in ("=", "+", "-", "@", "\t", "\r") and not isinstance(value, int) else text


def _add_pages(app, inbox):
    def told(connection, report_id):
        """What there is of a report: its row and files, facts as they are known by now, what else is kept."""
        row, files = queries.one_report(connection, min(report_id, _MOST_ID)) or flask.abort(404)
        facts, data = inbox.reports.told(row)
        del row["details"]
        return {"report": row, "files": files, "facts": facts, "data": data}

    @app.get("/crash/<int:crash_id>")
    def crash(crash_id):
        with inbox.engine.connect() as connection:
            row = queries.one_crash(connection, min(crash_id, _MOST_ID)) or flask.abort(404)
            if row["id"] != crash_id:
                return flask.redirect(flask.url_for("crash", crash_id=row["id"]))
            filters = Filters(crash=crash_id)
            rows, _ = queries.reports(connection, filters)
            newest = told(connection, rows[0]["id"])
            versions, days = queries.by_version(connection, crash_id), queries.by_day(connection, crash_id)
        more = {"days": plots.days_chart(days), "by_version": plots.versions_chart(versions), "versions": versions}
        more.update(newest, crash=row, reports=rows[:20], filters=filters)
        return flask.render_template("crash.html", **more)

    @app.get("/report/<int:report_id>")
    def report(report_id):
        with inbox.engine.connect() as connection:
            known = told(connection, report_id)
            crash = queries.one_crash(connection, known["report"]["crash_id"])
        return flask.render_template("report.html", crash=crash, **known)

    @app.get("/report/<int:report_id>.json")
    def report_file(report_id):
        with inbox.engine.connect() as connection:
            known = told(connection, report_id)
        data = {name: known["data"].get(name) for name in ("system", "words")}
        stack = known["facts"].frames if known["facts"] else []
        more = {"attachments": known["files"], "stack": stack, "fault": known["facts"]}
        return flask.jsonify(known["report"] | data | more)

    def bytes_of(attachment_id):
        with inbox.engine.connect() as connection:
            return queries.one_attachment(connection, min(attachment_id, _MOST_ID)) or flask.abort(404)

    @app.get("/attachment/<int:attachment_id>")
    def attachment(attachment_id):
        row = bytes_of(attachment_id)
        return _download(row["content"], f"report-{row['report_id']}-{attachment_id}.{reports.ENDINGS[row['media']]}")

    @app.get("/picture/<int:attachment_id>")
    def picture(attachment_id):
        made = _reencoded(bytes_of(attachment_id)["content"])
        return flask.Response(made, mimetype="image/png") if made else flask.abort(404)


def _add_changes(app, inbox):
    @app.post("/crash/<int:crash_id>/state")
    def change_state(crash_id):
        state, fixed_in = (flask.request.form.get(name, "").strip()[:100] for name in ("state", "fixed_in"))
        note = flask.request.form.get("note", "").strip()[:4000]
        if state not in queries.STATES[:3] or (state == "fixed" and not fixed_in):
            flask.abort(400, "A fixed crash needs the version that it is fixed in.")

        def write(connection):
            asked = sa.select(schema.crash).where(schema.crash.c.id == crash_id)
            before = schema.one_of(connection, asked) or flask.abort(404)
            mended = fixed_in if state == "fixed" else ""
            schema.change(connection, schema.crash, crash_id, state=state, fixed_in=mended, note=note, regressed=0)
            if (before["state"], before["fixed_in"]) != (state, mended):
                reports.note_down(connection, crash_id, f"{state} in {mended}" if mended else state)
            if before["note"] != note:
                reports.note_down(connection, crash_id, f"note: {note[:200] or '(none)'}")

        inbox.writer.do(write)
        return flask.redirect(flask.url_for("crash", crash_id=crash_id))

    @app.post("/report/<int:report_id>/delete")
    def delete_report(report_id):
        return _message("Deleted", f"{inbox.delete(schema.report.c.id == report_id)} report is deleted with its files.")

    @app.post("/delete-sender")
    def delete_sender():
        sender = flask.request.form.get("sender", "").strip().lower() or flask.abort(400, "Whose reports?")
        gone = inbox.delete(schema.report.c.sender == sender)
        return _message("Deleted", f"{gone} reports of {sender} are deleted with their files.")


def _reencoded(content, widest=1600):
    """A client's picture as PNG, decoded within bounds, so that not a byte of it is passed on; or None."""
    if len(content) > _MOST_BYTES:
        return None
    made = io.BytesIO()
    # Whatever a decoder says about hostile bytes.
    with _ONE_AT_A_TIME, warnings.catch_warnings(), contextlib.suppress(Exception):
        warnings.simplefilter("error")
        with Image.open(io.BytesIO(content), formats=("JPEG", "PNG", "BMP", "GIF")) as picture:
            if picture.width * picture.height <= _MOST_PIXELS:
                picture.draft("RGB", (widest, widest))
                plain = picture.convert("RGB")
                plain.thumbnail((widest, widest))
                plain.save(made, "PNG")
    return made.getvalue() or None


def _message(title, words):
    return flask.render_template("message.html", title=title, words=words)


def _download(content, name, kind="application/octet-stream"):
    headers = {"Content-Disposition": f'attachment; filename="{name}"'}
    headers["Content-Security-Policy"] = "default-src 'none'; sandbox"
    return flask.Response(content, content_type=kind, headers=headers)


def _plain(status, words):
    return flask.Response(words + "\n", status, content_type="text/plain; charset=utf-8")


def _time(seconds):
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc).strftime("%Y-%m-%d %H:%M") if seconds else ""
