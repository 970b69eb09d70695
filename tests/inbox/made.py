"""Reports as programs of all sorts would make them."""

MESSAGE = """To: "crashes@example.com" \r
Reply-To: \r
From: {sender}\r
Subject: {subject}\r
Date: {date}\r
MIME-Version: 1.0\r
Content-Type: multipart/mixed;\r
\tboundary="----=_NextPart_000_023D_01C25DB8.8402B210"\r
X-Unsent: 1\r
\r
This is a multi-part message in MIME format.\r
\r
------=_NextPart_000_023D_01C25DB8.8402B210\r
Content-Type: text/plain;\r
\tcharset="windows-1251"\r
Content-Transfer-Encoding: 7bit\r
\r
{text}\r
\r
------=_NextPart_000_023D_01C25DB8.8402B210\r
"""

SYSTEM = """
Windows Version:
Professional Service Pack 1 (Build 7601)

Module Info:
Company: Example Software
Product Name: {product}
Product Version: {version}

CPU Info:
Vendor: {vendor}
Extended Processor Name: {processor}
Procesor Clock Frequecy: 2600

Monitor info:
Color depth: 32 Bits per pixel.
"""

KEY = "0123456789ABCDEF0123456789ABCDEF1"


def fault_text(
    places=("draw", "paint", "run"),
    version="1.0.0.0",
    kind="EXCEPTION_ACCESS_VIOLATION (C0000005): memory at 00000000 could not be read (a null pointer)",
    program="board.exe",
    key=KEY,
    extra=(),
    base=0x400000,
):
    """places: a function's name each, or an offset in the program as a number."""
    frames = []
    for number, place in enumerate(places):
        offset = place if isinstance(place, int) else 0x1000 + number * 16
        line = f"{base + offset:08X} {program}+{offset:08X}"
        frames.append(
            line if isinstance(place, int) else f"{line} {place}+0x1A (src\\{place.lower()}.cpp:{10 + number})"
        )
    return "\n".join(
        [
            "Crush Expantion:",
            kind,
            f"Instruction: {base + 0x1000:08X} {program}+00001000",
            "Thread: 000000E0",
            "EAX 00000000  EBX 3FFF1000  ECX 00000002  EDX 00000000",
            *extra,
            "Modules (base, size, time stamp, version, PDB identity, name):",
            f"{base:08X} 00010000 FF94A828 {version} {key or '-'} {program}",
            "7B600000 00061000 63F14E2B 10.0.18362.1350 - kernel32.dll",
            "",
            "Stack Trace:",
            *frames,
            "7B6293E0 kernel32.dll+000293E0",
            "",
        ]
    )


def system_text(product="Drawing Board", version="1.0.0.0", processor="AMD EPYC", vendor="AMD"):
    return SYSTEM.format(product=product, version=version, processor=processor, vendor=vendor)


def message(
    fault=None, sender="", subject="Drawing Board Error Report [Main]", date="Sunday, 15, 06 07:05:09 +0000", **system
):
    """Bytes, as the library writes them."""
    text = "Drawing Board has performed an illegal operation.\nThank you,\xee\n\nPS:{}\n{}\n".format(
        system_text(**system), fault or "Debug info is not accessible.\n"
    )
    return MESSAGE.format(sender=sender, subject=subject, date=date, text=text).encode("latin-1", "replace")


def add(box, *text, **headers):
    """Of a message to the inbox: (number of the report, whether it is new, what is wrong)."""
    return box.reports.add_message(message(*text, **headers))


def read(box, query, *asked, **named):
    """What a query says of the inbox."""
    with box.engine.connect() as connection:
        return query(connection, *asked, **named)


def upload_files(fault=None, picture=b"", **system):
    """{part: (path, content)} for testing.upload_body."""
    files = {
        "System_info": (b"C:\\Temp\\system_info.txt", system_text(**system).replace("\n", "\r\n").encode("latin-1"))
    }
    if fault:
        files["File_for_conversion"] = (b"C:\\Temp\\fault.txt", fault.encode("latin-1"))
    if picture:
        files["Screen_copy"] = (b"C:\\Temp\\screen_copy.jpg", picture)
    return files
