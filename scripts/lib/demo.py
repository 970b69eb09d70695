"""Shows a crash becoming an e-mail report, and says where to look."""

import contextlib
import os
import pathlib
import sys

from support import report_dialog
from support.desktop import Desktop
from support.mail import Message
from support.prefix import project_prefix
from support.processes import REPO, wait_until
from support.wine import Wine

BIN = REPO / "build" / "windows" / "bin"
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
        wine.associate(".eml", BIN / "mail_program.exe")
        stack.callback(wine.dissociate, ".eml")
        print("demo: smallest.exe writes to address 0 ...", flush=True)
        process = stack.enter_context(wine.start(BIN / "smallest.exe", limit=3600 if here else 300,
                                                 env={"MAIL_PROGRAM_LOG": prefix.to_windows(log)}))
        if here:
            print('demo: answer the dialog on your screen ("Open Error Report" makes the message)', flush=True)
        else:
            window = report_dialog.wait(desktop)
            picture = desktop.screenshot(OUT / "dialog.png")
            print(f"demo: the dialog is on screen, see {picture}", flush=True)
            report_dialog.press(desktop, "Open Error Report", window)
            wait_until(lambda: log.exists() and log.read_text("latin-1").endswith("\n"), "the mail program's call", 120)
        process.wait_family()
    if not log.exists():
        print("demo: no report was wanted")
        return
    path = log.read_text("latin-1").splitlines()[-1].partition(" ")[2].strip().strip('"')
    message = Message(prefix.to_unix(path))
    print(f"demo: the shell opened the message {message.path}")
    print(f"demo: it is to {message.recipient.strip()}, about {message.subject!r}, and begins:")
    for line in message.body.decode("cp1251").splitlines()[:4]:
        print(f"    {line}")


if __name__ == "__main__":
    main()
