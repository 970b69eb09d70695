"""The upload dialog on screen, answered with the pointer, in a program that has really failed."""

import re
import time

import pytest

from testing import report_dialog
from testing.php_server import PhpServer
from testing.picture import described
from testing.processes import WaitTimeout
from testing.upload_body import YES, upload_body
from testing.web_server import HoldingServer, WebServer, answering, http_answer
from uploading import FAILED, RUSSIAN, SENDING, START, THANKED, WESTERN, UploadDialog, Uploader

ERROR = http_answer(b"Well: ", "500 Internal Server Error")


class Example(Uploader):
    """examples/upload on a desktop, with its dialog open."""

    def __init__(self, stage):
        self.screen = stage.desktop(width=1024, height=768)
        super().__init__(stage, "upload.exe", stage.wine(self.screen, locale=RUSSIAN))
        self.process = self.wine.start(self.exe, cwd=self.folder)
        self.window = report_dialog.wait(self.screen)

    def finish(self):
        report_dialog.wait_closed(self.screen)
        self.process.wait_family()
        assert self.process.returncode == 0
        return self.process.result().text.strip()

    def expected_body(self):
        """The body of a report of examples/upload with the files as they are now."""
        temp = self.wine.prefix.temp_dir
        folder = self.wine.prefix.to_windows(temp).encode()
        assert described(temp / "screen_copy.jpg", "%m %w %h %Q") == "JPEG 512 512 75"
        own = (
            ("Conversion_Config", "upload.cfg"),
            ("File_for_conversion", "fault.txt"),
            ("Conversion_log", "upload.log"),
        )
        made = (("Screen_copy", "screen_copy.jpg"), ("System_info", "system_info.txt"))
        files = {part: (name.encode(), (self.folder / name).read_bytes()) for part, name in own}
        files |= {part: (folder + b"\\" + name.encode(), (temp / name).read_bytes()) for part, name in made}
        return upload_body(files)


@pytest.fixture
def example(stage):
    return Example(stage)


class TestDialog:
    def test_uploads_thanks_and_closes(self, example):
        server = example.serve()
        report_dialog.press(example.screen, "Upload Report")
        assert example.finish() == "uploaded"
        (request,) = server.requests
        assert request.body == example.expected_body()
        fault = (example.folder / "fault.txt").read_bytes()
        assert fault.startswith(b"Crush Expantion:\nEXCEPTION_ACCESS_VIOLATION (C0000005): ")
        assert b"\nValue quality = high\n" in fault
        assert b": converting the picture\n" in fault
        assert b"\n\nStack Trace:\n" in fault

    def test_closes_without_uploading(self, example):
        server = example.serve()
        report_dialog.press(example.screen, "Close")
        assert example.finish() == "not uploaded"
        assert server.requests == []

    def test_closes_by_its_close_box(self, example):
        example.screen.close_window(example.window)
        assert example.finish() == "not uploaded"

    def test_uploads_to_the_server_that_comes_with_the_library(self, example, stage):
        with PhpServer(example.address, 80, stage.artifacts / "store") as server:
            report_dialog.press(example.screen, "Upload Report")
            assert example.finish() == "uploaded"
            (stored,) = server.reports()
        assert stored["Conversion_Config"] == ("upload.cfg", b"quality = high\r\n")
        assert stored["Conversion_log"] == ("upload.log", b"conversion started\r\n")
        assert b"Windows Version:" in stored["System_info"][1]


class TestIcon:
    def test_is_the_librarys_even_if_the_host_has_one(self, stage):
        colours = []
        for program in ("upload_host.exe", "upload_host_with_icon.exe"):
            dialog = UploadDialog(stage, program, WESTERN, folder=program.partition(".")[0])
            dialog.open()
            colours.append(report_dialog.icon_colour(dialog.screen, stage.artifacts / f"{program}.png"))
            dialog.close()
        assert colours[0] == colours[1]
        assert not re.search(r"\(0,192,0\)", colours[1])  # the host's


class TestWhatTheDialogShows:
    def test_is_start_failed_sending_and_thanked(self, dialog):
        dialog.report.tell("hold")
        dialog.open()
        assert dialog.shown() == (START, True, True)
        dialog.picture("1-start")
        dialog.fail()
        dialog.picture("2-failed")
        with HoldingServer(dialog.address, 80, http_answer(YES)) as server:
            dialog.press("Upload Report")
            assert server.arrived.wait(60)
            dialog.picture("3-sending")
            assert dialog.shown() == (SENDING, False, False)
            server.release.set()
            assert dialog.report.receive() == "closing"
        assert dialog.shown() == (THANKED, False, False)
        dialog.picture("4-thanked")
        dialog.report.send("go")
        dialog.finish(1)

    def test_says_that_it_uploads_each_time_while_it_does(self, dialog):
        dialog.open()
        for i in range(4):
            dialog.seen = []
            dialog.picture(f"{i}-before")
            with HoldingServer(dialog.address, 80, ERROR) as server:
                dialog.press("Upload Report")
                assert server.arrived.wait(60)
                dialog.picture(f"{i}-sending")
                server.release.set()
                dialog.wait_shown(FAILED)
        dialog.close()

    def test_is_never_a_second_upload_by_what_is_typed_meanwhile(self, dialog):
        dialog.open()
        with HoldingServer(dialog.address, 80, ERROR) as server:
            window = dialog.press("Upload Report")
            assert server.arrived.wait(60)
            dialog.screen.activate(window)
            time.sleep(1.5)  # beyond the time in which the new dialog takes no keys: no wait for something
            dialog.screen.key("space", "space")
            server.release.set()
            dialog.wait_shown(FAILED)
            dialog.close()
        assert len(server.requests) == 1

    def test_is_never_a_second_upload_by_a_message_that_presses_the_button_again(self, dialog):
        dialog.report.tell("press-again")
        dialog.open()
        with HoldingServer(dialog.address, 80, http_answer(YES)) as server:
            dialog.press("Upload Report")
            assert server.arrived.wait(60)
            assert dialog.report.receive() == "pressing"
            server.release.set()
            dialog.finish(1)
        assert len(server.requests) == 1

    def test_after_a_failure_is_a_dialog_that_tries_again_at_the_space_bar(self, dialog):
        dialog.open()
        dialog.fail()
        with WebServer(dialog.address, 80, answering(YES)) as server:
            dialog.screen.activate(report_dialog.wait(dialog.screen))
            report_dialog.close_by_keys(dialog.screen, "space")
            dialog.finish(1)
        assert len(server.requests) == 1

    def test_after_a_failure_is_a_dialog_that_can_try_again_with_the_files_of_that_time(self, dialog):
        log = dialog.write(b"log", b"first")
        dialog.post(log=log)
        dialog.open()
        for _ in range(2):
            dialog.fail()
        dialog.write(b"log", b"as it is by now")
        assert dialog.upload_now().body == upload_body({"Conversion_log": (log, b"as it is by now")})

    def test_after_a_newer_report_was_made_is_the_upload_of_that(self, dialog):
        dialog.post(log=b"older")
        dialog.report.tell("new")
        dialog.post(log=b"newest")
        dialog.open("first")
        assert dialog.upload_now().body == upload_body({"Conversion_log": (b"newest", b"")})

    def test_outlasts_a_server_that_never_answers(self, dialog):
        dialog.open()
        with HoldingServer(dialog.address, 80) as server:
            dialog.press("Upload Report")
            assert server.arrived.wait(60)
            with pytest.raises(WaitTimeout):
                dialog.wait_shown(FAILED, timeout=5)
            assert dialog.shown() == (SENDING, False, False)
        dialog.wait_shown(FAILED)
        dialog.upload_now()

    def test_for_a_file_beyond_the_memory_is_a_failure(self, dialog):
        with open(dialog.folder / "huge", "wb") as file:
            file.truncate((2 << 30) - 2)
        dialog.post(file=dialog.path_of(b"huge"))
        dialog.open()
        dialog.fail()
        dialog.close()
