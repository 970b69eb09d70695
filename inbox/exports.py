"""Lists as files for other programs."""

import csv
import io

import flask

_COLUMNS = {
    "crashes": "id title kind module state fixed_in regressed count machines versions first_seen last_seen signature note",
    "versions": "product version count machines crashes first_seen last_seen",
    "unreadable": "id received road sender size unreadable",
    "reports": "id crash_id title happened received road sender subject product version windows processor machine kind"
    " address size",
}


def _records(name, rows):
    return [{column: row[column] for column in _COLUMNS[name].split()} for row in rows]


def _as_json(name, rows):
    return flask.jsonify(_records(name, rows))


def _as_csv(name, rows):
    made = io.StringIO()
    written = csv.DictWriter(made, _COLUMNS[name].split())
    written.writeheader()
    written.writerows({column: _cell(value) for column, value in record.items()} for record in _records(name, rows))
    headers = {"Content-Disposition": f'attachment; filename="{name}.csv"'}
    return flask.Response(made.getvalue(), content_type="text/csv; charset=utf-8", headers=headers)


def _cell(value):
    """A client's word must not become a formula in a spreadsheet."""
    text = " ".join(value) if isinstance(value, list) else str(value)
    return "'" + text if text[:1] in ("=", "+", "-", "@", "\t", "\r") and not isinstance(value, int) else text


WRITERS = {"csv": _as_csv, "json": _as_json}
