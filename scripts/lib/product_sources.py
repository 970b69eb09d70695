"""Which files of the source folders ship, and which only help their tests."""

import re

HELPERS = re.compile(r"_(test|posix)\.|^(tests|testing|fuzz|bench|examples)/|/test_data/")


def is_product(name):
    """Whether a C or C++ file, named from the repository's root, is compiled into what ships."""
    return bool(re.search(r"\.(c|cpp|h)$", name)) and not HELPERS.search(name)
