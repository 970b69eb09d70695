"""The base of tests that are still classes of unittest; pytest runs them."""

import unittest

import pytest


class Case(unittest.TestCase):
    """What it starts lasts until the end of the test."""

    @pytest.fixture(autouse=True)
    def _take_stage(self, stage):
        self.stage = stage

    @property
    def artifacts(self):
        return self.stage.artifacts

    def __getattr__(self, name):
        if name in ("desktop", "wine", "fresh_prefix", "product"):
            return getattr(self.stage, name)
        raise AttributeError(name)


def wine_cannot(reason):
    """Marks a test that holds on Windows, but not here. One that passes nevertheless fails."""
    return pytest.mark.xfail(strict=True, raises=AssertionError, reason=f"not under Wine: {reason}")
