"""The message that the e-mail report leaves, read by a mail parser."""

import datetime
import os
import random
import re

import pytest

from testing.host import Host
from testing.mail import dates_since

BOUNDARY = "----=_NextPart_000_023D_01C25DB8.8402B210"


class ReportHost:
    """Messages made by a host that drives the report class itself."""

    def __init__(self, stage):
        self.stage = stage

    def message(self, *args, files=(), **options):
        host = Host(self.stage, "report_host.exe", **options)
        paths = []
        for name, content in files:
            path = host.folder / name
            path.write_bytes(content)
            paths.append(host.prefix.to_windows(path))
        done = host.run(*args, *paths)
        assert "end" in done.text
        self.host = host
        return host.wait_messages(1)[0]


@pytest.fixture
def report(stage):
    return ReportHost(stage)


class TestReportClass:
    def test_attachments_come_back_byte_for_byte(self, report):
        data = random.Random(7)
        files = [
            (f"size {size}.bin", data.randbytes(size)) for size in (0, 1, 2, 3, 53, 54, 55, 72, 4096, 10 * 1024 * 1024)
        ]
        message = report.message("0", "-", "-", "-", files=files)
        assert [name for name, _ in message.attachments] == [name for name, _ in files]
        for (name, sent), (_, received) in zip(files, message.attachments):
            assert received == sent, name

    # With 64 bits there is a view of such a file; it would be read to its end, and its text fits no message.
    @pytest.mark.parametrize("gigabytes", (3, 5))
    def test_file_that_no_message_can_hold_is_attached_as_no_bytes(self, stage, gigabytes):
        host = Host(stage, "report_host.exe")
        large, small = host.folder / "large.bin", host.folder / "small.txt"
        with large.open("wb") as file:
            file.truncate(gigabytes << 30)
        small.write_bytes(b"behind it")
        names = [host.prefix.to_windows(path) for path in (large, small)]
        host.run("0", "-", "-", "-", *names, check=True)
        (message,) = host.wait_messages(1)
        assert message.attachments == [("large.bin", b""), ("small.txt", b"behind it")]

    def test_headers_are_those_of_an_unsent_draft(self, report):
        began = datetime.datetime.now()
        message = report.message("0", "-", "-", "-")
        text = message.raw.decode("latin-1")
        head, _, rest = text.partition("\r\n\r\n")
        lines = head.split("\r\n")
        assert lines[0] == 'To: "support@wendax.invalid" '
        assert lines[1:4] == ["Reply-To: ", "From: ", "Subject: Corrowfinder Error Report [Main]"]
        assert lines[4] in {f"Date: {date}" for date in dates_since(began)}
        assert lines[5:] == [
            "MIME-Version: 1.0",
            "Content-Type: multipart/mixed;",
            f'\tboundary="{BOUNDARY}"',
            "X-Priority: 3",
            "X-MSMail-Priority: Normal",
            "X-Unsent: 1",
            "X-MimeOLE: Produced By Microsoft MimeOLE V6.00.2600.0000",
        ]
        assert rest.startswith(
            f"This is a multi-part message in MIME format.\r\n\r\n--{BOUNDARY}\r\n"
            'Content-Type: text/plain;\r\n\tcharset="windows-1251"\r\n'
            "Content-Transfer-Encoding: 7bit\r\n\r\n"
        )
        assert text.endswith(f"\r\n\r\n--{BOUNDARY}\r\n")
        assert f"--{BOUNDARY}--" not in text

    def test_main_body_holds_every_piece(self, report):
        body = report.message("0", "-", "-", "-").body
        assert body.startswith(b"Corrowfinder has performed an illegal operation.\nYou can help")
        assert b"faster.\n\nPlease note, that Corrowfinder has created a screenshot" in body
        assert b"\n\nThank you,\xEE\nTorvex Support\n\nPS:\nWindows Version:\n" in body
        captions = (b"\nWindows Version:\n", b"\nModule Info:", b"\nCPU Info:", b"\nMonitor info:\n")
        captions += (b"\nPrinters list: \n", b"\nDefault printer: \n")
        places = [body.index(caption) for caption in captions]
        assert places == sorted(places)
        assert body.rstrip(b"\r\n").endswith(b"Debug info is not accessible.")

    def test_host_words_take_the_place_of_the_defaults(self, report):
        message = report.message("0", "My Program", "fell over", "help@example.com")
        assert message.subject == "My Program fell over"
        assert b'To: "help@example.com" \r\n' in message.raw
        assert message.body.startswith(b"My Program has performed")

    def test_empty_words_are_no_defaults(self, report):
        message = report.message("0", "", "", "")
        assert b'To: "" \r\n' in message.raw
        assert b"\r\nSubject:  \r\n" in message.raw

    def test_words_of_a_host_are_no_formats(self, report):
        message = report.message("0", "%s%n%x", "100%d %", "%n@example.org")
        assert message.subject == "%s%n%x 100%d %"
        assert message.recipient == '"%n@example.org" '
        assert message.body.startswith(b"%s%n%x has performed an illegal operation.\n")
        assert message.body.count(b"%s%n%x") == 2  # there, and in the note about the screenshot

    @pytest.mark.parametrize(
        "name",
        ("50%s%n.txt", 'a "quoted" name', "it's {x}.log", "name\r\nBcc: other@example.org", "line\nend", "x" * 900),
        ids=("formats", "quotes", "braces", "header line", "line end", "900 letters"),
    )
    def test_name_of_a_file_stands_in_its_part_and_nowhere_else(self, report, name):
        message = report.message("0", "-", "-", "-", f"Q:\\folder\\{name}", folder="host" + os.urandom(4).hex())
        raw, encoded = message.raw, name.encode()
        part = (
            b'Content-Type: file;\r\n\tname="%s"\r\nContent-Transfer-Encoding: base64\r\n'
            b'Content-Disposition: attachment;\r\n\tfilename="%s"\r\n\r\n' % (encoded, encoded)
        )
        assert (raw.count(part), raw.count(encoded)) == (1, 2)
        assert len(raw.partition(b"\r\n\r\n")[0].split(b"\r\n")) == 12, "lines of the message's header"

    @pytest.mark.parametrize(
        "context, subject",
        (
            (1, "Corrowfinder Error Report [Progress]"),
            (6, "Corrowfinder Error report [Watch]"),
            (7, "Corrowfinder Error report [Unknown]"),
            (-1, "Corrowfinder Error report [Unknown]"),
        ),
        ids=("1", "6", "7", "-1"),
    )
    def test_contexts_have_their_subjects(self, report, context, subject):
        assert report.message(context, "P", "S", "-").subject == subject

    @pytest.mark.parametrize("context", (1, 7))
    def test_name_of_the_product_stands_in_the_note_of_every_context(self, report, context):
        assert (
            b"\n\nPlease note, that My Program has created a screenshot of your desktop."
            in report.message(context, "My Program", "-", "-").body
        )

    def test_second_message_of_a_report_is_a_fresh_one_with_the_same_attachments(self, stage):
        host = Host(stage, "report_host.exe")
        path = host.folder / "notes.txt"
        path.write_bytes(b"what I did")
        host.run("--messages", "2", "0", "-", "-", "-", host.prefix.to_windows(path))
        first, second = host.wait_messages(2)
        assert first.path != second.path
        for message in (first, second):
            assert message.attachments == [("notes.txt", b"what I did")]
            assert message.raw.count(b"Subject: ") == 1

    def test_programs_that_fail_at_the_same_moment_leave_a_message_each(self, stage):
        host = Host(stage, "report_host.exe")
        start_signal = host.folder / "now"
        programs = [f"Program {number}" for number in range(12)]
        options = ["--stopped-clock", "--await", host.prefix.to_windows(start_signal)]
        started = [host.start(*options, "0", program, "-", "-") for program in programs]
        start_signal.touch()
        for process in started:
            process.wait_family()
        messages = host.wait_messages(len(programs))
        assert sorted(message.subject for message in messages) == sorted(
            f"{program} Error Report [Main]" for program in programs
        )
        assert list(host.temp.glob("ema*.tmp")) == []

    def test_message_whose_number_comes_round_again_leaves_the_old_ones(self, stage):
        host = Host(stage, "report_host.exe")
        old = [host.temp / f"ema{number:x}.eml" for number in range(1, 0x10000, 4)]
        for path in old:
            path.write_text(path.name)
        host.run("--messages", "20", "0", "New", "-", "-")
        messages = host.wait_messages(20)
        assert {message.subject for message in messages} == {"New Error Report [Main]"}
        assert len({message.path for message in messages} - set(old)) == 20
        assert [path for path in old if path.read_text("latin-1") != path.name] == []

    def test_message_that_finds_neither_disk_nor_memory_is_opened_with_what_was_written(self, stage):
        host = Host(stage, "report_host.exe")
        done = host.run("--full-disk", "0", "-", "-", "-")
        assert "end" in done.text
        (message,) = host.messages_in_temp()
        assert message.read_bytes() == b""
        assert [(show, host.prefix.to_unix(path)) for show, path in host.opened()] == [(5, message)]

    @pytest.mark.parametrize("address", ("1", "0xFFFFFFF0"))
    def test_exception_that_cannot_be_read_has_no_details(self, report, address):
        body = report.message("--exception", address, "0", "-", "-", "-").body
        assert body.rstrip(b"\r\n").endswith(b"\nDebug info is not accessible.")

    def test_thread_keeps_the_highest_priority_and_the_cursor_comes_back(self, stage):
        done = Host(stage, "report_host.exe", desktop=stage.desktop()).run("0", "-", "-", "-")
        assert done.text.splitlines() == ["priority 2", "cursor restored", "end"]

    def test_message_lies_in_the_temporary_folder_under_a_name_of_its_own(self, report):
        message = report.message("0", "-", "-", "-")
        assert re.search(r"^ema[0-9A-Fa-f]+\.eml$", message.path.name)
        assert message.path.parent == report.host.temp
        assert list(report.host.temp.glob("ema*.tmp")) == []
        assert [show for show, _ in report.host.opened()] == [5]


def report_of(scene, *args, **options):
    """The message that OpenCrushReport makes after a fault."""
    scene.start(*args, **options)
    return scene.open_reports()[0]


class TestReportOfAFault:
    @pytest.mark.parametrize(
        "args",
        (
            ["--null"],
            *(["--text", text] for text in ("SEHWendaxExceptionGenerate", "SEHWendaxExceptionGenerated!", "")),
        ),
        ids=("none", "a letter short", "a letter more", "empty"),
    )
    def test_text_that_is_not_the_marker_gives_no_fault_details(self, scene, args):
        body = report_of(scene, *args, "write").body
        assert b"Debug info is not accessible.\n" in body
        assert b"Crush Expantion" not in body

    def test_marker_without_a_fault_gives_no_fault_details(self, scene):
        body = report_of(scene, "--text", "SEHWendaxExceptionGenerated", "none").body
        assert b"Debug info is not accessible.\n" in body

    @pytest.mark.parametrize("content", (b"what I did\r\n", b"", None), ids=("there", "empty", "missing"))
    def test_attachment_is_sent_if_it_exists(self, scene, content):
        def prepare(host):
            path = host.folder / "notes.txt"
            if content is not None:
                path.write_bytes(content)
            return ["--attach", host.prefix.to_windows(path)]

        attached = [
            (os.path.basename(name), data) for name, data in report_of(scene, "write", prepare=prepare).attachments
        ]
        assert attached == ([] if content is None else [("notes.txt", content)])

    @pytest.mark.parametrize("path", ("C:\\host", "C:\\host\\fault*.exe"), ids=("folder", "pattern"))
    def test_attachment_that_is_a_folder_or_a_pattern_is_sent_empty(self, scene, path):
        message = report_of(scene, "--attach", path, "write")
        assert message.attachments == [(path.rpartition("\\")[2], b"")]

    @pytest.mark.parametrize("length", (1023, 1024, 1025, 5000))
    def test_attachment_of_a_path_that_is_too_long_is_left_out(self, scene, length):
        assert report_of(scene, "--attach", "C:\\host\\".ljust(length, "x"), "write").attachments == []

    def test_host_library_and_attachment_may_have_blanks_and_other_letters(self, scene):
        def prepare(host):
            (host.folder / "мой файл.txt").write_bytes(b"data")
            return ["--attach", host.prefix.to_windows(host.folder / "мой файл.txt")]

        message = report_of(scene, "write", prepare=prepare, locale="ru_RU.UTF-8", folder="папка с отчётом")
        assert 'filename="мой файл.txt"'.encode("cp1251") in message.raw
        assert b"\r\n\r\nZGF0YQ==\r\n" in message.raw
        assert b"reason code C0000005" in message.body
