"""Reads a composed message as a mail program would."""

import datetime
import email
import email.policy
import re


def dates_since(began):
    """What a message that was made since then may have for its date."""
    seconds = int((datetime.datetime.now() - began).total_seconds()) + 2
    moments = (began + datetime.timedelta(seconds=n) for n in range(seconds))
    return {f"{moment:%A, %d, %y %S:%M:%H +0000}" for moment in moments}


class Message:
    """A parsed .eml file: subject, recipient, body bytes, attachments as a list of (name, bytes), and whether it is whole."""

    def __init__(self, path):
        self.path = path
        self.raw = path.read_bytes()
        self.parsed = email.message_from_bytes(self.raw, policy=email.policy.compat32)
        parts = self.parsed.get_payload()
        self.subject = self.parsed["Subject"]
        self.recipient = self.parsed["To"]
        self.body = parts[0].get_payload(decode=True)
        # The message ends with an open boundary, behind which a parser sees an empty last part.
        self.whole = self.raw.endswith(b"\r\n------=_NextPart_000_023D_01C25DB8.8402B210\r\n")
        self.attachments = [
            (part.get_filename(), part.get_payload(decode=True))
            for part in parts[1:]
            if part.get("Content-Disposition")
        ]

    def exception_code(self):
        """The code that the recording helper wrote into the fault's description, or None."""
        found = re.search(rb"reason code ([0-9A-F]{8})", self.body)
        return int(found[1], 16) if found else None
