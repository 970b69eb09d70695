"""The fixtures of all tests, and what pytest is to do beyond its own: a picture of a failure, an orderly end when told to."""

import pathlib
import signal

import pytest

from testing.stage import ARTIFACTS, Stage

TESTS = pathlib.Path(__file__).parent
_STAGE = pytest.StashKey()


@pytest.fixture
def stage(request):
    """What the test starts, which ends with it: see Stage."""
    place = pathlib.Path(request.path).relative_to(TESTS).with_suffix("")
    name = request.node.name.translate(str.maketrans("[]/ ", "-___"))[:100]
    if request.cls:
        name = f"{request.cls.__name__}.{name}"
    with Stage(ARTIFACTS / place / name) as it:
        request.node.stash[_STAGE] = it
        yield it


@pytest.fixture(scope="module")
def module_stage(request):
    """A stage that the tests of one file share, for what is dear to set up."""
    place = pathlib.Path(request.path).relative_to(TESTS).with_suffix("")
    with Stage(ARTIFACTS / place / "shared") as it:
        request.node.stash[_STAGE] = it
        yield it


@pytest.fixture
def artifacts(stage):
    """An empty folder for what this test leaves to be looked at."""
    return stage.artifacts


@pytest.fixture
def desktop(stage):
    """A desktop of the usual size, 1280 x 1024."""
    return stage.desktop()


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    outcome = yield
    if call.when in ("setup", "call") and outcome.get_result().failed:
        for node in item.listchain():
            if _STAGE in node.stash:
                node.stash[_STAGE].show_failure()


def pytest_sessionstart():
    def end(number, _):
        raise KeyboardInterrupt(f"told to end by {signal.Signals(number).name}")

    signal.signal(signal.SIGTERM, end)  # as for Ctrl+C: fixtures take down what they have started
