"""The inbox stays small: a receiver that a team can read in an afternoon."""

from testing.processes import REPO

MOST_LINES = 2500  # of Python and templates, blank ones included


def test_inbox_stays_within_its_size():
    files = [*(REPO / "inbox").rglob("*.py"), *(REPO / "inbox" / "templates").iterdir()]
    lines = [len(path.read_text("utf-8").splitlines()) for path in files]
    assert 1000 < sum(lines) <= MOST_LINES
    assert max(lines) < 400
