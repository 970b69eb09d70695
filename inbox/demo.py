"""Reports of real crashes of the windowed example, in three versions. Who met them, on what machines and when, is made up."""

import json
import pathlib
import re
import tempfile
import time
import zipfile

from inbox import schema


def fill(inbox):
    path, now = pathlib.Path(__file__).with_name("demo.zip"), int(time.time())
    with zipfile.ZipFile(path) as kept, tempfile.TemporaryDirectory() as folder:
        kept.extractall(folder, [name for name in kept.namelist() if name.endswith(".pdb")])
        inbox.symbols.add(folder, inbox.writer)
        for name, ago, *person in json.loads(kept.read("senders.json")):
            if name.startswith("version-3"):
                inbox.writer.do(_mend)
            inbox.reports.add_message(_sent(kept.read(name), person, now - ago))


def _mend(connection):
    """Before the last version somebody thought that this one was mended."""
    mended = schema.crash.update().where(schema.crash.c.title == "write_nowhere", schema.crash.c.note == "")
    connection.execute(mended.values(state="fixed", fixed_in="1.2", note="The button does nothing now."))


def _sent(raw, person, at):
    """The message as that person's mail program would have sent it from that machine."""
    sender, windows, processor = (word.encode() for word in person)
    date = time.strftime("%a, %d %b %Y %H:%M:%S +0000", time.gmtime(at)).encode()
    raw = re.sub(rb"(?m)^From: *(?=\r)", b"From: " + sender, raw, count=1)
    raw = re.sub(rb"(?m)^Date: [^\r]*", b"Date: " + date, raw, count=1)
    raw = re.sub(rb"(?m)(?<=^Windows Version:\n)[^\n]*", windows, raw)
    return re.sub(rb"(?m)^Extended Processor Name: [^\n]*", b"Extended Processor Name: " + processor, raw)
