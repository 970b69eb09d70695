"""The upload dialog on screen, answered with the pointer, in a program that has really failed."""

import re
import subprocess
import threading
import time

import pytest

from testing.php_server import PhpServer
from testing import report_dialog
from testing.processes import WaitTimeout, wait_until
from testing.loopback import loopback_address
from testing.picture import described
from testing.upload_body import CONFIRMATION, upload_body
from testing.web_server import WebServer, answering, http_answer
from testing.upload_host import UploadHost

YES = answering(b"Well: " + CONFIRMATION)

# The dialog's texts.
START = (
    "If you were in the middle of something, the information you were working on might be lost.\n\n"
    "Please tell Torvex about this problem.\n\n"
    "We have created an error report that your can sent to us. This report will help us to improve the "
    "program and fix this error??"
)  # two characters that no ANSI code page has
SENDING = (
    "Upload отчёта о crash'e может занять некоторое время. Пожалуйста подождите.\n\n"
    "После окончания операции загрузки программа будет автоматически закрыта."
)
FAILED = (
    "Ошибка передачи данных.\n\nПожалуйста подключитесь к сети Internet и разрешите программе ksv.exe "
    "выход в сеть для соединения с сервером компании Torvex."
)
THANKED = "Thank you.\n\nData has uploaded successfully"


class Example:
    """examples/upload on a desktop. locale: ru_RU.UTF-8 gives the code page of the dialog's own texts, 1251."""

    def __init__(self, stage):
        self.stage = stage

    def start(self, locale="ru_RU.UTF-8"):
        self.address = loopback_address()
        self.screen = self.stage.desktop(width=1024, height=768)
        self.host = UploadHost(self.stage, "upload.exe", self.address, self.stage.wine(self.screen, locale=locale))
        self.process = self.host.start()
        return report_dialog.wait(self.screen)

    def serve(self, answer=YES):
        return self.stage.enter_context(WebServer(self.address, 80, answer))

    def press(self, button):
        report_dialog.press(self.screen, button)

    def finish(self):
        report_dialog.wait_closed(self.screen)
        self.process.wait_family()
        assert self.process.returncode == 0
        return self.process.result().text.strip()

    def expected_body(self):
        """The body of a report of examples/upload with the files as they are now."""
        temp = self.host.wine.prefix.temp_dir
        folder = self.host.wine.prefix.to_windows(temp)
        picture = temp / "screen_copy.jpg"
        assert described(picture, "%m %w %h %Q") == "JPEG 512 512 75"
        return upload_body(
            {
                "Conversion_Config": (b"upload.cfg", (self.host.folder / "upload.cfg").read_bytes()),
                "File_for_conversion": (b"fault.txt", (self.host.folder / "fault.txt").read_bytes()),
                "Conversion_log": (b"upload.log", (self.host.folder / "upload.log").read_bytes()),
                "Screen_copy": (f"{folder}\\screen_copy.jpg".encode(), picture.read_bytes()),
                "System_info": (f"{folder}\\system_info.txt".encode(), (temp / "system_info.txt").read_bytes()),
            }
        )


@pytest.fixture
def example(stage):
    return Example(stage)


class TestDialog:
    def test_uploads_thanks_and_closes(self, example):
        example.start()
        server = example.serve()
        example.press("Upload Report")
        assert example.finish() == "uploaded"
        (request,) = server.requests
        assert request.body == example.expected_body()
        fault = (example.host.folder / "fault.txt").read_bytes()
        assert fault.startswith(b"Crush Expantion:\nEXCEPTION_ACCESS_VIOLATION (C0000005): ")
        assert b"\nValue quality = high\n" in fault
        assert b": converting the picture\n" in fault
        assert b"\n\nStack Trace:\n" in fault

    def test_closes_without_uploading(self, example):
        example.start()
        server = example.serve()
        example.press("Close")
        assert example.finish() == "not uploaded"
        assert server.requests == []

    def test_closes_by_its_close_box(self, example):
        window = example.start()
        example.screen.close_window(window)
        assert example.finish() == "not uploaded"

    def test_uploads_to_the_server_that_comes_with_the_library(self, example, stage):
        example.start()
        with PhpServer(example.address, 80, stage.artifacts / "store") as server:
            example.press("Upload Report")
            assert example.finish() == "uploaded"
            (stored,) = server.reports()
        assert stored["Conversion_Config"] == ("upload.cfg", b"quality = high\r\n")
        assert stored["Conversion_log"] == ("upload.log", b"conversion started\r\n")
        assert b"Windows Version:" in stored["System_info"][1]


class TestIcon:
    def test_is_the_librarys_even_if_the_host_has_one(self, stage):
        colours = []
        for program in ("upload_host.exe", "upload_host_with_icon.exe"):
            screen = stage.desktop(width=1024, height=768)
            report = UploadHost(stage, program, wine=stage.wine(screen), folder=program.partition(".")[0]).drive()
            report.tell("new")
            report.send("dialog")
            colours.append(report_dialog.icon_colour(screen, stage.artifacts / f"{program}.png"))
            report_dialog.press(screen, "Close")
            assert report.receive() == "2"
        assert colours[0] == colours[1]
        assert not re.search(r"\(0,192,0\)", colours[1])  # the host's


class Upload:
    """The dialog of a host: pictures to look at, and the texts and buttons as Windows knows them."""

    def __init__(self, stage):
        self.stage = stage
        self.seen = []
        self.address = loopback_address()
        self.screen = stage.desktop(width=1024, height=768)
        self.wine = self.stage.wine(self.screen, locale="ru_RU.UTF-8")
        self.host = UploadHost(self.stage, address=self.address, wine=self.wine)
        self.report = self.host.drive()
        self.report.tell("new")

    def shown(self):
        """The dialog's text, and whether the buttons "Upload Report" and "Close" take clicks."""
        told = self.wine.run(self.stage.product("dialog_probe.exe")).text.split()
        assert len(told) == 3, told
        return bytes.fromhex(told[0]).decode("cp1251"), told[1] == "1", told[2] == "1"

    def wait_shown(self, text, takes_clicks, timeout=60):
        wait_until(
            lambda: self.shown() == (text, takes_clicks, takes_clicks),
            "the dialog's next state",
            timeout,
            seen=self.shown,
        )

    def picture(self, name):
        """Takes a picture once the place of the dialog's text has a text, and one of none of the pictures before. The
        dialog is sent nothing meanwhile."""

        def text_has_changed():
            picture = self.screen.screenshot(self.stage.artifacts / f"{name}.png")
            window = report_dialog.wait(self.screen)
            x, y = window.x + window.width * 86 // 300, window.y + window.height * 46 // 177
            place = f"{window.width * 203 // 300}x{window.height * 96 // 177}+{x}+{y}"
            seen = subprocess.run(["convert", picture, "-crop", place, "rgb:-"], check=True, capture_output=True).stdout
            if seen in self.seen or len(set(zip(*[iter(seen)] * 3))) == 1:  # blank
                return False
            self.seen.append(seen)
            return True

        wait_until(text_has_changed, f"the text of {name} to be painted", 30)

    def holding_server(self, status="200 OK"):
        """A server that answers once told to: (server, request has arrived, answer)."""
        arrived, release = threading.Event(), threading.Event()

        def answer(client):
            if client.read_request():
                arrived.set()
                release.wait(120)
                client.send(http_answer(b"Well: " + CONFIRMATION * (status == "200 OK"), status))

        return WebServer(self.address, 80, answer), arrived, release

    def open(self, *which):
        self.report.send("dialog", *which)
        report_dialog.wait(self.screen)

    def finish(self, result):
        assert self.report.receive() == str(result)
        report_dialog.wait_closed(self.screen)


@pytest.fixture
def upload(stage):
    return Upload(stage)


class TestWhatTheDialogShows:
    def test_is_start_failed_sending_and_thanked(self, upload):
        upload.report.tell("hold")
        upload.open()
        assert upload.shown() == (START, True, True)
        upload.picture("1-start")

        report_dialog.press(upload.screen, "Upload Report")  # nobody listens
        upload.wait_shown(FAILED, takes_clicks=True)
        upload.picture("2-failed")

        server, arrived, release = upload.holding_server()
        with server:
            report_dialog.press(upload.screen, "Upload Report")
            assert arrived.wait(60)
            upload.picture("3-sending")
            assert upload.shown() == (SENDING, False, False)
            release.set()
            assert upload.report.receive() == "closing"
        assert upload.shown() == (THANKED, False, False)
        upload.picture("4-thanked")
        upload.report.send("go")
        upload.finish(1)

    def test_says_that_it_uploads_each_time_while_it_does(self, upload):
        upload.open()
        for i in range(4):
            upload.seen = []
            upload.picture(f"{i}-before")
            server, arrived, release = upload.holding_server("500 Internal Server Error")
            with server:
                report_dialog.press(upload.screen, "Upload Report")
                assert arrived.wait(60)
                upload.picture(f"{i}-sending")
                release.set()
                upload.wait_shown(FAILED, takes_clicks=True)
        report_dialog.press(upload.screen, "Close")
        upload.finish(2)

    def test_is_never_a_second_upload_by_what_is_typed_meanwhile(self, upload):
        upload.open()
        server, arrived, release = upload.holding_server("500 Internal Server Error")
        with server:
            window = report_dialog.press(upload.screen, "Upload Report")
            assert arrived.wait(60)
            upload.screen.activate(window)
            time.sleep(1.5)  # beyond the time in which the new dialog takes no keys: no wait for something
            upload.screen.key("space", "space")
            release.set()
            upload.wait_shown(FAILED, takes_clicks=True)
            report_dialog.press(upload.screen, "Close")
            upload.finish(2)
        assert len(server.requests) == 1

    def test_is_never_a_second_upload_by_a_message_that_presses_the_button_again(self, upload):
        upload.report.tell("press-again")
        upload.open()
        server, arrived, release = upload.holding_server()
        with server:
            report_dialog.press(upload.screen, "Upload Report")
            assert arrived.wait(60)
            assert upload.report.receive() == "pressing"
            release.set()
            upload.finish(1)
        assert len(server.requests) == 1

    def test_after_a_failure_is_a_dialog_that_tries_again_at_the_space_bar(self, upload):
        upload.open()
        report_dialog.press(upload.screen, "Upload Report")
        upload.wait_shown(FAILED, takes_clicks=True)

        def closed():
            upload.screen.key("space")
            return not upload.screen.find_window(report_dialog.TITLE)

        with WebServer(upload.address, 80, YES) as server:
            upload.screen.activate(report_dialog.wait(upload.screen))
            wait_until(closed, "the space bar to press the button", 60)
            upload.finish(1)
        assert len(server.requests) == 1

    def test_after_a_failure_is_a_dialog_that_can_try_again_with_the_files_of_that_time(self, upload):
        log = upload.host.write(b"log", b"first")
        upload.report.tell("post", b"-|-|" + log + b"|-")
        upload.open()
        for _ in range(2):
            report_dialog.press(upload.screen, "Upload Report")
            upload.wait_shown(FAILED, takes_clicks=True)
        upload.host.write(b"log", b"as it is by now")
        with WebServer(upload.address, 80, YES) as server:
            report_dialog.press(upload.screen, "Upload Report")
            upload.finish(1)
        (request,) = server.requests
        assert request.body == upload_body({"Conversion_log": (log, b"as it is by now")})

    def test_after_a_newer_report_was_made_is_the_upload_of_that(self, upload):
        upload.report.tell("post", b"-|-|older|-")
        upload.report.tell("new")
        upload.report.tell("post", b"-|-|newest|-")
        upload.open("first")
        with WebServer(upload.address, 80, YES) as server:
            report_dialog.press(upload.screen, "Upload Report")
            upload.finish(1)
        (request,) = server.requests
        assert request.body == upload_body({"Conversion_log": (b"newest", b"")})

    def test_after_a_failure_is_a_dialog_that_can_be_closed(self, upload):
        upload.open()
        report_dialog.press(upload.screen, "Upload Report")
        upload.wait_shown(FAILED, takes_clicks=True)
        report_dialog.press(upload.screen, "Close")
        upload.finish(2)

    def test_outlasts_a_server_that_never_answers(self, upload):
        upload.open()
        arrived = threading.Event()

        def answer(client):
            client.read_request()
            arrived.set()
            client.server.wait_end()

        with WebServer(upload.address, 80, answer):
            report_dialog.press(upload.screen, "Upload Report")
            assert arrived.wait(60)
            with pytest.raises(WaitTimeout):
                upload.wait_shown(FAILED, takes_clicks=True, timeout=5)
            assert upload.shown() == (SENDING, False, False)
        upload.wait_shown(FAILED, takes_clicks=True)
        with WebServer(upload.address, 80, YES):
            report_dialog.press(upload.screen, "Upload Report")
            upload.finish(1)

    def test_for_a_file_beyond_the_memory_is_a_failure(self, upload):
        with open(upload.host.folder / "huge", "wb") as file:
            file.truncate((2 << 30) - 2)
        upload.report.tell("post", b"-|-|-|" + upload.host.path_of(b"huge"))
        upload.open()
        report_dialog.press(upload.screen, "Upload Report")
        upload.wait_shown(FAILED, takes_clicks=True)
        report_dialog.press(upload.screen, "Close")
        upload.finish(2)
