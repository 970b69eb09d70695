"""Wine runs programs under a watchdog, in prefixes of which a test may have its own."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import pytest

from testing.image import X86
from testing.prefix import NO_DISPLAY_MARK, Prefix, fresh_prefix, project_prefix
from testing.processes import REPO, marked_processes, wait_until
from testing.product import MACHINE
from testing.wine import Hang
from compiled import program


class TestWineRun:
    def test_passes_arguments_input_output_and_the_code(self, stage):
        with tempfile.TemporaryFile() as text:
            text.write(b"typed\nby a user")
            text.seek(0)
            result = stage.wine().run(program("console"), "echo", "a b", 'say "x"', "back\\slash", "", stdin=text)
        assert result.text == 'a b\nsay "x"\nback\\slash\n\ntyped\nby a user'
        assert result.stderr == b"an error"
        assert result.returncode == 42

    def test_sets_the_current_directory_and_the_code_page(self, stage):
        with tempfile.TemporaryDirectory() as folder:
            shown = stage.wine().run(program("console"), "where", cwd=folder).text.splitlines()
            assert shown[0] == "1252"
            assert shown[2] == "Z:" + folder.replace("/", "\\")
        assert stage.wine(locale="ru_RU.UTF-8").run(program("console"), "where").text.splitlines()[0] == "1251"

    def test_sees_file_names_as_utf_8_where_no_language_is_chosen(self, stage):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "na\u00efve").touch()
            for unset in ({"LC_ALL": None, "LANG": None}, {"LC_ALL": "C"}, {"LC_ALL": None, "LANG": "POSIX"}):
                found = stage.wine().run("cmd", "/c", "if exist na\u00efve exit 8", cwd=folder, env=unset)
                assert found.returncode == 8, unset

    def test_raises_on_a_bad_code_where_asked_to(self, stage):
        with pytest.raises(RuntimeError, match="(?s)console.exe ended with code 42.*an error"):
            stage.wine().run(program("console"), "echo", check=True)

    def test_waits_for_what_the_program_started(self, stage):
        with tempfile.TemporaryDirectory() as folder:
            written = pathlib.Path(folder, "written")
            wine = stage.wine()
            wine.run(program("console"), "leave-child", wine.prefix.to_windows(written))
            assert written.exists()

    # One start in some thousands failed, without a word.
    @pytest.mark.skipif(MACHINE is X86, reason="32-bit Wine reserves the page before there is a heap")
    def test_keeps_the_heap_off_the_page_that_64_bit_programs_need(self, stage):
        if subprocess.run(["setarch", "-R", "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
            pytest.skip("this system lets nobody choose fixed addresses")

        def heap():
            with stage.wine().start(program("console"), "hang") as process:
                wait_until(lambda: process.stdout, "the program")
                maps = pathlib.Path("/proc", str(process.pid), "maps").read_text()
            return re.search(r"^(\w+)-.*\[heap\]$", maps, re.MULTILINE)[1]

        assert heap() == heap() < f"{0x7FFE0000:08x}"


class TestWineOnADesktop:
    def test_shows_windows_right_after_a_program_without_a_display(self, stage):
        prefix, desktop = stage.fresh_prefix(), stage.desktop()
        prefix.stop()  # the server of a test would stay: here it is to be the one that programs begin for themselves
        assert stage.wine(prefix=prefix).run(program("console"), "desktop").returncode == 0
        stage.wine(desktop, prefix).start(program("window"), "A window")
        desktop.wait_window("A window")

    def test_has_a_prefix_of_its_own(self, stage):
        first, second = stage.desktop(), stage.desktop()
        prefixes = [stage.wine(desktop).prefix.path for desktop in (first, first, second)]
        assert prefixes[0] == prefixes[1]
        assert len({*prefixes, project_prefix().path}) == 3


class TestWatchdog:
    def test_ends_a_program_with_its_children_and_says_where_it_hung(self, stage):
        process = stage.wine().start(program("console"), "hang-with-child", limit=12)
        wait_until(lambda: len(process.family()) == 2, "both processes", seen=process.family)
        with pytest.raises(Hang) as caught:
            process.wait()
        assert re.search(
            r"(?s)console.exe was still running after 12 s.*about to hang.*"
            r"Backtracing for thread .*console\.exe.*=>0.* in console ",
            str(caught.value),
        )
        assert process.family() == {}

    def test_leaves_other_programs_of_the_prefix_alone(self, stage):
        wine = stage.wine()
        other = wine.start(program("console"), "hang")
        wait_until(lambda: other.stdout, "the other program")
        with pytest.raises(Hang):
            wine.run(program("console"), "hang", limit=1)
        wine.start(program("console"), "hang").kill()
        assert other.running()

    def test_lets_a_program_end_in_peace(self, stage):
        process = stage.wine().start(program("console"), "where", limit=60)
        assert process.wait() == 0
        process.kill()
        assert process.result().returncode == 0


class TestUnitTests:
    def test_pass_on_what_the_program_writes_and_nothing_of_wines_own_programs(self):
        runner = [sys.executable, "-m", "testing.unit_tests", program("console"), "echo", "text"]
        env = {**os.environ, "WINEDEBUG": "+process"}
        done = subprocess.run(runner, cwd=REPO, env=env, capture_output=True, stdin=subprocess.DEVNULL, timeout=120)
        assert done.returncode == 42
        assert done.stdout.split() == [b"text"]
        assert b":trace:process:" in done.stderr and b"an error" in done.stderr
        assert b"winedevice.exe" not in done.stderr


class TestFreshPrefix:
    def test_keeps_its_changes_to_itself_and_goes(self, stage):
        key = r"HKEY_CURRENT_USER\Software\WendaxTest"
        with fresh_prefix() as prefix:
            wine = stage.wine(prefix=prefix)
            wine.set_registry(key, "text", 'a "quoted" C:\\path \u00e9\u0416')
            wine.set_registry(key, "number", 0xFFFFFFFF)
            wine.set_registry(key, "bytes", b"\x00\xff")
            wine.set_registry(key, "", "default")
            shown = wine.run("reg", "query", key).text
            assert re.search(r"number +REG_DWORD +0xffffffff", shown)
            assert re.search(r"bytes +REG_BINARY +00FF", shown)
            assert re.search(r"\(Default\) +REG_SZ +default", shown)
            prefix.stop()
            saved = [line for line in (prefix.path / "user.reg").read_text().splitlines() if "quoted" in line]
            assert saved == [r'"text"="a \"quoted\" C:\\path \xe9\x416"']
            wine.set_registry(key, "text", None)
            assert "text" not in wine.run("reg", "query", key).text
            wine.remove_registry_key(key)
            assert wine.run("reg", "query", key).returncode != 0
            assert servers_of(prefix) != []
        assert servers_of(prefix) == []
        assert not prefix.path.exists()

    def test_has_one_server_for_all_programs_of_a_test(self, stage):
        with fresh_prefix() as prefix:
            before = servers_of(prefix)
            assert len(before) == 1
            for _ in range(2):
                stage.wine(prefix=prefix).run("cmd", "/c", "exit 0", check=True)
                assert servers_of(prefix) == before

    def test_does_not_lead_into_the_home_directory(self):
        with fresh_prefix() as prefix:
            links = [path for path in (prefix.drive_c / "users").rglob("*") if path.is_symlink()]
        assert links == []

    def test_shares_no_file_that_wine_writes_with_the_original(self):
        with fresh_prefix() as prefix:
            shared = (prefix.drive_c / "windows", prefix.path / "dosdevices")
            files = (path for path in prefix.path.rglob("*") if path.is_file())
            outside = [path for path in files if not any(map(path.is_relative_to, shared))]
            assert prefix.path / "system.reg" in outside
            assert [path for path in outside if path.stat().st_nlink > 1] == []

    def test_takes_no_mark_of_a_desktop_without_a_display_from_the_original(self):
        (project_prefix().path / NO_DISPLAY_MARK).touch()
        with fresh_prefix() as prefix:
            assert not (prefix.path / NO_DISPLAY_MARK).exists()

    def test_removes_what_a_killed_run_has_left(self):
        with subprocess.Popen(["true"]) as ended:
            pass
        left = REPO / "build" / "test-prefixes" / f"{ended.pid}.1"
        # Whole before it has the name: tests that run beside this one remove what they find, too.
        making = left.with_suffix("")
        shutil.copytree(project_prefix().path / "drive_c" / "users", making / "drive_c" / "users", symlinks=True)
        making.rename(left)
        with fresh_prefix():
            wait_until(lambda: not left.exists(), "the prefix to be removed")

    def test_lets_a_program_open_files_of_a_kind(self, stage):
        prefix = stage.fresh_prefix()
        wine = stage.wine(prefix=prefix)
        note, record = prefix.drive_c / "a note.wendaxtest", prefix.drive_c / "record.txt"
        note.write_text("Hello")
        opened = wine.run(program("console"), "open", r"C:\a note.wendaxtest")
        assert opened.returncode == 1, "nothing opens it at first"
        wine.associate(".wendaxtest", program("console"), "record", prefix.to_windows(record))
        assert wine.run(program("console"), "open", r"C:\a note.wendaxtest").returncode == 0
        assert record.read_text() == "C:\\a note.wendaxtest\n"
        wine.dissociate(".wendaxtest")
        assert wine.run(program("console"), "open", r"C:\a note.wendaxtest").returncode == 1


class TestPrefixPaths:
    def test_are_those_of_wine(self, stage):
        wine = stage.wine()
        prefix = wine.prefix
        inside, outside = prefix.drive_c, pathlib.Path("/")
        for path in (inside, inside / "windows" / "x y.txt", outside, outside / "etc" / "hosts"):
            told = wine.run("winepath", "-w", path).text.removesuffix("\n")
            assert prefix.to_windows(path) == told
            assert prefix.to_unix(told) == path

    def test_match_letters_in_either_case(self):
        prefix = project_prefix()
        assert (
            prefix.to_unix(r"c:\WINDOWS/System32\Kernel32.DLL")
            == prefix.drive_c / "windows" / "system32" / "kernel32.dll"
        )

    def test_keep_what_does_not_exist(self):
        assert project_prefix().to_unix(r"C:\No Such\File") == project_prefix().drive_c / "No Such" / "File"

    def test_need_a_drive(self):
        for name in (r"relative\name", r"\rooted", "Q:\\nowhere"):
            with pytest.raises(ValueError):
                project_prefix().to_unix(name)

    def test_know_the_temporary_directory(self, stage):
        wine = stage.wine()
        shown = wine.run(program("console"), "where").text.splitlines()[1]
        assert wine.prefix.temp_dir == wine.prefix.to_unix(shown)

    def test_of_a_missing_prefix_ask_for_the_set_up(self):
        with pytest.raises(FileNotFoundError, match="run scripts/setup"):
            Prefix("/nowhere")


def servers_of(prefix):
    """The processes of Wine's servers that work for that prefix."""
    running = marked_processes(f"WINEPREFIX={prefix.path}".encode())
    return [pid for pid, name in running.items() if name.startswith("wineserver")]
