"""Reports made by hosts with the C runtime of the library and with others: their memory, and what happens without any."""

import pytest

LIBRARYS = "the library's, given back"
HOSTS = "the host's, given back"
LOST = "out of memory"


@pytest.fixture(params=("memory_host.exe", "memory_msvcr120_host.exe", "memory_vcruntime140_host.exe"))
def lines(stage, desktop, request):
    """lines(way): {what: how it went}, as the host prints it."""

    def run(way):
        told = stage.wine(desktop).run(stage.product(request.param), way, check=True).text
        return dict(line.split(": ", 1) for line in told.splitlines())

    return run


def test_goes_back_where_it_came_from(lines):
    freed = dict.fromkeys(("new", "new 2", "derived", "derived 2", "nothrow", "nothrow 2", "debug"), LIBRARYS)
    foreign = dict.fromkeys(("foreign", "foreign 2", "process heap"), HOSTS)
    assert lines("made") == freed | foreign | {"no heap": "nobody's, kept", "placement": "in its place"}


def test_of_a_report_within_a_report_goes_back(lines):
    assert lines("nested") == {"blocks kept": "0"}


def test_that_is_gone_is_an_exception_that_the_host_can_name(lines):
    calls = (
        "new derived AddAttachment AttachScreenCopy GenerateEmail PostRequest CreateScreenCopy CreateSystemInfo Upload"
    )
    lost = dict.fromkeys([*calls.split(), "AddAttachment 2"], LOST)
    assert lines("exhausted") == lost | dict.fromkeys(("nothrow", "OpenCrushReport", "README"), "returned")
