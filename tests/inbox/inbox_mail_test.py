"""Messages as the library writes them, and what mail programs make of them."""

import email
import email.message
import email.mime.multipart
import email.mime.text
import email.policy
import mailbox
import textwrap

import pytest

import made
from inbox import fault_text, mail
from inbox.parcel import Unreadable

FAULT = made.fault_text()


def frames_of(raw):
    return [each.text for each in fault_text.find(mail.parse(raw).text).frames]


def sent(text, **headers):
    message = email.message.EmailMessage()
    message["From"], message["Subject"] = "A. User <User@Example.org>", "Fwd: it broke"
    message["Date"] = "Mon, 02 Nov 2026 10:20:30 +0100"
    for name, value in headers.items():
        message[name] = value
    message.set_content(text, charset="utf-8", cte="quoted-printable")
    return message


def test_draft_of_the_library_is_read(messages):
    parcel = mail.parse(messages["with_pdbs"])
    assert (parcel.sender, parcel.subject, parcel.sent) == ("", "Drawing Board Error Report [Main]", None)
    assert parcel.text.startswith("Drawing Board has performed an illegal operation.\n")
    assert "set_title" in parcel.text


def test_attachments_come_out_byte_for_byte(messages):
    (notes,) = mail.parse(messages["no_fault"]).attachments
    assert (notes.name, notes.content) == ("notes.bin", bytes(range(256)) * 10)


def test_sent_message_tells_who_and_when():
    parcel = mail.parse(sent(FAULT).as_bytes())
    assert (parcel.sender, parcel.subject, parcel.sent) == ("user@example.org", "Fwd: it broke", 1793611230)


def test_forwarded_as_attachment_is_found_with_its_own_sender():
    outer = email.mime.multipart.MIMEMultipart()
    outer["From"], outer["Subject"] = "support@example.com", "FW: a crash"
    outer.attach(email.mime.text.MIMEText("See below."))
    inner = email.message_from_bytes(sent(FAULT).as_bytes())
    part = email.message.Message()
    part["Content-Type"] = "message/rfc822"
    part.set_payload([inner])
    outer.attach(part)
    parcel = mail.parse(outer.as_bytes())
    assert parcel.sender == "user@example.org"
    assert "Stack Trace:" in parcel.text
    assert [each.content for each in parcel.attachments] == [b"See below."]


def test_quoted_report_is_the_same_report():
    quoted = "See this:\n\n" + "".join(f"> {line}\n" for line in FAULT.split("\n"))
    assert frames_of(sent(quoted).as_bytes()) == frames_of(sent(FAULT).as_bytes())


def test_wrapped_lines_are_joined():
    long = made.fault_text(places=("`anonymous namespace'::Document::read_everything_there_is", "paint", "run"))
    wrapped = "\n".join(
        "\n".join(textwrap.wrap(line, 72, break_long_words=False)) if line else "" for line in long.split("\n")
    )
    assert wrapped != long
    assert frames_of(sent(wrapped).as_bytes()) == frames_of(sent(long).as_bytes())


@pytest.mark.parametrize("bits, count", [(32, 16), (64, 24)])
def test_registers_and_frames_of_both_widths_survive_wrapping(nested, bits, count):
    wrapped = "\n".join("\n".join(textwrap.wrap(line, 72)) for line in nested[bits].split("\n"))
    plain, read = (fault_text.find(mail.parse(sent(text).as_bytes()).text) for text in (nested[bits], wrapped))
    assert read.registers == plain.registers and len(plain.registers) == count
    assert [each.text for each in read.frames] == [each.text for each in plain.frames]
    assert (plain.kind, plain.more) == (read.kind, read.more) == ("EXCEPTION_ACCESS_VIOLATION, written", [])


def test_html_alone_is_read():
    message = email.message.EmailMessage()
    message["Subject"] = "x"
    message.set_content(
        "<html><body>" + FAULT.replace("<", "&lt;").replace("\n", "<br>\n") + "</body></html>", subtype="html"
    )
    assert frames_of(message.as_bytes())[0].startswith("00401000 board.exe+00001000 draw")


def test_same_report_by_other_roads_is_one():
    """A draft, the copy that was sent, and one forwarded with a note, differ in headers, encoding and lines."""
    draft = made.message(FAULT)
    words = mail.parse(draft).text
    copies = [draft, sent(words).as_bytes(), sent("Please look!\n\n" + words + "\n-- \nA. User\n").as_bytes()]
    copies.append(sent("".join(f"> {line}\n" for line in words.split("\n"))).as_bytes())
    assert len({mail.parse(each).digest() for each in copies}) == 1
    assert mail.parse(made.message(made.fault_text(("other", "paint")))).digest() != mail.parse(draft).digest()


def test_empty_message_is_refused():
    with pytest.raises(Unreadable, match="empty"):
        mail.parse(b"Subject: x\n\n")


class TestStores:
    def test_folder_of_messages(self, tmp_path):
        (tmp_path / "a.eml").write_bytes(made.message(FAULT))
        (tmp_path / "deeper").mkdir()
        (tmp_path / "deeper" / "b.eml").write_bytes(made.message())
        assert len(list(mail.messages(tmp_path, 1 << 20))) == 2

    def test_mbox(self, tmp_path):
        box = mailbox.mbox(tmp_path / "box")
        for fault in (FAULT, made.fault_text(("other",)) + "\nFrom here on it went wrong\n"):
            box.add(made.message(fault))
        box.close()
        found = [raw for _, raw in mail.messages(tmp_path / "box", 1 << 20)]
        assert [len(frames_of(raw)) for raw in found] == [4, 2]
        assert "\nFrom here on it went wrong" in mail.parse(found[1]).text

    def test_maildir(self, tmp_path):
        box = mailbox.Maildir(tmp_path / "dir", create=True)
        for number in range(3):
            box.add(made.message(made.fault_text((f"f{number}",))))
        (tmp_path / "dir" / "tmp" / "half").write_bytes(b"not yet")
        assert len(list(mail.messages(tmp_path / "dir", 1 << 20))) == 3

    def test_message_that_is_too_large_is_named_without_its_bytes(self, tmp_path):
        (tmp_path / "large.eml").write_bytes(b"x" * 2000)
        assert [raw for _, raw in mail.messages(tmp_path, 1000)] == [b""]
