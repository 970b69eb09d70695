"""The documents fit the repository: their links, their picture of the folders, the files that they name."""

import re
import subprocess

from testing import documents
from testing.processes import REPO

FOLDERS = """
base bench capture cmake companions compose crt docs examples fuzz glib include mfc net packaging report resources scripts
sysinfo tests tools win
""".split()

# Written for the top of the zip; the package's test follows its links.
ELSEWHERE = REPO / "packaging/README.md"


def all_documents():
    # Not even looked into: build, where other tests make and remove folders meanwhile.
    folders = [path for path in REPO.iterdir() if path.is_dir() and path.name != "build"]
    found = [*REPO.glob("*.md"), *(path for folder in folders for path in folder.rglob("*.md"))]
    return [path for path in found if path != ELSEWHERE]


def test_links_lead_somewhere():
    assert len(all_documents()) > 10
    assert documents.broken_links(REPO, all_documents()) == []


def test_what_is_drawn_from_sources_and_expectations_is_drawn_from_those_of_today():
    done = subprocess.run([REPO / "scripts/draw-documents", "--check"], text=True, capture_output=True, check=False)
    assert (done.returncode, done.stderr) == (0, ""), done.stdout


def test_files_that_are_named_exist():
    missing = []
    for document in all_documents():
        for name in re.findall(r"`([\w./-]+/[\w.-]+\.(?:h|c|cpp|py|md|txt|cmake))`", document.read_text("utf-8")):
            if name.partition("/")[0] in FOLDERS and not (REPO / name).exists():
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
