"""The report in a mail program that users have: it opens ready to be sent, and reaches the support's mailbox."""

from testing.claws_mail import ClawsMail, MailServer
from testing.host import Host, redirect

NOTES = bytes(range(256)) * 100


def sent(stage, message):
    """What the mail server receives when the user presses "Send"."""
    desktop = stage.desktop()
    with MailServer() as server, ClawsMail(desktop, server, message.path) as program:
        draft = program.open_draft()
        desktop.screenshot(stage.artifacts / "draft.png")
        return program.send(draft)


def message_of(stage, recipient="-", support_address=None):
    host = Host(stage, "report_host.exe")
    (host.folder / "notes.bin").write_bytes(NOTES)
    if support_address:
        redirect(host.folder / "Wendax.dll", "--support-address", support_address)
    host.run("0", "Program", "fell over", recipient, "C:\\host\\notes.bin")
    return host.wait_messages(1)[0]


def assert_arrives_whole(stage, message, to):
    received = sent(stage, message)
    assert received["X-RcptTo"] == "crashes@example.com"
    assert received["To"] == to
    assert received["Subject"] == "Program fell over"
    body, *attachments = received.iter_parts()
    assert body.get_content().startswith("Program has performed an illegal operation.\n")
    assert ("notes.bin", NOTES) in [(part.get_filename(), part.get_payload(decode=True)) for part in attachments]


def test_report_is_sent_to_the_support_address_with_a_name(stage):
    assert_arrives_whole(
        stage, message_of(stage, support_address="Crash Desk <crashes@example.com>"), "Crash Desk <crashes@example.com>"
    )


def test_report_is_sent_to_the_support_address_without_a_name(stage):
    assert_arrives_whole(stage, message_of(stage, support_address="<crashes@example.com>"), "crashes@example.com")


def test_report_is_sent_to_the_recipient_that_the_host_names(stage):
    assert_arrives_whole(
        stage,
        message_of(stage, recipient='Desk" <crashes@example.com>\r\nX-Report-To: "'),
        "Desk <crashes@example.com>",
    )
