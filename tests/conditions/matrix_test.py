"""Reports while something is wrong: what the user sees, what is written, how the host goes on.

Each row of troubles.py is a host that fails for real, on what all rows share: a desktop, a Wine prefix, an upload server,
and an onlooker who answers what is asked.
"""

import dataclasses
import re

import pytest

from outcome import DIALOG, FLEETING
from scene import Scene, Theatre
from troubles import TROUBLES


def cases():
    for group, troubles in TROUBLES.items():
        for trouble in troubles:
            words = re.sub(r"\W+", "_", trouble.condition).strip("_")
            for road, outcome in trouble.outcomes().items():
                reason = trouble.not_under_wine.get(road)
                marks = pytest.mark.xfail(raises=AssertionError, reason=f"not under Wine: {reason}") if reason else ()
                yield pytest.param(trouble, road, outcome, id=f"{group}-{words}-{road}", marks=marks)


@pytest.fixture(scope="module")
def theatre(module_stage):
    return Theatre(module_stage)


@pytest.mark.parametrize("trouble, road, expected", cases())
def test_report(theatre, trouble, road, expected):
    with Scene(theatre, road, trouble) as scene:
        came = scene.run()
    if expected.sees == FLEETING and came.sees in ((), (DIALOG,)):
        came = dataclasses.replace(came, sees=FLEETING)
    if came.host in expected.host:
        came = dataclasses.replace(came, host=expected.host)
    assert came == expected
