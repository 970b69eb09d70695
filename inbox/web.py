"""The pages, and the form that the library uploads to."""

import datetime
import pathlib
import shutil
import threading

import flask
import sqlalchemy as sa
from werkzeug.exceptions import HTTPException

from inbox import access, exports, pictures, plots, queries, reports, schema
from inbox.queries import Filters

CONFIRMATION = "Data has uploaded successfully"  # what the library looks for, and not at the very beginning
_LARGE = 4 << 20  # bytes of a body, of which there is one at a time
_MEDIA_ENDS = {"text": "txt", "minidump": "dmp", "picture": "bin", "other": "bin"}


def make_app(inbox):
    """The Flask application over an Inbox."""
    app = flask.Flask("inbox", root_path=str(pathlib.Path(__file__).parent))
    app.jinja_env.trim_blocks = app.jinja_env.lstrip_blocks = True
    app.jinja_env.filters.update(time=_time, day=_day, size=_size)
    app.jinja_env.globals.update(spark=plots.spark, SORTS=queries.SORTS, STATES=queries.STATES)
    app.jinja_env.globals["has_password"] = bool(inbox.config.password)
    access.protect(app, inbox.engine, inbox.config)
    _add_upload(app, inbox)
    _add_lists(app, inbox)
    _add_pages(app, inbox)
    _add_changes(app, inbox)

    @app.errorhandler(HTTPException)
    def refuse(error):
        if flask.request.endpoint == "upload" or flask.request.path == "/index.php":
            return _plain(error.code, error.description)
        return flask.render_template("message.html", title=error.name, words=error.description), error.code

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
        flask.abort(_plain(status, words))

    @app.post("/index.php")
    def upload():
        if flask.request.args.get("option") != "com_mosforms":
            flask.abort(404)
        announced = flask.request.content_length or 0
        if announced > config.max_report:
            refused(413, "The report is too large.")
        if shutil.disk_usage(config.store).free < config.min_free + announced:
            refused(507, "There is no room for more reports.")
        with one_large if announced > _LARGE else threading.Lock():
            body = flask.request.get_data(cache=False)
            report_id, _, wrong = inbox.reports.add_upload(body, flask.request.remote_addr or "")
        if wrong:
            app.logger.warning("kept as unreadable report %d, %d bytes: %s", report_id, announced, wrong)
            return _plain(400, f"Kept as unreadable: {wrong}.")
        return _plain(200, f"Report {report_id}: {CONFIRMATION}.")


def _add_lists(app, inbox):
    def show(name, ask):
        """A list as a page, or whole as CSV or JSON."""

        def view(form="html"):
            filters = Filters.of(flask.request.args)
            with inbox.engine.connect() as connection:
                rows, total = ask(connection, filters, whole=form != "html")
            if form == "html":
                pages = -(-total // queries.PAGE)
                more = {"chart": plots.versions_chart, "pages": pages, "filters": filters}
                return flask.render_template(f"{name}.html", rows=rows, total=total, **more)
            if form not in exports.WRITERS:
                flask.abort(404)
            return exports.WRITERS[form](name, rows)

        return view

    unreadable = lambda connection, filters, whole: queries.reports(connection, filters, unreadable=True, whole=whole)

    def versions(connection, filters, whole):
        rows = queries.by_version(connection)
        products = sorted({row["product"] for row in rows})
        sums = {product: sum(row["count"] for row in rows if row["product"] == product) for product in products}
        chosen = filters.product if filters.product in sums else max(sums, key=sums.get, default="")
        flask.g.products, flask.g.product = products, chosen
        rows = rows if whole else [row for row in rows if row["product"] == chosen]
        return rows, len(rows)

    asks = {"crashes": queries.crashes, "reports": queries.reports, "unreadable": unreadable, "versions": versions}
    for name, ask in asks.items():
        view = show(name, ask)
        app.add_url_rule("/" if name == "crashes" else f"/{name}", name, view)
        app.add_url_rule(f"/{name}.<form>", f"{name}_file", view)

    @app.get("/symbols")
    def symbols():
        with inbox.engine.connect() as connection:
            missing, kept = queries.missing_symbols(connection), queries.kept_symbols(connection)
        return flask.render_template("symbols.html", missing=missing, kept=kept)


def _add_pages(app, inbox):
    def told(connection, report_id):
        """(report, attachments, facts, frames as they are known by now, what else is kept)."""
        found = queries.one_report(connection, report_id)
        if not found:
            flask.abort(404)
        known = inbox.reports.told(found[0])
        del found[0]["details"]
        return *found, *known

    @app.get("/crash/<int:crash_id>")
    def crash(crash_id):
        with inbox.engine.connect() as connection:
            row = queries.one_crash(connection, crash_id) if crash_id < 1 << 62 else None
            if not row:
                flask.abort(404)
            if row["id"] != crash_id:
                return flask.redirect(flask.url_for("crash", crash_id=row["id"]))
            rows, _ = queries.reports(connection, Filters(crash=crash_id))
            _, _, facts, frames, _ = told(connection, rows[0]["id"])
            versions, days = queries.by_version(connection, crash_id), queries.by_day(connection, crash_id)
        more = {"days": plots.days_chart(days), "by_version": plots.versions_chart(versions), "versions": versions}
        more.update(crash=row, reports=rows[:20], facts=facts, frames=frames, is_own=inbox.reports.rules.is_own)
        return flask.render_template("crash.html", **more)

    @app.get("/report/<int:report_id>")
    def report(report_id):
        with inbox.engine.connect() as connection:
            row, files, facts, frames, data = told(connection, min(report_id, 1 << 62))
            of = queries.one_crash(connection, row["crash_id"]) if row["crash_id"] else None
        more = {"crash": of, "is_own": inbox.reports.rules.is_own, "facts": facts, "frames": frames, "data": data}
        return flask.render_template("report.html", report=row, files=files, **more)

    @app.get("/report/<int:report_id>.json")
    def report_file(report_id):
        with inbox.engine.connect() as connection:
            row, files, facts, frames, data = told(connection, min(report_id, 1 << 62))
        row.update(attachments=files, stack=[vars(each) for each in frames])
        row.update(system=data.get("system"), words=data.get("words"))
        row["fault"] = facts
        return flask.jsonify(row)

    def bytes_of(attachment_id):
        with inbox.engine.connect() as connection:
            row = queries.one_attachment(connection, min(attachment_id, 1 << 62))
        return row or flask.abort(404)

    @app.get("/attachment/<int:attachment_id>")
    def attachment(attachment_id):
        row = bytes_of(attachment_id)
        name = f"report-{row['report_id']}-{attachment_id}.{_MEDIA_ENDS.get(row['media'], 'bin')}"
        headers = {"Content-Disposition": f'attachment; filename="{name}"'}
        headers["Content-Security-Policy"] = "default-src 'none'; sandbox"
        return flask.Response(row["content"], mimetype="application/octet-stream", headers=headers)

    @app.get("/picture/<int:attachment_id>")
    def picture(attachment_id):
        row = bytes_of(attachment_id)
        made = pictures.reencoded(row["content"]) if row["media"] == "picture" else None
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
        gone = inbox.writer.do(lambda connection: reports.delete(connection, [report_id]))
        return flask.render_template("message.html", title="Deleted", words=f"{gone} report is deleted with its files.")

    @app.post("/delete-sender")
    def delete_sender():
        sender = flask.request.form.get("sender", "").strip().lower()
        if not sender:
            flask.abort(400, "Whose reports?")
        gone = inbox.delete(schema.report.c.sender == sender)
        told = f"{gone} reports of {sender} are deleted with their files."
        return flask.render_template("message.html", title="Deleted", words=told)


def _plain(status, words):
    return flask.Response(words + "\n", status, content_type="text/plain; charset=utf-8")


def _time(seconds):
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc).strftime("%Y-%m-%d %H:%M") if seconds else ""


def _day(seconds):
    return _time(seconds)[:10]


def _size(count):
    if count < 10_000:
        return f"{count} bytes"
    return f"{count / 1024:.0f} KB" if count < 10 << 20 else f"{count / (1 << 20):.1f} MB"
