"""What can come of a report while something is wrong; words() says it in the document."""

import collections
import dataclasses
import enum

DIALOG, MESSAGE, FAILURE = "the dialog", "the message in the mail program", "the failure text"
Box = collections.namedtuple("Box", "text")
# The dialog goes by itself, so that the onlooker may or may not have seen it.
FLEETING = ("the dialog for a moment",)

REASON_AND_STACK = ("reason and stack",)
MANY_FRAMES = ("frame", "…")


class State(enum.Enum):
    """How much there is of a file, or of a part of a report. The value: words before its name and after it."""

    WHOLE = ("", "")
    CUT_SHORT = ("", " cut short")
    EMPTY = ("an empty ", "")
    NONE = ("no ", "")

    def of(self, name):
        return name.join(self.value)


WHOLE, CUT_SHORT, EMPTY, NONE = State


class Lacks(enum.Flag):
    """What the system text doesn't tell."""

    CLOCK, PRINTERS, DEFAULT_PRINTER = (1 << bit for bit in range(3))

    def words(self):
        return [f"no {lack.name.lower().replace('_', ' ')}" for lack in Lacks if lack in self]


class Host(enum.Flag):
    """How the host goes on. Several in an expectation: any of them."""

    GOES_ON, NO_MEMORY, NEXT_HANDLER, CONTEXT_LOST, FAULT, OTHER_END = (1 << bit for bit in range(6))

    def words(self):
        words = {
            Host.GOES_ON: "goes on",
            Host.NO_MEMORY: "gets the exception for no memory and goes on",
            Host.NEXT_HANDLER: "its next handler gets the fault; goes on",
            Host.FAULT: "ends by the fault",
        }
        return " or ".join(words[way] for way in Host if way in self)


@dataclasses.dataclass(frozen=True)
class Content:
    """What stands in a whole message. description: lines."""

    description: tuple = REASON_AND_STACK
    screenshot: State = WHOLE
    notes: bool = True
    lacks: Lacks = Lacks(0)

    def words(self):
        text = " / ".join(self.description)
        parts = [
            text if self.description == REASON_AND_STACK else f"“{text}”",
            self.screenshot.of("screenshot"),
            "notes" if self.notes else "no notes",
        ]
        return "a message with " + ", ".join(parts + self.lacks.words())


@dataclasses.dataclass(frozen=True)
class Mail:
    """message: a Content, or the State of what is none."""

    sees: tuple = (DIALOG, MESSAGE)
    message: object = Content()
    screenshot_file: State = WHOLE
    host: Host = Host.GOES_ON

    def words(self):
        message = self.message
        if isinstance(message, State):
            message = "a message cut short" if message is CUT_SHORT else message.of("message")
        else:
            message = message.words()
        return _seen(self.sees), f"{message}; {self.screenshot_file.of('screenshot file')}", self.host.words()


@dataclasses.dataclass(frozen=True)
class Sent:
    notes: bool = True
    screenshot: State = WHOLE
    system_text: bool = True

    def words(self):
        system_text = "system text" if self.system_text else "no system text"
        return f"{'notes' if self.notes else 'no notes'}, {self.screenshot.of('screenshot')}, {system_text}"


@dataclasses.dataclass(frozen=True)
class Upload:
    sees: tuple = (DIALOG,)
    screenshot_file: State = WHOLE
    system_text: State = WHOLE
    lacks: Lacks = Lacks(0)
    sent: tuple = (Sent(),)
    host: Host = Host.GOES_ON

    def words(self):
        files = [self.screenshot_file.of("screenshot file"), self.system_text.of("system text"), *self.lacks.words()]
        sent = "sent: " + "; ".join(one.words() for one in self.sent) if self.sent else "nothing sent"
        return _seen(self.sees), f"{', '.join(files)}; {sent}", self.host.words()


def _seen(sees):
    return ", then ".join(f"a box “{one.text}”" if isinstance(one, Box) else one for one in sees) or "nothing"
