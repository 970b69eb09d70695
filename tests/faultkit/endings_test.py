"""Ends of a program that are no faults, and C++ exceptions, in words."""

import re

import pytest

from testing.prefix import WINE

ENDINGS = {
    "terminate": "std::terminate (E0575801): the program was ended by std::terminate, "
    'type std::runtime_error, what() "the disk is full"',
    "terminate-bare": "std::terminate (E0575801): the program was ended by std::terminate",
    "pure-call": "pure virtual call (E0575802): a function was called that the object does not have yet, or any more",
    "invalid-parameter": "invalid parameter (E0575803): the C runtime was given an invalid argument, "
    "expression format != nullptr, function print_all, file printing.cpp line 41",
    "invalid-unknown": "invalid parameter (E0575803): the C runtime was given an invalid argument",
    "abort": "abort (E0575804): the program called abort",
}


# The newer Wine notes another frame for what is raised: the frame of what threw is lost.
frames_are_lost = pytest.mark.xfail(
    WINE == "newer", strict=True, raises=AssertionError, reason="Wine 10 notes another frame for what is raised"
)


@pytest.mark.parametrize("ending", ENDINGS)
def test_end_is_put_in_words_with_what_the_runtime_knew(teller, ending):
    assert teller("fault", ending).reason[0] == ENDINGS[ending]


@frames_are_lost
def test_thrown_exception_has_its_type_and_what_it_says(teller):
    description = teller("fault", "throw-derived")
    assert re.fullmatch(
        r'C\+\+ exception \(E06D7363\): thrown by throw, type \.\?AVFileError@\S+@@, what\(\) "cannot open "a\.bmp"\?"',
        description.reason[0],
    )
    assert "throw_derived" in description.functions


def test_thrown_text_is_shown(teller):
    assert re.fullmatch(
        r'C\+\+ exception \(E06D7363\): thrown by throw, type \.PE?AD, text "out of cheese"',
        teller("fault", "throw-text").reason[0],
    )


@frames_are_lost
def test_end_by_an_exception_shows_the_stack_of_its_throw(teller):
    description = teller("fault", "terminate-throw")
    assert re.fullmatch(
        r"std::terminate \(E0575801\): the program was ended by std::terminate, type \.\?AVFileError@\S+@@, "
        r'what\(\) "cannot open "a\.bmp"\?"',
        description.reason[0],
    )
    own = [
        function
        for function, frame in zip(description.functions, description.frames)
        if frame["module"] == "telling_host.exe"
    ]
    assert own[:2] == ["throw_derived", "terminate_throw"]
    (names,) = [line for line in description.reason if line.startswith("Signature names: ")]
    assert re.search(r" \| telling_host\.exe![^|]*throw_derived \| telling_host\.exe![^|]*terminate_throw \| ", names)
