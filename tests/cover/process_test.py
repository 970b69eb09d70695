"""The process's cover, seen by a reporter of the host's own: what it is called with, where, and how the program ends."""

import pytest

from testing import report_dialog
from testing.host import Host
from testing.product import DLLS

FAULT = "code C0000005 on its own thread"
HOSTS = ("process_host.exe", "process_host_gcc.exe")
OF_MICROSOFT = HOSTS[:1]


@pytest.fixture(params=HOSTS)
def ends(stage, request):
    """ends(way): (the code by which the host ends, the lines that it prints)."""

    def run(way):
        for _ in range(5):
            result = stage.wine().run(stage.product(request.param), way, limit=60)
            if result.returncode >= 0:  # Wine itself may fault while it ends a program that has just made a thread
                break
        return result.returncode, result.text.splitlines()

    return run


def test_reporter_gets_fault_and_context_and_the_program_ends_by_the_faults_code(ends):
    assert ends("reporter") == (0x05, [f"context: {FAULT}"])


@pytest.mark.parametrize("way", ("fault-inside", "filter-inside"))
def test_fault_inside_the_reporter_ends_the_program_at_once(ends, way):
    assert ends(way) == (0x05, [f"reporter: {FAULT}"])


# With GCC what leaves the reporter is an uncaught exception.
@pytest.mark.parametrize("ends", OF_MICROSOFT, indirect=True)
def test_exception_of_the_reporter_finds_no_handler_of_the_host(ends):
    assert ends("throw-inside") == (0x05, [f"reporter: {FAULT}"])


def test_filter_that_was_there_before_is_the_reporters_to_call(ends):
    assert ends("filter-before") == (
        0x05,
        ["before: 1 1", f"reporter: {FAULT}", "own filter: code C0000005", "before answered 7"],
    )


def test_cover_costs_one_thread_however_often_it_is_called(ends):
    assert ends("cost") == (0, ["threads 1, then 0"])


def test_stack_overflow_without_stack_is_reported_by_the_thread_that_waits(ends):
    assert ends("overflow") == (0xFD, ["reporter: code C00000FD on another thread"])


@pytest.mark.parametrize("way", ("overflow-with-enough", "overflow-with-reserve"))
def test_stack_overflow_with_stack_kept_back_is_reported_by_its_own_thread(ends, way):
    assert ends(way) == (0xFD, ["reporter: code C00000FD on its own thread"])


def terminated(words, thread="its own"):
    return 0x01, [f"reporter: code E0575801 on {thread} thread", words]


NOTHING_THROWN = "type nothing, words nothing, throw 00000000"


def test_terminate_without_an_exception_tells_of_none(ends):
    assert ends("terminate") == ends("terminate-later") == terminated(NOTHING_THROWN)


@pytest.mark.parametrize("ends", OF_MICROSOFT, indirect=True)
def test_throw_out_of_noexcept_leads_to_the_throw(ends):
    assert ends("noexcept") == terminated("type nothing, words nothing, throw E06D7363")


@pytest.mark.parametrize("ends", HOSTS[1:], indirect=True)
def test_throw_out_of_noexcept_tells_type_and_words_where_the_runtime_does(ends):
    assert ends("noexcept") == terminated("type std::runtime_error, words the disk is full, throw 00000000")


@pytest.mark.parametrize("ends", OF_MICROSOFT, indirect=True)
def test_invalid_parameter_comes_with_its_four_words(ends):
    assert ends("invalid-parameter") == (0x03, ["reporter: code E0575803 on its own thread", "4 parameters, line 0"])


def test_terminate_of_another_thread_is_reported(ends):
    assert ends("covered-thread") == terminated(NOTHING_THROWN, "another")


@pytest.mark.parametrize("ends", OF_MICROSOFT, indirect=True)
def test_translator_without_the_cover_leaves_terminate_to_the_program(ends):
    assert ends("translator-alone") == (0, ["the program's own handler"])


@pytest.mark.parametrize("button, answer, messages", (("Open Error Report", 1, 1), ("Don't Open & Close", 2, 0)))
@pytest.mark.parametrize("way", ("vectored", "no-pointers"))
def test_report_of_a_fault_answers_what_the_dialog_did(stage, way, button, answer, messages):
    desktop = stage.desktop(width=640, height=480)
    host = Host(stage, "process_host.exe", files=DLLS, desktop=desktop)
    process = host.start(way)
    report_dialog.press(desktop, button)
    process.wait_family()
    assert (process.returncode, process.result().text) == (0, f"answer {answer}\n")
    for message in host.wait_messages(messages):
        assert (b"(C0000005)" in message.body) == (way == "vectored")
        assert (b"Debug info is not accessible.\n" in message.body) == (way == "no-pointers")
