"""The command: what each of its words does, and what it refuses."""

import http.client
import mailbox
import re
import subprocess
import time

import pytest

import made
import pdbs
from conftest import MESSAGES
from testing.inbox_server import command
from testing.processes import REPO, wait_until


@pytest.fixture
def inbox(tmp_path):
    """inbox(*words): runs the command on a store of the test's own. (code, what it said)."""

    def run(*words, told=None):
        done = subprocess.run(
            command("--store", tmp_path / "store", *words),
            cwd=REPO,
            input=told,
            capture_output=True,
            text=True,
            timeout=120,
            check=False,
        )
        return done.returncode, done.stdout + done.stderr

    return run


def test_messages_are_taken_in_once(inbox, tmp_path):
    assert inbox("add", MESSAGES / "no_fault.eml", MESSAGES / "with_pdbs.eml")[0] == 0
    box = mailbox.mbox(tmp_path / "box")
    box.add((MESSAGES / "no_fault.eml").read_bytes())
    box.add(made.message(made.fault_text()))
    box.close()
    (tmp_path / "box.txt").write_text("no report at all")
    code, said = inbox("add", tmp_path / "box", tmp_path / "box.txt")
    assert code == 1
    assert "box.txt: this message is no report" in said
    assert "1 new, 1 known already, 1 unreadable" in said


@pytest.mark.parametrize("words", (["add", "/nothing/here"], ["--watch", "/nothing/here"]), ids=("file", "folder"))
def test_what_is_missing_is_named(inbox, words):
    assert inbox(*words) == (2, "inbox: /nothing/here is missing\n")


def test_folder_is_watched(served, tmp_path):
    (tmp_path / "mail").mkdir()
    server = served("--watch", tmp_path / "mail")
    (tmp_path / "mail" / "a.eml").write_bytes(made.message(made.fault_text(("arrived_later",))))
    wait_until(lambda: b"arrived_later" in server.get("/")[1], "the message to be taken in", seen=server.log)


def test_symbols_are_filed_and_what_is_none_is_named(inbox, served, tmp_path, stage):
    """Those of another build stay wanted."""
    inbox("add", MESSAGES / "without_pdbs.eml")
    code, said = inbox("symbols", "add", stage.product("faultkit.pdb"))
    assert (code, "1 new PDBs" in said) == (0, True)
    (tmp_path / "wrong.pdb").write_bytes(b"no PDB at all")
    code, said = inbox("symbols", "add", tmp_path / "wrong.pdb")
    assert (code, "wrong.pdb: no PDB" in said) == (1, True)
    page = served().get("/symbols")[1].decode()
    assert "faultkit.pdb" in page and "bugs_host.exe" in page


def test_symbolizer_that_is_missing_is_told(inbox, tmp_path, stage, monkeypatch):
    pdb = stage.product("faultkit.pdb")
    (tmp_path / "a.eml").write_bytes(made.message(made.fault_text((0x1000,), key=pdbs.read_key(pdb))))
    inbox("symbols", "add", pdb)
    monkeypatch.setenv("LLVM_SYMBOLIZER", "/nothing/here")
    code, said = inbox("add", tmp_path / "a.eml")
    assert (code, said.startswith("inbox: /nothing/here failed: ")) == (2, True), said
    monkeypatch.delenv("LLVM_SYMBOLIZER")
    assert inbox("add", tmp_path / "a.eml") == (0, "1 new, 0 known already, 0 unreadable\n")


def test_reports_are_deleted_by_sender_and_age(inbox, tmp_path):
    for number in range(3):
        text = made.fault_text((f"f{number}",))
        (tmp_path / f"{number}.eml").write_bytes(made.message(text, sender=f"u{number % 2}@example.org"))
    inbox("add", *tmp_path.glob("*.eml"))
    assert inbox("delete", "--older", "10d") == (0, "0 reports deleted\n")
    assert inbox("delete", "--sender", "u0@example.org") == (0, "2 reports deleted\n")
    wrong = "inbox: --older must be a number of days such as 180d, not 'soon'\n"
    assert inbox("delete", "--older", "soon") == (2, wrong)


def test_rules_of_the_store_group_anew(inbox, tmp_path):
    inbox("add", MESSAGES / "with_pdbs.eml")
    (tmp_path / "store" / "groups.txt").write_bytes(b"frames 1\nskip *!set_title # \xfcber\n")
    assert inbox("regroup") == (0, "1 reports have moved\n")
    (tmp_path / "store" / "groups.txt").write_text("frames none\n")
    assert inbox("regroup") == (2, "inbox: line 1 is no rule: frames none\n")


def test_elsewhere_it_listens_with_a_password_alone(inbox, tmp_path):
    code, said = inbox("--listen", "0.0.0.0:0")
    assert (code, "set a password first" in said) == (2, True)
    assert inbox("password", told="short\n")[0] == 2
    assert inbox("password", told="correct horse\n") == (0, "The password is set.\n")
    kept = (tmp_path / "store" / "inbox.ini").read_text()
    assert "correct horse" not in kept and re.search(r"password = \w+:", kept)


def test_body_that_is_too_large_is_refused_before_it_is_read(served, tmp_path):
    server = served()
    connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=60)
    connection.putrequest("POST", "/index.php?option=com_mosforms")
    connection.putheader("Content-Length", str(1 << 40))
    connection.endheaders()
    assert connection.getresponse().status == 413
    wait_until(lambda: "refused with 413" in server.log(), "a line in the log", seen=server.log)


def test_demonstration_shows_real_crashes(served):
    begin = time.monotonic()
    server = served("--demo")
    page = server.get("/?state=all")[1].decode()
    assert "10 crashes" in page and "read_nowhere" in page and "regressed" in page
    assert time.monotonic() - begin < 200
