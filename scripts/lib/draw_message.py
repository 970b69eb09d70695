"""Takes the picture of a report as a mail program opens it."""

import contextlib
import shutil

from testing import report_dialog, windowed
from testing.claws_mail import ClawsMail, MailServer
from testing.desktop import Desktop
from testing.host import LIBRARY_FILES, redirect
from testing.mail import Message
from testing.prefix import fresh_prefix
from testing.processes import REPO, run_tool, wait_until
from testing.wine import Wine

BIN = REPO / "build" / "windows" / "bin"
PICTURE = REPO / "docs" / "images" / "message.png"


def main():
    with contextlib.ExitStack() as stack:
        prefix = stack.enter_context(fresh_prefix())
        message = reported(stack.enter_context(Desktop()), prefix)
        desktop = stack.enter_context(Desktop())
        program = stack.enter_context(ClawsMail(desktop, stack.enter_context(MailServer()), message.path))
        draft = program.open_draft()
        desktop.activate(draft)
        desktop.key("ctrl+Home")
        desktop.click_window(draft, draft.width - 40, draft.height - 40)  # the pointer, out of sight of hints
        take_picture(desktop, draft)
        print(f"draw-message: {PICTURE.relative_to(REPO)} shows {message.path.name}")


def reported(desktop, prefix):
    """Lets the windowed example fail, and opens its report; returns the message."""
    folder = prefix.drive_c / "windowed"
    folder.mkdir()
    for name in ("windowed.exe", "faultkit.dll", *LIBRARY_FILES):
        shutil.copy(BIN / name, folder)
    redirect(folder / "Wendax.dll", "--support-address", "Crash Desk <crashes@example.com>")
    wine = Wine(desktop, prefix)
    wine.associate(".eml", BIN / "mail_program.exe")
    log = prefix.drive_c / "mail.log"
    with wine.start(folder / "windowed.exe", env={"MAIL_PROGRAM_LOG": "C:\\mail.log"}):
        window = windowed.wait(desktop)
        windowed.choose_picture(desktop, window)
        windowed.commit(desktop, window, windowed.WRITE_NOWHERE)
        report_dialog.press(desktop, "Open Error Report")
        wait_until(lambda: log.exists() and log.read_text("latin-1").endswith("\n"), "the mail program's call", 120)
    return Message(prefix.to_unix(log.read_text("latin-1").partition(" ")[2].strip().strip('"')))


def take_picture(desktop, window):
    """Of the window with its frame, when it has been drawn: when two pictures in turn are the same."""
    before = None

    def at_rest():
        nonlocal before
        run_tool(["import", "-silent", "-frame", "-window", str(window.id), "-strip", PICTURE], desktop.env)
        last, before = before, PICTURE.read_bytes()
        return last == before

    wait_until(at_rest, "the window to come to rest")


if __name__ == "__main__":
    main()
