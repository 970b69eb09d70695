"""Many reports in one process: after the tenth, nothing grows.

WENDAX_SOAK_REPORTS says how many of each road, 40 if it is not set. Wine's static control never lets go of the banner's
bitmap, its shell keeps something of each program that it starts, and its dbghelp something of the debugging data that DLLs of
the 64-bit Wine have; how much that is, tell as many dialogs of the same template, reads of symbols and messages opened by the
system alone.
"""

import os
import pathlib
import re
import shutil

import pytest

from testing.driven_host import DrivenHost
from testing.host import redirect
from testing.loopback import loopback_address
from testing.product import DLLS
from testing.upload_body import YES
from testing.web_server import WebServer, answering

REPORTS = int(os.environ.get("WENDAX_SOAK_REPORTS", "40"))
WARM_UP = 10
SECONDS_FOR_ONE = 20  # on a busy machine
LIMIT = 300 + SECONDS_FOR_ONE * REPORTS

pytestmark = pytest.mark.timeout(LIMIT)


# Bytes of each report that stay in the heaps: by design the exception object, 16 or with 64 bits 32 and what the heap adds;
# of an upload what Wine's WinINet keeps of a connection that the server has closed, too, 96 with 32 bits.
KEPT = {"mail": 64, "upload": 256}


def too_much(road, first, last, grown):
    """{name: by how much} of what has grown more than it may. Private pages may: what Wine keeps outside the heaps varies by
    some KB a dialog."""
    bounds = {name: grown[name] + 3 for name in ("GDI objects", "user object", "kernel handles", "open files")}
    bounds["heaps (bytes)"] = grown["heaps (bytes)"] + 4096 + KEPT[road] * REPORTS
    bounds["addresses (KiB)"] = grown["addresses (KiB)"] + 4095 + KEPT[road] * REPORTS // 1024  # taken by the megabyte
    more = {name: last[name] - first[name] for name in bounds}
    return {name: value for name, value in more.items() if value > bounds[name]}


def soak(stage, road):
    """Makes the reports and looks what the process holds. Gives what had grown too much between the first ones and the
    end: {name: by how much}. More than as many dialogs of the system alone had grown it, that is."""
    address = loopback_address()
    server = stage.enter_context(WebServer(address, 80, answering(YES)))
    wine = stage.wine(stage.desktop(width=800, height=600))
    wine.associate(".eml", stage.product("mail_program.exe"))
    folder = stage.artifacts / "host"
    folder.mkdir()
    for name in ("soak_host.exe", *DLLS):
        shutil.copy(stage.product(name), folder)
    redirect(folder / "Wendax.dll", "--upload-server", address)
    (folder / "notes.txt").write_bytes(b"notes")
    (folder / "plain.eml").write_bytes(b"Subject: plain\r\n\r\n")
    log = wine.prefix.drive_c / "mail.log"
    host = DrivenHost(wine, folder / "soak_host.exe", limit=LIMIT, cwd=folder, env={"MAIL_PROGRAM_LOG": "C:\\mail.log"})

    def after(*command):
        told = host.tell(*command, timeout=SECONDS_FOR_ONE * command[-1])
        numbers = [int(number) for number in told.split()[1:]]
        process = pathlib.Path("/proc", str(host.process.pid))
        private = re.search(r"Private_Dirty:\s+(\d+) kB", (process / "smaps_rollup").read_text())
        usage = dict(zip(("GDI objects", "user object", "kernel handles", "memory (KiB)", "addresses (KiB)"), numbers))
        return {
            **usage,
            "heaps (bytes)": numbers[5],
            "private pages (KiB)": int(private[1]),
            "open files": len(list((process / "fd").iterdir())),
        }

    before_plain, after_plain = after("plain", road, WARM_UP), after("plain", road, REPORTS - WARM_UP)
    grown = {name: after_plain[name] - value for name, value in before_plain.items()}
    held = [after(road, WARM_UP), after(road, REPORTS - WARM_UP)]
    if too_much(road, *held, grown):
        # A cache of the system's may have had its largest need only now. What reports lose, they lose again.
        held.append(after(road, REPORTS - WARM_UP))
    assert host.end() == 0
    host.process.wait_family()
    made = [WARM_UP + number * (REPORTS - WARM_UP) for number in range(len(held))]
    for number, usage in zip(made, held):
        print(f"{road}, after report {number}: {usage}")
    print(f"{REPORTS - WARM_UP} dialogs of the system alone: {grown}")
    opened = log.read_text("latin-1").splitlines() if road == "mail" else ()
    plain = sum("plain.eml" in line for line in opened)
    assert (len(opened) - plain if road == "mail" else len(server.requests)) == made[-1]
    assert plain == (REPORTS if road == "mail" else 0)
    return too_much(road, *held[-2:], grown)


@pytest.mark.parametrize("road", ("mail", "upload"))
def test_reports_leave_nothing(stage, road):
    assert soak(stage, road) == {}
