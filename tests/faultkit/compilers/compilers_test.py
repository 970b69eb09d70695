"""Traces of hosts by other compilers and with other options, without PDBs: every function is there, or the guess is marked."""

import pytest

THREE_CALLS = ("direct", "pointers", "loop", "virtual")
# Not for clang_Os, which packs without padding: there a function that nothing calls directly may be taken for a part of
# another one.
DESCENTS = tuple(f"descent-{seed}" for seed in range(1, 21))


def check(description, program):
    """Every frame is there and no other, as far as none is marked as a guess: from there on, what isn't marked is."""
    assert len(description.truth) > 3, description.fault
    expected = list(description.truth)
    for frame in [frame for frame in description.frames if frame["module"] == program][1:]:
        if not expected:
            break
        if frame["guessed"]:
            if frame["address"] in expected:
                del expected[: expected.index(frame["address"]) + 1]
            continue
        assert frame["address"] == expected.pop(0), (description.fault, description.text)
    assert expected == [], (description.fault, description.text)


@pytest.mark.parametrize(
    "variant",
    (
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
        "clang_Os",
    ),
)
def test_host_by_each_compiler_gives_every_function_or_marks_the_guess(describer, variant):
    faults = THREE_CALLS if variant == "clang_Os" else THREE_CALLS + DESCENTS
    program = f"compiled_{variant}.exe"
    descriptions = describer.describe(*faults, host=program, folder=describer.folder(program, "faultkit.dll"))
    for description in descriptions:
        check(description, program)
    assert len(descriptions) == len(faults)
