"""One report while something is wrong: brings it about, plays the user, and says in words what came of it."""

import dataclasses
import itertools
import pathlib
import re
import shutil
import time

from testing import report_dialog
from testing.driven_host import DrivenHost
from testing.mail import Message
from testing.processes import POLL_SECONDS
from testing.upload_body import PARTS

WAIT = "Upload отчёта"
FAILED = "Ошибка передачи данных."
NOTES = b"what the host noted\r\n" * 500
EARLIER = b"an earlier message\r\n"
_count = itertools.count(1)


@dataclasses.dataclass(frozen=True)
class Outcome:
    """What came of a report, in words."""

    sees: str
    written: str
    host: str


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

    def end(self):
        self._host.end()


class Scene:
    """A folder with the host and the library, on the shared stage (see matrix_test.py).

    helper, module: the file that lies there as faultkit.dll or fall.dll, or None for none.
    temp: what becomes the folder of temporary files, below the scene's own folder.
    """

    def __init__(self, stage, road, helper, module, temp="temp"):
        self.stage, self.road = stage, road
        self.prefix = stage.wine.prefix
        self.folder = self.prefix.drive_c / "scenes" / str(next(_count))
        self.folder.mkdir(parents=True)
        self.exe = self._copy(stage.product("trouble_host.exe"))
        self._copy(stage.library)
        self._copy(stage.product("KOBRTL.dll"))
        for file, name in ((helper, "faultkit.dll"), (module, "fall.dll")):
            if file:
                shutil.copy(file, self.folder / name)
        (self.folder / "notes.txt").write_bytes(NOTES)
        self.temp = self.folder / temp
        self.temp.mkdir(parents=True)
        self.temp_name = None  # what the host takes for the folder of temporary files, if that is another
        self.mail_log = self.folder / "mail.log"
        self.waited = []  # when the dialog was seen to ask for patience
        self._earlier = [self.folder / "notes.txt"]

    def keep_earlier_message(self):
        """Puts a message of an earlier report into the folder of temporary files, where it must stay."""
        earlier = self.temp / "earlier.eml"
        earlier.write_bytes(EARLIER)
        self._earlier.append(earlier)

    def run(self, *conditions, env=None):
        """Makes the report, answers what the user is asked, and gives the Outcome. env: variables to add or, with None,
        to take away."""
        before = {path: path.read_bytes() for path in self._earlier}
        log = self.prefix.to_windows(self.mail_log)
        environment = {
            "MAIL_PROGRAM_LOG": log,
            "TROUBLE_TEMP": self.temp_name or self.prefix.to_windows(self.temp),
            **(env or {}),
        }
        self.stage.server.requests.clear()
        with self.stage.wine.start(
            self.exe, self.road, *conditions, cwd=self.folder, env=environment, limit=150
        ) as process:
            seen = self._play(process)
            process.wait_family()
            result = process.result()
        for path, content in before.items():
            self.stage.assertEqual(path.read_bytes(), content, f"{path} was there before")
        lines = result.text.splitlines()
        self.stage.assertNotIn("the condition could not be made", lines)
        opened = self._opened()
        if opened:
            seen.append("the message in the mail program")
        written = self._mail_written(opened) if self.road == "mail" else self._upload_written()
        return Outcome(", then ".join(seen) or "nothing", written, self._host_words(lines, result.returncode))

    # Inside

    def _copy(self, path):
        return pathlib.Path(shutil.copy(path, self.folder))

    def _play(self, process):
        """Answers as a user who wants the report to go out, and gives up when it can't. Returns what was to be seen."""
        seen, answered = [], set()
        end = time.monotonic() + 140
        while process.running() and time.monotonic() < end:
            for window in self.stage.onlooker.windows():
                key = (window.handle, window.caption, window.text)
                if key in answered or not (window.text.startswith(WAIT) or any(window.enabled)):
                    continue
                answered.add(key)
                if window.text.startswith(WAIT):
                    self.waited.append(time.monotonic())
                elif window.caption != report_dialog.TITLE:
                    seen.append(f"a box “{window.text}”")
                    self.stage.onlooker.press(window, 1)
                elif not window.text.startswith(FAILED):
                    seen.append("the dialog")
                    self.stage.onlooker.press(window, 1)
                else:
                    seen.append("the failure text")
                    self.stage.onlooker.press(window, 2)
            time.sleep(POLL_SECONDS)
        return seen

    def _opened(self):
        if not self.mail_log.exists():
            return []
        return [line.partition(" ")[2].strip().strip('"') for line in self.mail_log.read_text("latin-1").splitlines()]

    def _mail_written(self, opened):
        messages = (
            [path for path in self.temp.glob("*.eml") if path.name != "earlier.eml"] if self.temp.is_dir() else []
        )
        self.stage.assertLessEqual(len(messages), 1)
        if opened:
            self.stage.assertEqual(
                [pathlib.PureWindowsPath(path).name for path in opened], [path.name for path in messages]
            )
        picture = self._picture()
        if not messages:
            return f"no message; {picture}"
        if not messages[0].stat().st_size:
            return f"an empty message; {picture}"
        message = Message(messages[0])
        attached = dict(message.attachments)
        if not message.raw.endswith(b"------=_NextPart_000_023D_01C25DB8.8402B210\r\n"):
            return f"a message cut short; {picture}"
        parts = [self._description(message.body)]
        parts.append(_picture_words(attached.get("screen_copy.jpg"), "screenshot"))
        parts.append("notes" if attached.get("notes.txt") == NOTES else "no notes")
        parts += _system_words(message.body)
        return f"a message with {', '.join(parts)}; {picture}"

    def _description(self, body):
        text = body.partition(b"Cannot extract version number of Lumivale\n")[2].rstrip(b"\r\n")
        if re.fullmatch(
            rb"Crush Expantion:\nreason code C00000(?:05|FD) address [0-9A-F]{8}\n\nStack Trace:\n"
            rb"first line 0[^\n]*\nnext line 1[^\n]*\nnext line 2[^\n]*",
            text,
        ):
            return "reason and stack"
        short = text.replace(b"\n", b" / ").decode("latin-1")
        frames = re.match(r"(.*?)(( / frame){100,})", short)
        return f"“{frames[1]} / frame / …”" if frames else f"“{short}”"

    def _upload_written(self):
        texts = [self.temp / "system_info.txt"]
        system = "no system text"
        if texts[0].is_file():
            content = texts[0].read_bytes()
            whole = content.endswith(b"Cannot extract version number of Lumivale")
            system = "system text" if whole else "an empty system text" if not content else "system text cut short"
            system += "".join(f", {word}" for word in _system_words(content.replace(b"\r\n", b"\n")))
        sent = [request for request in self.stage.server.requests if hasattr(request, "body")]
        uploads = [_sent_words(request.body) for request in sent]
        return f"{self._picture()}, {system}; " + (f"sent: {'; '.join(uploads)}" if uploads else "nothing sent")

    def _picture(self):
        path = self.temp / "screen_copy.jpg"
        return _picture_words(path.read_bytes() if path.is_file() else None, "screenshot file")

    def _host_words(self, lines, code):
        if lines[-1:] == ["end"] and code == 0:
            if "device context held" in lines:
                return "goes on with a device context too many"
            if "next handler" in lines:
                return "its next handler gets the fault; goes on"
            if "out of memory" in lines:
                return "gets the exception for no memory and goes on"
            return "goes on"
        return "ends by the fault" if lines[-1:] == ["unhandled"] and code != 0 else f"ends with code {code}"


def _picture_words(content, name):
    if content is None:
        return f"no {name}"
    if not content:
        return f"an empty {name}"
    whole = content.startswith(b"\xFF\xD8") and content.endswith(b"\xFF\xD9")
    return name if whole else f"{name} cut short"


def _system_words(text):
    words = []
    if not text:
        return words
    if b"Procesor Clock Frequecy: 0\n" in text:
        words.append("no clock")
    if b"Printers list: \n\n" in text:
        words.append("no printers")
    if b"Default printer: \nOffice\n" not in text:
        words.append("no default printer")
    return words


def _sent_words(body):
    """What arrived, by the paths and contents of the six parts."""
    found = {}
    for name in PARTS:
        start = body.index(b'form-data; name="%s"; filename="' % name.encode())
        content = body[body.index(b"\n\n", start) + 2 :]
        found[name] = content[: content.index(b"\n\n--AaB03x--\n")]
    words = [
        "notes" if found["Conversion_Config"] == NOTES else "no notes",
        _picture_words(found["Screen_copy"] or None, "screenshot"),
        "system text" if found["System_info"] else "no system text",
    ]
    return ", ".join(words)


def _text(word):
    return "" if word == "-" else bytes.fromhex(word).decode("cp1251")
