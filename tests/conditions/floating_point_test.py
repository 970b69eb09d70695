"""Reports of programs that fail in floating-point code, or have other settings for it than usual: each report is whole, and
the program finds its own settings afterwards."""

from testing import report_dialog, runner
from testing.host import Host, redirect
from testing.loopback import loopback_address
from testing.picture import described
from testing.upload_body import CONFIRMATION
from testing.web_server import WebServer, answering

CAUGHT = "caught SEHWendaxExceptionGenerated"
# By what is unusual when the fault comes; the host's source says more.
STATES = ("invalid", "zero-divide", "everything", "inexact", "pending", "sse", "mmx", "full-stack", "rounding")


class FloatingPoint(runner.Case):
    def setUp(self):
        self.screen = self.desktop(width=800, height=600)
        self.host = Host(self, "floating_point_host.exe", helper="full", desktop=self.screen)
        self.messages = 0

    def start(self, *args):
        picture = self.host.temp / "screen_copy.jpg"
        picture.unlink(missing_ok=True)
        return self.host.start(*args, cwd=self.host.folder)

    def assert_picture(self, content):
        path = self.artifacts / "screen_copy.jpg"
        path.write_bytes(content)
        self.assertEqual(described(path, "%m %w %h"), "JPEG 512 512")

    def assert_message(self):
        self.messages += 1
        message = self.host.wait_messages(self.messages)[-1]
        self.assertEqual([name for name, _ in message.attachments], ["screen_copy.jpg"])
        self.assert_picture(message.attachments[0][1])
        self.assertRegex(message.body, rb"Procesor Clock Frequecy: \d+\n")
        return message

    def test_of_the_host_leave_a_whole_message_and_come_back(self):
        for state in STATES:
            with self.subTest(state):
                process = self.start("mail", state)
                report_dialog.press(self.screen, "Open Error Report")
                message = self.assert_message()
                self.assertIn(b"\n\nStack Trace:\nfirst line 0 options 15 code ", message.body)
                process.wait_family()
                self.assertEqual(process.result().text.splitlines(), [CAUGHT, "kept OpenCrushReport", "end"])

    def test_of_the_host_come_back_when_the_report_itself_fails(self):
        for state in STATES:
            with self.subTest(state):
                process = self.start("failing", state)
                process.wait_family()
                self.assertEqual(process.result().text.splitlines(), [CAUGHT, "kept OpenCrushReport", "end"])

    def test_of_the_host_come_back_after_each_member_of_the_message_report(self):
        for state in STATES:
            with self.subTest(state):
                process = self.start("members", state)
                report_dialog.press(self.screen, "Open Error Report")
                self.assert_message()
                process.wait_family()
                self.assertEqual(
                    process.result().text.splitlines(),
                    [
                        CAUGHT,
                        "kept AttachScreenCopy",
                        "kept OpenDlg",
                        "answer 1",
                        "kept GenerateEmail",
                        "kept CopyScreenToBitmap",
                        "end",
                    ],
                )

    def test_of_the_host_leave_a_whole_upload_and_come_back(self):
        address = loopback_address()
        server = self.enterContext(WebServer(address, 80, answering(b"Well: " + CONFIRMATION)))
        redirect(self.host.folder / "Wendax.dll", "--upload-server", address)
        (self.host.folder / "notes.txt").write_bytes(b"what the host noted")
        for number, state in enumerate(STATES, 1):
            with self.subTest(state):
                process = self.start("upload", state, "notes.txt")
                report_dialog.press(self.screen, "Upload Report")
                process.wait_family()
                self.assertEqual(
                    process.result().text.splitlines(),
                    [
                        CAUGHT,
                        "kept CreateScreenCopy",
                        "kept CreateSystemInfo",
                        "kept Upload",
                        "answer 1",
                        "kept OpenDlg",
                        "answer 1",
                        "end",
                    ],
                )
                self.assertEqual(len(server.requests), 2 * number)
                for request in server.requests[-2:]:
                    self.assertIn(b"what the host noted", request.body)
                    self.assertIn(b"Procesor Clock Frequecy", request.body)
                    self.assertIn((self.host.temp / "screen_copy.jpg").read_bytes(), request.body)
