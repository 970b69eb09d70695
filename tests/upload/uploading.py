"""Hosts that upload their reports, by the library's exports or by its dialog."""

import pathlib
import shutil
import subprocess

from testing import report_dialog
from testing.driven_host import DrivenHost
from testing.host import redirect
from testing.loopback import loopback_address
from testing.processes import wait_until
from testing.product import DLLS
from testing.upload_body import YES
from testing.web_server import WebServer, answering

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
WESTERN, RUSSIAN = "C.UTF-8", "ru_RU.UTF-8"  # the second one's code page, 1251, is that of the dialog's own texts


class Uploader:
    """A folder with a host and the library's files, and the address that it uploads to. wine: where it runs; the shared
    prefix if None. record: what else is written into the library's record."""

    def __init__(self, stage, program="upload_host.exe", wine=None, record=(), folder="host"):
        self.stage, self.address, self.wine = stage, loopback_address(), wine or stage.wine()
        self.folder = stage.artifacts / folder
        self.folder.mkdir()
        self.exe = pathlib.Path(shutil.copy(stage.product(program), self.folder))
        for name in DLLS:
            shutil.copy(stage.product(name), self.folder)
        for options in filter(None, (("--upload-server", self.address), record)):
            redirect(self.folder / "Wendax.dll", *options)

    def start(self, **options):
        """Starts a process of the host, with a report: from now on it is meant."""
        self.report = DrivenHost(self.wine, self.exe, cwd=self.folder, **options)
        assert self.report.tell("new") == "done"
        return self.report

    def serve(self, answer=answering(YES)):
        self.server = self.stage.enter_context(WebServer(self.address, 80, answer))
        return self.server

    def write(self, name, content, encoding="ascii"):
        """Puts a file into the host's folder; name is bytes. Returns its full path as the host calls it, in bytes."""
        (self.folder / name.decode(encoding)).write_bytes(content)
        return self.path_of(name)

    def path_of(self, name):
        return self.wine.prefix.to_windows(self.folder).encode("ascii") + b"\\" + name

    def post(self, config=None, script=None, log=None, file=None):
        """PostRequest."""
        self.report.tell("post", b"|".join(b"-" if path is None else path for path in (config, script, log, file)))

    def upload(self):
        return self.report.tell("upload")

    def sent(self):
        """The body of the last request."""
        return self.server.requests[-1].body

    def memory(self):
        """Bytes in RAM, now and at most so far."""
        return tuple(1024 * int(kib) for kib in self.report.tell("usage").split()[3:])


class UploadDialog(Uploader):
    """The dialog of a host: pictures to look at, and the texts and buttons as Windows knows them."""

    def __init__(self, stage, program="upload_host.exe", locale=RUSSIAN, record=(), folder="host"):
        self.seen = []
        self.screen = stage.desktop(width=1024, height=768)
        super().__init__(stage, program, stage.wine(self.screen, locale=locale), record, folder)
        self.start()

    def open(self, *which):
        self.report.send("dialog", *which)
        return report_dialog.wait(self.screen)

    def press(self, button):
        return report_dialog.press(self.screen, button)

    def finish(self, result):
        assert self.report.receive() == str(result)
        report_dialog.wait_closed(self.screen)

    def close(self):
        self.press("Close")
        self.finish(2)

    def upload_now(self):
        """Presses the button before a server that confirms; returns the one request."""
        with WebServer(self.address, 80, answering(YES)) as server:
            self.press("Upload Report")
            self.finish(1)
        (request,) = server.requests
        return request

    def fail(self):
        """Presses the button while nobody listens."""
        self.press("Upload Report")
        self.wait_shown(FAILED)

    def probe(self, *words):
        return self.wine.run(self.stage.product("dialog_probe.exe"), *words).text

    def shown(self):
        """The dialog's text, and whether the buttons "Upload Report" and "Close" take clicks."""
        told = self.probe().split()
        assert len(told) == 3, told
        return bytes.fromhex(told[0]).decode("cp1251"), told[1] == "1", told[2] == "1"

    def wait_shown(self, text, timeout=60):
        """Waits until the dialog shows the text and takes clicks."""
        wait_until(lambda: self.shown() == (text, True, True), "the dialog's next state", timeout, seen=self.shown)

    def picture(self, name):
        """Takes a picture once the place of the dialog's text has a text, and one of none of the pictures before. The
        dialog is sent nothing meanwhile. Returns its path."""
        path = self.stage.artifacts / f"{name}.png"

        def text_has_changed():
            self.screen.screenshot(path)
            window = report_dialog.wait(self.screen)
            x, y = window.x + window.width * 86 // 300, window.y + window.height * 46 // 177
            place = f"{window.width * 203 // 300}x{window.height * 96 // 177}+{x}+{y}"
            seen = subprocess.run(["convert", path, "-crop", place, "rgb:-"], check=True, capture_output=True).stdout
            if seen in self.seen or len(set(zip(*[iter(seen)] * 3))) == 1:  # blank
                return False
            self.seen.append(seen)
            return True

        wait_until(text_has_changed, f"the text of {name} to be painted", 30)
        return path
