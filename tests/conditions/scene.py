"""One report while something is wrong: brings it about, plays the user, and sees what came of it."""

import contextlib
import dataclasses
import datetime
import itertools
import pathlib
import re
import shutil
import time

import outcome
from outcome import CUT_SHORT, EMPTY, NONE, WHOLE, Host, Lacks
from testing import report_dialog
from testing.driven_host import DrivenHost
from testing.host import opened_files, redirect
from testing.loopback import loopback_address
from testing.mail import Message, dates_since
from testing.processes import POLL_SECONDS
from testing.product import MACHINE
from testing.upload_body import PARTS, YES
from testing.web_server import WebServer, answering

WAIT = "Upload отчёта"
FAILED = "Ошибка передачи данных."
NOTES = b"what the host noted\r\n" * 500
EARLIER = b"an earlier message\r\n"
DEFAULT_PRINTER = r"HKEY_CURRENT_USER\Software\Microsoft\Windows NT\CurrentVersion\Windows"
PRINTER = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Print\Printers\Office"
_count = itertools.count(1)


@dataclasses.dataclass(frozen=True)
class Window:
    handle: int
    caption: str
    text: str
    enabled: tuple


class Onlooker:
    """The user's eyes and pointer: a program of its own on the same desktop."""

    def __init__(self, wine, program):
        self._host = DrivenHost(wine, program, limit=800)

    def windows(self):
        self._host.send("look")
        found = []
        while (line := self._host.receive()) != ".":
            handle, caption, text, first, second = line.split(" ")
            found.append(Window(int(handle), _text(caption), _text(text), (first == "1", second == "1")))
        return found

    def press(self, window, button):
        self._host.tell("press", window.handle, button)


class Theatre:
    """What all scenes share: a desktop with an onlooker, a Wine with a printer and a mail program, an upload server, and
    the library that reports to it."""

    def __init__(self, stage):
        self.product, self.helper = stage.product, stage.helper
        self.wine = stage.wine(stage.desktop(width=800, height=600))
        self.mail_program = stage.product("mail_program.exe")
        self.wine.associate(".eml", self.mail_program)
        self.wine.import_registry(f'[{PRINTER}]\n"Name"="Office"\n"Port"="LPT1:"\n"Printer Driver"="wineps"\n')
        self.wine.set_registry(DEFAULT_PRINTER, "device", "Office,winspool,LPT1:")
        self.onlooker = Onlooker(self.wine, stage.product("onlooker.exe"))
        address = loopback_address()
        self.server = stage.enter_context(WebServer(address, 80, answering(YES)))
        self.library = shutil.copy(stage.product("Wendax.dll"), stage.artifacts)
        redirect(self.library, "--upload-server", address)

    def variant(self, name, file):
        """The file of that variant of a companion."""
        place = self.helper(name, file)
        return place if place.exists() else self.product(name + ".dll")


class Scene(contextlib.ExitStack):
    """A folder with the host and the library, for one Trouble. Context manager: undoes the trouble."""

    def __init__(self, theatre, road, trouble):
        super().__init__()
        self.theatre, self.road, self.trouble = theatre, road, trouble
        self.prefix = theatre.wine.prefix
        self.folder = self.prefix.drive_c / "scenes" / str(next(_count))
        self.folder.mkdir(parents=True)
        self.exe = shutil.copy(theatre.product("trouble_host.exe"), self.folder)
        for library in (theatre.library, theatre.product("KOBRTL.dll")):
            shutil.copy(library, self.folder)
        for variant, name in ((trouble.helper, "faultkit.dll"), (trouble.module, "fall.dll")):
            if variant:
                shutil.copy(theatre.variant(variant, name), self.folder / name)
        (self.folder / "notes.txt").write_bytes(NOTES)
        self.temp = self.folder / trouble.temp
        self.temp.mkdir(parents=True)
        self.temp_name = None  # what the host takes for the folder of temporary files, if that is another
        self.mail_log = self.folder / "mail.log"
        self._earlier = [self.folder / "notes.txt"]

    def keep_earlier_message(self):
        """Puts a message of an earlier report into the folder of temporary files, where it must stay."""
        earlier = self.temp / "earlier.eml"
        earlier.write_bytes(EARLIER)
        self._earlier.append(earlier)

    def run(self):
        """Makes the report, answers what the user is asked, and gives the Mail or Upload that came of it."""
        self.keep_earlier_message()
        self.trouble.arrange(self)
        before = {path: path.read_bytes() for path in self._earlier}
        messages = self._messages_anywhere()
        environment = {
            "MAIL_PROGRAM_LOG": self.prefix.to_windows(self.mail_log),
            "TROUBLE_TEMP": self.temp_name or self.prefix.to_windows(self.temp),
            **self.trouble.env,
        }
        self.theatre.server.requests.clear()
        self._began = datetime.datetime.now()
        options = {"cwd": self.folder, "env": environment, "limit": 150, "memory": self.trouble.memory}
        with self.theatre.wine.start(self.exe, self.road, *self.trouble.arguments, **options) as process:
            sees = self._play(process)
            process.wait_family()
            result = process.result()
        print(result)
        for path, content in before.items():
            assert path.read_bytes() == content, f"{path} was there before"
        assert {path.parent for path in self._messages_anywhere() - messages} <= {self.temp}, "a message elsewhere"
        lines = result.text.splitlines()
        assert "the condition could not be made" not in lines
        host = _host(lines, result.returncode)
        return self._mail(sees, host) if self.road == "mail" else self._upload(sees, host)

    # Inside

    def _messages_anywhere(self):
        return set(self.prefix.drive_c.rglob("*.eml"))

    def _play(self, process):
        """Answers as a user who wants the report to go out, and gives up when it can't. Returns what was to be seen."""
        seen, answered = [], set()
        while process.running():
            for window in self.theatre.onlooker.windows():
                key = (window.handle, window.caption, window.text)
                waiting = window.text.startswith(WAIT)
                if key in answered or not (waiting or any(window.enabled)):
                    continue
                answered.add(key)
                if waiting:
                    continue
                failed = window.text.startswith(FAILED)
                if window.caption != report_dialog.TITLE:
                    seen.append(outcome.Box(window.text))
                else:
                    seen.append(outcome.FAILURE if failed else outcome.DIALOG)
                self.theatre.onlooker.press(window, 2 if failed else 1)
            time.sleep(POLL_SECONDS)
        return seen

    def _mail(self, sees, host):
        messages = [path for path in self.temp.glob("*.eml") if path.name != "earlier.eml"]
        assert len(messages) <= 1
        opened = [pathlib.PureWindowsPath(path).name for _, path in opened_files(self.mail_log)]
        if opened:
            sees.append(outcome.MESSAGE)
            assert opened == [path.name for path in messages]
        message = _message(messages[0], self._began) if messages else NONE
        return outcome.Mail(tuple(sees), message, self._picture(), host)

    def _upload(self, sees, host):
        system_text = self.temp / "system_info.txt"
        state, lacks = NONE, Lacks(0)
        if system_text.is_file():
            content = system_text.read_bytes()
            whole = content.endswith(b"Cannot extract version number of Lumivale")
            state = WHOLE if whole else CUT_SHORT if content else EMPTY
            lacks = _lacks(content.replace(b"\r\n", b"\n"))
        sent = [request for request in self.theatre.server.requests if hasattr(request, "body")]
        uploads = tuple(_sent(request.body) for request in sent)
        return outcome.Upload(tuple(sees), self._picture(), state, lacks, uploads, host)

    def _picture(self):
        path = self.temp / "screen_copy.jpg"
        return _picture_state(path.read_bytes() if path.is_file() else None)


def _host(lines, code):
    if lines[-1:] == ["end"] and code == 0:
        marks = {
            "device context held": Host.CONTEXT_LOST,
            "next handler": Host.NEXT_HANDLER,
            "out of memory": Host.NO_MEMORY,
        }
        return next((host for mark, host in marks.items() if mark in lines), Host.GOES_ON)
    return Host.FAULT if lines[-1:] == ["unhandled"] and code != 0 else Host.OTHER_END


def _message(path, began):
    if not path.stat().st_size:
        return EMPTY
    message = Message(path)
    if not message.whole:
        return CUT_SHORT
    assert message.parsed["Date"] in dates_since(began)
    attached = dict(message.attachments)
    picture, notes = _picture_state(attached.get("screen_copy.jpg")), attached.get("notes.txt") == NOTES
    return outcome.Content(_description(message.body), picture, notes, _lacks(message.body))


def _description(body):
    text = body.partition(b"Cannot extract version number of Lumivale\n")[2].rstrip(b"\r\n")
    if re.fullmatch(
        rb"Crush Expantion:\nreason code C00000(?:05|FD) address %b\n\nStack Trace:\n"
        rb"first line 0[^\n]*\nnext line 1[^\n]*\nnext line 2[^\n]*" % MACHINE.address.encode(),
        text,
    ):
        return outcome.REASON_AND_STACK
    # Where a description has become too long, it ends in the middle of a line.
    text, many = re.subn(r"(?:\nframe){100,}(?:\nf(?:r(?:am?)?)?)?\Z", "", text.decode("latin-1"))
    return (*text.split("\n"), *outcome.MANY_FRAMES * many)


def _picture_state(content):
    if not content:
        return NONE if content is None else EMPTY
    return WHOLE if content.startswith(b"\xFF\xD8") and content.endswith(b"\xFF\xD9") else CUT_SHORT


def _lacks(text):
    if not text:
        return Lacks(0)
    clock = Lacks.CLOCK if b"Procesor Clock Frequecy: 0\n" in text else Lacks(0)
    printers = Lacks.PRINTERS if b"Printers list: \n\n" in text else Lacks(0)
    return clock | printers | (Lacks.DEFAULT_PRINTER if b"Default printer: \nOffice\n" not in text else Lacks(0))


def _sent(body):
    """What arrived, by the contents of the six parts."""
    found = {}
    for name in PARTS:
        start = body.index(b'form-data; name="%s"; filename="' % name.encode())
        content = body[body.index(b"\n\n", start) + 2 :]
        found[name] = content[: content.index(b"\n\n--AaB03x--\n")]
    picture = _picture_state(found["Screen_copy"] or None)
    return outcome.Sent(found["Conversion_Config"] == NOTES, picture, bool(found["System_info"]))


def _text(word):
    return "" if word == "-" else bytes.fromhex(word).decode("cp1251")
