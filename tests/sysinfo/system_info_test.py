"""The system-information file as the product writes it, with the facts of the machine and of a Wine prefix to spoil."""

import re
import shutil

import pytest

HOST = "system_info_host.exe"
VERSION_KEY = r"HKEY_CURRENT_USER\Software\Wine"
ENVIRONMENT_KEY = r"HKEY_CURRENT_USER\Environment"
PRINTERS_KEY = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Print\Printers"
DEFAULT_PRINTER_KEY = r"HKEY_CURRENT_USER\Software\Microsoft\Windows NT\CurrentVersion\Windows"
APP_PATHS_KEY = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\App Paths\Lumivale.exe"

WHOLE_TEXT = re.compile(
    rb"\nWindows Version:\n(?P<windows>[^\n]*\n?)"
    rb"\nModule Info:\nCompany: (?P<company>[^\n]*)\nProduct Name: (?P<product>[^\n]*)\n"
    rb"Product Version: (?P<version>[^\n]*)\n"
    rb"\nCPU Info:\nVendor: (?P<vendor>[^\n]*)\nVendor ID: (?P<vendor_id>[^\n]*)\n"
    rb"Extended Processor Name: (?P<processor>[^\n]*)\nProcesor Clock Frequecy: (?P<clock>\d+)\n"
    rb"Logical processors per physical: -?\d+\nStepping code: (?P<stepping>\d+)\nMMX support: (?P<mmx>yes|no)\n"
    rb"MMX\+ support: (?:yes|no)\nSSE support: (?P<sse>yes|no)\nSSE2 support: (?P<sse2>yes|no)\n"
    rb"3DNow suppor: (?P<threednow>yes|no)\n3DNow\+ suppor: (?:yes|no)\nAI64 support: (?:yes|no)\n"
    rb"Hyperthreading support: (?:yes|no)\nL1 cache size: (?P<l1>-?\d+)\nL2 cache size: (?P<l2>-?\d+)\n"
    rb"L3 cache size: (?P<l3>-?\d+)\n"
    rb"\nMonitor info:\nColor depth: (?P<depth>\d+) Bits per pixel\.\r\nPixel Width: (?P<width>\d+)\r\n"
    rb"Pixel Height: (?P<height>\d+)\r\nRefresh frequency: (?P<frequency>\d+) Hz\n"
    rb"\n(?P<browser>Internet Explorer Version: \d+\.\d+\nBuild Number: \d+)\n"
    rb"\nPrinters list: \n(?P<printers>(?:[^\n]+\n)*)\nDefault printer: \n(?P<default_printer>[^\n]*)\n"
    rb"\n(?P<host>Cannot extract version number of Lumivale|Lumivale module info:\n.*)",
    re.DOTALL,
)

SECTIONS = re.compile(
    rb"\nWindows Version:\n(?P<windows>.*?)\nModule Info:(?P<module>.*?)\nCPU Info:(?P<cpu>.*?)\nMonitor info:\n"
    rb"(?P<display>.*?)\n\n(?P<browser>.*?)\n\n(?P<printers>Printers list: \n.*?)\n"
    rb"(?P<host>Cannot extract version number of Lumivale|Lumivale module info:\n.*)",
    re.DOTALL,
)
CLOCK = re.compile(rb"(Procesor Clock Frequecy: )[1-9]\d*")
LUMIVALE = b"Lumivale module info:\nCompany: %s\nProduct name:%s\nVersion number: %s.%s.%s\nBuild number %s"
OWN_VERSION = (b"Example Hosts", b"System information host", b"3.1.0.12")  # system_info_host.rc
OWN_LUMIVALE = LUMIVALE % (*OWN_VERSION[:2], b"3", b"1", b"0", b"12")
NO_MODULE = b"\nCompany: Unknown\nProduct Name: Unknown\nProduct Version: 0.0.0.0\n"
NO_LUMIVALE = b"Cannot extract version number of Lumivale"
UNREADABLE_LUMIVALE = LUMIVALE % (b"Unknown", b"Unknown", b"Unknown", b"", b"", b"")

# (function, calls of it that still work): the sections that change, as they are then. The sections of a machine where all
# works are those that the test takes first.
TROUBLE = {
    ("GetVersionExA", 0): {"windows": b"Unknown [tag 0]"},
    ("QueryPerformanceCounter", 0): "no clock",
    ("QueryPerformanceCounter", 100): "no clock",
    ("QueryPerformanceFrequency", 0): "no clock",
    ("EnumDisplaySettingsA", 0): {"display": b"Error: can not enumerate display settings."},
    ("EnumPrintersA", 0): {"printers": b"Printers list: \n\nDefault printer: \nAlpha tray\n"},
    ("EnumPrintersA", 1): {"printers": b"Printers list: \n\nDefault printer: \nAlpha tray\n"},
    ("GetProfileStringA", 0): {"printers": b"Printers list: \nAlpha tray\nZebra\n\nDefault printer: \n\n"},
    ("GetModuleFileNameA", 0): {"module": NO_MODULE, "host": NO_LUMIVALE},
    ("GetFileVersionInfoSizeA", 0): {"module": NO_MODULE, "host": UNREADABLE_LUMIVALE},
    ("GetFileVersionInfoSizeA", 1): {"host": UNREADABLE_LUMIVALE},
    ("GetFileVersionInfoA", 0): {"module": NO_MODULE, "host": UNREADABLE_LUMIVALE},
    ("VerQueryValueA", 0): {"module": NO_MODULE, "host": UNREADABLE_LUMIVALE},
    # The root, the translation and the company have been read.
    ("VerQueryValueA", 3): {
        "module": NO_MODULE.replace(b"Company: Unknown", b"Company: Example Hosts"),
        "host": UNREADABLE_LUMIVALE,
    },
    ("LoadLibraryA", 0): {"browser": b"Cannot extract version number of Internet Explorer"},
    ("FindFirstFileA", 0): {"host": NO_LUMIVALE},
    ("RegOpenKeyA", 0): {},
}

# What Wine says it is, under names of its own, and how the report calls it.
WINDOWS_VERSIONS = {
    "win95": b"Microsoft Windows 95 ",
    "win98": b"Microsoft Windows 98 SE ",
    "winme": b"Microsoft Windows Millennium Edition ",
    "nt351": b"Microsoft Windows NT Professional version 3.51 Service Pack 5 (Build 1057)\n",
    "nt40": b"Microsoft Windows NT Professional version 4.0 Service Pack 6a (Build 1381)\n",
    "win2k": b"Microsoft Windows 2000 Professional Service Pack 4 (Build 2195)\n",
    "winxp": b"Microsoft Windows XP Professional Service Pack 3 (Build 2600)\n",
    "win2003": b"Microsoft Windows .NET Server Service Pack 2 (Build 3790)\n",
    "vista": b"Professional Service Pack 2 (Build 6002)\n",
    "win2008": b"Server Service Pack 2 (Build 6002)\n",
}


def cpu_facts():
    """What this system says of its first processor."""
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        pairs = (line.partition(":") for line in file.read().split("\n\n")[0].splitlines())
        return {name.strip(): value.strip() for name, _, value in pairs}


class InstalledHost:
    """A host in a folder and a prefix of its own; what it writes, taken apart."""

    def __init__(self, stage):
        self.prefix = stage.fresh_prefix()
        self.windows = stage.wine(stage.desktop(width=1152, height=864), self.prefix)
        self.folder = self.prefix.drive_c / "host"
        self.folder.mkdir()
        self.exe = shutil.copy(stage.product(HOST), self.folder / "host.exe")

    def write(self, *task):
        """Runs the host; returns whether it wrote the file, the path it gives, and the text with plain newlines."""
        said = self.windows.run(self.exe, *(task or ["file"]), check=True).text
        match = re.fullmatch(r"(written|not written) (.*)\n", said)
        assert match, said
        path = self.prefix.to_unix(match[2]) if ":" in match[2] else None
        written = match[1] == "written"
        # Text mode puts a CR before every LF, and so a second one into the display's own line ends.
        text = path.read_bytes().replace(b"\r\n", b"\n") if written else None
        return written, match[2], text

    def facts(self):
        written, _, text = self.write()
        assert written
        match = WHOLE_TEXT.fullmatch(text)
        assert match, text.decode("cp1252")
        return match

    def install_printers(self, names):
        rest = '"Port"="LPT1:"\n"Printer Driver"="none"\n"Attributes"=dword:00000040\n\n'
        self.windows.import_registry("".join(f'[{PRINTERS_KEY}\\{name}]\n"Name"="{name}"\n{rest}' for name in names))

    def sections(self, *trouble):
        """{section: text} of a file that is written while a call faults; the clock as 1, if it was measured."""
        written, _, text = self.write("trouble", *trouble) if trouble else self.write()
        assert written
        match = SECTIONS.fullmatch(text)
        assert match, text.decode("cp1252")
        return {name: CLOCK.sub(rb"\g<1>1", section) for name, section in match.groupdict().items()}


@pytest.fixture
def host(stage):
    return InstalledHost(stage)


class TestInThisMachine:
    """What changes nothing, in the prefix that all share."""

    def said(self, stage, *args):
        return stage.wine().run(stage.product(HOST), *args, check=True).text

    def test_a_fault_behind_the_guard_is_an_answer(self, stage):
        assert self.said(stage, "guard").splitlines() == [
            "illegal instruction 0",
            "access violation 0",
            "privileged instruction 0",
            "harmless 1",
            "SSE 1",
            "time stamps 1",
        ]

    def test_the_clock_agrees_with_the_time_stamp_counter(self, stage):
        lines = [line.split() for line in self.said(stage, "clock").splitlines()]
        measured = sorted(int(value) for name, value in lines if name == "measured")
        counted = next(int(value) for name, value in lines if name == "counted")
        assert len(measured) == 5
        assert abs(measured[2] - counted) <= counted * 0.02

    def test_the_text_needs_little_stack(self, stage):
        # After a stack overflow, about 16 KB are left.
        name, depth = self.said(stage, "stack").split()
        assert name == "deepest"
        assert int(depth) < 10_000


class TestTheFile:
    def test_has_everything_but_what_a_call_was_asked_for_that_faults_or_throws(self, host):
        host.install_printers(["Alpha tray", "Zebra"])
        host.windows.set_registry(DEFAULT_PRINTER_KEY, "device", "Alpha tray,winspool,LPT1:")
        shutil.copy(host.exe, host.folder / "Lumivale.exe")
        whole = host.sections()
        assert whole["printers"] == b"Printers list: \nAlpha tray\nZebra\n\nDefault printer: \nAlpha tray\n"
        product = b"Product Name: System information host\nProduct Version: 3.1.0.12\n"
        assert whole["module"] == b"\nCompany: Example Hosts\n" + product
        for (function, calls), changed in TROUBLE.items():
            if changed == "no clock":
                changed = {"cpu": whole["cpu"].replace(b"Frequecy: 1\n", b"Frequecy: 0\n")}
            for kind in ("fault", "throw"):
                assert host.sections(function, str(calls), kind) == {**whole, **changed}, (function, calls, kind)

    def test_tells_of_this_machine_what_is_so(self, host):
        facts, cpu = host.facts(), cpu_facts()
        assert facts["vendor_id"].decode() == cpu["vendor_id"]
        assert facts["processor"].decode().strip() == cpu["model name"]
        assert int(facts["stepping"]) == int(cpu["stepping"]) & 15
        flags = cpu["flags"].split()
        for group, flag in {"mmx": "mmx", "sse": "sse", "sse2": "sse2", "threednow": "3dnow"}.items():
            assert (facts[group] == b"yes") == (flag in flags), flag
        assert (facts["width"], facts["height"], facts["depth"]) == (b"1152", b"864", b"32")
        assert facts.group("company", "product", "version") == OWN_VERSION
        assert facts["host"] == NO_LUMIVALE

    def test_ends_its_lines_in_CR_LF(self, host):
        _, path, _ = host.write()
        content = host.prefix.to_unix(path).read_bytes()
        assert content.count(b"\n") == content.count(b"\r\n")
        assert content.count(b"\r\r\n") == 3, "the display's three line ends"
        assert content.startswith(b"\r\nWindows Version:\r\n")

    def test_names_the_Windows_version(self, host):
        for name, expected in WINDOWS_VERSIONS.items():
            host.windows.set_registry(VERSION_KEY, "Version", name)
            assert host.facts()["windows"] == expected, name

    def test_is_in_the_temporary_directory_with_one_backslash(self, host):
        (host.prefix.drive_c / "temporary files").mkdir()
        for directory in ("C:\\temporary files", "C:\\temporary files\\", "C:\\temporary files\\\\\\"):
            host.windows.set_registry(ENVIRONMENT_KEY, "TMP", directory)
            assert host.write()[:2] == (True, "C:\\temporary files\\system_info.txt")
        host.windows.set_registry(ENVIRONMENT_KEY, "TMP", "C:\\")
        assert host.write()[:2] == (True, "C:\\system_info.txt")

    def test_overwrites_what_was_there(self, host):
        file = host.prefix.temp_dir / "system_info.txt"
        file.write_bytes(b"#" * 100_000)
        assert b"#" not in host.facts()[0]

    def test_that_cannot_be_written_has_its_path_all_the_same(self, host):
        host.windows.set_registry(ENVIRONMENT_KEY, "TMP", "C:\\no such directory")
        assert host.write() == (False, "C:\\no such directory\\system_info.txt", None)

    def test_is_written_with_floating_point_traps_set(self, host):
        written, _, text = host.write("file-with-float-traps")
        assert written
        assert re.search(WHOLE_TEXT, text)

    def test_lists_the_printers_on_NT_and_before(self, host):
        host.install_printers(["Zebra", "Alpha tray"])
        host.windows.set_registry(DEFAULT_PRINTER_KEY, "device", "Alpha tray,winspool,LPT1:")
        for version in ("winxp", "win98"):
            host.windows.set_registry(VERSION_KEY, "Version", version)
            facts = host.facts()
            assert sorted(facts["printers"].splitlines()) == [b"Alpha tray", b"Zebra"], version
            assert facts["default_printer"] == b"Alpha tray", version

    def test_is_cut_at_its_end_with_very_many_printers(self, host):
        host.install_printers(f"Printer number {number:06}" for number in range(2000))
        written, _, text = host.write()
        assert written
        assert text.startswith(b"\nWindows Version:\n")
        assert re.search(rb"\nPrinter number \d+\n?\Z|\nP[a-z ]*\d*\Z", text)
        assert b"Default printer" not in text
        assert len(text) >= 32767 - 3
        assert len(text) < 32767 + 1024

    def test_names_a_program_and_its_neighbour_in_a_folder_whose_letters_the_code_page_lacks(self, host):
        host.folder = host.prefix.drive_c / "Программа"
        host.folder.mkdir()
        host.exe = shutil.copy(host.exe, host.folder / "хост.exe")
        shutil.copy(host.exe, host.folder / "Lumivale.exe")
        facts = host.facts()
        assert facts.group("company", "product", "version") == OWN_VERSION
        assert facts["host"] == OWN_LUMIVALE

    def test_finds_the_host_application_where_it_is_registered(self, host):
        installed = host.prefix.drive_c / "Programs" / "Lumivale.exe"
        host.windows.set_registry(APP_PATHS_KEY, "", "C:\\Programs\\Lumivale.exe")
        assert host.facts()["host"] == NO_LUMIVALE
        installed.parent.mkdir()
        shutil.copy(host.exe, installed)
        assert host.facts()["host"] == OWN_LUMIVALE
        installed.write_bytes(b"no program at all")
        assert host.facts()["host"] == UNREADABLE_LUMIVALE
        installed.unlink()
        assert host.facts()["host"] == NO_LUMIVALE
        shutil.copy(host.exe, host.folder / "Lumivale.exe")
        assert host.facts()["host"] == OWN_LUMIVALE
