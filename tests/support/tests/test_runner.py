"""Case gives a test its limits and places, and keeps a picture of a failure."""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

from support import Case, main, wait_until
from support.processes import REPO
from support.runner import ARTIFACTS
from support.tests.test_desktop import children, still_running

HEAD = "import signal, subprocess, sys, time\nfrom support import *\nclass It(Case):\n"


class A_file_of_tests(unittest.TestCase):
    def run_file(self, body, **variables):
        """Runs a file with that body for its class It; returns its exit code and what it wrote."""
        with self.start_file(body, **variables) as test:
            try:
                wrote = test.communicate(timeout=200)[0]
            finally:
                test.kill()
        return test.returncode, wrote

    def start_file(self, body, **variables):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        file = pathlib.Path(folder, "sample_test.py")
        file.write_text(HEAD + body + "main()\n")
        return subprocess.Popen([sys.executable, file], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True,
                                env={**os.environ, "PYTHONPATH": str(REPO / "tests"), **variables})

    def test_passes(self):
        code, wrote = self.run_file(" def test_it(self): self.assertTrue(self.artifacts.is_dir())\n")
        self.assertEqual(code, 0, wrote)

    def test_fails_and_leaves_a_picture(self):
        code, wrote = self.run_file(" def test_it(self):\n  self.desktop(width=320, height=200)\n  self.fail('so')\n")
        self.assertEqual(code, 1, wrote)
        picture = ARTIFACTS / "sample_test" / "It.test_it" / "failure-1.png"
        self.assertIn(f"a picture of the failure: {picture}", wrote)
        self.assertEqual(picture.read_bytes()[1:4], b"PNG")
        picture.unlink()

    def test_ends_at_its_limit_with_the_stacks_and_goes_on_with_the_next(self):
        code, wrote = self.run_file(" time_limit = 2\n"
                                    " def test_a(self):\n  self.desktop()\n  self.stays()\n"
                                    " def stays(self): time.sleep(100)\n"
                                    " def test_b(self): print('b has run')\n")
        self.assertEqual(code, 1, wrote)
        self.assertRegex(wrote, r'line 8 in stays\n(?s:.*)TimeLimit: the test took more than 2 s')
        self.assertIn("b has run", wrote)

    def test_takes_all_down_when_it_is_told_to_end(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number.name), self.start_file(" def test_a(self):\n"
                                                            "  self.desktop()\n"
                                                            "  print('ready', flush=True)\n"
                                                            "  time.sleep(100)\n"
                                                            " def test_b(self): print('b has run')\n") as test:
                try:
                    wait_until(lambda: test.stdout.readline().endswith("ready\n"), "the test to be ready")
                    started = children(test.pid)
                    test.send_signal(number)
                    wrote = test.communicate(timeout=100)[0]
                finally:
                    test.kill()
                self.assertEqual(test.returncode, 1)
                self.assertIn(f"CalledOff: told to end by {number.name}", wrote)
                self.assertNotIn("b has run", wrote)
                self.assertEqual(sorted(started.values()), ["Xvfb", "openbox"])
                self.assertEqual(still_running(started), {})

    def test_asks_for_a_build_where_a_product_is_missing(self):
        code, wrote = self.run_file(" def test_it(self): self.product('Nothing.dll')\n", WENDAX_BIN="/nowhere")
        self.assertEqual(code, 1)
        self.assertIn("/nowhere/Nothing.dll is missing: build the preset 'windows' first", wrote)

    def test_finds_the_products_in_the_named_folder(self):
        here = pathlib.Path(__file__)
        code, wrote = self.run_file(f" def test_it(self): self.product({here.name!r})\n", WENDAX_BIN=str(here.parent))
        self.assertEqual(code, 0, wrote)

    def test_lists_what_wine_cannot_do_as_skipped(self):
        code, wrote = self.run_file(" @wine_cannot('fly')\n def test_it(self): self.fail()\n")
        self.assertEqual(code, 0, wrote)
        self.assertIn("skipped 'not under Wine: fly'", wrote)

    def test_fails_when_wine_can_do_it_after_all(self):
        code, wrote = self.run_file(" @wine_cannot('fly')\n def test_it(self): pass\n")
        self.assertEqual(code, 1, wrote)
        self.assertIn("Wine can do this now, take the mark away: fly", wrote)

    def test_does_not_take_an_error_for_what_wine_cannot_do(self):
        code, wrote = self.run_file(" @wine_cannot('fly')\n def test_it(self): 1 / 0\n")
        self.assertEqual(code, 1, wrote)


class Waiting(Case):
    def test_returns_what_came_true(self):
        values = iter(["", 0, None, "it"])
        self.assertEqual(wait_until(lambda: next(values), "it"), "it")


if __name__ == "__main__":
    main()
