"""CCrashReport2's upload, through the library's exports: what is sent, and what is taken for a success."""

import os
import pathlib
import re
import shutil

import pytest

from testing.php_server import PhpServer
from testing.picture import described
from testing.processes import REPO
from testing.upload_body import CONFIRMATION, CONTENT_TYPE, FORM_PATH, PARTS, YES, upload_body
from testing.web_server import answering, byte_by_byte, hanging_up, http_answer, sending
from uploading import RUSSIAN, Uploader


class TestBody:
    def test_of_a_report_without_files_is_whole(self, uploads):
        uploads.serve()
        assert uploads.upload() == "uploaded"
        (request,) = uploads.server.requests
        assert request.line == f"POST {FORM_PATH} HTTP/1.1"
        assert request.headers["content-type"] == CONTENT_TYPE
        assert request.headers["host"] == uploads.address
        assert request.body == upload_body({})

    def test_is_the_one_that_the_document_shows(self, uploads):
        uploads.serve()
        content = b"(the bytes of the file)"
        path = uploads.write(b"shown", content)
        uploads.post(file=path)
        assert uploads.upload() == "uploaded"
        shown = (REPO / "docs" / "upload-format.md").read_text("ascii")
        shown = shown.replace("Screen_copy", "File_for_conversion").replace("C:\\Temp\\screen_copy.jpg", path.decode())
        _, part, trailer = re.findall(r"^```text\n(.*?)^```", shown, re.DOTALL | re.MULTILINE)
        assert uploads.sent().count(part.encode()) == 1
        assert uploads.sent().endswith(b"\n\n--AaB03x--\n" + trailer.encode())

    def test_holds_the_four_files_of_the_host_under_their_names(self, uploads):
        uploads.serve()
        contents = {
            "Conversion_Config": b"config\r\n",
            "Conversion_Script": b"script\nwith\x00zero bytes\x00",
            "Conversion_log": b"\x1alog\r",
            "File_for_conversion": bytes(range(256)) * 1000,
        }
        files = {part: (uploads.write(part.encode(), content), content) for part, content in contents.items()}
        uploads.post(*(path for path, _ in files.values()))
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body(files)

    def test_holds_files_of_every_size_whole(self, uploads):
        uploads.serve()
        for size in (0, 1, 2, 63, 64, 65, 127, 128, 129, 4095, 4096, 4097, 1000003):
            content = os.urandom(size)
            path = uploads.write(b"sized", content)
            uploads.post(file=path)
            assert uploads.upload() == "uploaded", size
            assert uploads.sent() == upload_body({"File_for_conversion": (path, content)}), size

    def test_has_an_empty_part_for_what_cannot_be_read(self, uploads):
        uploads.serve()
        missing = uploads.path_of(b"missing.cfg")
        (uploads.folder / "folder").mkdir()
        folder = uploads.path_of(b"folder")
        empty = uploads.write(b"empty", b"")
        uploads.post(config=missing, script=folder, log=empty, file=b"Q:\\no such drive")
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body(
            {
                "Conversion_Config": (missing, b""),
                "Conversion_Script": (folder, b""),
                "Conversion_log": (empty, b""),
                "File_for_conversion": (b"Q:\\no such drive", b""),
            }
        )

    def test_has_no_path_for_null_and_for_an_empty_text(self, uploads):
        uploads.serve()
        path = uploads.write(b"file", b"bytes")
        uploads.post(path, path, path, path)
        uploads.post(config=None, script=b"", log=path, file=None)
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body({"Conversion_log": (path, b"bytes")})

    def test_leaves_the_attachments_out(self, uploads):
        uploads.serve()
        uploads.report.tell("attach", uploads.write(b"attached", b"bytes"))
        uploads.report.tell("attach", uploads.path_of(b"missing"))
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body({})

    def test_names_its_paths_as_the_host_gave_them(self, uploads):
        uploads.serve()
        uploads.write(b"file", b"bytes")
        path = b'Q:/host/../HOST\\%s "a" {x} .\\file'
        uploads.post(script=path, log=b"file")
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body({"Conversion_Script": (path, b""), "Conversion_log": (b"file", b"bytes")})


class TestPreparedFiles:
    @pytest.fixture
    def uploads(self, stage):
        """With the files made, in a folder of temporary files of its own."""
        made = Uploader(stage, wine=stage.wine(prefix=stage.fresh_prefix()))
        made.start()
        for command in ("screen", "system"):
            made.report.tell(command)
        made.serve()
        return made

    def prepared(self, uploads):
        """{part: file}"""
        temp = uploads.wine.prefix.temp_dir
        return {"Screen_copy": temp / "screen_copy.jpg", "System_info": temp / "system_info.txt"}

    def as_sent(self, uploads):
        name = uploads.wine.prefix.to_windows
        return {part: (name(file).encode(), file.read_bytes()) for part, file in self.prepared(uploads).items()}

    def test_screenshot_and_system_text_are_sent(self, uploads):
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body(self.as_sent(uploads))
        prepared = self.prepared(uploads)
        assert described(prepared["Screen_copy"], "%m %w %h %Q") == "JPEG 512 512 75"
        assert b"Windows Version:" in prepared["System_info"].read_bytes()

    def test_of_eight_megabytes_each_go_out_whole_with_memory_for_two_bodies_at_most(self, uploads):
        content = os.urandom(8 << 20)
        files = {part: (uploads.write(part.encode(), content), content) for part in PARTS[:4]}
        for file in self.prepared(uploads).values():
            file.write_bytes(content)
        script, config, file, log = (path for path, _ in files.values())
        uploads.post(config, script, log, file)
        before = uploads.memory()[0]
        assert uploads.upload() == "uploaded"
        most = uploads.memory()[1]
        body = upload_body({**files, **self.as_sent(uploads)})
        assert uploads.sent() == body
        assert most - before > len(body)
        # The body itself, a copy that this Wine sends from, and a little for the connection.
        assert most - before < 2 * len(body) + (4 << 20)


class TestNonAsciiPath:
    def test_is_sent_in_the_hosts_code_page(self, stage):
        uploads = Uploader(stage, wine=stage.wine(prefix=stage.fresh_prefix(), locale=RUSSIAN))
        path = uploads.write("отчёт №1.log".encode("cp1251"), b"bytes", "cp1251")
        uploads.start()
        uploads.serve()
        uploads.post(log=path)
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body({"Conversion_log": (path, b"bytes")})


def redirecting(client):
    if client.read_request().line.startswith("POST"):
        client.send(http_answer(b"", "302 Found", ["Location: /thanks"]))
    else:
        client.send(http_answer(YES))


ANSWERS = {
    "a page that holds the text": (answering(b"<html>" + CONFIRMATION + b"</html>"), "uploaded"),
    "the text after a line end": (answering(b"\n" + CONFIRMATION), "uploaded"),
    "the text alone": (answering(CONFIRMATION), "failed"),
    "the text at the beginning and again": (answering(CONFIRMATION + b" and: " + CONFIRMATION), "failed"),
    "the text in another case": (answering(YES.lower()), "failed"),
    "nothing": (answering(b""), "failed"),
    "another page": (answering(b"<html>Please log in.</html>"), "failed"),
    "an error": (answering(b"broken", "500 Internal Server Error"), "failed"),
    "an error that holds the text": (answering(YES, "500 Internal Server Error"), "uploaded"),
    "a zero byte, then the text": (answering(b"Well\0: " + CONFIRMATION), "failed"),
    "the text, then a zero byte": (answering(YES + b"\0rest"), "uploaded"),
    "5 MB, then the text": (answering(b"Data " * (1 << 20) + CONFIRMATION), "uploaded"),
    "the text in single bytes": (byte_by_byte(http_answer(YES)), "uploaded"),
    "a redirect to the text": (redirecting, "uploaded"),
    "no answer, but an end": (sending(), "failed"),
    "no HTTP": (sending(b"220 " + YES + b"\r\n"), "failed"),
}


@pytest.mark.parametrize(("answer", "outcome"), ANSWERS.values(), ids=ANSWERS)
def test_answer_decides_between_success_and_failure(uploads, answer, outcome):
    server = uploads.serve(answer)
    assert uploads.upload() == outcome
    assert server.requests[0].body == upload_body({})


class TestFailure:
    def test_to_connect_is_reported(self, uploads):
        assert uploads.upload() == "failed"

    def test_in_the_middle_of_the_body_is_reported(self, uploads):
        uploads.serve(hanging_up)
        uploads.post(file=uploads.write(b"big", bytes(16 << 20)))
        assert uploads.upload() == "failed"

    def test_is_followed_by_a_success_once_the_server_is_back(self, uploads):
        path = uploads.write(b"log", b"first")
        uploads.post(log=path)
        assert uploads.upload() == "failed"
        uploads.write(b"log", b"as it is by now, and longer")
        uploads.serve()
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body({"Conversion_log": (path, b"as it is by now, and longer")})
        (uploads.folder / "log").unlink()
        assert uploads.upload() == "uploaded"
        assert uploads.sent() == upload_body({"Conversion_log": (path, b"")})

    def test_for_want_of_memory_is_the_librarys_exception_and_leaves_the_report_usable(self, uploads):
        uploads.serve()
        with open(uploads.folder / "huge", "wb") as file:
            file.truncate((2 << 30) - 2)
        uploads.post(file=uploads.path_of(b"huge"))
        assert uploads.upload() == "out of memory"
        uploads.post()
        assert uploads.upload() == "uploaded"


class TestBuiltInServer:
    def test_reaches_nobody(self, stage):
        uploads = Uploader(stage)
        library = pathlib.Path(shutil.copy(stage.product("Wendax.dll"), uploads.folder))
        assert b"\0upload.wendax.invalid\0" in library.read_bytes()
        assert uploads.start().tell("upload") == "failed"


class TestManyUploads:
    def repeat(self, uploads, outcome, count):
        for _ in range(count):
            uploads.report.send("upload")
        for _ in range(count):
            assert uploads.report.receive() == outcome

    def usage(self, uploads):
        return tuple(map(int, uploads.report.tell("usage").split()[1:3]))

    @pytest.mark.parametrize("outcome", ("uploaded", "failed"))
    def test_leave_nothing(self, uploads, outcome):
        if outcome == "uploaded":
            uploads.serve()
        uploads.post(file=uploads.write(b"file", os.urandom(500000)))
        self.repeat(uploads, outcome, 5)
        handles, memory = self.usage(uploads)
        self.repeat(uploads, outcome, 120)
        handles_after, memory_after = self.usage(uploads)
        assert handles > 0
        assert handles_after - handles < 10
        # A body left behind each time would be 60 MB.
        assert memory_after - memory < 4096, "KiB"


class TestServerThatComesWithIt:
    def test_stores_what_the_library_sends(self, uploads, stage):
        contents = {
            "Conversion_Config": b"a\r\nb\n",
            "Conversion_Script": b"zero\0byte",
            "Conversion_log": b"\n\n--AaB03x--\n",
            "File_for_conversion": b"",
        }
        paths = [uploads.write(part.encode(), content) for part, content in contents.items()]
        with PhpServer(uploads.address, 80, stage.artifacts / "store") as server:
            uploads.post(*paths)
            assert uploads.upload() == "uploaded"
            (stored,) = server.reports()
        assert stored == {part: (path.decode(), contents[part]) for part, path in zip(contents, paths)}
