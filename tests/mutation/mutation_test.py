"""The list of mutants, and the copy of the tree that they are tried in."""

import pathlib
import sys
import tempfile
import unittest

REPO = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(REPO / "scripts" / "lib"))
sys.dont_write_bytecode = True
import mutation  # noqa: E402


def mutant(**changes):
    fields = {"name": "net/a", "file": "net/a.cpp", "old": "x > 0", "new": "x >= 0", "tests": ("native.net_test",)}
    return mutation.Mutant(**{**fields, **changes})


class InFolder(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, "utf-8")
        return path


class Applying(InFolder):
    def test_text_that_stands_once_is_replaced(self):
        self.assertEqual(mutant().applied_to("if (x > 0)\n"), "if (x >= 0)\n")

    def test_text_that_is_gone_or_stands_twice_is_an_error_that_names_mutant_and_file(self):
        for text, times in (("if (x)\n", "0 times"), ("x > 0 || x > 0", "2 times")):
            with self.assertRaises(mutation.BadMutant) as caught:
                mutant().applied_to(text)
            for part in ("net/a:", times, "net/a.cpp", "x > 0"):
                self.assertIn(part, str(caught.exception))

    def test_check_tells_all_that_is_wrong(self):
        self.write("net/a.cpp", "x > 0")
        mutants = [mutant(), mutant(name="net/b", old="y"), mutant(name="net/c", file="net/c.cpp"),
                   mutant(name="net/d", tests=("native.a", "nativ.b"))]
        wrong = mutation.check(mutants, self.folder, ("native",))
        self.assertEqual([text.partition(":")[0] for text in wrong], ["net/b", "net/c", "net/d"])

    def test_rings_are_those_of_the_tests_in_their_order(self):
        both = mutant(tests=("native.a", "product.b", "native.c"))
        self.assertEqual(both.rings, ("native", "product"))
        self.assertEqual(both.tests_in("native"), ["native.a", "native.c"])


class Lists(InFolder):
    def test_mutants_are_named_by_their_list(self):
        self.write("net.toml", '[a]\nfile = "f"\nold = "x"\nnew = "y"\ntests = ["native.t"]\n')
        self.assertEqual(mutation.load(self.folder),
                         {"net/a": mutant(file="f", old="x", new="y", tests=("native.t",))})

    def test_mutant_that_lacks_something_or_changes_nothing_is_an_error(self):
        for entry in ('file = "f"\nold = "x"\nnew = "y"', 'file = "f"\nold = "x"\nnew = "x"\ntests = ["native.t"]',
                      'file = "f"\nold = "x"\nnew = "y"\ntests = []', 'old = "x"\nnew = "y"\ntests = ["native.t"]',
                      'file = "f"\nold = "x"\nnew = "y"\ntests = ["native.t"]\nwhat = 1'):
            self.write("net.toml", f"[a]\n{entry}\n")
            with self.subTest(entry), self.assertRaisesRegex(mutation.BadMutant, "net/a"):
                mutation.load(self.folder)

    def test_list_of_this_project_names_rings_that_there_are(self):
        mutants = mutation.load(REPO / "tests" / "mutation")
        self.assertGreaterEqual(len(mutants), 100)
        self.assertEqual({ring for each in mutants.values() for ring in each.rings}, {"native", "mingw", "product"})

    def test_selection_takes_names_folders_or_all_each_once(self):
        mutants = {name: mutant(name=name) for name in ("base/a", "net/a", "net/b")}

        def names(*wanted):
            return [each.name for each in mutation.select(mutants, wanted)]

        self.assertEqual(names(), ["base/a", "net/a", "net/b"])
        self.assertEqual(names("net"), ["net/a", "net/b"])
        self.assertEqual(names("net/b", "net"), ["net/b", "net/a"])
        with self.assertRaisesRegex(mutation.BadMutant, "named nets"):
            names("nets")


class Copy(InFolder):
    def setUp(self):
        super().setUp()
        self.source, self.copy = self.folder / "source", self.folder / "copy"
        self.write("source/net/a.cpp", "x > 0")
        self.write("source/run", "#!/bin/sh\n").chmod(0o755)
        self.update()

    def update(self):
        mutation.bring_up_to_date(self.source, ["net/a.cpp", "run", "gone"], self.copy)

    def test_named_files_are_copied_with_their_rights(self):
        self.assertEqual((self.copy / "net/a.cpp").read_text(), "x > 0")
        self.assertTrue((self.copy / "run").stat().st_mode & 0o100)

    def test_mutant_left_behind_is_undone(self):
        self.write("copy/net/a.cpp", "x >= 0")
        self.update()
        self.assertEqual((self.copy / "net/a.cpp").read_text(), "x > 0")

    def test_unchanged_file_keeps_its_time(self):
        before = (self.copy / "net/a.cpp").stat().st_mtime_ns
        self.update()
        self.assertEqual((self.copy / "net/a.cpp").stat().st_mtime_ns, before)

    def test_file_that_is_no_longer_named_goes_and_what_was_built_stays(self):
        self.write("copy/net/old.cpp", "")
        self.write("copy/build/net/a.o", "")
        self.update()
        self.assertFalse((self.copy / "net/old.cpp").exists())
        self.assertTrue((self.copy / "build/net/a.o").exists())


class TheList(unittest.TestCase):
    def test_every_mutant_fits_the_sources(self):
        mutants = mutation.load(REPO / "tests" / "mutation").values()
        self.assertEqual(mutation.check(mutants, REPO, ("native", "mingw", "product")), [])


class Rate(unittest.TestCase):
    def test_equivalent_mutants_count_as_not_killed_and_those_that_do_not_build_not_at_all(self):
        outcomes = {"a": ["killed", ""], "b": ["survived", ""], "c": ["equivalent", ""], "d": ["does not build", ""]}
        self.assertEqual(mutation.rate(outcomes), (1, 3))


if __name__ == "__main__":
    unittest.main(verbosity=2)
