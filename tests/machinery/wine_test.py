"""Wine runs programs under a watchdog, in prefixes of which a test may have its own."""

import pathlib
import shutil
import subprocess
import tempfile

from testing.prefix import Prefix, fresh_prefix, project_prefix
from testing.processes import wait_until
from testing.runner import Case
from testing.wine import Hang
from testing.processes import REPO
from compiled import program


class Wine_run(Case):
    def test_passes_arguments_input_output_and_the_code(self):
        with tempfile.TemporaryFile() as text:
            text.write(b"typed\nby a user")
            text.seek(0)
            result = self.wine().run(program("console"), "echo", "a b", 'say "x"', "back\\slash", "", stdin=text)
        self.assertEqual(result.text, 'a b\nsay "x"\nback\\slash\n\ntyped\nby a user')
        self.assertEqual(result.stderr, b"an error")
        self.assertEqual(result.returncode, 42)

    def test_sets_the_current_directory_and_the_code_page(self):
        with tempfile.TemporaryDirectory() as folder:
            shown = self.wine().run(program("console"), "where", cwd=folder).text.splitlines()
            self.assertEqual(shown[0], "1252")
            self.assertEqual(shown[2], "Z:" + folder.replace("/", "\\"))
        self.assertEqual(self.wine(locale="ru_RU.UTF-8").run(program("console"), "where").text.splitlines()[0], "1251")

    def test_sees_file_names_as_utf_8_where_no_language_is_chosen(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "na\u00efve").touch()
            for unset in ({"LC_ALL": None, "LANG": None}, {"LC_ALL": "C"}, {"LC_ALL": None, "LANG": "POSIX"}):
                found = self.wine().run("cmd", "/c", "if exist na\u00efve exit 8", cwd=folder, env=unset)
                self.assertEqual(found.returncode, 8, unset)

    def test_raises_on_a_bad_code_where_asked_to(self):
        with self.assertRaisesRegex(RuntimeError, "(?s)console.exe ended with code 42.*an error"):
            self.wine().run(program("console"), "echo", check=True)

    def test_waits_for_what_the_program_started(self):
        with tempfile.TemporaryDirectory() as folder:
            written = pathlib.Path(folder, "written")
            wine = self.wine()
            wine.run(program("console"), "leave-child", wine.prefix.to_windows(written))
            self.assertTrue(written.exists())


class Wine_on_a_desktop(Case):
    def test_shows_windows_right_after_a_program_without_a_display(self):
        prefix, desktop = self.fresh_prefix(), self.desktop()
        self.assertEqual(self.wine(prefix=prefix).run(program("console"), "desktop").returncode, 0)
        self.wine(desktop, prefix).start(program("window"), "A window")
        desktop.wait_window("A window")

    def test_has_a_prefix_of_its_own(self):
        first, second = self.desktop(), self.desktop()
        prefixes = [self.wine(desktop).prefix.path for desktop in (first, first, second)]
        self.assertEqual(prefixes[0], prefixes[1])
        self.assertEqual(len({*prefixes, project_prefix().path}), 3)


class Watchdog(Case):
    def test_ends_a_program_with_its_children_and_says_where_it_hung(self):
        process = self.wine().start(program("console"), "hang-with-child", limit=4)
        wait_until(lambda: len(process.family()) == 2, "both processes", seen=process.family)
        with self.assertRaises(Hang) as caught:
            process.wait()
        self.assertRegex(
            str(caught.exception),
            r"(?s)console.exe was still running after 4 s.*about to hang.*"
            r"Backtracing for thread .*console\.exe.*=>0.* in console ",
        )
        self.assertEqual(process.family(), {})

    def test_leaves_other_programs_of_the_prefix_alone(self):
        wine = self.wine()
        other = wine.start(program("console"), "hang")
        wait_until(lambda: other.stdout, "the other program")
        with self.assertRaises(Hang):
            wine.run(program("console"), "hang", limit=1)
        wine.start(program("console"), "hang").kill()
        self.assertTrue(other.running())

    def test_lets_a_program_end_in_peace(self):
        process = self.wine().start(program("console"), "where", limit=60)
        self.assertEqual(process.wait(), 0)
        process.kill()
        self.assertEqual(process.result().returncode, 0)


class Fresh_prefix(Case):
    def test_keeps_its_changes_to_itself_and_goes(self):
        key = r"HKEY_CURRENT_USER\Software\WendaxTest"
        with fresh_prefix() as prefix:
            wine = self.wine(prefix=prefix)
            wine.set_registry(key, "text", 'a "quoted" C:\\path \u00e9\u0416')
            wine.set_registry(key, "number", 0xFFFFFFFF)
            wine.set_registry(key, "bytes", b"\x00\xff")
            wine.set_registry(key, "", "default")
            shown = wine.run("reg", "query", key).text
            self.assertRegex(shown, r"number +REG_DWORD +0xffffffff")
            self.assertRegex(shown, r"bytes +REG_BINARY +00FF")
            self.assertRegex(shown, r"\(Default\) +REG_SZ +default")
            prefix.stop()
            saved = [line for line in (prefix.path / "user.reg").read_text().splitlines() if "quoted" in line]
            self.assertEqual(saved, [r'"text"="a \"quoted\" C:\\path \xe9\x416"'])
            wine.set_registry(key, "text", None)
            self.assertNotIn("text", wine.run("reg", "query", key).text)
            wine.remove_registry_key(key)
            self.assertNotEqual(wine.run("reg", "query", key).returncode, 0)
            self.assertNotEqual(servers_of(prefix), [])
        self.assertEqual(servers_of(prefix), [])
        self.assertFalse(prefix.path.exists())

    def test_does_not_lead_into_the_home_directory(self):
        with fresh_prefix() as prefix:
            links = [path for path in (prefix.drive_c / "users").rglob("*") if path.is_symlink()]
        self.assertEqual(links, [])

    def test_shares_no_file_that_wine_writes_with_the_original(self):
        with fresh_prefix() as prefix:
            outside = [
                path
                for path in prefix.path.rglob("*")
                if path.is_file()
                and not path.is_relative_to(prefix.drive_c / "windows")
                and not path.is_relative_to(prefix.path / "dosdevices")
            ]
            self.assertIn(prefix.path / "system.reg", outside)
            self.assertEqual([path for path in outside if path.stat().st_nlink > 1], [])

    def test_removes_what_a_killed_run_has_left(self):
        with subprocess.Popen(["true"]) as ended:
            pass
        left = REPO / "build" / "test-prefixes" / f"{ended.pid}.1"
        shutil.copytree(project_prefix().path / "drive_c" / "users", left / "drive_c" / "users", symlinks=True)
        with fresh_prefix():
            self.assertFalse(left.exists())

    def test_lets_a_program_open_files_of_a_kind(self):
        prefix = self.fresh_prefix()
        wine = self.wine(prefix=prefix)
        note, record = prefix.drive_c / "a note.wendaxtest", prefix.drive_c / "record.txt"
        note.write_text("Hello")
        opened = wine.run(program("console"), "open", r"C:\a note.wendaxtest")
        self.assertEqual(opened.returncode, 1, "nothing opens it at first")
        wine.associate(".wendaxtest", program("console"), "record", prefix.to_windows(record))
        self.assertEqual(wine.run(program("console"), "open", r"C:\a note.wendaxtest").returncode, 0)
        self.assertEqual(record.read_text(), "C:\\a note.wendaxtest\n")
        wine.dissociate(".wendaxtest")
        self.assertEqual(wine.run(program("console"), "open", r"C:\a note.wendaxtest").returncode, 1)


class Prefix_paths(Case):
    def test_are_those_of_wine(self):
        wine = self.wine()
        prefix = wine.prefix
        inside, outside = prefix.drive_c, pathlib.Path("/")
        for path in (inside, inside / "windows" / "x y.txt", outside, outside / "etc" / "hosts"):
            told = wine.run("winepath", "-w", path).text.removesuffix("\n")
            self.assertEqual(prefix.to_windows(path), told)
            self.assertEqual(prefix.to_unix(told), path)

    def test_match_letters_in_either_case(self):
        prefix = project_prefix()
        self.assertEqual(
            prefix.to_unix(r"c:\WINDOWS/System32\Kernel32.DLL"),
            prefix.drive_c / "windows" / "system32" / "kernel32.dll",
        )

    def test_keep_what_does_not_exist(self):
        self.assertEqual(project_prefix().to_unix(r"C:\No Such\File"), project_prefix().drive_c / "No Such" / "File")

    def test_need_a_drive(self):
        for name in (r"relative\name", r"\rooted", "Q:\\nowhere"):
            with self.assertRaises(ValueError):
                project_prefix().to_unix(name)

    def test_know_the_temporary_directory(self):
        wine = self.wine()
        shown = wine.run(program("console"), "where").text.splitlines()[1]
        self.assertEqual(wine.prefix.temp_dir, wine.prefix.to_unix(shown))

    def test_of_a_missing_prefix_ask_for_the_set_up(self):
        with self.assertRaisesRegex(FileNotFoundError, "run scripts/setup"):
            Prefix("/nowhere")


def servers_of(prefix):
    """The processes of Wine's servers that work for that prefix."""
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if (entry / "comm").read_text().startswith("wineserver") and f"WINEPREFIX={prefix.path}".encode() in (
                entry / "environ"
            ).read_bytes().split(b"\0"):
                found.append(int(entry.name))
        except OSError:
            continue
    return found
