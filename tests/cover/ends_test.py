"""Every end of a program becomes a report that names function and line, by either compiler: a real process that ends that
way, a real dialog, a real message."""

import re
import signal

import pytest

from ends import ACCESS_VIOLATION, ENDS
from testing import report_dialog
from testing.host import Host
from testing.prefix import WINE
from testing.processes import REPO, wait_until
from testing.product import DLLS
from testing.symbolizer import resolve

SOURCE = (REPO / "tests/cover/ends_host.cpp").read_text("utf-8").splitlines()


class Scene:
    """A folder with both hosts, on a desktop, for all tests of the file: starting one takes half a second then."""

    def __init__(self, stage):
        self.stage = stage
        self.desktop = stage.desktop(width=640, height=480)
        files = (*DLLS, "ends_library.dll", "ends_host.pdb", "ends_host_gcc.exe")
        self.host = Host(stage, "ends_host.exe", files=files, desktop=self.desktop)
        self.messages = 0

    def end(self, program, argument):
        """(process, message): lets the program end so, and opens the report; without one, when it has ended."""
        process = self.host.wine.start(
            self.host.folder / program, argument, env=self.host.environment, cwd=self.host.folder
        )
        wait_until(lambda: self.dialog() or not process.running(), f"the end by {argument}", seen=process.output)
        if not self.dialog():
            process.wait_family()
            return process, None
        report_dialog.press(self.desktop, "Open Error Report")
        self.messages += 1
        message = self.host.wait_messages(self.messages)[-1]
        process.wait_family()
        report_dialog.wait_closed(self.desktop)
        return process, message

    def dialog(self):
        return self.desktop.find_window(report_dialog.TITLE)

    def trace(self, message, program):
        """The lines of the trace, of a program without PDB as tools/symbolize resolves them."""
        if program == "ends_host.exe":
            text = message.body.decode("windows-1251")
            return text.partition("\nStack Trace:\n")[2].partition("\n\n")[0].splitlines()
        path = self.stage.artifacts / "report.eml"
        path.write_bytes(message.raw)
        return resolve(path, self.host.folder)[1]


@pytest.fixture(scope="module")
def scene(module_stage):
    return Scene(module_stage)


def lines_of(name):
    """A regular expression for the numbers of the lines that are marked so, of which each compiler sees one."""
    return f"({'|'.join(str(number) for number, line in enumerate(SOURCE, 1) if line.endswith(f'// ends: {name}'))})"


def check_report(trace, outcome):
    """The first frame in the host's source is that function, at its line."""
    first = next((line for line in trace if "ends_host.cpp:" in line), "")
    wanted = (
        rf" ends_host(_gcc)?\.exe\+.*[:\s]{re.escape(outcome.at)}(\+0x[0-9A-F]+)? \([^()]*:{lines_of(outcome.name)}\)"
    )
    assert re.search(wanted, first), (outcome, trace)


def check(scene, program, argument, outcome):
    process, message = scene.end(program, argument)
    if outcome.code is None:
        assert message is None
        assert (process.returncode, process.result().text) == (0, outcome.prints + "\n")
        return None
    assert message, process.output()
    code = scene.stage.machine.choose(*outcome.code) if isinstance(outcome.code, tuple) else outcome.code
    # Wine itself may fault while it ends a program with several threads.
    assert process.returncode in (code & 0xFF, -signal.SIGSEGV)
    reason = message.body.decode("windows-1251").partition("Crush Expantion:\n")[2].partition("\n")[0]
    assert f"({code:08X})" in reason and outcome.says in reason.partition(")")[2], reason
    trace = scene.trace(message, program)
    check_report(trace, outcome)
    return trace


# What RaiseException of the newer Wine leaves in its context is the frame pointer of its caller's caller, so that frames in
# between that have none of their own can't be found.
frames_are_lost = pytest.mark.xfail(
    WINE == "newer", strict=True, raises=AssertionError, reason="Wine 10 notes another frame for what is raised"
)


def ends(*lost):
    """All of them as parameters; of those that are named, the newer Wine loses the frame."""
    return [pytest.param(end, id=end.argument, marks=[frames_are_lost] if end.argument in lost else []) for end in ENDS]


@pytest.mark.parametrize("end", ends("raise", "uncaught", "uncaught-thread", "noexcept", "assert", "invalid-parameter"))
def test_by_a_host_of_the_microsoft_abi(scene, end):
    trace = check(scene, "ends_host.exe", end.argument, end.microsoft)
    if end.argument == "noexcept":  # the stack is that of the throw, not of what the runtime made of it
        assert not any("wendax_on_terminate" in line for line in trace), trace


@pytest.mark.parametrize("end", ends("raise", "assert"))
def test_by_a_host_of_gcc(scene, end):
    check(scene, "ends_host_gcc.exe", end.argument, end.gcc)


@frames_are_lost
def test_exception_that_a_handler_has_thrown_on_is_reported_where_it_was_thrown_first(scene):
    _, message = scene.end("ends_host.exe", "thrown-on")
    trace = scene.trace(message, "ends_host.exe")
    assert any(re.search(rf"\bthrow_uncaught\+0x.*:{lines_of('uncaught')}\)", line) for line in trace), trace


@pytest.mark.parametrize("program", ("ends_host.exe", "ends_host_gcc.exe"))
def test_report_by_the_waiting_thread_names_the_thread_that_failed(scene, program):
    process, message = scene.end(program, "overflow")
    failed = re.search(r"^thread (.*)$", process.output(), re.M)[1]
    body = message.body.decode("windows-1251")
    assert re.search(r"^Thread: (.*)$", body, re.M)[1] == failed
    assert f"\nThread {failed}:" not in body  # among the others


@pytest.mark.parametrize("program", ("ends_host.exe", "ends_host_gcc.exe"))
def test_sixteen_threads_that_fail_at_once_make_one_whole_report(scene, program):
    for _ in range(8):  # by two compilers, 16 times
        process, message = scene.end(program, "sixteen-threads")
        assert message.whole
        assert re.search(rb"Crush Expantion:\n.*\n\nStack Trace:\n.+", message.body, re.DOTALL)
        assert process.returncode in (ACCESS_VIOLATION & 0xFF, 0xFD, 0x04, 0x94)
        assert len(scene.host.opened()) == scene.messages
