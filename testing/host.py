"""A host program with the library beside it, in a prefix of the test's own."""

import os
import pathlib
import shutil
import subprocess
import sys

from testing.mail import Message
from testing.processes import REPO, wait_until

LIBRARY_FILES = ("Wendax.dll", "KOBRTL.dll", "fall.dll")


def redirect(dll, *options):
    """Sends the reports of a copied Wendax.dll elsewhere, the one difference to what ships: the library knows one server
    and one mailbox, by names that reach nobody. Options are those of the tool, which may refuse them with ValueError.
    """
    done = subprocess.run(
        [sys.executable, REPO / "tools" / "redirect.py", dll, *options],
        text=True,
        capture_output=True,
        timeout=60,
        check=False,
    )
    if done.returncode != 0:
        raise ValueError(done.stderr)


def opened_files(log):
    """How the mail program that writes this log was called so far: (show state, path as Windows writes it) for each call."""
    if not log.exists():
        return []
    calls = []
    text = log.read_text("latin-1")
    for line in text[: text.rfind("\n") + 1].splitlines():  # what is being written isn't a line yet
        show, _, path = line.partition(" ")
        calls.append((int(show), path.strip().strip('"')))
    return calls


class Host:
    """A folder with a host and the library's files; runs the host and knows how the mail program was called.

    helper: which of the recording faultkit.dll variants lies beside the host, or None for no helper at all.
    """

    def __init__(
        self,
        stage,
        program,
        helper=None,
        folder="host",
        files=LIBRARY_FILES,
        desktop=None,
        locale=None,
    ):
        self.prefix = stage.fresh_prefix()
        self.wine = stage.wine(desktop, self.prefix, locale)
        self.folder = self.prefix.drive_c / folder
        self.folder.mkdir(parents=True)
        self.exe = pathlib.Path(shutil.copy(stage.product(program), self.folder))
        for name in files:
            shutil.copy(stage.product(name), self.folder)
        if helper:
            shutil.copy(stage.helper(helper), self.folder)
        self.mail_log = self.prefix.drive_c / "mail.log"
        self.environment = {"MAIL_PROGRAM_LOG": "C:\\mail.log"}
        self.wine.associate(".eml", stage.product("mail_program.exe"))

    @property
    def temp(self):
        """The folder of temporary files as the host sees it."""
        return self.prefix.temp_dir

    def start(self, *args, env=None, **options):
        return self.wine.start(self.exe, *args, env={**self.environment, **(env or {})}, **options)

    def run(self, *args, env=None, **options):
        return self.wine.run(self.exe, *args, env={**self.environment, **(env or {})}, **options)

    def opened(self):
        return opened_files(self.mail_log)

    def wait_messages(self, count):
        """The messages that the mail program was opened with, when there are that many."""
        wait_until(
            lambda: len(self.opened()) >= count, f"call number {count} of the mail program", 120, seen=self.opened
        )
        calls = self.opened()
        assert len(calls) == count, calls
        return [Message(self.prefix.to_unix(path)) for _, path in calls]

    def messages_in_temp(self):
        return sorted(self.temp.glob("*.eml"), key=os.path.getmtime)
