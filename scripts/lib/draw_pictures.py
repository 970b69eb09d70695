"""Draws the pictures of the documents; scripts/draw-pictures says how it is called."""

import contextlib
import hashlib
import os
import re
import shutil
import subprocess
import sys

import bench_plot
from testing import report_dialog, windowed
from testing.claws_mail import ClawsMail, MailServer
from testing.desktop import Desktop
from testing.host import redirect
from testing.mail import Message
from testing.prefix import fresh_prefix
from testing.processes import REPO, run_tool, wait_until
from testing.product import DLLS, product
from testing.wine import Wine

IMAGES = REPO / "docs" / "images"
RECORD = IMAGES / "shows.txt"
PLOT = "benchmarks.svg"
OWN_NAME = ("--product", "Fine Drawing", "--company", "Pencil & Co", "--program", "smallest.exe")
# What pictures show of the repository: if that changes they are old.
DIALOGS = ["resources/wendax.rc", "resources/banner.bmp", "resources/report.ico"]
MESSAGE = ["report/mail_text.cpp", "sysinfo/system_info_text.cpp"]
PAGES = ["inbox/templates/*", "inbox/static/*", "inbox/demo.zip"]


def main():
    names = sys.argv[1:]
    if names == ["--check"]:
        old = stale()
        sys.exit(f"draw-pictures: older than what they show: {' '.join(old)}" if old else 0)
    unknown = [name for name in names if name not in PICTURES]
    if unknown:
        sys.exit(f"draw-pictures: there is no {unknown[0]}; there are: {' '.join(PICTURES)}")
    for draw in dict.fromkeys(PICTURES[name][0] for name in names or stale()):
        with contextlib.ExitStack() as stack:
            draw(stack)
        drawn = [name for name, (other, _) in PICTURES.items() if other is draw]
        print(f"draw-pictures: {' '.join(drawn)}", flush=True)
        write_record(drawn)


def stale():
    """The pictures that aren't there, or show what isn't any more."""
    known = read_record()
    old = [name for name in PICTURES if not (IMAGES / name).exists() or known.get(name) != subject(name)]
    plot_is_old = PLOT not in old and (IMAGES / PLOT).read_text("ascii") != bench_plot.drawn()
    return [*old, PLOT] if plot_is_old else old


def subject(name):
    """What the picture shows, as a checksum."""
    digest = hashlib.sha256()
    for pattern in PICTURES[name][1]:
        paths = sorted(REPO.glob(pattern))
        if not paths:
            raise FileNotFoundError(f"{name}: there is no {pattern}")
        for path in paths:
            shown = texts(path) if path.suffix == ".cpp" else path.read_bytes()
            digest.update(path.name.encode() + b"\0" + shown + b"\0")
    return digest.hexdigest()[:16]


def texts(source):
    """The literals of a source of C++: its pictures show those, and no comment."""
    code = "\n".join(line for line in source.read_text("utf-8").splitlines() if line.lstrip()[:1] not in ("/", "#"))
    return "\n".join(re.findall(r'"(?:[^"\\\n]|\\.)*"', code)).encode()


def read_record():
    lines = RECORD.read_text("ascii").splitlines() if RECORD.exists() else []
    return dict(line.split() for line in lines if not line.startswith("#"))


def write_record(drawn):
    known = read_record() | {name: subject(name) for name in drawn}
    lines = [f"{name} {known[name]}\n" for name in PICTURES if name in known]
    RECORD.write_text("# Written by scripts/draw-pictures: what each picture shows, as a checksum.\n" + "".join(lines))


def host(stack, program, *names):
    """A desktop, and that program in a folder of its own with the library beside it, under Wine."""
    desktop, prefix = stack.enter_context(Desktop()), stack.enter_context(fresh_prefix())
    folder = prefix.drive_c / "program"
    folder.mkdir()
    for name in (program, *DLLS):
        shutil.copy(product(name), folder)
    redirect(folder / "Wendax.dll", *names)
    return desktop, prefix, Wine(desktop, prefix), folder / program


def dialog(picture, program, *names):
    def draw(stack):
        desktop, _, wine, path = host(stack, program, *names)
        stack.enter_context(wine.start(path, cwd=path.parent))
        window = report_dialog.wait(desktop)
        desktop.point(window.x + window.width // 2, window.y + window.height + 100)
        take_picture(desktop, window, IMAGES / picture, border=24)

    return draw


def message(stack):
    """The windowed example fails, and a mail program opens the report."""
    address = ("--support-address", "Crash Desk <crashes@example.com>")
    desktop, prefix, wine, path = host(stack, "windowed.exe", *address)
    wine.associate(".eml", product("mail_program.exe"))
    log = prefix.drive_c / "mail.log"
    with wine.start(path, env={"MAIL_PROGRAM_LOG": "C:\\mail.log"}):
        window = windowed.wait(desktop)
        windowed.choose_picture(desktop, window)
        windowed.commit(desktop, window, windowed.WRITE_NOWHERE)
        report_dialog.press(desktop, "Open Error Report")
        wait_until(lambda: log.exists() and log.read_text("latin-1").endswith("\n"), "the mail program's call", 120)
    report = Message(prefix.to_unix(log.read_text("latin-1").partition(" ")[2].strip().strip('"')))
    screen = stack.enter_context(Desktop())
    program = stack.enter_context(ClawsMail(screen, stack.enter_context(MailServer()), report.path))
    draft = program.open_draft()
    screen.activate(draft)
    screen.key("ctrl+Home")
    screen.click_window(draft, draft.width - 40, draft.height - 40)  # the pointer, out of sight of hints
    take_picture(screen, draft, IMAGES / "message.png")


def take_picture(desktop, window, picture, border=0):
    """Of the window with its frame, when it has been drawn: when two pictures in turn are the same."""
    before = None

    def at_rest():
        nonlocal before
        run_tool(["import", "-silent", "-frame", "-window", str(window.id), "-strip", picture], desktop.env)
        last, before = before, picture.read_bytes()
        return last == before

    wait_until(at_rest, "the window to come to rest")
    if border:
        run_tool(["mogrify", "-bordercolor", "#8a97a3", "-border", str(border), "-strip", picture], os.environ)


def pages(_):
    """By the test that clicks through them."""
    test = "tests/inbox/inbox_browser_test.py"
    command = [sys.executable, "-m", "pytest", "-q", test, "-k", "every_page"]
    environment = {**os.environ, "WENDAX_INBOX_PICTURES": str(IMAGES)}
    subprocess.run(command, cwd=REPO, env=environment, check=True, stdout=subprocess.DEVNULL)


def plot(_):
    bench_plot.main()


# For each who draws it, and what of the repository it shows.
PICTURES = {
    "email-dialog.png": (dialog("email-dialog.png", "smallest.exe"), DIALOGS),
    "upload-dialog.png": (dialog("upload-dialog.png", "upload.exe"), DIALOGS),
    "own-email-dialog.png": (dialog("own-email-dialog.png", "smallest.exe", *OWN_NAME), DIALOGS),
    "own-upload-dialog.png": (dialog("own-upload-dialog.png", "upload.exe", *OWN_NAME), DIALOGS),
    "message.png": (message, MESSAGE),
    **{
        f"inbox-{page}.png": (pages, PAGES)
        for page in "crashes crash report report-words report-files reports versions symbols unreadable".split()
    },
    PLOT: (plot, []),  # drawn again and compared
}

if __name__ == "__main__":
    main()
