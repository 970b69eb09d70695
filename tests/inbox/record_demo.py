#!/usr/bin/env python3
"""Records what scripts/inbox --demo shows: the windowed example, in three versions, fails in each of its ways and reports it
by mail. Writes inbox/demo.zip, with the PDBs.

usage: PYTHONPATH=. tests/inbox/record_demo.py
"""

import json
import pathlib
import random
import shutil
import tempfile
import zipfile

from testing import report_dialog, windowed
from testing.desktop import Desktop
from testing.mail import Message
from testing.processes import REPO, wait_until
from testing.product import BIN, DLLS
from testing.stage import Stage

FAULTS = 10
# How often each fault is met in each version: one goes, one comes back, one is new.
OFTEN = {1: (14, 9, 0, 4, 1, 2, 1, 0, 2, 5), 2: (22, 0, 2, 5, 1, 1, 0, 1, 1, 9), 3: (9, 6, 12, 0, 0, 1, 2, 1, 0, 14)}
# Days ago that each version is used first, last and most: from its release on, less when the next one is out.
USED = {1: (15, 45, 35), 2: (4, 28, 16), 3: (0, 10, 4)}
WINDOWS = "Professional Service Pack 1 (Build 7601)", "Professional  (Build 9200)", "Home Edition  (Build 6002)"
PROCESSORS = (
    "AMD Ryzen 5 3600 6-Core Processor",
    "Intel(R) Core(TM) i5-8250U CPU @ 1.60GHz",
    "Intel(R) Core(TM) i7-4770",
)


def senders():
    """[[message, seconds ago, sender, Windows, processor]]: who sends which of the messages, and when."""
    chance = random.Random(4)
    people = [[f"user{at}@example.org", chance.choice(WINDOWS), chance.choice(PROCESSORS)] for at in range(60)]
    sent = []
    for version, often in OFTEN.items():
        for fault, count in enumerate(often):
            for _ in range(count):
                ago = int(chance.triangular(*USED[version]) * 86400)
                sent.append([f"version-{version}/fault-{fault}.eml", ago, *chance.choice(people)])
    return sent


def record(stage, version):
    """(the messages' paths, in the order of the faults; the path of the PDB)."""
    with Desktop() as desktop:
        prefix = stage.fresh_prefix()
        wine = stage.wine(desktop, prefix)
        folder = prefix.drive_c / "ways"
        folder.mkdir()
        built = BIN.parent / "test-helpers" / f"windowed-{version}"
        for path in [built / "windowed.exe"] + [BIN / name for name in DLLS]:
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
            made.writestr("senders.json", json.dumps(senders()))
            for version in (1, 2, 3):
                messages, pdb = record(stage, version)
                for number, message in enumerate(messages):
                    made.writestr(f"version-{version}/fault-{number}.eml", message.raw)
                made.write(pdb, f"version-{version}/windowed.pdb")
                print(f"version {version}: {len(messages)} reports", flush=True)


if __name__ == "__main__":
    main()
