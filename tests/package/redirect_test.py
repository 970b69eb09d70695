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
NAMELESS = b'" <crashes@example.com>\r\nX-Report-To: "'


@pytest.fixture
def dll(stage):
    """A copy of the library that ships."""
    return pathlib.Path(shutil.copy(stage.product("Wendax.dll"), stage.artifacts))


def places_of(dll):
    return subprocess.run(
        [sys.executable, REPO / "tools/redirect.py", dll],
        text=True,
        stdout=subprocess.PIPE,
        check=True,
    ).stdout.splitlines()


def recipient_of(dll):
    """What the library knows as its recipient."""
    return dll.read_bytes().partition(MARK)[2][:128].partition(b"\0")[0]


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
        report_dialog.press(desktop, "Open Error Report")
        message = host.wait_messages(1)[0].raw.decode("latin-1")
        assert message.split("\r\n")[: len(lines) + 1] == [*lines, "Reply-To: "]
        assert process.wait_family() == 0

    def test_address_with_a_name_or_in_brackets_is_written_so_that_mail_programs_take_it(self, dll):
        for address, written, shown in (
            ("crashes@example.com", b"crashes@example.com", "crashes@example.com"),
            ("Crash Desk <crashes@example.com>", DESK, "Crash Desk <crashes@example.com>"),
            ("  Crash Desk<crashes@example.com>", DESK, "Crash Desk <crashes@example.com>"),
            ("<crashes@example.com>", NAMELESS, "<crashes@example.com>"),
            (
                "Smith, J. (100%) @home; $x <a@b.example>",
                b'Smith, J. (100%) @home; $x" <a@b.example>\r\nX-Report-To: "',
                "Smith, J. (100%) @home; $x <a@b.example>",
            ),
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

    @pytest.mark.parametrize(
        "option, text",
        (
            ("--support-address", ""),
            ("--support-address", "nobody"),
            ("--support-address", 'a"@b.example'),
            ("--support-address", "{Date}@b.example"),
            ("--support-address", "x" * 116 + "@example.com"),
            ("--support-address", "x" * 89 + " <crashes@example.com>"),  # 128 are written
            ("--support-address", 'A "quoted" name <a@b.example>'),
            ("--support-address", "Back\\slash <a@b.example>"),
            ("--support-address", "{Date} <a@b.example>"),
            ("--support-address", "Пётр <a@b.example>"),
            ("--support-address", "Two\r\nlines <a@b.example>"),
            ("--support-address", "<nobody>"),
            ("--support-address", "Desk <a@b.example"),
            ("--support-address", "Desk <a@b.example> x"),
            ("--support-address", "Desk <<a@b.example>"),
            ("--upload-server", ""),
            ("--upload-server", "http://b.example"),
            ("--upload-server", "b.example/path"),
            ("--upload-server", "b.example:81"),
            ("--upload-server", "y" * 128),
        ),
    )
    def test_what_is_no_address_is_refused_and_nothing_written(self, dll, option, text):
        before = dll.read_bytes()
        with pytest.raises(ValueError, match="is no |is longer than"):
            redirect(dll, option, text)
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


class TestBuildSettings:
    def configure(self, stage, *settings):
        command = ["cmake", "--fresh", "--preset", "windows", "-B", stage.artifacts / "build", *settings]
        done = subprocess.run(
            command, cwd=REPO, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False
        )
        return done.returncode, " ".join(done.stdout.split())

    def test_address_with_a_name_is_built_in_so_that_mail_programs_take_it(self, stage):
        code, told = self.configure(
            stage,
            "-DWENDAX_SUPPORT_ADDRESS=Crash Desk <crashes@example.com>",
            "-DWENDAX_UPLOAD_SERVER=reports.example.com",
        )
        assert code == 0, told
        target = "report/CMakeFiles/report.dir/destinations_win.cpp.obj"
        subprocess.run(
            ["cmake", "--build", stage.artifacts / "build", "--target", target],
            check=True,
            stdout=subprocess.PIPE,
        )
        places = (stage.artifacts / "build" / target).read_bytes().partition(MARK)[2][:256]
        assert places == DESK.ljust(128, b"\0") + b"reports.example.com".ljust(128, b"\0")

    @pytest.mark.parametrize(
        "setting, reason",
        (
            ("WENDAX_SUPPORT_ADDRESS=nobody", "'nobody' is no address"),
            ("WENDAX_UPLOAD_SERVER=b.example/path", "'b.example/path' is no host name"),
        ),
        ids=("address", "server"),
    )
    def test_what_is_no_address_ends_the_configuring_with_its_reason(self, stage, setting, reason):
        code, told = self.configure(stage, "-D" + setting)
        assert code != 0
        assert reason in told
