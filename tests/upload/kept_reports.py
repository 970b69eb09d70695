"""Reports that wait for another try, as docs/delivery.md has their files: written and read a second time, from another
angle than the library does."""

import dataclasses
import struct
import time
import zlib

MARK = b"WENDAX UNSENT>\r\n"
NUMBERS = struct.Struct("<16sIIQQIIIII")
CHECKSUM = struct.Struct("<I")
SECOND = 10_000_000  # in ticks of 100 ns
DAY = 24 * 60 * 60 * SECOND


@dataclasses.dataclass(frozen=True)
class KeptReport:
    """ticks: when it was kept, in units of 100 ns since 1601."""

    url: str
    body: bytes
    ticks: int
    proxy_allowed: bool = False


def now():
    """In ticks."""
    return (time.time_ns() // 100) + 11644473600 * SECOND


def header_of(report, body_size=None, version=1):
    url = report.url.encode("ascii") + b"\0"
    sizes = (NUMBERS.size + CHECKSUM.size + len(url), len(report.body) if body_size is None else body_size)
    rest = (report.ticks, zlib.crc32(report.body), report.proxy_allowed, len(url), 0, 0)
    numbers = NUMBERS.pack(MARK, version, *sizes, *rest)
    return numbers + CHECKSUM.pack(zlib.crc32(numbers + bytes(4) + url)) + url


def write(folder, report, name=None, sparse_size=None):
    """Puts a report into the folder; returns its path. sparse_size: with a body of that many zero bytes instead of its
    own, which take no space on the disk and have another checksum than the header says."""
    path = folder / (name or f"wendax-{report.ticks:016x}.unsent")
    head = header_of(report, sparse_size)
    with open(path, "wb") as file:
        file.write(head + (b"" if sparse_size else report.body))
        if sparse_size:
            file.truncate(len(head) + sparse_size)
    return path


def read(path):
    """The KeptReport of a file; ValueError if it is none."""
    content = path.read_bytes()
    if len(content) < NUMBERS.size + CHECKSUM.size:
        raise ValueError("too short")
    mark, version, header_size, body_size, ticks, checksum, flags, url_size, *unused = NUMBERS.unpack_from(content)
    url, body = content[64:header_size], content[header_size:]
    found = KeptReport(url.rstrip(b"\0").decode("ascii"), body, ticks, flags == 1)
    if (mark, version, url_size, unused) != (MARK, 1, len(url), [0, 0]) or content[:header_size] != header_of(found):
        raise ValueError(f"not a header: {content[:header_size]}")
    if (body_size, checksum) != (len(body), zlib.crc32(body)):
        raise ValueError("not the body of this header")
    return found


def read_all(folder):
    """Those of a folder, the oldest first."""
    return sorted((read(path) for path in folder.iterdir()), key=lambda report: report.ticks)


def report(url, body, days_old=0.0):
    return KeptReport(url, body, now() - round(days_old * DAY))
