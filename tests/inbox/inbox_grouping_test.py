"""Three hundred real faults of thirty known bugs: no two bugs share a group, and a bug's reports are in one."""

import collections
import json

import pytest
import sqlalchemy as sa

import bugs
from inbox import schema


@pytest.mark.timeout(600)
def test_real_faults_are_grouped_by_their_bugs(box, stage, artifacts):
    bug_of = {}
    for bug, raw in bugs.labelled(stage):
        report_id, new, wrong = box.reports.add_message(raw)
        assert (new, wrong) == (True, "")
        bug_of[report_id] = bug
    assert len(bug_of) == 300
    for version in (1, 2, 3):
        added, wrong = box.symbols.add(bugs.helpers(version), box.writer)
        assert (len(added), wrong) == (2, [])
    assert box.resolve_pending() == 300
    with box.engine.connect() as connection:
        rows = connection.execute(
            sa.select(schema.report.c.id, schema.report.c.crash_id, schema.crash.c.signature).join(
                schema.crash, schema.crash.c.id == schema.report.c.crash_id
            )
        ).all()
        machines = connection.execute(sa.select(sa.func.count(sa.distinct(schema.report.c.machine)))).scalar()
        versions = set(connection.execute(sa.select(schema.report.c.version)).scalars())
    groups = collections.defaultdict(collections.Counter)
    for report_id, crash_id, _ in rows:
        groups[crash_id][bug_of[report_id]] += 1
    largest = collections.Counter()
    for counts in groups.values():
        for bug, count in counts.items():
            largest[bug] = max(largest[bug], count)
    pure = sum(max(counts.values()) for counts in groups.values()) / len(rows)
    told = {
        "reports": len(rows),
        "groups": len(groups),
        "machines": machines,
        "precision": pure,
        "recall": sum(largest.values()) / len(rows),
    }
    signatures = {crash_id: signature for _, crash_id, signature in rows}
    listed = {signatures[crash_id]: dict(counts) for crash_id, counts in groups.items()}
    (artifacts / "grouping.json").write_text(json.dumps({**told, "signatures": listed}, indent=1))
    assert {version.partition(".")[0] for version in versions} == {"1", "2", "3"}
    assert machines >= 4
    assert [counts for counts in groups.values() if len(counts) > 1] == [], "two bugs share a group"
    assert largest == dict.fromkeys(range(30), 10)
