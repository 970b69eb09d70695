#!/usr/bin/env python3
"""Records what scripts/inbox --demo shows: the windowed example, in three versions, fails in each of its ways and reports it
by mail. Writes inbox/demo.zip, with the PDBs.

usage: PYTHONPATH=. tests/inbox/record_demo.py
"""

import pathlib
import shutil
import tempfile
import zipfile

from testing import report_dialog, windowed
from testing.desktop import Desktop
from testing.host import LIBRARY_FILES
from testing.mail import Message
from testing.processes import REPO, wait_until
from testing.product import BIN
from testing.stage import Stage

FAULTS = 10


def record(stage, version):
    """(the messages' paths, in the order of the faults; the path of the PDB)."""
    with Desktop() as desktop:
        prefix = stage.fresh_prefix()
        wine = stage.wine(desktop, prefix)
        folder = prefix.drive_c / "ways"
        folder.mkdir()
        built = BIN.parent / "test-helpers" / f"windowed-{version}"
        for path in [built / "windowed.exe"] + [BIN / name for name in (*LIBRARY_FILES, "faultkit.dll")]:
            shutil.copy(path, folder)
        wine.associate(".eml", BIN / "mail_program.exe")
        log = prefix.drive_c / "mail.log"
        told = lambda: log.read_text("latin-1").splitlines() if log.exists() else []
        with wine.start(folder / "windowed.exe", cwd=folder, limit=900, env={"MAIL_PROGRAM_LOG": "C:\\mail.log"}):
            window = windowed.wait(desktop)
            windowed.choose_picture(desktop, window)
            for number in range(FAULTS):
                windowed.commit(desktop, window, number)
                report_dialog.press(desktop, "Open Error Report", report_dialog.wait(desktop))
                wait_until(lambda count=number + 1: len(told()) >= count, "the message", 120, seen=told)
                report_dialog.wait_closed(desktop)
            desktop.close_window(window)
        paths = [prefix.to_unix(line.partition(" ")[2].strip().strip('"')) for line in told()]
        return [Message(path) for path in paths], built / "windowed.pdb"


def main():
    with tempfile.TemporaryDirectory() as folder, Stage(pathlib.Path(folder, "stage")) as stage:
        with zipfile.ZipFile(REPO / "inbox" / "demo.zip", "w", zipfile.ZIP_DEFLATED, compresslevel=9) as made:
            for version in (1, 2, 3):
                messages, pdb = record(stage, version)
                for number, message in enumerate(messages):
                    made.writestr(f"version-{version}/fault-{number}.eml", message.raw)
                made.write(pdb, f"version-{version}/windowed.pdb")
                print(f"version {version}: {len(messages)} reports", flush=True)


if __name__ == "__main__":
    main()
