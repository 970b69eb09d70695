"""Child processes that never outlive the test, and waiting for a condition."""

import os
import pathlib
import signal
import subprocess
import time

REPO = pathlib.Path(__file__).resolve().parents[1]
POLL_SECONDS = 0.05


class WaitTimeout(Exception):
    """A condition did not come true in time. The message says which, and what was seen instead."""


def wait_until(condition, what, timeout=60.0, seen=None):
    """Calls condition() until it returns something true, and returns that.

    what names the condition for the message of WaitTimeout; seen() may add what there was instead.
    """
    end = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            found = f"; there was: {seen()}" if seen else ""
            raise WaitTimeout(f"waited {timeout:g} s for {what}{found}")
        time.sleep(POLL_SECONDS)


def spawn(argv, **options):
    """subprocess.Popen in a process group of its own, and killed by the kernel should this process die first.

    Call it from the main thread: the kernel watches the thread that started the child.
    """
    options.setdefault("stdin", subprocess.DEVNULL)
    watched = ["setpriv", "--pdeathsig", "KILL", "--", *map(str, argv)]
    return subprocess.Popen(watched, start_new_session=True, **options)


def stop(process):
    """Ends a process of spawn() and its process group: asks first, then kills. Fine if it has ended already."""
    signal_group(process, signal.SIGTERM)
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        signal_group(process, signal.SIGKILL)
        process.wait()


def signal_group(process, number):
    """Sends a signal to the process group of a process of spawn(); none if that process has ended, because the
    number may belong to another group by now."""
    if process.poll() is None:
        os.killpg(process.pid, number)


def run_tool(argv, env, check=True):
    """Runs a command-line tool of the desktop and returns what it printed, as text.

    With check, a failure raises RuntimeError with the tool's own words; without, it gives None.
    """
    done = subprocess.run(
        [*map(str, argv)],
        env=env,
        timeout=60,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        check=False,
    )
    if done.returncode == 0:
        return done.stdout.decode("utf-8", "replace")
    if check:
        words = done.stderr.decode("utf-8", "replace").strip()
        raise RuntimeError(f"{argv[0]} failed with exit code {done.returncode}: {words}")
    return None


def marked_processes(mark):
    """{pid: name} of the living processes whose starting environment holds NAME=VALUE, given as mark (bytes)."""
    found = {}
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            if mark not in (entry / "environ").read_bytes().split(b"\0"):
                continue
            stat = (entry / "stat").read_text(errors="replace")
        except OSError:
            continue
        if stat.rpartition(")")[2].split()[0] not in "ZX":
            found[int(entry.name)] = stat[stat.index("(") + 1 : stat.rindex(")")]
    return found
