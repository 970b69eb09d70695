"""The documents fit the repository: their links, their picture of the folders, the files that they name."""

import re
import subprocess

from testing import documents
from testing.processes import REPO

# One is written for the top of the zip; the package's test follows its links.
DOCUMENTS = [path for path in documents.tracked(REPO) if path != REPO / "packaging/README.md"]


def test_links_lead_somewhere():
    assert len(DOCUMENTS) > 10
    assert documents.broken_links(REPO, DOCUMENTS) == []


def test_what_is_drawn_from_sources_and_expectations_is_drawn_from_those_of_today():
    done = subprocess.run([REPO / "scripts/draw-documents", "--check"], text=True, capture_output=True, check=False)
    assert (done.returncode, done.stderr) == (0, ""), done.stdout


def test_files_that_are_named_exist():
    folders = {path.name for path in REPO.iterdir() if path.is_dir() and path.name != "build"}
    missing = []
    for document in DOCUMENTS:
        for name in re.findall(r"`([\w./-]+/[\w.-]+\.(?:h|c|cpp|py|md|txt|cmake))`", document.read_text("utf-8")):
            if name.partition("/")[0] in folders and not (REPO / name).exists():
                missing.append(f"{document.relative_to(REPO)}: {name}")
    assert missing == []


def test_upload_that_is_shown_is_one_that_survives_the_end_of_memory():
    # tests/package/memory_test.py runs it so.
    run = " ".join((REPO / "tests/package/memory_host.cpp").read_text("utf-8").split())
    for document in ("README.md", "packaging/README.md", "docs/host-guide.md"):
        shown = [
            block
            for block in re.findall(r"```cpp\n(.*?)```", (REPO / document).read_text("utf-8"), re.DOTALL)
            if "CCrashReport2" in block
        ]
        assert len(shown) == 1, document
        assert " ".join(shown[0].split()) in run, document


def test_readme_leads_to_every_document():
    named = set(re.findall(r"\]\(docs/([^)#]+\.md)", (REPO / "README.md").read_text("utf-8")))
    assert {path.name for path in (REPO / "docs").glob("*.md")} - named == set()
