"""The upload dialog on screen, answered with the pointer, in a program that has really failed."""

import subprocess
import threading
import time

from testing.php_server import PhpServer
from testing import report_dialog
from testing.processes import WaitTimeout, wait_until
from testing.runner import Case
from testing.loopback import loopback_address
from testing.picture import described
from testing.upload_body import CONFIRMATION, upload_body
from testing.web_server import WebServer, answering, http_answer
from testing.upload_host import UploadHost

YES = answering(b"Well: " + CONFIRMATION)


class DialogCase(Case):
    """locale: ru_RU.UTF-8 gives the code page of the dialog's own texts, 1251."""

    def start(self, locale="ru_RU.UTF-8"):
        self.address = loopback_address()
        self.screen = self.desktop(width=1024, height=768)
        self.host = UploadHost(self, "upload.exe", self.address, self.wine(self.screen, locale=locale))
        self.process = self.host.start()
        return report_dialog.wait(self.screen)

    def serve(self, answer=YES):
        return self.enterContext(WebServer(self.address, 80, answer))

    def press(self, button):
        report_dialog.press(self.screen, button)

    def finish(self):
        report_dialog.wait_closed(self.screen)
        self.process.wait_family()
        self.assertEqual(self.process.returncode, 0)
        return self.process.result().text.strip()

    def expected_body(self):
        """The body of a report of examples/upload with the files as they are now."""
        temp = self.host.wine.prefix.temp_dir
        folder = self.host.wine.prefix.to_windows(temp)
        picture = temp / "screen_copy.jpg"
        self.assertEqual(described(picture, "%m %w %h %Q"), "JPEG 512 512 75")
        return upload_body(
            {
                "Conversion_Config": (b"upload.cfg", (self.host.folder / "upload.cfg").read_bytes()),
                "Conversion_log": (b"upload.log", (self.host.folder / "upload.log").read_bytes()),
                "Screen_copy": (f"{folder}\\screen_copy.jpg".encode(), picture.read_bytes()),
                "System_info": (f"{folder}\\system_info.txt".encode(), (temp / "system_info.txt").read_bytes()),
            }
        )


class TheDialog(DialogCase):
    def test_uploads_thanks_and_closes(self):
        self.start()
        server = self.serve()
        self.press("Upload Report")
        self.assertEqual(self.finish(), "uploaded")
        (request,) = server.requests
        self.assertEqual(request.body, self.expected_body())

    def test_closes_without_uploading(self):
        self.start()
        server = self.serve()
        self.press("Close")
        self.assertEqual(self.finish(), "not uploaded")
        self.assertEqual(server.requests, [])

    def test_closes_by_its_close_box(self):
        window = self.start()
        self.screen.close_window(window)
        self.assertEqual(self.finish(), "not uploaded")

    def test_uploads_to_the_server_that_comes_with_the_library(self):
        self.start()
        with PhpServer(self.address, 80, self.artifacts / "store") as server:
            self.press("Upload Report")
            self.assertEqual(self.finish(), "uploaded")
            (stored,) = server.reports()
        self.assertEqual(stored["Conversion_Config"], ("upload.cfg", b"quality = high\r\n"))
        self.assertEqual(stored["Conversion_log"], ("upload.log", b"conversion started\r\n"))
        self.assertIn(b"Windows Version:", stored["System_info"][1])


class TheIcon(Case):
    def test_is_the_librarys_even_if_the_host_has_one(self):
        colours = []
        for program in ("upload_host.exe", "upload_host_with_icon.exe"):
            screen = self.desktop(width=1024, height=768)
            report = UploadHost(self, program, wine=self.wine(screen), folder=program.partition(".")[0]).drive()
            report.tell("new")
            report.send("dialog")
            colours.append(report_dialog.icon_colour(screen, self.artifacts / f"{program}.png"))
            report_dialog.press(screen, "Close")
            self.assertEqual(report.receive(), "2")
        self.assertEqual(colours[0], colours[1])
        self.assertNotRegex(colours[1], r"\(0,192,0\)")  # the host's


class WhatTheDialogShows(Case):
    """Pictures to look at, and the texts and buttons as Windows knows them."""

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

    def setUp(self):
        self.address = loopback_address()
        self.screen = self.desktop(width=1024, height=768)
        self.wine_here = self.wine(self.screen, locale="ru_RU.UTF-8")
        self.host = UploadHost(self, address=self.address, wine=self.wine_here)
        self.report = self.host.drive()
        self.report.tell("new")

    def shown(self):
        """The dialog's text, and whether the buttons "Upload Report" and "Close" take clicks."""
        told = self.wine_here.run(self.product("dialog_probe.exe")).text.split()
        self.assertEqual(len(told), 3, told)
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
            picture = self.screen.screenshot(self.artifacts / f"{name}.png")
            window = report_dialog.wait(self.screen)
            x, y = window.x + window.width * 86 // 300, window.y + window.height * 46 // 177
            place = f"{window.width * 203 // 300}x{window.height * 96 // 177}+{x}+{y}"
            seen = subprocess.run(
                ["convert", picture, "-crop", place, "rgb:-"], check=True, capture_output=True, timeout=60
            ).stdout
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
        self.assertEqual(self.report.receive(), str(result))
        report_dialog.wait_closed(self.screen)

    def test_is_start_failed_sending_and_thanked(self):
        self.seen = []
        self.report.tell("hold")
        self.open()
        self.assertEqual(self.shown(), (self.START, True, True))
        self.picture("1-start")

        report_dialog.press(self.screen, "Upload Report")  # nobody listens
        self.wait_shown(self.FAILED, takes_clicks=True)
        self.picture("2-failed")

        server, arrived, release = self.holding_server()
        with server:
            report_dialog.press(self.screen, "Upload Report")
            self.assertTrue(arrived.wait(60))
            self.picture("3-sending")
            self.assertEqual(self.shown(), (self.SENDING, False, False))
            release.set()
            self.assertEqual(self.report.receive(), "closing")
        self.assertEqual(self.shown(), (self.THANKED, False, False))
        self.picture("4-thanked")
        self.report.send("go")
        self.finish(1)

    def test_says_that_it_uploads_each_time_while_it_does(self):
        self.open()
        for i in range(4):
            self.seen = []
            self.picture(f"{i}-before")
            server, arrived, release = self.holding_server("500 Internal Server Error")
            with server:
                report_dialog.press(self.screen, "Upload Report")
                self.assertTrue(arrived.wait(60))
                self.picture(f"{i}-sending")
                release.set()
                self.wait_shown(self.FAILED, takes_clicks=True)
        report_dialog.press(self.screen, "Close")
        self.finish(2)

    def test_is_never_a_second_upload_by_what_is_typed_meanwhile(self):
        self.open()
        server, arrived, release = self.holding_server("500 Internal Server Error")
        with server:
            window = report_dialog.press(self.screen, "Upload Report")
            self.assertTrue(arrived.wait(60))
            self.screen.activate(window)
            time.sleep(1.5)  # beyond the time in which the new dialog takes no keys: no wait for something
            self.screen.key("space", "space")
            release.set()
            self.wait_shown(self.FAILED, takes_clicks=True)
            report_dialog.press(self.screen, "Close")
            self.finish(2)
        self.assertEqual(len(server.requests), 1)

    def test_is_never_a_second_upload_by_a_message_that_presses_the_button_again(self):
        self.report.tell("press-again")
        self.open()
        server, arrived, release = self.holding_server()
        with server:
            report_dialog.press(self.screen, "Upload Report")
            self.assertTrue(arrived.wait(60))
            self.assertEqual(self.report.receive(), "pressing")
            release.set()
            self.finish(1)
        self.assertEqual(len(server.requests), 1)

    def test_after_a_failure_is_a_dialog_that_tries_again_at_the_space_bar(self):
        self.open()
        report_dialog.press(self.screen, "Upload Report")
        self.wait_shown(self.FAILED, takes_clicks=True)

        def closed():
            self.screen.key("space")
            return not self.screen.find_window(report_dialog.TITLE)

        with WebServer(self.address, 80, YES) as server:
            self.screen.activate(report_dialog.wait(self.screen))
            wait_until(closed, "the space bar to press the button", 60)
            self.finish(1)
        self.assertEqual(len(server.requests), 1)

    def test_after_a_failure_is_a_dialog_that_can_try_again_with_the_files_of_that_time(self):
        log = self.host.write(b"log", b"first")
        self.report.tell("post", b"-|-|" + log + b"|-")
        self.open()
        for _ in range(2):
            report_dialog.press(self.screen, "Upload Report")
            self.wait_shown(self.FAILED, takes_clicks=True)
        self.host.write(b"log", b"as it is by now")
        with WebServer(self.address, 80, YES) as server:
            report_dialog.press(self.screen, "Upload Report")
            self.finish(1)
        (request,) = server.requests
        self.assertEqual(request.body, upload_body({"Conversion_log": (log, b"as it is by now")}))

    def test_after_a_newer_report_was_made_is_the_upload_of_that(self):
        self.report.tell("post", b"-|-|older|-")
        self.report.tell("new")
        self.report.tell("post", b"-|-|newest|-")
        self.open("first")
        with WebServer(self.address, 80, YES) as server:
            report_dialog.press(self.screen, "Upload Report")
            self.finish(1)
        (request,) = server.requests
        self.assertEqual(request.body, upload_body({"Conversion_log": (b"newest", b"")}))

    def test_after_a_failure_is_a_dialog_that_can_be_closed(self):
        self.open()
        report_dialog.press(self.screen, "Upload Report")
        self.wait_shown(self.FAILED, takes_clicks=True)
        report_dialog.press(self.screen, "Close")
        self.finish(2)

    def test_outlasts_a_server_that_never_answers(self):
        self.open()
        arrived = threading.Event()

        def answer(client):
            client.read_request()
            arrived.set()
            client.server.wait_end()

        with WebServer(self.address, 80, answer):
            report_dialog.press(self.screen, "Upload Report")
            self.assertTrue(arrived.wait(60))
            self.assertRaises(WaitTimeout, self.wait_shown, self.FAILED, takes_clicks=True, timeout=5)
            self.assertEqual(self.shown(), (self.SENDING, False, False))
        self.wait_shown(self.FAILED, takes_clicks=True)
        with WebServer(self.address, 80, YES):
            report_dialog.press(self.screen, "Upload Report")
            self.finish(1)

    def test_for_a_file_beyond_the_memory_is_a_failure(self):
        with open(self.host.folder / "huge", "wb") as file:
            file.truncate((2 << 30) - 2)
        self.report.tell("post", b"-|-|-|" + self.host.path_of(b"huge"))
        self.open()
        report_dialog.press(self.screen, "Upload Report")
        self.wait_shown(self.FAILED, takes_clicks=True)
        report_dialog.press(self.screen, "Close")
        self.finish(2)
