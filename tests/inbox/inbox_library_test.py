"""What the library really sends: an upload of the shipped DLL to the inbox's form, its message, and the copy of it that a mail
program has sent."""

import re
import shutil

import pytest
import sqlalchemy as sa

import made
from inbox import mail, schema
from testing import report_dialog
from testing.claws_mail import ClawsMail, MailServer
from testing.host import Host, redirect
from testing.loopback import loopback_address
from testing.product import DLLS

ADDRESS = "Crash Desk <crashes@example.com>"


def rows(box):
    query = sa.select(schema.report).order_by(schema.report.c.id)
    return made.read(box, lambda connection: connection.execute(query).mappings().all())


@pytest.mark.timeout(300)
def test_upload_of_the_library_is_confirmed_and_understood(box, served, stage, tmp_path):
    address = loopback_address()
    server = served(address=address, port=80)
    desktop = stage.desktop()
    prefix = stage.fresh_prefix()
    folder = prefix.drive_c / "host"
    folder.mkdir()
    for name in ("upload.exe", *DLLS):
        shutil.copy(stage.product(name), folder)
    redirect(folder / "Wendax.dll", "--upload-server", address)
    with stage.wine(desktop, prefix, "ru_RU.UTF-8").start(folder / "upload.exe", cwd=folder, limit=200) as process:
        report_dialog.press(desktop, "Upload Report", report_dialog.wait(desktop))
        process.wait_family()
        assert process.result().text.strip() == "uploaded", server.log()
    (row,) = rows(box)
    assert (row["road"], row["unreadable"]) == ("upload", "")
    with box.engine.connect() as connection:
        files = connection.execute(sa.select(schema.attachment.c.part, schema.attachment.c.media)).all()
    assert files == [
        ("Conversion_Config", "text"),
        ("File_for_conversion", "text"),
        ("Conversion_log", "text"),
        ("Screen_copy", "picture"),
        ("System_info", "text"),
    ]


@pytest.mark.timeout(300)
def test_draft_and_the_copy_that_a_mail_program_sends_are_one_report(box, stage):
    host = Host(stage, "fault_host.exe", files=DLLS)
    redirect(host.folder / "Wendax.dll", "--support-address", ADDRESS)
    desktop = stage.desktop()
    wine = stage.wine(desktop, host.prefix)
    with wine.start(host.exe, "nested", cwd=host.folder, env=host.environment, limit=200) as process:
        report_dialog.press(desktop, "Open Error Report", report_dialog.wait(desktop))
        process.wait_family()
    (message,) = host.wait_messages(1)
    with MailServer() as server, ClawsMail(desktop, server, message.path) as program:
        program.send(program.open_draft())
        (path,) = server.mailbox.glob("new/*")
        sent = path.read_bytes()
    assert mail.parse(sent).sender == "a.user@example.org"
    first, again = box.reports.add_message(message.raw), box.reports.add_message(sent)
    assert (first[1:], again[1:]) == ((True, ""), (False, ""))
    assert re.match(r"EXCEPTION_ACCESS_VIOLATION, written", rows(box)[0]["kind"])
