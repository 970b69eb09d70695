"""The screenshot of the e-mail report, decoded by a JPEG reader."""

from testing import report_dialog, runner
from testing.host import Host, LIBRARY_FILES
from testing.picture import described


class Screenshot(runner.Case):
    def start(self, *args, size=(1280, 1024), **options):
        self.screen = self.desktop(width=size[0], height=size[1])
        self.host = Host(self, "fault_host.exe", desktop=self.screen, **options)
        self.picture = self.host.temp / "screen_copy.jpg"
        return self.host.start(*args, "write")

    def message(self, process):
        report_dialog.press(self.screen, "Open Error Report")
        message = self.host.wait_messages(1)[0]
        process.wait_family()
        return message

    def test_message_holds_a_jpeg_of_the_screen(self):
        message = self.message(self.start("--screen", "1"))
        self.assertEqual([name for name, _ in message.attachments], ["screen_copy.jpg"])
        path = self.artifacts / "screen_copy.jpg"
        path.write_bytes(message.attachments[0][1])
        self.assertEqual(path.read_bytes(), self.picture.read_bytes())
        self.assertEqual(described(path, "%m %w %h %Q %[channels]"), "JPEG 512 512 75 srgb")

    def test_picture_is_taken_before_the_dialog_even_if_the_user_declines(self):
        process = self.start("--screen", "-1")
        report_dialog.wait(self.screen)
        self.assertTrue(self.picture.exists())
        report_dialog.press(self.screen, "Don't Open & Close")
        process.wait_family()
        self.assertTrue(self.picture.exists())
        self.assertEqual(self.host.opened(), [])

    def test_no_picture_is_taken_unless_wanted(self):
        message = self.message(self.start("--screen", "0"))
        self.assertEqual(message.attachments, [])
        self.assertFalse(self.picture.exists())

    def test_picture_comes_before_the_hosts_attachment(self):
        self.screen = self.desktop()
        self.host = Host(self, "fault_host.exe", desktop=self.screen)
        (self.host.folder / "a.txt").write_bytes(b"x")
        process = self.host.start(
            "--screen", "1", "--attach", self.host.prefix.to_windows(self.host.folder / "a.txt"), "write"
        )
        message = self.message(process)
        self.assertEqual([name for name, _ in message.attachments], ["screen_copy.jpg", "a.txt"])

    def test_without_the_format_module_the_attachment_is_empty(self):
        files = [name for name in LIBRARY_FILES if name != "fall.dll"]
        message = self.message(self.start("--screen", "1", files=files))
        self.assertEqual(message.attachments, [("screen_copy.jpg", b"")])

    def test_second_report_overwrites_the_picture(self):
        process = self.start("--screen", "1", "divide")  # and then the fault of start()
        report_dialog.press(self.screen, "Open Error Report")
        first = self.host.wait_messages(1)[0].attachments[0][1]
        report_dialog.press(self.screen, "Open Error Report")
        second = self.host.wait_messages(2)[1].attachments[0][1]
        process.wait_family()
        self.assertEqual(second, self.picture.read_bytes())
        self.assertEqual(first[:2], b"\xFF\xD8")
