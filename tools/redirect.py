#!/usr/bin/env python3
"""Says where the reports of a Wendax.dll go and of what program they speak, and writes that into it.

usage: redirect.py WENDAX_DLL [--support-address ADDRESS] [--upload-server HOST | --upload-url URL]
                   [--product NAME] [--company NAME] [--program FILE] [--own-pictures yes|no] [--proxy yes|no]

ADDRESS becomes the recipient of e-mail reports for which the host names none: "Crash Desk <crashes@example.com>" or
"<crashes@example.com>". A bare crashes@example.com is written as it stands, which not every mail program takes for an
address. HOST (a name or an IPv4 address) becomes the server that receives upload reports, on port 80, in the clear. A URL
such as https://reports.example.com:8443/upload names one that is asked over TLS, with a certificate in order, or not at all;
with http:// it stands for port 80. Where it has no path it gets the one of the form.
The names are those of the program and its maker, and the program's file name (draw.exe); an empty one leaves the texts
as they are built in. With --own-pictures yes the dialogs show the program's bitmap 228 and icon 128, where it has them; with
--proxy yes an upload that reaches no server is tried once more by the system's proxy settings.
Without options all of that is shown which isn't as it is built in. The file is replaced as a whole; nothing else in it
changes, so its PDB still belongs to it. A signature does not survive: sign afterwards. A Wendax.dll of version 1.0 knows an
address and a host alone.
Ends with 0, or with 2 and a sentence when that can't be.
"""

import argparse
import os
import pathlib
import re
import sys
import tempfile

# The record of report/destinations.h: a mark, two addresses, and since version 1.1 the mark of what follows, three names
# and two switches.
MARK = b"WENDAX REPORTS>\0"
CAPACITY = 128
LAYOUT = b"WENDAX LAYOUT 2\0"
ANY_LAYOUT = LAYOUT[:-2]
ADDRESSES = ("support_address", "upload_address")
NAMES = {"product": 48, "company": 48, "program": 64}
LONGEST = {"product": 40, "company": 40, "program": 63}  # what dialogs and file names have space for
SWITCHES = ("own_pictures", "proxy")

_MAILBOX = r"[!#-'*+\-./0-9=?A-Z^_`a-z|~]+@[A-Za-z0-9.-]+"
_NAME = r"[ !#-;=?-\[\]-z|~]*?"  # printable, but for what quotes and brackets, and the placeholders of the message
BARE = re.compile(_MAILBOX)
BRACKETED = re.compile(rf"(?P<name>{_NAME}) *<(?P<mailbox>{_MAILBOX})>")
_HOST = r"[A-Za-z0-9](?:[A-Za-z0-9.-]*[A-Za-z0-9])?"
HOST = re.compile(_HOST)
URL = re.compile(rf"(?P<scheme>https?)://{_HOST}(?P<port>:[0-9]{{1,5}})?(?:/[!$-;=?-\[\]_a-z|~]*)?", re.IGNORECASE)
PROGRAM = re.compile(r"[ !#$&'()+,.0-9;=@A-Z\[\]^_`a-z~-]*[!#$&'()+,0-9;=@A-Z\[\]^_`a-z~-]\.exe", re.IGNORECASE)
_NO_NAME = frozenset('"%<>\\{}')  # quotes, formats and placeholders of the message

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


def upload_address(url):
    """The URL of a form, which must be one; its scheme in small letters."""
    parts = URL.fullmatch(url)
    if not parts:
        raise Refused(f"{url!r} is no URL such as https://reports.example.com/upload")
    scheme = parts["scheme"].lower()
    port = int((parts["port"] or ":0")[1:])
    if scheme == "http" and parts["port"] and port != 80:
        raise Refused(f"{url!r} is no URL that is served: http is for port 80 alone, other ports are for https")
    if parts["port"] and not 0 < port < 65536:
        raise Refused(f"{url!r} is no URL: there is no port {port}")
    return _fitting(scheme + url[len(scheme) :], url)


def name_of(field, text):
    """A name of the record: what a header may hold for the product, Windows-1251 for the company, a file's name."""
    if field == "program":
        if text and not PROGRAM.fullmatch(text):
            raise Refused(f"{text!r} is no name of a program such as draw.exe")
    else:
        try:
            written = text.encode("ascii" if field == "product" else "cp1251")
        except UnicodeEncodeError:
            code_page = "ASCII, as the headers of a message" if field == "product" else "Windows-1251, as the message"
            raise Refused(f"{text!r} is no {field} that can be written: it is to be {code_page}") from None
        if not text.isprintable() or _NO_NAME.intersection(text) or text != text.strip() or b"\x98" in written:
            raise Refused(f"{text!r} is no {field}: it has blanks around it, or one of {' '.join(sorted(_NO_NAME))}")
    return _fitting(text, text, LONGEST[field])


def _fitting(written, text, longest=CAPACITY - 1):
    if len(written) > longest:
        raise Refused(f"{text!r} is longer than there is room for: {len(written)} characters are written, of {longest}")
    return written


class Record:
    """What is written in a DLL's bytes. fields: {name: text or switch}, in their order; of version 1.0 the addresses alone."""

    def __init__(self, content):
        self.at = self.end = content.find(MARK) + len(MARK)
        if content.count(MARK) != 1:
            raise Refused("this is no Wendax.dll whose reports can be redirected")
        self._content = content
        self.fields = {name: self._text(CAPACITY, "ascii") for name in ADDRESSES}
        layout = content[self.end : self.end + len(LAYOUT)]
        self.is_first = not layout.startswith(ANY_LAYOUT)
        if self.is_first:
            return
        if layout != LAYOUT:
            raise Refused("this Wendax.dll is newer than this redirect.py: take the one that came with it")
        self.end += len(LAYOUT)
        self.fields |= {name: self._text(size, "cp1251") for name, size in NAMES.items()}
        self.fields |= {name: self._switch() for name in SWITCHES}

    def written(self):
        """The bytes that stand between the mark and self.end."""
        pieces = [self.fields[name].encode("ascii").ljust(CAPACITY, b"\0") for name in ADDRESSES]
        if not self.is_first:
            pieces.append(LAYOUT)
            pieces += [self.fields[name].encode("cp1251").ljust(size, b"\0") for name, size in NAMES.items()]
            pieces += [bytes([self.fields[name]]) for name in SWITCHES]
        return b"".join(pieces)

    def _text(self, size, encoding):
        field = self._content[self.end : self.end + size]
        self.end += size
        if b"\0" not in field:
            raise Refused("this is no Wendax.dll whose reports can be redirected")
        try:
            return field.partition(b"\0")[0].decode(encoding)
        except UnicodeDecodeError:
            raise Refused("this Wendax.dll is damaged: where its reports go is no text") from None

    def _switch(self):
        byte = self._content[self.end]
        self.end += 1
        if byte > 1:
            raise Refused("this Wendax.dll is damaged: where it has a switch is something else")
        return bool(byte)


def redirect(dll, support_address=None, upload_server=None, upload_url=None, **others):
    """Writes the new values into the file; None is for as it is. others: names and switches."""
    content = dll.read_bytes()
    record = Record(content)
    new = {"support_address": None if support_address is None else recipient(support_address)}
    if upload_server is not None:
        new["upload_address"] = host_name(upload_server)
    if upload_url is not None:
        if record.is_first:
            raise Refused("this Wendax.dll is of version 1.0, which knows no URL: name a host with --upload-server")
        new["upload_address"] = upload_address(upload_url)
    for name, value in others.items():
        if value is None:
            continue
        if record.is_first:
            option = name.replace("_", "-")
            raise Refused(f"this Wendax.dll is of version 1.0, which has no place for --{option}")
        new[name] = name_of(name, value) if name in NAMES else value
    record.fields |= {name: value for name, value in new.items() if value is not None}
    _replace(dll, content[: record.at] + record.written() + content[record.end :])


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


def shown(fields):
    """What the record says, in lines; what is as it is built in has none."""
    lines = [
        f"e-mail reports go to {address_of(fields['support_address'])}",
        f"upload reports go to {fields['upload_address']}",
    ]
    lines += [f"the {name} is {fields[name]}" for name in NAMES if fields.get(name)]
    if fields.get("own_pictures"):
        lines.append("dialogs show the program's own pictures")
    if fields.get("proxy"):
        lines.append("uploads that reach no server try the system's proxy")
    return lines


def options_of(parser):
    """Adds those that build and tool have in common."""
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--upload-url", metavar="URL", help="https://... of the form that receives upload reports")
    parser.add_argument("--product", metavar="NAME", help="name of the program, for the texts; empty: as built in")
    parser.add_argument("--company", metavar="NAME", help="name of its maker")
    parser.add_argument("--program", metavar="FILE", help="file name of the program, such as draw.exe")
    for name, meaning in (
        ("--own-pictures", "dialogs show the program's bitmap 228 and icon 128"),
        ("--proxy", "uploads that reach no server try the system's proxy"),
    ):
        parser.add_argument(name, choices=("yes", "no"), help=meaning)
    return where


def main():
    parser = argparse.ArgumentParser(
        description="Says where the reports of a Wendax.dll go and of what program they speak, and writes that into it."
    )
    parser.add_argument("dll", metavar="WENDAX_DLL", type=pathlib.Path)
    parser.add_argument(
        "--support-address",
        metavar="ADDRESS",
        help="recipient of e-mail reports, such as 'Crash Desk <crashes@example.com>'",
    )
    options_of(parser).add_argument(
        "--upload-server", metavar="HOST", help="server that receives upload reports, on port 80"
    )
    options = vars(parser.parse_args())
    dll = options.pop("dll")
    for name in SWITCHES:
        if options[name] is not None:
            options[name] = options[name] == "yes"
    try:
        if any(value is not None for value in options.values()):
            redirect(dll, **options)
        record = Record(dll.read_bytes())
    except (OSError, Refused) as error:
        print(f"redirect: {dll}: {error}", file=sys.stderr)
        return 2
    print("\n".join(shown(record.fields)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
