"""The screenshot of the e-mail report, decoded by a JPEG reader."""

from testing.picture import described


def message(scene, *args):
    """The message of a host that fails with these options."""
    scene.start(*args, "write", helper=None)
    return scene.open_reports()[0]


def picture(scene):
    return scene.host.temp / "screen_copy.jpg"


def test_message_holds_a_jpeg_of_the_screen(scene, stage):
    attachments = message(scene, "--screen", "1").attachments
    assert [name for name, _ in attachments] == ["screen_copy.jpg"]
    path = stage.artifacts / "screen_copy.jpg"
    path.write_bytes(attachments[0][1])
    assert path.read_bytes() == picture(scene).read_bytes()
    assert described(path, "%m %w %h %Q %[channels]") == "JPEG 512 512 75 srgb"


def test_picture_is_taken_before_the_dialog_even_if_the_user_declines(scene):
    window = scene.start("--screen", "-1", "write", helper=None)
    assert picture(scene).exists()
    scene.decline(window)
    assert picture(scene).exists()
    assert scene.host.opened() == []


def test_no_picture_is_taken_unless_wanted(scene):
    assert message(scene, "--screen", "0").attachments == []
    assert not picture(scene).exists()


def test_picture_comes_before_the_hosts_attachment(scene, stage):
    (stage.artifacts / "a.txt").write_bytes(b"x")
    path = "Z:" + str(stage.artifacts / "a.txt").replace("/", "\\")
    attachments = message(scene, "--screen", "1", "--attach", path).attachments
    assert [name for name, _ in attachments] == ["screen_copy.jpg", "a.txt"]


def test_second_report_overwrites_the_picture(scene):
    scene.start("--screen", "1", "divide", "write", helper=None)
    longer = bytes(1 << 20)  # than a picture
    assert picture(scene).exists()
    picture(scene).write_bytes(longer)
    first, second = (each.attachments[0][1] for each in scene.open_reports(2))
    assert first == longer
    assert second == picture(scene).read_bytes()
    assert second[:2] == b"\xFF\xD8" and len(second) < len(longer)
