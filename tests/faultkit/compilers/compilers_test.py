"""Traces of hosts by other compilers and with other options, without PDBs: every function is there, or the guess is marked."""

import pathlib
import sys


sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from describing import DescribingCase  # noqa: E402

THREE_CALLS = ("direct", "pointers", "loop", "virtual")
SEEDS = range(1, 21)


class Compilers(DescribingCase):
    def described(self, variant, *faults):
        program = f"compiled_{variant}.exe"
        folder = self.folder(program, "faultkit.dll")
        done = self.wine().run(folder / program, *faults, cwd=folder)
        self.assertEqual(done.returncode, 0, done)
        before, *parts = done.text.split("=== ")
        for part in parts:
            yield self.take_apart(part, before.partition("--- truth")[2].split()), program
            before = part

    def check(self, variant, *faults):
        """Every frame is there and no other, as far as none is marked as a guess: from there on, what isn't marked is."""
        count = 0
        for description, program in self.described(variant, *faults):
            count += 1
            with self.subTest(variant, fault=description.fault):
                self.assertGreater(len(description.truth), 3)
                frames = [frame for frame in description.frames if frame["module"] == program][1:]
                expected = list(description.truth)
                for frame in frames:
                    if not expected:
                        break
                    if frame["guessed"]:
                        if frame["address"] in expected:
                            del expected[: expected.index(frame["address"]) + 1]
                        continue
                    self.assertEqual(frame["address"], expected.pop(0), description.text)
                self.assertEqual(expected, [], description.text)
        self.assertEqual(count, len(faults))


def _add(variant, *faults):
    def test(self):
        self.check(variant, *faults)

    setattr(Compilers, f"test_host_by_{variant}_gives_every_function_or_marks_the_guess", test)


for _variant in (
    "clang_O0",
    "clang_O1",
    "clang_O2",
    "clang_O3",
    "clang_frames",
    "clang_sections",
    "gcc_O0",
    "gcc_O2",
    "gcc_O2_stripped",
    "gcc_Os",
):
    _add(_variant, *THREE_CALLS, *(f"descent-{seed}" for seed in SEEDS))
# Packed without padding, where a function that nothing calls directly may be taken for a part of another one.
_add("clang_Os", *THREE_CALLS)
