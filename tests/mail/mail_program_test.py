"""The report in a mail program that users have: it opens ready to be sent, and reaches the support's mailbox."""

from testing import runner
from testing.claws_mail import ClawsMail, MailServer
from testing.host import Host, redirect


class MailProgram(runner.Case):
    def sent(self, message):
        """What the mail server receives when the user presses "Send"."""
        desktop = self.desktop()
        with MailServer() as server, ClawsMail(desktop, server, message.path) as program:
            draft = program.open_draft()
            desktop.screenshot(self.artifacts / "draft.png")
            return program.send(draft)

    def message(self, recipient="-", support_address=None):
        host = Host(self, "report_host.exe")
        self.notes = bytes(range(256)) * 100
        (host.folder / "notes.bin").write_bytes(self.notes)
        if support_address:
            redirect(host.folder / "Wendax.dll", "--support-address", support_address)
        host.run("0", "Program", "fell over", recipient, "C:\\host\\notes.bin")
        return host.wait_messages(1)[0]

    def assert_arrives_whole(self, message, to):
        received = self.sent(message)
        self.assertEqual(received["X-RcptTo"], "crashes@example.com")
        self.assertEqual(received["To"], to)
        self.assertEqual(received["Subject"], "Program fell over")
        body, *attachments = received.iter_parts()
        self.assertTrue(body.get_content().startswith("Program has performed an illegal operation.\n"))
        self.assertIn(
            ("notes.bin", self.notes), [(part.get_filename(), part.get_payload(decode=True)) for part in attachments]
        )

    def test_report_is_sent_to_the_support_address_with_a_name(self):
        self.assert_arrives_whole(
            self.message(support_address="Crash Desk <crashes@example.com>"), "Crash Desk <crashes@example.com>"
        )

    def test_report_is_sent_to_the_support_address_without_a_name(self):
        self.assert_arrives_whole(self.message(support_address="<crashes@example.com>"), "crashes@example.com")

    def test_report_is_sent_to_the_recipient_that_the_host_names(self):
        self.assert_arrives_whole(
            self.message(recipient='Desk" <crashes@example.com>\r\nX-Report-To: "'), "Desk <crashes@example.com>"
        )
