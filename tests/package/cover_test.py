"""WendaxCoverThread covers hosts with the C runtime of the library and with others."""

import pytest

CAUGHT = "caught the marker"
OTHER_RUNTIMES = ("cover_msvcr120_host.exe", "cover_vcruntime140_host.exe")


@pytest.fixture(params=("cover_host.exe", *OTHER_RUNTIMES))
def lines(stage, request):
    """lines(arguments...): what the host prints."""

    def run(*args, **options):
        return stage.wine().run(stage.product(request.param), *args, **options).text.splitlines()

    return run


def test_fault_becomes_the_marker(lines):
    assert lines("cover") == ["before bare", "stack reserved", CAUGHT]


def test_second_call_finds_the_translator(lines):
    assert lines("twice") == ["before bare", "again covered", "stack reserved", CAUGHT]


def test_translator_of_the_host_comes_first(lines):
    assert lines("chain") == ["stack reserved", "code C0000005", CAUGHT]


def test_thread_that_is_too_small_keeps_as_much_stack_back_as_it_can(stage, lines):
    least = stage.machine.choose(32768, 49152)

    def asked_for(space):
        return [int(line.removeprefix("asked for ")) for line in lines("small", space, check=True)]

    assert asked_for(131072) == [131072]
    assert asked_for(100000) == [131072, 65536]
    assert asked_for(65000) == asked_for(least) == [131072, 65536, least]
    assert asked_for(0) == [131072, 65536, least]


def test_abort_becomes_a_fault_where_the_host_lets_it(lines):
    assert lines("abort") == ["stack reserved", "code E0000001", CAUGHT]


def test_marker_that_nobody_catches_is_reported_as_the_fault_itself(lines):
    assert lines("uncaught") == ["reported C0000005"]


@pytest.mark.parametrize("lines", OTHER_RUNTIMES, indirect=True)
def test_library_alone_does_not_cover_a_host_of_another_runtime(lines):
    assert CAUGHT not in lines("init")
