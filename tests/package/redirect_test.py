"""tools/redirect.py: the DLL that ships, with another mailbox and another server. And the build's own settings."""

import errno
import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys
from unittest import mock

import pytest

from testing import report_dialog
from testing.host import LIBRARY_FILES, Host, redirect
from testing.processes import REPO

MARK = b"WENDAX REPORTS>\0"
DESK = b'Crash Desk" <crashes@example.com>\r\nX-Report-To: "'
SMITH = "Smith, J. (100%) @home; $x"
NAMELESS = b'" <crashes@example.com>\r\nX-Report-To: "'


@pytest.fixture
def dll(stage):
    """A copy of the library that ships."""
    return pathlib.Path(shutil.copy(stage.product("Wendax.dll"), stage.artifacts))


def places_of(dll):
    command = [sys.executable, REPO / "tools/redirect.py", dll]
    return subprocess.run(command, text=True, stdout=subprocess.PIPE, check=True).stdout.splitlines()


def recipient_of(dll):
    """What the library knows as its recipient."""
    return dll.read_bytes().partition(MARK)[2][:128].partition(b"\0")[0]


NO_NAMES = ("100%", "{Date}", 'A "quoted" one', "a\\b", "<a>", " before", "two\nlines", "x" * 41)
REFUSED = {
    "--support-address": (
        *("", "nobody", 'a"@b.example', "{Date}@b.example", "x" * 116 + "@example.com"),
        "x" * 89 + " <crashes@example.com>",  # 128 are written
        *('A "quoted" name <a@b.example>', "Back\\slash <a@b.example>", "{Date} <a@b.example>"),
        *("Пётр <a@b.example>", "Two\r\nlines <a@b.example>", "<nobody>", "Desk <a@b.example"),
        *("Desk <a@b.example> x", "Desk <<a@b.example>"),
    ),
    "--upload-server": ("", "http://b.example", "b.example/path", "b.example:81", "y" * 128),
    "--upload-url": (
        *("", "reports.example.com", "ftp://reports.example.com/", "https://"),
        *("https://user@reports.example.com/", "https://reports.example.com:0/"),
        *("https://reports.example.com:65536/", "https://reports.example.com/a b"),
        *("https://reports.example.com/#part", "https://отчёты.example.com/"),
        *("http://reports.example.com:8080/", "https://reports.example.com/" + "x" * 100),
    ),
    "--product": (*NO_NAMES, "Рога и Копыта"),
    "--company": (*NO_NAMES, "株式会社"),
    "--program": (
        *("draw", "draw.dll", ".exe", "a\\draw.exe", "a/draw.exe", "рис.exe", "%s.exe"),
        "x" * 60 + ".exe",
    ),
}


@pytest.mark.parametrize("option, text", [(option, text) for option, texts in REFUSED.items() for text in texts])
def test_what_can_not_be_written_is_refused_and_nothing_is(dll, option, text):
    before = dll.read_bytes()
    with pytest.raises(ValueError, match="is no |is longer than"):
        redirect(dll, option, text)
    assert dll.read_bytes() == before


class TestRedirect:
    @pytest.mark.parametrize(
        "address, lines",
        (
            ("crashes@example.com", ['To: "crashes@example.com" ']),
            ("Crash Desk <crashes@example.com>", ['To: "Crash Desk" <crashes@example.com>', 'X-Report-To: "" ']),
            ("<crashes@example.com>", ['To: "" <crashes@example.com>', 'X-Report-To: "" ']),
        ),
        ids=("bare", "named", "bracketed"),
    )
    def test_message_goes_to_the_new_address(self, stage, address, lines):
        desktop = stage.desktop()
        host = Host(stage, "smallest.exe", files=LIBRARY_FILES, desktop=desktop)
        redirect(host.folder / "Wendax.dll", "--support-address", address)
        process = host.start()
        (message,) = report_dialog.open_reports(desktop, host, process)
        assert message.raw.decode("latin-1").split("\r\n")[: len(lines) + 1] == [*lines, "Reply-To: "]
        assert process.returncode == 0

    def test_address_with_a_name_or_in_brackets_is_written_so_that_mail_programs_take_it(self, dll):
        for address, written, shown in (
            ("crashes@example.com", b"crashes@example.com", "crashes@example.com"),
            ("Crash Desk <crashes@example.com>", DESK, "Crash Desk <crashes@example.com>"),
            ("  Crash Desk<crashes@example.com>", DESK, "Crash Desk <crashes@example.com>"),
            ("<crashes@example.com>", NAMELESS, "<crashes@example.com>"),
            (SMITH + " <a@b.example>", SMITH.encode() + b'" <a@b.example>\r\nX-Report-To: "', SMITH + " <a@b.example>"),
        ):
            redirect(dll, "--support-address", address)
            assert recipient_of(dll) == written, address
            assert places_of(dll)[0] == "e-mail reports go to " + shown, address
        redirect(dll, "--upload-server", "reports.example.com")
        assert recipient_of(dll) == written

    def test_each_place_is_set_without_the_other(self, dll):
        address, server = places_of(dll)
        redirect(dll, "--support-address", "a@b.example")
        assert places_of(dll) == ["e-mail reports go to a@b.example", server]
        redirect(dll, "--upload-server", "reports.example.com")
        assert places_of(dll) == ["e-mail reports go to a@b.example", "upload reports go to reports.example.com"]
        assert "@" in address

    def test_nothing_but_the_texts_changes_and_the_way_back_is_open(self, dll):
        before = dll.read_bytes()
        address, server = (line.rpartition(" ")[2] for line in places_of(dll))
        redirect(dll, "--support-address", "x" * 115 + "@example.com", "--upload-server", "y" * 127)
        assert len(dll.read_bytes()) == len(before)
        redirect(dll, "--support-address", address, "--upload-server", server)
        assert dll.read_bytes() == before

    def test_name_that_just_fits_is_taken(self, dll):
        redirect(dll, "--support-address", "x" * 88 + " <crashes@example.com>")
        assert len(recipient_of(dll)) == 127

    @pytest.mark.parametrize("call", ("chmod", "replace"))
    def test_file_that_can_not_be_replaced_stays_as_it_was_with_nothing_beside_it(self, dll, artifacts, call):
        spec = importlib.util.spec_from_file_location("redirect", REPO / "tools/redirect.py")
        tool = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(tool)
        before = dll.read_bytes()
        with mock.patch.object(os, call, side_effect=PermissionError(errno.EACCES, "in use")):
            with pytest.raises(PermissionError):
                tool.redirect(dll, upload_server="reports.example.com")
            assert list(artifacts.iterdir()) == [dll]
            assert dll.read_bytes() == before

    @pytest.mark.parametrize("option", ((), ("--upload-server", "b.example")), ids=("shown", "changed"))
    @pytest.mark.parametrize("damaged", (b"\xEF", b"x" * 128), ids=("no letter", "no end"))
    @pytest.mark.parametrize("place", (0, 128), ids=("address", "server"))
    def test_record_that_is_no_text_is_refused(self, dll, place, damaged, option):
        content = dll.read_bytes()
        at = content.index(MARK) + len(MARK) + place
        dll.write_bytes(content[:at] + damaged + content[at + len(damaged) :])
        with pytest.raises(ValueError, match=r"^redirect: .*Wendax\.dll: this [^\n]*\n$"):
            redirect(dll, *option)

    def test_other_files_are_refused(self, stage):
        with pytest.raises(ValueError, match="no Wendax.dll"):
            redirect(stage.product("KOBRTL.dll"), "--upload-server", "b.example")


ALL = (
    *("--support-address", "Crash Desk <crashes@example.com>"),
    *("--upload-url", "https://reports.example.com:8443/up?a=%20"),
    *("--product", "Fine Drawing", "--company", "Рога & Копыта", "--program", "draw 2.exe"),
    *("--own-pictures", "yes", "--proxy", "yes"),
)
ALL_SHOWN = [
    "e-mail reports go to Crash Desk <crashes@example.com>",
    "upload reports go to https://reports.example.com:8443/up?a=%20",
    "the product is Fine Drawing",
    "the company is Рога & Копыта",
    "the program is draw 2.exe",
    "dialogs show the program's own pictures",
    "uploads that reach no server try the system's proxy",
]
LAYOUT = b"WENDAX LAYOUT 2\0"


class TestNamesAndSwitches:
    def test_are_all_shown_as_they_were_written_and_the_way_back_is_open(self, dll):
        before = dll.read_bytes()
        address, server = (line.rpartition(" ")[2] for line in places_of(dll))
        redirect(dll, *ALL)
        assert places_of(dll) == ALL_SHOWN
        assert len(dll.read_bytes()) == len(before)
        redirect(dll, "--support-address", address, "--upload-server", server, "--product", "", "--company", "")
        assert places_of(dll)[2:] == ["the program is draw 2.exe", *ALL_SHOWN[-2:]]
        redirect(dll, "--program", "", "--own-pictures", "no", "--proxy", "no")
        assert dll.read_bytes() == before

    def test_are_set_one_without_the_other(self, dll):
        redirect(dll, *ALL)
        redirect(dll, "--company", "Pencil")
        redirect(dll, "--proxy", "no")
        assert places_of(dll) == [*ALL_SHOWN[:3], "the company is Pencil", *ALL_SHOWN[4:6]]

    def test_that_just_fit_are_taken(self, dll):
        longest = {"--product": "x" * 40, "--company": "я" * 40, "--program": "x" * 59 + ".exe"}
        for option, text in longest.items():
            redirect(dll, option, text)
        assert [line.rpartition(" ")[2] for line in places_of(dll)[2:]] == list(longest.values())
        redirect(dll, "--upload-url", "HTTP://reports.example.com:80/" + "x" * 97)
        assert places_of(dll)[1] == "upload reports go to http://reports.example.com:80/" + "x" * 97

    def test_of_server_and_url_one_is_named(self, dll):
        with pytest.raises(ValueError, match="not allowed with"):
            redirect(dll, "--upload-server", "a.example", "--upload-url", "https://a.example")

    @pytest.mark.parametrize("place, damaged", ((16, b"x" * 48), (16, b"\x98"), (176, b"\2"), (177, b"y")))
    def test_that_are_damaged_are_refused(self, dll, place, damaged):
        content = dll.read_bytes()
        at = content.index(LAYOUT) + place
        dll.write_bytes(content[:at] + damaged + content[at + len(damaged) :])
        with pytest.raises(ValueError, match=r"^redirect: .*Wendax\.dll: this [^\n]*\n$"):
            redirect(dll)


class TestLibraryOfVersion1:
    """Its record ends with the two addresses."""

    @pytest.fixture
    def old(self, dll):
        content = dll.read_bytes()
        at = content.index(LAYOUT)
        dll.write_bytes(content[:at] + b"\0" * 208 + content[at + 208 :])
        return dll

    def test_is_shown_and_its_addresses_are_written(self, old):
        before = old.read_bytes()
        redirect(old, "--support-address", "a@b.example", "--upload-server", "reports.example.com")
        assert places_of(old) == ["e-mail reports go to a@b.example", "upload reports go to reports.example.com"]
        at = before.index(MARK) + 272
        assert old.read_bytes()[at:] == before[at:]

    @pytest.mark.parametrize("option, text", zip(ALL[2::2], ALL[3::2]))
    def test_refuses_what_it_has_no_place_for(self, old, option, text):
        before = old.read_bytes()
        with pytest.raises(ValueError, match="is of version 1.0, which"):
            redirect(old, option, text)
        assert old.read_bytes() == before

    def test_newer_one_than_the_tool_is_refused(self, dll):
        dll.write_bytes(dll.read_bytes().replace(LAYOUT, b"WENDAX LAYOUT 3\0"))
        for options in ((), ("--product", "Fine Drawing")):
            with pytest.raises(ValueError, match="is newer than this redirect.py"):
                redirect(dll, *options)


class TestBuildSettings:
    def configure(self, stage, *settings):
        command = ["cmake", "--fresh", "--preset", "windows", "-B", stage.artifacts / "build", *settings]
        out = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}
        done = subprocess.run(command, cwd=REPO, text=True, check=False, **out)
        return done.returncode, " ".join(done.stdout.split())

    def record_built_with(self, stage, *settings):
        code, told = self.configure(stage, *settings)
        assert code == 0, told
        target = "report/CMakeFiles/report.dir/destinations_win.cpp.obj"
        command = ["cmake", "--build", stage.artifacts / "build", "--target", target]
        subprocess.run(command, check=True, stdout=subprocess.PIPE)
        return (stage.artifacts / "build" / target).read_bytes().partition(MARK)[2]

    def test_address_with_a_name_is_built_in_so_that_mail_programs_take_it(self, stage):
        address = "-DWENDAX_SUPPORT_ADDRESS=Crash Desk <crashes@example.com>"
        record = self.record_built_with(stage, address, "-DWENDAX_UPLOAD_SERVER=reports.example.com")
        assert record[:256] == DESK.ljust(128, b"\0") + b"reports.example.com".ljust(128, b"\0")

    def test_names_and_switches_are_built_in(self, stage):
        record = self.record_built_with(
            stage,
            "-DWENDAX_UPLOAD_URL=https://reports.example.com/up",
            *("-DWENDAX_PRODUCT=Fine Drawing", "-DWENDAX_COMPANY=Рога & Копыта", "-DWENDAX_HOST_PROGRAM=draw.exe"),
            *("-DWENDAX_OWN_PICTURES=ON", "-DWENDAX_PROXY=ON"),
        )
        assert record[128:448] == (
            b"https://reports.example.com/up".ljust(128, b"\0")
            + LAYOUT
            + b"Fine Drawing".ljust(48, b"\0")
            + "Рога & Копыта".encode("cp1251").ljust(48, b"\0")
            + b"draw.exe".ljust(64, b"\0")
            + b"\1\1"
            + bytes(14)
        )

    @pytest.mark.parametrize(
        "setting, reason",
        (
            ("WENDAX_SUPPORT_ADDRESS=nobody", "'nobody' is no address"),
            ("WENDAX_UPLOAD_SERVER=b.example/path", "'b.example/path' is no host name"),
            ("WENDAX_UPLOAD_URL=http://b.example:8080", "http is for port 80 alone"),
            ("WENDAX_PRODUCT=100%", "'100%' is no product"),
        ),
        ids=("address", "server", "url", "product"),
    )
    def test_what_is_no_address_ends_the_configuring_with_its_reason(self, stage, setting, reason):
        code, told = self.configure(stage, "-D" + setting)
        assert code != 0
        assert reason in told
