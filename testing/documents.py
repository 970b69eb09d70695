"""Reads the project's documents."""

import re


def broken_links(root, documents):
    """The links to other files of the same tree that lead nowhere, as "document: target"."""
    found = []
    for document in documents:
        for target in re.findall(r"\]\((?!https?:|#)([^)#]+)", document.read_text("utf-8")):
            if not (document.parent / target).exists():
                found.append(f"{document.relative_to(root)}: {target}")
    return found
