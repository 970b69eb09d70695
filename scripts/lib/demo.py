"""Shows a crash becoming an e-mail report, and says where to look."""

import contextlib
import os
import sys

from testing import report_dialog, windowed
from testing.desktop import Desktop
from testing.mail import Message
from testing.prefix import project_prefix
from testing.processes import REPO, wait_until
from testing.product import product
from testing.wine import Wine

OUT = REPO / "build" / "demo"


def main():
    here = "--here" in sys.argv[1:]
    if here and not os.environ.get("DISPLAY"):
        sys.exit("demo: --here needs a display, and DISPLAY is not set")
    OUT.mkdir(parents=True, exist_ok=True)
    prefix = project_prefix()
    log = OUT / "mail-program.log"
    log.unlink(missing_ok=True)
    with contextlib.ExitStack() as stack:
        desktop = None if here else stack.enter_context(Desktop())
        wine = Wine(desktop)
        if here:
            wine.env["DISPLAY"] = os.environ["DISPLAY"]
        # Without a mail program the message would only lie in the temporary folder; this one notes that it was called.
        wine.associate(".eml", product("mail_program.exe"))
        stack.callback(wine.dissociate, ".eml")
        print("demo: starting windowed.exe, a program with a button for each kind of fault", flush=True)
        process = stack.enter_context(
            wine.start(
                product("windowed.exe"), limit=3600 if here else 300, env={"MAIL_PROGRAM_LOG": prefix.to_windows(log)}
            )
        )
        if here:
            print(
                'demo: press one of its buttons on your screen, then "Open Error Report"; close its window to end',
                flush=True,
            )
        else:
            use(desktop, log)
        process.wait_family()
    if not log.exists():
        print("demo: no report was wanted")
        return
    path = log.read_text("latin-1").splitlines()[-1].partition(" ")[2].strip().strip('"')
    show(Message(prefix.to_unix(path)))


def use(desktop, log):
    """Does what a user would: lets the program fail, answers the dialog, closes the program."""
    window = windowed.wait(desktop)
    windowed.choose_picture(desktop, window)
    print("demo: it writes to address 0 ...", flush=True)
    windowed.commit(desktop, window, windowed.WRITE_NOWHERE)
    dialog = report_dialog.wait(desktop)
    print(f"demo: the dialog is on screen, see {desktop.screenshot(OUT / 'dialog.png')}", flush=True)
    report_dialog.press(desktop, "Open Error Report", dialog)
    wait_until(lambda: log.exists() and log.read_text("latin-1").endswith("\n"), "the mail program's call", 120)
    report_dialog.wait_closed(desktop)
    desktop.close_window(window)


def show(message):
    print(f"demo: the shell opened the message {message.path}")
    print(f"demo: it is to {message.recipient.strip()}, about {message.subject!r}, and begins:")
    body = message.body.decode("cp1251")
    for line in body.splitlines()[:4]:
        print(f"    {line}")
    print("demo: of the fault it says:")
    for line in body.partition("Crush Expantion:\n")[2].splitlines()[:2]:
        print(f"    {line}")
    for name, content in message.attachments:
        (OUT / name).write_bytes(content)
        print(f"demo: attached is {OUT / name}")


if __name__ == "__main__":
    main()
