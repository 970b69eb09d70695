"""The screenshot of the e-mail report, decoded by a JPEG reader."""

import pytest

from testing import report_dialog
from testing.host import Host, LIBRARY_FILES
from testing.picture import described


class Scene:
    """A host that fails with the picture of its screen, and its dialog."""

    def __init__(self, stage):
        self.stage = stage

    def start(self, *args, size=(1280, 1024), **options):
        self.screen = self.stage.desktop(width=size[0], height=size[1])
        self.host = Host(self.stage, "fault_host.exe", desktop=self.screen, **options)
        self.picture = self.host.temp / "screen_copy.jpg"
        return self.host.start(*args, "write")

    def message(self, process):
        (message,) = report_dialog.open_reports(self.screen, self.host, process)
        return message


@pytest.fixture
def scene(stage):
    return Scene(stage)


def test_message_holds_a_jpeg_of_the_screen(scene, stage):
    message = scene.message(scene.start("--screen", "1"))
    assert [name for name, _ in message.attachments] == ["screen_copy.jpg"]
    path = stage.artifacts / "screen_copy.jpg"
    path.write_bytes(message.attachments[0][1])
    assert path.read_bytes() == scene.picture.read_bytes()
    assert described(path, "%m %w %h %Q %[channels]") == "JPEG 512 512 75 srgb"


def test_picture_is_taken_before_the_dialog_even_if_the_user_declines(scene):
    process = scene.start("--screen", "-1")
    report_dialog.wait(scene.screen)
    assert scene.picture.exists()
    report_dialog.press(scene.screen, "Don't Open & Close")
    process.wait_family()
    assert scene.picture.exists()
    assert scene.host.opened() == []


def test_no_picture_is_taken_unless_wanted(scene):
    message = scene.message(scene.start("--screen", "0"))
    assert message.attachments == []
    assert not scene.picture.exists()


def test_picture_comes_before_the_hosts_attachment(scene, stage):
    (stage.artifacts / "a.txt").write_bytes(b"x")
    path = "Z:" + str(stage.artifacts / "a.txt").replace("/", "\\")
    message = scene.message(scene.start("--screen", "1", "--attach", path))
    assert [name for name, _ in message.attachments] == ["screen_copy.jpg", "a.txt"]


def test_without_the_format_module_the_attachment_is_empty(scene):
    files = [name for name in LIBRARY_FILES if name != "fall.dll"]
    message = scene.message(scene.start("--screen", "1", files=files))
    assert message.attachments == [("screen_copy.jpg", b"")]


def test_second_report_overwrites_the_picture(scene):
    process = scene.start("--screen", "1", "divide")  # and then the fault of start()
    messages = report_dialog.open_reports(scene.screen, scene.host, process, 2)
    first, second = (message.attachments[0][1] for message in messages)
    assert second == scene.picture.read_bytes()
    assert first[:2] == b"\xFF\xD8"
