"""Runs the commands of the documents in a clean clone; scripts/try-documents says how it is called."""

import argparse
import contextlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import urllib.request

from testing.documents import fences
from testing.loopback import bring_loopback_up
from testing.processes import REPO, WaitTimeout, spawn, stop, wait_until

LIMIT, LONG_LIMIT = 3600, 6 * 3600  # seconds for one block
PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
# Why a block isn't run; without --long, nor are those that are long.
MARKS = {"person": "wants a person, or files of his", "elsewhere": "wants another system, or its owner"}


def commands():
    """The blocks of commands, as (fence, why it isn't run, or None)."""
    names = subprocess.run(["git", "ls-files", "*.md"], cwd=REPO, text=True, capture_output=True, check=True).stdout
    for name in names.split():
        for fence in fences(REPO, REPO / name):
            if fence.language in ("sh", "bat"):
                yield fence, next((MARKS[mark] for mark in sorted(fence.marks) if mark in MARKS), None)


def main():
    if sys.argv[1:2] == ["--serve"]:
        sys.exit(serve(sys.argv[2], pathlib.Path(sys.argv[3])))
    parser = argparse.ArgumentParser("scripts/try-documents")
    for option in ("--list", "--long", "--alone"):
        parser.add_argument(option, action="store_true")
    parser.add_argument("documents", nargs="*")
    options = parser.parse_args()
    wanted = []
    for fence, reason in commands():
        if options.documents and fence.document.partition(":")[0] not in options.documents:
            continue
        if "long" in fence.marks and not options.long:
            reason = reason or "takes long"
        if reason:
            print(f"-- {fence.document} isn't run: {reason}")
        elif options.list:
            print(f"++ {fence.document}\n{fence.text}", end="")
        wanted += [] if reason else [fence]
    if not options.list:
        with tempfile.TemporaryDirectory(prefix="try-documents-") as folder:
            failed = try_all(wanted, pathlib.Path(folder), options.alone)
        sys.exit(f"try-documents: {len(failed)} of {len(wanted)} fail: {', '.join(failed)}" if failed else 0)


def try_all(wanted, folder, alone):
    """Where those stand that fail."""
    clone, home, failed = folder / "wendax", folder / "home", []
    home.mkdir()
    subprocess.run(["git", "clone", "--quiet", REPO, clone], check=True)
    env = {"PATH": PATH, "HOME": str(home), "LANG": "C.UTF-8"}
    if not alone:
        env["WENDAX_TOOLS"] = os.environ["WENDAX_TOOLS"]
    for fence in wanted:
        print(f"== {fence.document}\n{fence.text}", end="", flush=True)
        began = time.monotonic()
        log = folder / "log"
        reason = run(fence, clone, env, log) or litter(clone)
        print(f"== {reason or 'done'}, {time.monotonic() - began:.0f} s", flush=True)
        if reason:
            sys.stdout.write("\n".join(log.read_text("utf-8", "replace").splitlines()[-40:]) + "\n")
            failed.append(fence.document)
    return failed


def run(fence, clone, env, log):
    """What went wrong, if something did."""
    if "serves" in fence.marks:
        for line in fence.text.splitlines():
            code = served(line, clone, env, log)
            if code:
                return f"{line}: ends with {code}"
        return None
    with open(log, "wb") as out:
        process = spawn(["bash", "-euo", "pipefail", "-c", fence.text], cwd=clone, env=env, stdout=out, stderr=out)
        try:
            code = process.wait(LONG_LIMIT if "long" in fence.marks else LIMIT)
        except subprocess.TimeoutExpired:
            return "takes too long"
        finally:
            stop(process)
    return f"ends with {code}" if code else None


def litter(clone):
    found = subprocess.run(["git", "status", "--porcelain"], cwd=clone, text=True, capture_output=True, check=True)
    return f"leaves {' '.join(found.stdout.split())}" if found.stdout else None


def served(line, clone, env, log):
    """Runs a command that serves until it is stopped, in a network of its own, where no port is taken."""
    network = ["unshare", *([] if os.geteuid() == 0 else ["--user", "--map-root-user"]), "--net"]
    inside = [sys.executable, __file__, "--serve", line, log]
    own = {**env, "PYTHONPATH": str(REPO)}
    return subprocess.run([*network, *map(str, inside)], cwd=clone, env=own, timeout=LIMIT, check=False).returncode


def serve(line, log):
    """Has the command serve until its page was fetched."""
    bring_loopback_up()
    env = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    with open(log, "wb") as out, contextlib.ExitStack() as stack:
        process = spawn(["bash", "-c", line], env=env, stdout=out, stderr=out)
        stack.callback(stop, process)

        def address():
            found = re.search(r"http://127[.\d]+:\d+", log.read_text("utf-8", "replace"))
            return found[0] if found else process.poll() is not None and "nowhere"

        try:
            where = wait_until(address, "the address", 600)
        except WaitTimeout:
            return 124
        if where == "nowhere":
            return process.returncode or 1
        with urllib.request.urlopen(where, timeout=60) as page:
            return 0 if page.status == 200 and page.read() else 1


if __name__ == "__main__":
    main()
