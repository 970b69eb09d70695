#!/usr/bin/env python3
"""Says where the reports of a Wendax.dll go, and sends them elsewhere.

usage: redirect.py WENDAX_DLL [--support-address MAILBOX] [--upload-server HOST]

MAILBOX becomes the recipient of e-mail reports for which the host names none, HOST (a name or an IPv4 address) the
server that receives upload reports, on port 80. Without either the two are shown. The file is replaced as a whole; nothing
else in it changes, so its PDB still belongs to it. A signature does not survive: sign afterwards.
Ends with 0, or with 2 and a sentence when that can't be.
"""

import argparse
import os
import pathlib
import re
import sys
import tempfile

# The record of report/destinations.h.
MARK = b"WENDAX REPORTS>\0"
ROOM = 128

MAILBOX = re.compile(r"[!#-'*+\-./0-9=?A-Z^_`a-z|~]+@[A-Za-z0-9.-]+")
HOST = re.compile(r"[A-Za-z0-9]([A-Za-z0-9.-]*[A-Za-z0-9])?")


class Refused(Exception):
    """The message says why."""


def read(content):
    """(offset of the record, support address, upload server) of a DLL's bytes."""
    if content.count(MARK) != 1:
        raise Refused("this is no Wendax.dll whose reports can be redirected")
    at = content.index(MARK) + len(MARK)
    fields = content[at:at + 2 * ROOM]
    return at, *(field.partition(b"\0")[0].decode("ascii") for field in (fields[:ROOM], fields[ROOM:]))


def redirect(dll, support_address=None, upload_server=None):
    """Puts the new places, None for as it is, into the file."""
    content = dll.read_bytes()
    at, old_address, old_server = read(content)
    address = old_address if support_address is None else support_address
    server = old_server if upload_server is None else upload_server
    fields = (_field(address, MAILBOX, "mailbox such as support@example.com"),
              _field(server, HOST, "host name such as reports.example.com"))
    content = content[:at] + b"".join(fields) + content[at + 2 * ROOM:]
    with tempfile.NamedTemporaryFile(dir=dll.parent, prefix=dll.name, delete=False) as new:
        new.write(content)
    os.chmod(new.name, dll.stat().st_mode)
    os.replace(new.name, dll)


def _field(text, pattern, kind):
    if not pattern.fullmatch(text):
        raise Refused(f"{text!r} is no {kind}")
    if len(text) >= ROOM:
        raise Refused(f"{text!r} is longer than {ROOM - 1} characters")
    return text.encode("ascii").ljust(ROOM, b"\0")


def main():
    parser = argparse.ArgumentParser(description="Says where the reports of a Wendax.dll go, and sends them elsewhere.")
    parser.add_argument("dll", metavar="WENDAX_DLL", type=pathlib.Path)
    parser.add_argument("--support-address", metavar="MAILBOX", help="recipient of e-mail reports")
    parser.add_argument("--upload-server", metavar="HOST", help="server that receives upload reports, on port 80")
    options = parser.parse_args()
    try:
        if options.support_address is not None or options.upload_server is not None:
            redirect(options.dll, options.support_address, options.upload_server)
        _, address, server = read(options.dll.read_bytes())
    except (OSError, Refused) as error:
        print(f"redirect: {options.dll}: {error}", file=sys.stderr)
        return 2
    print(f"e-mail reports go to {address}\nupload reports go to {server}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
