"""The e-mail report where something is in its way: the documented outcome, no crash, no message box."""

import pytest

from testing import report_dialog
from testing.host import Host


class Trouble:
    """A host that fails where something is in the way."""

    def __init__(self, stage):
        self.stage = stage

    def report(self, *args, temp=None, prepare=None, **options):
        """A report that the user opens; gives the host's lines."""
        self.screen = self.stage.desktop()
        self.host = Host(self.stage, "fault_host.exe", helper="full", desktop=self.screen, **options)
        if prepare:
            prepare(self.host)
        if temp:
            for name in ("TMP", "TEMP"):
                self.host.wine.set_registry(r"HKEY_CURRENT_USER\Environment", name, temp)
        process = self.host.start(*args, "write")
        report_dialog.press(self.screen, "Open Error Report")
        report_dialog.wait_closed(self.screen)
        process.wait_family()
        assert self.screen.windows() == []
        return process.result().text.splitlines()


def assert_host_went_on(lines):
    assert lines[-2:] == ["reported", "end"]


@pytest.fixture
def trouble(stage):
    return Trouble(stage)


def test_no_program_for_messages_leaves_the_message_in_the_temporary_folder(trouble):
    assert_host_went_on(trouble.report(mail_program=False))
    assert len(trouble.host.messages_in_temp()) == 1


def test_missing_temporary_folder_leaves_nothing(trouble):
    assert_host_went_on(trouble.report(temp="C:\\nowhere\\at all"))
    assert trouble.host.messages_in_temp() == []


def test_temporary_folder_that_is_a_file_leaves_nothing(trouble):
    def prepare(host):
        (host.prefix.drive_c / "file").write_bytes(b"kept")

    assert_host_went_on(trouble.report(temp="C:\\file", prepare=prepare))
    assert (trouble.host.prefix.drive_c / "file").read_bytes() == b"kept"


def test_temporary_folder_with_blanks_and_other_letters_is_used(trouble):
    def prepare(host):
        (host.prefix.drive_c / "временные файлы").mkdir()

    assert_host_went_on(trouble.report(temp="C:\\временные файлы", prepare=prepare, locale="ru_RU.UTF-8"))
    assert len(list((trouble.host.prefix.drive_c / "временные файлы").glob("ema*.eml"))) == 1


def test_library_in_a_folder_with_blanks_and_other_letters_works(trouble):
    assert_host_went_on(trouble.report(folder="Программы и файлы", locale="ru_RU.UTF-8"))
    body = trouble.host.wait_messages(1)[0].body
    assert b"reason code C0000005" in body
