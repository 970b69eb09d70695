"""Each picture of the documents is drawn by a script, shown somewhere, and not older than what it shows."""

import re
import subprocess

import draw_pictures
from testing.processes import REPO

IMAGES = REPO / "docs/images"


def test_each_has_somebody_who_draws_it():
    assert {path.name for path in IMAGES.iterdir()} - {"shows.txt"} == set(draw_pictures.PICTURES)


def test_each_is_shown():
    documents = [*REPO.glob("*.md"), *REPO.glob("docs/*.md"), REPO / "packaging/README.md"]
    shown = {
        name for path in documents for name in re.findall(r"!\[[^]]*\]\([^)]*images/([^)]+)\)", path.read_text("utf-8"))
    }
    assert set(draw_pictures.PICTURES) - shown == set()


def test_none_is_older_than_what_it_shows():
    done = subprocess.run(
        [REPO / "scripts/draw-pictures", "--check"], text=True, capture_output=True, timeout=120, check=False
    )
    assert (done.returncode, done.stderr) == (0, "")


def test_one_is_old_when_what_it_shows_has_changed(tmp_path, monkeypatch):
    record = tmp_path / "shows.txt"
    record.write_text(draw_pictures.RECORD.read_text("ascii").replace("message.png ", "message.png 0"), "ascii")
    monkeypatch.setattr(draw_pictures, "RECORD", record)
    assert draw_pictures.stale() == ["message.png"]
