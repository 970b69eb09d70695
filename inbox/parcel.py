"""A report as it came in, before anybody has understood it."""

import dataclasses
import hashlib


class Unreadable(Exception):
    """This is no report, or not a whole one. The message says why."""


@dataclasses.dataclass(frozen=True, order=True)
class Attachment:
    """A file that came with a report. The name is the client's word: to be shown, never to be used as a path."""

    name: str
    content: bytes
    part: str = ""  # of the upload form; empty in a message


@dataclasses.dataclass(frozen=True)
class Parcel:
    """What one upload or one message brought. size: bytes, as the store counts them."""

    road: str  # "upload" or "message"
    text: str  # of the message; an upload has none
    attachments: tuple = ()
    sender: str = ""  # an address, of the mail or of the network; empty if unknown
    subject: str = ""
    sent: int | None = None  # seconds since 1970, where the message tells

    @property
    def size(self):
        return len(self.text.encode("utf-8", "replace")) + sum(len(each.content) for each in self.attachments)

    def digest(self):
        """The same for what says the same, by whatever road a mail took: of its words and files, not of its headers."""
        whole = hashlib.sha256("".join(self._told().replace(">", "").split()).encode("utf-8", "replace"))
        for each in sorted(self.attachments):
            for piece in (each.part.encode(), each.name.encode("utf-8", "replace"), each.content):
                whole.update(b"%d:" % len(piece) + piece)
        return whole.hexdigest()

    def is_same(self, sender, sent):
        """Whether this is that sender's report of that time; what one of them, such as a draft, doesn't tell doesn't count."""
        pairs = ((sender, self.sender), (sent, self.sent))
        return all(theirs == mine or not theirs or not mine for theirs, mine in pairs)

    def _told(self):
        """Without what the user has written above, and a mail program below."""
        begin, marks = self.text.find("\nPS:"), ("\nDebug info is not accessible.", "\nStack Trace:\n")
        at, mark = max((self.text.find(mark, max(begin, 0)), mark) for mark in marks)
        if begin < 0 or at < 0:
            return self.text
        end = at + len(mark)
        while mark == marks[1] and (line := self.text[end : end + 2000].partition("\n")[0]).strip():
            end += len(line) + 1
        return self.text[begin:end]
