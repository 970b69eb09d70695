"""Reads the project's documents."""

import dataclasses
import re
import subprocess


@dataclasses.dataclass(frozen=True)
class Fence:
    """A fenced block. What follows the language on its first line, which readers don't see, are its marks."""

    document: str  # with the line of the fence, for messages
    language: str
    marks: frozenset
    text: str


def tracked(root):
    """Those that Git has of the tree."""
    listed = subprocess.run(["git", "ls-files", "*.md"], cwd=root, text=True, capture_output=True, check=True).stdout
    return [root / name for name in listed.splitlines()]


def fences(root, document):
    """The fenced blocks of a document, in their order."""
    found, opened = [], None
    for number, line in enumerate(document.read_text("utf-8").splitlines(), 1):
        fence = re.match(r" *```(.*)", line)
        if fence and opened:
            where, (language, *marks), lines = opened
            found.append(Fence(where, language, frozenset(marks), "\n".join([*lines, ""])))
            opened = None
        elif fence:
            opened = f"{document.relative_to(root)}:{number}", fence[1].split() or [""], []
        elif opened:
            opened[2].append(line)
    if opened:
        raise ValueError(f"{opened[0]}: the fence isn't closed")
    return found


def broken_links(root, documents):
    """The links to other files of the same tree, and to headings, that lead nowhere, as "document: target"."""
    found = []
    for document in documents:
        for target, _, anchor in re.findall(r"\]\((?!https?:)([^)#]*)(#([^)]+))?\)", document.read_text("utf-8")):
            path = document.parent / target if target else document
            if not path.exists() or (anchor and anchor not in anchors(path)):
                found.append(f"{document.relative_to(root)}: {target}#{anchor}".rstrip("#"))
    return found


def anchors(document):
    """What links to the headings of a document end with."""
    headings = re.findall(r"^#+ (.*)", document.read_text("utf-8"), re.MULTILINE)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}
