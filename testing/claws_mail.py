"""claws-mail, a mail program that users have, with a home and a mail server of its own."""

import contextlib
import email
import email.policy
import os
import pathlib
import re
import shutil
import socket
import tempfile

from testing.loopback import loopback_address
from testing.processes import WaitTimeout, wait_until
from testing.service import Service

_PORT = 2525
_EDIT_DRAFT = "F9"
_SETTINGS = {
    "accountrc": """[Account: 1]
account_name=Mail
is_default=1
name=A. User
address=a.user@example.org
protocol=5
smtp_server={server}
set_smtpport=1
smtp_port={port}
set_domain=1
domain=example.org
""",
    "clawsrc": """[Common]
config_version=4
enable_aspell=0
compose_width=860
compose_height=740
compose_notebook_height=195
""",
    "folderlist.xml": """<?xml version="1.0" encoding="UTF-8"?>
<folderlist><folder type="mh" name="Mailbox" path="Mail">
<folderitem type="inbox" name="inbox" path="inbox"/><folderitem type="outbox" name="sent" path="sent"/>
<folderitem type="draft" name="draft" path="draft"/><folderitem type="queue" name="queue" path="queue"/>
<folderitem type="trash" name="trash" path="trash"/></folder></folderlist>
""",
    "menurc": f"""(gtk_accel_path "<Actions>/Menu/Message/Reedit" "{_EDIT_DRAFT}")
""",
}


class MailServer(Service):
    """A server on this machine that takes every message and delivers none. mailbox: where they come."""

    port = _PORT

    def start(self):
        self.mailbox = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory())) / "mailbox"
        self.address = loopback_address(_PORT)
        handler = ("-c", "aiosmtpd.handlers.Mailbox", self.mailbox)
        self.launch(["aiosmtpd", "-n", "-l", f"{self.address}:{_PORT}", *handler], self._answers)

    def received(self):
        """The messages that have come, parsed. Their header X-RcptTo has the addresses that the program named."""
        return [
            email.message_from_bytes(path.read_bytes(), policy=email.policy.default)
            for path in sorted(self.mailbox.glob("new/*"))
        ]

    def _answers(self):
        with contextlib.suppress(OSError), socket.create_connection((self.address, _PORT), timeout=10) as connection:
            return connection.recv(100).startswith(b"220 ")
        return False


class ClawsMail(Service):
    """The program on a desktop, with one message file among its drafts."""

    def __init__(self, desktop, server, draft):
        super().__init__()
        self._desktop, self._server, self._draft = desktop, server, draft

    def start(self):
        home = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory(prefix="wendax-claws-")))
        for name, text in _SETTINGS.items():
            file = home / ".claws-mail" / name
            file.parent.mkdir(exist_ok=True)
            file.write_text(text.format(server=self._server.address, port=self._server.port))
        for folder in ("inbox", "sent", "draft", "queue", "trash"):
            (home / "Mail" / folder).mkdir(parents=True)
        shutil.copy(self._draft, home / "Mail" / "draft" / "1")
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("LC_", "XDG_", "DBUS_"))}
        own = {"LC_ALL": "C.UTF-8", "HOME": str(home), "TMPDIR": str(home), **self._desktop.env}
        self.launch(["claws-mail", "--select", "#mh/Mailbox/draft/1"], cwd=home, env={**kept, **own})

    def open_draft(self):
        """Opens the draft to be sent; returns its window."""
        main = self._desktop.wait_window(re.compile("Claws Mail"), 120)
        title = re.compile("Compose message$")

        def opened():
            # The program takes the key only once it shows the message in its list.
            if not self._desktop.find_window(title):
                self._desktop.activate(main)
                self._desktop.key(_EDIT_DRAFT)
            with contextlib.suppress(WaitTimeout):
                return self._desktop.wait_window(title, 5)
            return None

        return wait_until(opened, "the draft to open", 120, seen=self._seen)

    def send(self, draft):
        """Has the program send the draft in that window; returns the message that the server received."""
        self._desktop.activate(draft)
        self._desktop.key("ctrl+Return")
        return wait_until(self._server.received, "the message to arrive", 120, seen=self._seen)[0]

    def _seen(self):
        return [window.title for window in self._desktop.windows()], self.log()
