"""The base of the integration tests: plain unittest, with limits, places and a picture of what went wrong.

WENDAX_BIN names the folder of the built programs and DLLs (default build/windows/bin).
"""

import atexit
import contextlib
import faulthandler
import functools
import os
import pathlib
import shutil
import signal
import sys
import unittest

from support.desktop import Desktop
from support.prefix import WINE, fresh_prefix
from support.processes import REPO
from support.wine import Wine

# What tests leave to be looked at, of each Wine apart.
ARTIFACTS = REPO / "build" / ("test-artifacts-" + WINE if WINE else "test-artifacts")

# Beyond a test's limit, for taking everything down; then the process ends itself at once.
CLEANUP_SECONDS = 120


class TimeLimit(Exception):
    """The test took longer than its time_limit. The stacks are on standard error."""


class CalledOff(Exception):
    """The run was told to end. Raised within the test, so that it is taken down as after a failure."""


class Case(unittest.TestCase):
    """A test case. time_limit (seconds, for each test) may be set by the class."""

    time_limit = 300
    _called_off = False

    def __init__(self, method="runTest"):
        super().__init__(method)
        if hasattr(self, method):
            setattr(self, method, self._guarded(getattr(self, method)))
        self._desktops, self._prefixes = [], {}

    @functools.cached_property
    def artifacts(self):
        """An empty folder for what this test leaves to be looked at."""
        file = pathlib.Path(sys.modules[type(self).__module__].__file__).resolve()
        tests = REPO / "tests"
        place = file.relative_to(tests).with_suffix("") if file.is_relative_to(tests) else file.stem
        folder = ARTIFACTS / place / f"{type(self).__name__}.{self._testMethodName}"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        return folder

    def product(self, name):
        """The path of a built program or DLL, which must be there."""
        path = pathlib.Path(os.environ.get("WENDAX_BIN") or REPO / "build" / "windows" / "bin").absolute() / name
        self.assertTrue(path.is_file(), f"{path} is missing: build the preset 'windows' first")
        return path

    def desktop(self, **size):
        """A Desktop that lasts until the end of the test. If the test fails, a picture of it is kept."""
        desktop = self.enterContext(Desktop(**size))
        self._desktops.append(desktop)
        return desktop

    def fresh_prefix(self):
        """A Wine prefix of this test's own."""
        return self.enterContext(fresh_prefix())

    def wine(self, desktop=None, prefix=None, locale=None):
        """A Wine whose programs are ended with the test. Where no prefix is named, it has the one of the file's tests;
        with a desktop a fresh one: other tests' programs without a display would take its windows away (see Wine)."""
        if desktop and not prefix:
            prefix = self._prefixes.get(desktop) or self._prefixes.setdefault(desktop, self.fresh_prefix())
        prefix = prefix or _file_prefix()
        wine = Wine(desktop, prefix, locale)
        start = wine.start

        def start_for_test(*args, **options):
            return self.enterContext(start(*args, **options))

        wine.start = start_for_test
        return wine

    def run(self, result=None):
        # The last resort, should taking down hang as well: it shows the stacks, then ends the process.
        faulthandler.dump_traceback_later(self.time_limit + CLEANUP_SECONDS, exit=True, file=sys.__stderr__)
        before = signal.signal(signal.SIGALRM, self._out_of_time)
        signal.alarm(self.time_limit)
        try:
            return super().run(result)
        finally:
            signal.alarm(0)
            signal.signal(signal.SIGALRM, before)
            faulthandler.cancel_dump_traceback_later()
            if Case._called_off and result:
                result.stop()

    def _out_of_time(self, *_):
        faulthandler.dump_traceback(file=sys.__stderr__)
        raise TimeLimit(f"the test took more than {self.time_limit} s")

    def _guarded(self, method):
        @functools.wraps(method)
        def guarded(*args):
            try:
                return method(*args)
            except unittest.SkipTest:
                raise
            except BaseException:
                self._take_pictures()
                raise

        return guarded

    def _take_pictures(self):
        for number, desktop in enumerate(self._desktops, 1):
            with contextlib.suppress(Exception):  # The test's own failure matters more.
                print("a picture of the failure:", desktop.screenshot(self.artifacts / f"failure-{number}.png"),
                      file=sys.stderr)


@functools.cache
def _file_prefix():
    """A prefix that the tests of one file share, so that files may run at the same time. It goes with the process."""
    stack = contextlib.ExitStack()
    atexit.register(stack.close)
    return stack.enter_context(fresh_prefix())


def wine_cannot(reason):
    """Marks a test that holds on Windows, but not here: it is listed as skipped, with the reason. A test that
    passes nevertheless fails, so that the mark goes when Wine has learnt it."""

    def mark(test):
        @functools.wraps(test)
        def run(self):
            try:
                test(self)
            except AssertionError:
                self.skipTest(f"not under Wine: {reason}")
            self.fail(f"Wine can do this now, take the mark away: {reason}")

        return run

    return mark


def _call_off(number, _):
    Case._called_off = True
    raise CalledOff(f"told to end by {signal.Signals(number).name}")


def main():
    """Runs the tests of the calling file. Ends with a code other than 0 if one fails."""
    faulthandler.enable()
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, _call_off)
    unittest.main(module="__main__", verbosity=2)
