"""The table of docs/fault-matrix.md, made from what the tests have seen.

usage: table.py [--check]    writes the document; with --check, ends with 1 if it says anything else than the tests saw
"""

import difflib
import json
import sys

from testing.processes import REPO
from testing.stage import ARTIFACTS

OUTCOMES = ARTIFACTS / "fault-matrix"
DOCUMENT = REPO / "docs" / "fault-matrix.md"
_BEGIN = "<!-- made by tests/conditions/table.py from the tests' outcome -->\n"
_END = "<!-- end of what is made -->\n"
_ROADS = {"mail": "## The e-mail road", "upload": "## The upload road"}


def record(number, road, condition, sees, written, host):
    """Writes down one row. number: its place among the rows of its road."""
    OUTCOMES.mkdir(parents=True, exist_ok=True)
    row = {"number": number, "road": road, "cells": [condition, sees, written, host]}
    (OUTCOMES / f"{road}-{number:02}.json").write_text(json.dumps(row), "utf-8")


def forget():
    """Removes all rows, so that none of an earlier run is taken for one of this."""
    for file in OUTCOMES.glob("*.json"):
        file.unlink()


def rendered():
    rows = sorted(
        (json.loads(file.read_text("utf-8")) for file in OUTCOMES.glob("*.json")), key=lambda row: row["number"]
    )
    lines = []
    for road, title in _ROADS.items():
        lines += [
            title,
            "",
            "| In the way | What the user sees | What is written | The host |",
            "| --- | --- | --- | --- |",
        ]
        lines += ["| " + " | ".join(row["cells"]) + " |" for row in rows if row["road"] == road]
        lines.append("")
    return "\n".join(lines)


def main():
    document = DOCUMENT.read_text("utf-8")
    before, _, rest = document.partition(_BEGIN)
    after = rest.partition(_END)[2]
    made = before + _BEGIN + rendered() + _END + after
    if "--check" not in sys.argv[1:]:
        DOCUMENT.write_text(made, "utf-8")
        return
    if made != document:
        sys.stdout.writelines(
            difflib.unified_diff(document.splitlines(True), made.splitlines(True), str(DOCUMENT), "what the tests saw")
        )
        sys.exit(f"{DOCUMENT} doesn't say what the tests saw; {sys.argv[0]} without --check writes it anew")


if __name__ == "__main__":
    main()
