"""The translator on 16 threads. Each thread's fault lies at a place of its own, so that the report tells whose it has."""

import re
import shutil

from testing import report_dialog
from testing.host import Host

THREADS = 16
ROUNDS = 50


def described_thread(stage, order):
    """Lets them fault, and gives the number of the thread whose fault the report describes."""
    desktop = stage.desktop(width=800, height=600)
    host = Host(stage, "threads_host.exe", desktop=desktop)
    shutil.copy(stage.helper("faultkit_of_access"), host.folder)
    process = host.start(order, ROUNDS)
    (message,) = report_dialog.open_reports(desktop, host, process)
    assert process.result().text == f"caught {THREADS * ROUNDS}\n"
    assert process.returncode == 0
    whole = re.search(
        rb"Crush Expantion:\ncode C0000005 flags 0 parameters 2 kind 1 place (\d+) at eip\n\n", message.body
    )
    assert whole, message.body
    thread, rest = divmod(int(whole[1]), 16)
    assert rest == 0
    return thread - 1


def test_that_fault_in_turn_leave_the_last_fault(stage):
    assert described_thread(stage, "in-turn") == THREADS - 1


def test_that_fault_at_once_leave_one_of_the_faults_whole(stage):
    assert described_thread(stage, "at-once") in range(THREADS)
