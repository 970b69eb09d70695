"""The e-mail report where something is in its way: the documented outcome, no crash, no message box."""

import pytest

from testing import report_dialog


@pytest.fixture
def report(scene):
    """report(...): makes a report that the user opens; gives the host's lines."""

    def make(temp=None, prepare=None, **options):
        def before(host):
            if prepare:
                prepare(host)
            for name in ("TMP", "TEMP") if temp else ():
                host.wine.set_registry(r"HKEY_CURRENT_USER\Environment", name, temp)

        scene.start("write", prepare=before, **options)
        report_dialog.press(scene.screen, "Open Error Report")
        report_dialog.wait_closed(scene.screen)
        lines = scene.finish()
        assert scene.screen.windows() == []
        return lines

    return make


def assert_host_went_on(lines):
    assert lines[-2:] == ["reported", "end"]


def assert_no_message(host):
    assert list(host.prefix.drive_c.rglob("*.eml")) == []
    assert host.opened() == []


def test_no_program_for_messages_leaves_the_message_in_the_temporary_folder(scene, report):
    assert_host_went_on(report(mail_program=False))
    assert len(scene.host.messages_in_temp()) == 1


def test_missing_temporary_folder_leaves_nothing(scene, report):
    assert_host_went_on(report(temp="C:\\nowhere\\at all"))
    assert_no_message(scene.host)


def test_temporary_folder_that_is_a_file_leaves_nothing(scene, report):
    def prepare(host):
        (host.prefix.drive_c / "file").write_bytes(b"kept")

    assert_host_went_on(report(temp="C:\\file", prepare=prepare))
    assert (scene.host.prefix.drive_c / "file").read_bytes() == b"kept"
    assert_no_message(scene.host)


def test_temporary_folder_with_blanks_and_other_letters_is_used(scene, report):
    def prepare(host):
        (host.prefix.drive_c / "временные файлы").mkdir()

    assert_host_went_on(report(temp="C:\\временные файлы", prepare=prepare, locale="ru_RU.UTF-8"))
    assert len(list((scene.host.prefix.drive_c / "временные файлы").glob("ema*.eml"))) == 1


def test_library_in_a_folder_with_blanks_and_other_letters_works(scene, report):
    assert_host_went_on(report(folder="Программы и файлы", locale="ru_RU.UTF-8"))
    body = scene.host.wait_messages(1)[0].body
    assert b"reason code C0000005" in body
