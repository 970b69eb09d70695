"""What becomes of the faults of programs that were made with the zip alone: five kinds of host, one call in each; by e-mail,
and by upload over TLS into the inbox. Each names the function and the line."""

import collections
import json
import re
import shutil

import pytest
from package_test import HERE, RUNTIME, configure, run, unpacked

from inbox.signature import plain
from testing import report_dialog
from testing.host import Host
from testing.inbox_server import Served, command
from testing.loopback import loopback_address
from testing.processes import REPO, wait_until
from testing.product import MACHINE
from testing.symbolizer import resolve
from testing.tls import SYSTEM_AUTHORITIES, SYSTEM_HOSTS, Authority, TlsFront, mounted_over

KIT = HERE / "kit"
SERVER = "reports.wendax.test"
FUNCTIONS = {  # in which each host fails
    "console": "add_figures",
    "windowed": "draw_picture",
    "plain": "parse_header",
    "gcc": "close_line",
    "foreign": "count_per_name",
}
FOLDERS = {"foreign": "Чертежи 図面"}  # no code page has both

pytestmark = pytest.mark.timeout(600)


def place_of(host):
    """(function, file, line) of its fault."""
    (source,) = KIT.glob(f"{host}.c*")
    (line,) = (
        number for number, text in enumerate(source.read_text().splitlines(), 1) if re.search("/[/*] fails", text)
    )
    return FUNCTIONS[host], source.name, line


@pytest.fixture(scope="module")
def built(module_stage):
    """The folder of what the developer of the hosts keeps, which isn't where the programs say that their PDBs were made."""
    build, gcc, kept = (module_stage.artifacts / name for name in ("build", "gcc", "kept"))
    reporter = unpacked() / "examples" / "upload-reporter"
    configure(KIT, build, unpacked(), f"-DREPORTER={reporter}", f"-DUPLOAD_URL=https://{SERVER}:8443")
    run("cmake", "--build", build)
    settings = {
        "CMAKE_TOOLCHAIN_FILE": REPO / "cmake" / "toolchain-mingw.cmake",
        "WENDAX_ARCH": MACHINE.name,
        "Wendax_DIR": unpacked() / "lib" / "cmake" / "Wendax",
        "REPORTER": build / "reporter" / "upload_reporter.lib",
    }
    run("cmake", "-G", "Ninja", "-S", KIT, "-B", gcc, *(f"-D{name}={value}" for name, value in settings.items()))
    run("cmake", "--build", gcc)
    kept.mkdir()
    made = [file for file in build.glob("*.*") if file.suffix in (".exe", ".dll", ".pdb")]
    for file in (*made, gcc / "gcc.exe", build / "reporter" / "upload_reporter.dll"):
        shutil.move(file, kept)
    return kept


class Machine:
    """A user's, with the hosts installed as they are shipped, and with their PDBs."""

    def __init__(self, stage, built):
        self.built = built
        self.desktop = stage.desktop(width=1024, height=768)
        self.host = Host(stage, "smallest.exe", files=(), desktop=self.desktop)
        self.messages = {}

    def start(self, name, *arguments, pdbs=False):
        folder = self.host.folder / ("with-pdbs" if pdbs else "shipped") / FOLDERS.get(name, name)
        folder.mkdir(parents=True)
        for file in (f"{name}.exe", "upload_reporter.dll", *RUNTIME):
            shutil.copy(self.built / file, folder)
        if name == "gcc":
            run(f"{MACHINE.processor}-w64-mingw32-strip", folder / "gcc.exe")
        elif pdbs:
            shutil.copy(self.built / f"{name}.pdb", folder)
        return self.host.wine.start(folder / f"{name}.exe", *arguments, cwd=folder, env=self.host.environment)

    def message(self, name):
        """Its report by e-mail."""
        if name not in self.messages:
            process = self.start(name, pdbs=True)
            report_dialog.press(self.desktop, "Open Error Report")
            self.messages[name] = self.host.wait_messages(len(self.messages) + 1)[-1]
            process.wait_family()
            report_dialog.wait_closed(self.desktop)
        return self.messages[name]

    def upload(self, name):
        process = self.start(name, "upload")
        report_dialog.press(self.desktop, "Upload Report")
        process.wait_family()
        report_dialog.wait_closed(self.desktop)


@pytest.fixture(scope="module")
def address(tmp_path_factory):
    """Where the server is, whose name this system knows and whose certificate Wine trusts."""
    folder, address = tmp_path_factory.mktemp("network"), loopback_address(8443)
    authority = Authority(folder / "authority")
    hosts = f"127.0.0.1 localhost\n{address} {SERVER}\n".encode()
    with mounted_over(SYSTEM_AUTHORITIES, authority.file.read_bytes(), folder):
        with mounted_over(SYSTEM_HOSTS, hosts, folder):
            with TlsFront(address, 8443, authority.certificate(SERVER), (address, 8081)):
                yield address


@pytest.fixture(scope="module")
def machine(address, module_stage, built):
    return Machine(module_stage, built)


class Receiver(Served):
    """An inbox behind the server."""

    def __init__(self, address, store):
        super().__init__(store, address=address, port=8081)
        self._tell = command("--store", store)

    def tell(self, *words):
        return run(*self._tell, *words, cwd=REPO)

    def json(self, path):
        return json.loads(self.get(path)[1])

    def places(self):
        """{(function, file, line) where it failed: how many reports}"""
        reports = [self.json(f"/report/{each['id']}.json") for each in self.json("/reports.json")]
        frames = [report["stack"][0] for report in reports]
        return collections.Counter(
            (plain(frame["function"]), re.split(r"[\\/]", frame["file"])[-1], frame["line"]) for frame in frames
        )


@pytest.fixture
def receiver(address, tmp_path):
    with Receiver(address, tmp_path / "store") as made:
        yield made


@pytest.mark.parametrize("name", FUNCTIONS)
def test_message_names_function_and_line(machine, built, tmp_path, name):
    text = machine.message(name).body.decode("windows-1251")
    first = text.partition("\nStack Trace:\n")[2].partition("\n")[0]
    if name == "gcc":  # the system's library doesn't read its symbols
        (tmp_path / "report.eml").write_bytes(machine.message(name).raw)
        tool = unpacked() / "tools" / "symbolize" / "symbolize.py"
        _, (first, *_), text = resolve(tmp_path / "report.eml", built, tool=tool)
    function, file, line = place_of(name)
    assert re.search(rf"\b{name}\.exe\+.*\b{function}\b.*\b{re.escape(file)}:{line}\)", first), text


def test_reports_of_both_roads_are_five_bugs_in_the_inbox(machine, receiver, built, tmp_path):
    (tmp_path / "mail").mkdir()
    for number, name in enumerate(FUNCTIONS, 1):
        machine.upload(name)
        assert len(receiver.json("/reports.json")) == number, f"{name} has uploaded nothing"
        (tmp_path / "mail" / f"{name}.eml").write_bytes(machine.message(name).raw)
    assert {f"{name}.exe" for name in FUNCTIONS} == {
        each["title"].partition("+")[0] for each in receiver.json("/crashes.json")
    }
    receiver.tell("add", tmp_path / "mail")
    receiver.tell("symbols", "add", built)
    counts = {crash["title"]: crash["count"] for crash in receiver.json("/crashes.json")}
    assert counts == dict.fromkeys(FUNCTIONS.values(), 2)
    expected = {place_of(name): 2 for name in FUNCTIONS}
    # A server that knew its PDBs a moment ago looks for new ones within seconds.
    wait_until(lambda: receiver.places() == expected, "the functions and lines", seen=receiver.places)
