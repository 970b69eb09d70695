#!/usr/bin/env python3
"""Says where the reports of a Wendax.dll go, and sends them elsewhere.

usage: redirect.py WENDAX_DLL [--support-address ADDRESS] [--upload-server HOST]

ADDRESS becomes the recipient of e-mail reports for which the host names none: "Crash Desk <crashes@example.com>" or
"<crashes@example.com>". A bare crashes@example.com is written as it stands, which not every mail program takes for an
address. HOST (a name or an IPv4 address) becomes the server that receives upload reports, on port 80. Without either the
two are shown. The file is replaced as a whole; nothing else in it changes, so its PDB still belongs to it. A signature does
not survive: sign afterwards.
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
CAPACITY = 128

_MAILBOX = r"[!#-'*+\-./0-9=?A-Z^_`a-z|~]+@[A-Za-z0-9.-]+"
_NAME = r"[ !#-;=?-\[\]-z|~]*?"  # printable, but for what quotes and brackets, and the placeholders of the message
BARE = re.compile(_MAILBOX)
BRACKETED = re.compile(rf"(?P<name>{_NAME}) *<(?P<mailbox>{_MAILBOX})>")
HOST = re.compile(r"[A-Za-z0-9]([A-Za-z0-9.-]*[A-Za-z0-9])?")

# The message has the recipient between quotes. This one ends quotes and line itself, and the quote that comes behind it
# becomes a header of its own.
RECIPIENT = '{name}" <{mailbox}>\r\nX-Report-To: "'
WRITTEN = re.compile(rf'(?P<name>{_NAME})" <(?P<mailbox>{_MAILBOX})>\r\nX-Report-To: "')


class Refused(Exception):
    """The message says why."""


def recipient(address):
    """What the library is to know as its recipient, for an address as the user writes it."""
    if BARE.fullmatch(address):
        return _fitting(address, address)
    parts = BRACKETED.fullmatch(address)
    if not parts:
        raise Refused(f"{address!r} is no address such as 'Crash Desk <crashes@example.com>'")
    return _fitting(RECIPIENT.format(name=parts["name"].strip(), mailbox=parts["mailbox"]), address)


def address_of(written):
    """The address as the user writes it, for what recipient() made of it."""
    parts = WRITTEN.fullmatch(written)
    return f"{parts['name']} <{parts['mailbox']}>".lstrip() if parts else written


def host_name(name):
    """The name of a server, which must be one."""
    if not HOST.fullmatch(name):
        raise Refused(f"{name!r} is no host name such as reports.example.com")
    return _fitting(name, name)


def _fitting(written, text):
    if len(written) >= CAPACITY:
        raise Refused(
            f"{text!r} is longer than there is room for: {len(written)} characters are written, of {CAPACITY - 1}"
        )
    return written


def read(content):
    """(offset of the record, recipient, upload server) of a DLL's bytes."""
    at = content.find(MARK) + len(MARK)
    fields = content[at : at + CAPACITY], content[at + CAPACITY : at + 2 * CAPACITY]
    if content.count(MARK) != 1 or not all(b"\0" in field for field in fields):
        raise Refused("this is no Wendax.dll whose reports can be redirected")
    try:
        return at, *(field.partition(b"\0")[0].decode("ascii") for field in fields)
    except UnicodeDecodeError:
        raise Refused("this Wendax.dll is damaged: where its reports go is no text") from None


def redirect(dll, support_address=None, upload_server=None):
    """Puts the new places, None for as it is, into the file."""
    content = dll.read_bytes()
    at, old_recipient, old_server = read(content)
    fields = (
        old_recipient if support_address is None else recipient(support_address),
        old_server if upload_server is None else host_name(upload_server),
    )
    record = b"".join(field.encode("ascii").ljust(CAPACITY, b"\0") for field in fields)
    _replace(dll, content[:at] + record + content[at + len(record) :])


def _replace(file, content):
    """Puts the bytes in the place of the file; where that fails it is as it was, and nothing lies beside it."""
    with tempfile.NamedTemporaryFile(dir=file.parent, prefix=file.name, delete=False) as new:
        try:
            new.write(content)
            new.close()
            os.chmod(new.name, file.stat().st_mode)
            os.replace(new.name, file)
        except BaseException:
            new.close()
            os.unlink(new.name)
            raise


def main():
    parser = argparse.ArgumentParser(description="Says where the reports of a Wendax.dll go, and sends them elsewhere.")
    parser.add_argument("dll", metavar="WENDAX_DLL", type=pathlib.Path)
    parser.add_argument(
        "--support-address",
        metavar="ADDRESS",
        help="recipient of e-mail reports, such as 'Crash Desk <crashes@example.com>'",
    )
    parser.add_argument("--upload-server", metavar="HOST", help="server that receives upload reports, on port 80")
    options = parser.parse_args()
    try:
        if options.support_address is not None or options.upload_server is not None:
            redirect(options.dll, options.support_address, options.upload_server)
        _, written, server = read(options.dll.read_bytes())
    except (OSError, Refused) as error:
        print(f"redirect: {options.dll}: {error}", file=sys.stderr)
        return 2
    print(f"e-mail reports go to {address_of(written)}\nupload reports go to {server}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
