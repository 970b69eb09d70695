"""What can be in a report's way, and what comes of the report: what the tests hold the library to, and what
docs/fault-matrix.md is drawn from."""

import dataclasses
import os
import subprocess
from dataclasses import replace

from outcome import CUT_SHORT, DIALOG, EMPTY, FAILURE, FLEETING, MANY_FRAMES, NONE
from outcome import Box, Content, Host, Lacks, Mail, Sent, Upload
from testing.product import MACHINE
from testing.upload_body import CONFIRMATION, YES
from testing.web_server import answering, http_answer


@dataclasses.dataclass(frozen=True)
class Trouble:
    """condition: as the document calls it. mail, upload: what comes of it, or None where it is no matter of that road.
    arguments: of trouble_host. arrange(scene): brings it about, with what undoes it as the scene's callbacks. env:
    variables of the host; None takes one away. helper, module: a folder of the build tree's test-helpers, a library of
    the product, or None for none. memory: bytes of address space for the host. temp: the name of the folder of temporary
    files. not_under_wine: {road: reason}."""

    condition: str
    mail: Mail | None = Mail()
    upload: Upload | None = Upload()
    arguments: tuple = ()
    arrange: object = lambda scene: None
    env: dict = dataclasses.field(default_factory=dict)
    helper: str | None = "full"
    module: str | None = "fall"
    memory: int | None = None
    temp: str = "temp"
    not_under_wine: dict = dataclasses.field(default_factory=dict)

    def outcomes(self):
        """{road: outcome}"""
        both = {"mail": self.mail, "upload": self.upload}
        return {road: outcome for road, outcome in both.items() if outcome}


# By design a screenshot that can't be made is named in the message all the same.
NO_PICTURE = {
    "mail": Mail(message=Content(screenshot=EMPTY), screenshot_file=NONE),
    "upload": Upload(screenshot_file=NONE, sent=(Sent(screenshot=NONE),)),
}
NOT_WRITTEN = {
    "mail": Mail((DIALOG,), NONE, NONE),
    "upload": Upload(screenshot_file=NONE, system_text=NONE, sent=(Sent(screenshot=NONE, system_text=False),)),
}
NOT_OPENED = {"mail": Mail((DIALOG,)), "upload": None}
UPLOAD_FAILED = {"mail": None, "upload": Upload((DIALOG, FAILURE))}
NOT_SENT = {"mail": None, "upload": Upload((DIALOG, FAILURE), sent=())}


def without(lacks):
    return {"mail": Mail(message=Content(lacks=lacks)), "upload": Upload(lacks=lacks)}


NO_PRINTERS, NO_CLOCK = without(Lacks.PRINTERS), without(Lacks.CLOCK)


# What brings it about


def mounted(read_only=False):
    def arrange(scene):
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "none", scene.temp], check=True)
        scene.callback(subprocess.run, ["umount", "--lazy", scene.temp], check=True)
        scene.keep_earlier_message()
        if read_only:
            subprocess.run(["mount", "-o", "remount,ro", scene.temp], check=True)

    return arrange


def full_but_for(left):
    """left: bytes that are free in the end, in whole pages."""

    def arrange(scene):
        mounted()(scene)
        with open(scene.temp / "filler", "wb") as file:
            while os.statvfs(scene.temp).f_bavail * os.statvfs(scene.temp).f_frsize > left:
                file.write(bytes(4096))
                file.flush()

    return arrange


def missing_folder(scene):
    scene.temp_name = "C:\\nowhere\\at all"


def folder_is_file(scene):
    scene.temp_name = scene.prefix.to_windows(scene.folder / "notes.txt")


def long_name(length):
    """A name below the scene's folder that is so long in all."""

    def arrange(scene):
        start = len(scene.prefix.to_windows(scene.folder)) + 1
        scene.temp = scene.folder / "/".join(["l" * 99] * 3)[: length - start]
        scene.temp.mkdir(parents=True)

    return arrange


def opened_by(command):
    def arrange(scene):
        wine = scene.theatre.wine
        wine.dissociate(".eml")
        scene.callback(wine.associate, ".eml", scene.theatre.mail_program)
        if command:
            wine.associate(".eml", command)

    return arrange


def answered(answer):
    def arrange(scene):
        server = scene.theatre.server
        scene.callback(setattr, server, "answer", server.answer)
        server.answer = answer

    return arrange


def refused(scene):
    scene.theatre.server.end()
    scene.callback(scene.theatre.server.__enter__)


def breaking_off(client):
    client.read_request()
    client.send(http_answer(YES + b" " * 1000)[:-1000].replace(CONFIRMATION, b"Data has upl"))
    client.reset()


def confirmed_after(megabytes):
    text = b"Data "
    return answering(text * ((megabytes << 20) // len(text)) + CONFIRMATION)


def complaining_of(text):
    return {road: replace(outcome, sees=(Box(text), *outcome.sees)) for road, outcome in NO_PICTURE.items()}


def helped(condition, variant, reason, stack):
    """reason, stack: the lines of the fault's description in the message."""
    lines = ("Crush Expantion:", reason, "", "Stack Trace:", *stack)
    return Trouble(f"`faultkit.dll` {condition}", Mail(message=Content(lines)), None, helper=f"helper_{variant}")


def served(condition, answer, outcome=UPLOAD_FAILED):
    return Trouble(f"The server {condition}", **outcome, arrange=answered(answer))


def fault(function, *arguments):
    return (*arguments, "fault", function)


NO_GDIPLUS = {"WINEDLLOVERRIDES": "winemenubuilder.exe=d;mscoree,mshtml=;gdiplus=d"}  # Wine's way to say it
FILLED_AT = MACHINE.choose(None, 16 << 30)  # bytes; a 64-bit program would never come to the end
HELPER_FAULT = "(faultkit.dll met a fault)"
BROKEN_OFF = ("frame", "frame", HELPER_FAULT)

TROUBLES = {
    "nothing": (Trouble("Nothing"),),
    "memory": (
        Trouble(
            "No memory is left",
            Mail((), NONE, NONE),
            # Which of the two depends on whose allocation is the first that fails.
            Upload((), NONE, NONE, sent=(), host=Host.GOES_ON | Host.NO_MEMORY),
            ("memory",),
            memory=FILLED_AT,
        ),
        Trouble("No block of memory larger than 512 KB is left", **NO_PICTURE, arguments=("blocks", "512")),
        Trouble("The records of the host's heap are overwritten", arguments=("heap",)),
        Trouble("The fault is a stack overflow", arguments=("--stack",)),
        Trouble("The heap of the host's runtime faults whenever it is asked", arguments=("broken-heap",)),
    ),
    "faults": (
        Trouble("A fault in the display's driver", **NO_PICTURE, arguments=fault("BitBlt")),
        Trouble("A fault in a printer's driver", **NO_PRINTERS, arguments=fault("EnumPrintersA")),
        Trouble("A fault in the shell", Mail((DIALOG,), host=Host.NEXT_HANDLER), None, fault("ShellExecuteA")),
        Trouble(
            "The same, on a thread that isn't covered",
            Mail((DIALOG,), host=Host.FAULT),
            None,
            fault("ShellExecuteA", "--uncovered"),
        ),
        Trouble("A fault while sending", **NOT_SENT, arguments=fault("HttpSendRequestA")),
        Trouble(
            "A fault in the dialog's message loop",
            Mail(FLEETING, NONE, host=Host.NEXT_HANDLER),
            Upload(FLEETING, sent=(), host=Host.NEXT_HANDLER),
            fault("PeekMessageA"),
        ),
        # In destructors, which throw nothing in the language's own terms.
        Trouble("A fault where the screen's device context is given back", **NO_PICTURE, arguments=fault("DeleteDC")),
        Trouble(
            "A fault where an attachment is closed",
            Mail((DIALOG,), NONE, host=Host.NEXT_HANDLER),
            None,
            fault("UnmapViewOfFile"),
        ),
        Trouble("A fault where GDI+ is stopped", arguments=fault("GdiplusShutdown")),
        Trouble("A fault where the clock is measured", **NO_CLOCK, arguments=fault("QueryPerformanceCounter")),
        Trouble(
            "A fault where the bitmap of the screenshot is made",
            **NO_PICTURE,
            arguments=fault("CreateDIBSection", "contexts"),
        ),
    ),
    "temporary_folder": (
        Trouble(
            "The folder of temporary files is full",
            Mail(message=EMPTY, screenshot_file=NONE),
            replace(NOT_WRITTEN["upload"], system_text=EMPTY),
            arrange=full_but_for(0),
        ),
        Trouble(
            "It has room for 4 KB",
            Mail(message=CUT_SHORT, screenshot_file=NONE),
            NO_PICTURE["upload"],
            arrange=full_but_for(4096),
        ),
        Trouble("It is missing", **NOT_WRITTEN, arrange=missing_folder),
        Trouble("It is a file", **NOT_WRITTEN, arrange=folder_is_file),
        Trouble("It can't be written", **NOT_WRITTEN, arrange=mounted(read_only=True)),
        Trouble("Its name has 240 characters", arrange=long_name(240)),
        Trouble(
            "Its name has 300 characters",
            **NOT_WRITTEN,
            arrange=long_name(300),
            not_under_wine={"upload": "it takes names of any length"},
        ),
        Trouble("Its name has other letters than English", temp="Übermäßig viele Dateien"),
        Trouble("Its name has letters that the code page lacks", temp="временные файлы"),
    ),
    "mail_program": (
        Trouble("No program opens messages", **NOT_OPENED, arrange=opened_by(None)),
        Trouble("The program that opens messages is missing", **NOT_OPENED, arrange=opened_by("C:\\gone\\mail.exe")),
        Trouble(
            "The program that opens messages ends at once with an error", **NOT_OPENED, env={"MAIL_PROGRAM_LOG": None}
        ),
    ),
    "system": (
        Trouble("The spooler isn't running", **NO_PRINTERS, arguments=("printers",)),
        Trouble("The spooler answers after three seconds, with an error", **NO_PRINTERS, arguments=("slow-printers",)),
        Trouble("The registry doesn't answer", arguments=("registry",)),
        Trouble("There is no GDI+", env=NO_GDIPLUS),
        Trouble("No GDI handle is left", **NO_PICTURE, arguments=("gdi",)),
    ),
    "format_module": (
        Trouble("`fall.dll` is missing", **NO_PICTURE, module=None),
        Trouble("`fall.dll` is of another version", **NO_PICTURE, module="module_of_another_version"),
        Trouble(
            "`fall.dll` has no `GetFilterInfo`",
            **complaining_of("Bad format for 'fall.dll'"),
            module="module_without_discovery",
        ),
        Trouble(
            "`fall.dll` has none of the entries of its format",
            **complaining_of("Bad format for JPG, 'fall.dll'"),
            module="module_without_entries",
        ),
        Trouble("`fall.dll` faults in `GetFilterInfo`", **NO_PICTURE, module="faulty_discovery"),
        Trouble("`fall.dll` faults while it saves", **NO_PICTURE, module="faulty_module"),
    ),
    "helper": (
        Trouble("`faultkit.dll` is missing", Mail(message=Content(("faultkit.dll was not found",))), None, helper=None),
        helped("faults while it gives the reason", "faulting_in_reason", HELPER_FAULT, MANY_FRAMES),
        helped("faults while it gives the stack", "faulting_in_stack", "the reason", BROKEN_OFF),
        helped("gives frames without end", "without_end", "the reason", MANY_FRAMES),
        helped("throws a C++ exception in place of the reason", "throwing_in_reason", HELPER_FAULT, MANY_FRAMES),
        helped(
            "throws one in place of the first line of the stack",
            "throwing_in_first_line",
            "the reason",
            (HELPER_FAULT,),
        ),
        helped("throws one in place of a later line", "throwing_in_stack", "the reason", BROKEN_OFF),
    ),
    "server": (
        Trouble("The server refuses the connection", **NOT_SENT, arrange=refused),
        served("hangs up before it answers", lambda client: client.read_request()),
        served("hangs up in the middle of its answer", breaking_off),
        *(
            served(f"answers “{status}”", answering(b"no", status))
            for status in ("404 Not Found", "413 Content Too Large", "500 Internal Server Error")
        ),
        served("answers with 15 MB, the confirmation last", confirmed_after(15), {"mail": None}),
        Trouble(
            "The server answers with 10 MB, and no block of memory larger than 5 MB is left",
            **UPLOAD_FAILED,
            arguments=("blocks", "5120"),
            arrange=answered(confirmed_after(10)),
        ),
        served(
            "never answers; the connection ends after a while",
            lambda client: (client.read_request(), client.server.wait_end(4)),
        ),
        served("answers with 80 MB, the confirmation last", confirmed_after(80)),
    ),
    # That others throw: hooks, in-process servers, drivers.
    "foreign_exceptions": (
        Trouble("A display driver throws a C++ exception", **NO_PICTURE, arguments=("throw", "BitBlt")),
        Trouble("A printer's driver throws one", **NO_PRINTERS, arguments=("throw", "EnumPrintersA")),
        Trouble("The clock's counter throws one", **NO_CLOCK, arguments=("throw", "QueryPerformanceCounter")),
        Trouble("The transport throws one", **NOT_SENT, arguments=("throw", "HttpSendRequestA")),
    ),
}


def drawn():
    """The tables of the document."""
    lines = []
    for road, title in (("mail", "The e-mail road"), ("upload", "The upload road")):
        lines += [
            f"## {title}",
            "",
            "| In the way | What the user sees | What is written | The host |",
            "|" + " --- |" * 4,
        ]
        for trouble in sum(TROUBLES.values(), ()):
            if road in trouble.not_under_wine:
                cells = ("(not to be tried under Wine)", "", "")
            elif road in trouble.outcomes():
                cells = trouble.outcomes()[road].words()
            else:
                continue
            lines.append(f"| {trouble.condition} | {' | '.join(cells)} |")
        lines.append("")
    return "\n".join(lines)
