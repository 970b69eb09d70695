"""Fills a store with reports of real crashes of the windowed example, in three versions. The faults are as they happened;
who met them, on which machines and when, is made up."""

import pathlib
import random
import re
import tempfile
import time
import zipfile

from inbox import schema

_WINDOWS = "Professional Service Pack 1 (Build 7601)", "Professional  (Build 9200)", "Home Edition  (Build 6002)"
_PROCESSORS = (
    "AMD Ryzen 5 3600 6-Core Processor",
    "Intel(R) Core(TM) i5-8250U CPU @ 1.60GHz",
    "Intel(R) Core(TM) i7-4770",
)
# How often each fault is met in each version: one goes, one comes back, one is new.
_OFTEN = {1: (14, 9, 0, 4, 1, 2, 1, 0, 2, 5), 2: (22, 0, 2, 5, 1, 1, 0, 1, 1, 9), 3: (9, 6, 12, 0, 0, 1, 2, 1, 0, 14)}


def fill(inbox):
    """Adds the reports, and files the PDBs."""
    chance, now = random.Random(4), int(time.time())
    person = lambda number: (f"user{number}@example.org", chance.choice(_WINDOWS), chance.choice(_PROCESSORS))
    people = [person(number) for number in range(60)]
    with zipfile.ZipFile(pathlib.Path(__file__).with_name("demo.zip")) as kept, tempfile.TemporaryDirectory() as folder:
        kept.extractall(folder, [name for name in kept.namelist() if name.endswith(".pdb")])
        inbox.symbols.add(folder, inbox.writer)
        for version, often in _OFTEN.items():
            if version == 3:  # somebody thought that this one was mended
                inbox.writer.do(_mend)
            for fault, count in enumerate(often):
                raw = kept.read(f"version-{version}/fault-{fault}.eml")
                for _ in range(count):
                    # Each version is used from its release on, less when the next one is out.
                    age = chance.triangular(*((15, 45, 35), (4, 28, 16), (0, 10, 4))[version - 1])
                    inbox.reports.add_message(_sent(raw, chance.choice(people), int(now - age * 86400)))


def _mend(connection):
    mended = schema.crash.update().where(schema.crash.c.title == "write_nowhere")
    connection.execute(mended.values(state="fixed", fixed_in="1.2", note="The button does nothing now."))


def _sent(raw, person, at):
    """The message as that person's mail program would have sent it from that machine."""
    sender, windows, processor = (word.encode() for word in person)
    date = time.strftime("%a, %d %b %Y %H:%M:%S +0000", time.gmtime(at)).encode()
    raw = re.sub(rb"(?m)^From: *(?=\r)", b"From: " + sender, raw, count=1)
    raw = re.sub(rb"(?m)^Date: [^\r]*", b"Date: " + date, raw, count=1)
    raw = re.sub(rb"(?m)(?<=^Windows Version:\n)[^\n]*", windows, raw)
    return re.sub(rb"(?m)^Extended Processor Name: [^\n]*", b"Extended Processor Name: " + processor, raw)
