"""The upload dialog that shows what is sent: a folder of copies in the shell, of which the user can take some out."""

import shutil

import pytest

from testing.host import opened_files
from testing.processes import wait_until
from testing.upload_body import upload_body
from testing.web_server import WebServer, answering
from uploading import FAILED, START, UploadDialog

FOLDER = r"[HKEY_CLASSES_ROOT\{0}\shell\open\command]"


class Contents(UploadDialog):
    """An upload dialog that was asked to show what is sent, over a report of three files. What the shell opens folders with
    writes down which."""

    def __init__(self, stage):
        super().__init__(stage)
        self.temp = self.wine.prefix.temp_dir
        self.opened_log = self.wine.prefix.drive_c / "opened.log"
        self.opens_folders(stage.product("mail_program.exe"))
        assert self.report.tell("show-contents") == "1"
        (self.folder / "other").mkdir()
        self.contents = {b"a.cfg": b"config", b"a.log": b"log" * 1000, b"other\\a.log": b"the other log"}
        for name, content in self.contents.items():
            (self.folder / name.decode().replace("\\", "/")).write_bytes(content)
        self.config, self.log, self.other = (self.path_of(name) for name in self.contents)
        self.post(self.config, None, self.log, self.other)

    def start(self):
        return super().start(env={"MAIL_PROGRAM_LOG": "C:\\opened.log"})

    def opens_folders(self, program):
        command = f'"{self.wine.prefix.to_windows(program)}" "%1"' if program else "none.exe"
        command = command.replace("\\", "\\\\").replace('"', '\\"')
        for kind in ("Folder", "Directory"):
            self.wine.import_registry(f'{FOLDER.format(kind)}\n@="{command}"\n\n')

    def opened(self):
        """The folders that the shell was told to open."""
        return [self.wine.prefix.to_unix(path) for _, path in opened_files(self.opened_log)]

    def show(self, times=1):
        """Presses the button; returns the folder that opens."""
        self.press("What is sent")
        wait_until(lambda: len(self.opened()) >= times, "the folder to be opened", 60)
        folders = self.opened()
        assert len(folders) == times
        return folders[-1]

    def body(self, **content):
        """As upload_body, with these contents in the place of the files' own; None for a part that doesn't go."""
        files = {
            "Conversion_Config": (self.config, self.contents[b"a.cfg"]),
            "Conversion_log": (self.log, self.contents[b"a.log"]),
            "File_for_conversion": (self.other, self.contents[b"other\\a.log"]),
        }
        for part, changed in content.items():
            files[part] = (files[part][0], changed)
        return upload_body({part: file for part, file in files.items() if file[1] is not None})


@pytest.fixture
def contents(stage):
    return Contents(stage)


def found_in(folder):
    return {path.name: path.read_bytes() for path in folder.iterdir()}


class TestFolder:
    def test_has_copies_of_exactly_the_files_that_go_and_goes_with_the_dialog(self, contents):
        temp_before = set(contents.temp.iterdir())
        contents.report.tell("attach", contents.config)  # no part of the upload
        contents.open()
        contents.picture("1-button")
        assert contents.shown() == (START, True, True)
        folder = contents.show()
        assert folder.parent.samefile(contents.temp)
        assert sorted(found_in(folder).values()) == sorted(contents.contents.values())
        assert set(found_in(folder)) == {"a.cfg", "a.log", "4 a.log"}
        assert contents.upload_now().body == contents.body()
        assert set(contents.temp.iterdir()) == temp_before

    def test_loses_a_file_that_the_user_deletes_there_and_so_does_the_upload(self, contents):
        contents.open()
        folder = contents.show()
        (folder / "a.cfg").unlink()
        assert contents.show(times=2) == folder
        assert set(found_in(folder)) == {"a.log", "4 a.log"}
        body = contents.upload_now().body
        assert body == contents.body(Conversion_Config=None)
        assert b"a.cfg" not in body

    def test_is_what_goes_also_where_the_files_have_changed_since(self, contents):
        contents.open()
        folder = contents.show()
        (contents.folder / "a.log").write_bytes(b"more that the user hasn't seen")
        (contents.folder / "a.cfg").unlink()
        (folder / "4 a.log").write_bytes(b"without a name")
        assert contents.upload_now().body == contents.body(Conversion_log=b"without a name")

    def test_is_the_same_for_the_next_try(self, contents):
        contents.open()
        folder = contents.show()
        (folder / "4 a.log").unlink()
        with WebServer(contents.address, 80, answering(b"No.")) as server:
            contents.press("Upload Report")
            contents.wait_shown(FAILED)
            assert server.requests[0].body == contents.body(Conversion_log=None)
        contents.picture("failed")
        contents.show(times=2)
        assert contents.upload_now().body == contents.body(Conversion_log=None)

    def test_may_be_gone_by_the_upload_which_then_has_no_files(self, contents):
        contents.open()
        shutil.rmtree(contents.show())
        assert contents.upload_now().body == upload_body({})

    def test_leaves_what_the_user_has_put_there(self, contents):
        contents.open()
        folder = contents.show()
        (folder / "notes.txt").write_bytes(b"of the user")
        contents.close()
        assert found_in(folder) == {"notes.txt": b"of the user"}

    def test_has_a_name_of_its_own_beside_one_that_was_left(self, contents):
        left = contents.temp / "What is sent 1"
        left.mkdir()
        (left / "a.log").write_bytes(b"of another program")
        contents.open()
        folder = contents.show()
        assert not folder.samefile(left)
        assert contents.upload_now().body == contents.body()
        assert found_in(left) == {"a.log": b"of another program"}

    def test_is_named_for_the_user_where_the_shell_does_not_open_it(self, contents):
        contents.opens_folders(None)
        contents.open()
        contents.press("What is sent")
        folder = contents.wine.prefix.to_windows(contents.temp / "What is sent 1")
        contents.wait_shown(folder)
        contents.picture("named")
        (contents.temp / "What is sent 1" / "a.cfg").unlink()
        assert contents.upload_now().body == contents.body(Conversion_Config=None)

    def test_that_cannot_be_made_changes_nothing(self, contents):
        for path in contents.temp.iterdir():
            path.rename(contents.wine.prefix.drive_c / path.name)
        contents.temp.rmdir()
        contents.open()
        contents.press("What is sent")
        assert contents.shown() == (START, True, True)
        assert contents.upload_now().body == contents.body()


def test_without_being_asked_for_there_is_no_button(dialog):
    dialog.open()
    dialog.picture("without")
    dialog.press("What is sent")  # where it would be
    dialog.upload_now()
    assert not list(dialog.wine.prefix.temp_dir.glob("What is sent*"))
