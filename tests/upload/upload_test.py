"""CCrashReport2's upload, through the library's exports: what is sent, and what is taken for a success."""

import os
import re

from testing.php_server import PhpServer
from testing.runner import Case
from testing.loopback import loopback_address
from testing.picture import described
from testing.processes import REPO
from testing.upload_body import CONFIRMATION, CONTENT_TYPE, FORM_PATH, PARTS, upload_body
from testing.web_server import WebServer, answering, http_answer
from testing.upload_host import UploadHost

YES = b"Well: " + CONFIRMATION


class UploadCase(Case):
    def setUp(self):
        self.address = loopback_address()
        self.host = UploadHost(self, address=self.address)
        self.report = self.host.drive()
        self.report.tell("new")

    def serve(self, answer=answering(YES)):
        self.server = self.enterContext(WebServer(self.address, 80, answer))
        return self.server

    def post(self, config=None, script=None, log=None, file=None):
        """PostRequest."""
        words = (b"-" if path is None else path for path in (config, script, log, file))
        self.report.tell("post", b"|".join(words))

    def upload(self, timeout=120):
        return self.report.tell("upload", timeout=timeout)

    def sent(self):
        """The body of the last request."""
        return self.server.requests[-1].body


class TheBody(UploadCase):
    def test_of_a_report_without_files_is_whole(self):
        self.serve()
        self.assertEqual(self.upload(), "uploaded")
        (request,) = self.server.requests
        self.assertEqual(request.line, f"POST {FORM_PATH} HTTP/1.1")
        self.assertEqual(request.headers["content-type"], CONTENT_TYPE)
        self.assertEqual(request.headers["host"], self.address)
        self.assertEqual(request.body, upload_body({}))

    def test_is_the_one_that_the_document_shows(self):
        self.serve()
        content = b"(the bytes of the file)"
        path = self.host.write(b"shown", content)
        self.post(file=path)
        self.assertEqual(self.upload(), "uploaded")
        shown = (REPO / "docs" / "upload-format.md").read_text("ascii")
        shown = shown.replace("Screen_copy", "File_for_conversion").replace("C:\\Temp\\screen_copy.jpg", path.decode())
        _, part, trailer = re.findall(r"^```\n(.*?)^```", shown, re.DOTALL | re.MULTILINE)
        self.assertEqual(self.sent().count(part.encode()), 1)
        self.assertTrue(self.sent().endswith(b"\n\n--AaB03x--\n" + trailer.encode()))

    def test_holds_the_four_files_of_the_host_under_their_names(self):
        self.serve()
        files = {
            name: (self.host.write(name, content), content)
            for name, content in (
                (b"a.cfg", b"config\r\n"),
                (b"a.scr", b"script\nwith\x00zero bytes\x00"),
                (b"a.log", b"\x1alog\r"),
                (b"a.dat", bytes(range(256)) * 1000),
            )
        }
        self.post(config=files[b"a.cfg"][0], script=files[b"a.scr"][0], log=files[b"a.log"][0], file=files[b"a.dat"][0])
        self.assertEqual(self.upload(), "uploaded")
        self.assertEqual(
            self.sent(),
            upload_body(
                {
                    "Conversion_Config": files[b"a.cfg"],
                    "Conversion_Script": files[b"a.scr"],
                    "Conversion_log": files[b"a.log"],
                    "File_for_conversion": files[b"a.dat"],
                }
            ),
        )

    def test_holds_files_of_every_size_whole(self):
        self.serve()
        for size in (0, 1, 2, 63, 64, 65, 127, 128, 129, 4095, 4096, 4097, 1000003):
            with self.subTest(size):
                content = os.urandom(size)
                path = self.host.write(b"sized", content)
                self.post(file=path)
                self.assertEqual(self.upload(), "uploaded")
                self.assertEqual(self.sent(), upload_body({"File_for_conversion": (path, content)}))

    def test_has_an_empty_part_for_what_cannot_be_read(self):
        self.serve()
        missing = self.host.path_of(b"missing.cfg")
        (self.host.folder / "folder").mkdir()
        folder = self.host.path_of(b"folder")
        empty = self.host.write(b"empty", b"")
        self.post(config=missing, script=folder, log=empty, file=b"Q:\\no such drive")
        self.assertEqual(self.upload(), "uploaded")
        self.assertEqual(
            self.sent(),
            upload_body(
                {
                    "Conversion_Config": (missing, b""),
                    "Conversion_Script": (folder, b""),
                    "Conversion_log": (empty, b""),
                    "File_for_conversion": (b"Q:\\no such drive", b""),
                }
            ),
        )

    def test_has_no_path_for_null_and_for_an_empty_text(self):
        self.serve()
        path = self.host.write(b"file", b"bytes")
        self.post(path, path, path, path)
        self.post(config=None, script=b"", log=path, file=None)
        self.assertEqual(self.upload(), "uploaded")
        self.assertEqual(self.sent(), upload_body({"Conversion_log": (path, b"bytes")}))

    def test_leaves_the_attachments_out(self):
        self.serve()
        self.report.tell("attach", self.host.write(b"attached", b"bytes"))
        self.report.tell("attach", self.host.path_of(b"missing"))
        self.assertEqual(self.upload(), "uploaded")
        self.assertEqual(self.sent(), upload_body({}))

    def test_names_its_paths_as_the_host_gave_them(self):
        self.serve()
        self.host.write(b"file", b"bytes")
        path = b'Q:/host/../HOST\\%s "a" {x} .\\file'
        self.post(script=path, log=b"file")
        self.assertEqual(self.upload(), "uploaded")
        self.assertEqual(
            self.sent(), upload_body({"Conversion_Script": (path, b""), "Conversion_log": (b"file", b"bytes")})
        )


class ThePreparedFiles(Case):
    def test_screenshot_and_system_text_are_sent(self):
        address = loopback_address()
        wine = self.wine(prefix=self.fresh_prefix())
        report = UploadHost(self, address=address, wine=wine).drive()
        server = self.enterContext(WebServer(address, 80, answering(YES)))
        for command in ("new", "screen", "system"):
            report.tell(command)
        self.assertEqual(report.tell("upload"), "uploaded")
        temp = wine.prefix.temp_dir
        folder = wine.prefix.to_windows(temp).encode("ascii")
        picture = temp / "screen_copy.jpg"
        text = (temp / "system_info.txt").read_bytes()
        self.assertEqual(
            server.requests[0].body,
            upload_body(
                {
                    "Screen_copy": (folder + b"\\screen_copy.jpg", picture.read_bytes()),
                    "System_info": (folder + b"\\system_info.txt", text),
                }
            ),
        )
        self.assertEqual(described(picture, "%m %w %h %Q"), "JPEG 512 512 75")
        self.assertIn(b"Windows Version:", text)

    def test_of_eight_megabytes_each_go_out_whole_with_memory_for_two_bodies_at_most(self):
        address = loopback_address()
        wine = self.wine(prefix=self.fresh_prefix())
        host = UploadHost(self, address=address, wine=wine)
        server = self.enterContext(WebServer(address, 80, answering(YES)))
        report = host.drive()
        for command in ("new", "screen", "system"):
            report.tell(command)
        temp = wine.prefix.temp_dir
        folder = wine.prefix.to_windows(temp).encode("ascii")
        content = os.urandom(8 << 20)
        files = {part: (host.write(part.encode(), content), content) for part in PARTS[:4]}
        for part, name in (("Screen_copy", "screen_copy.jpg"), ("System_info", "system_info.txt")):
            (temp / name).write_bytes(content)
            files[part] = (folder + b"\\" + name.encode(), content)
        report.tell(
            "post",
            b"|".join(
                files[part][0]
                for part in ("Conversion_Config", "Conversion_Script", "Conversion_log", "File_for_conversion")
            ),
        )
        before = self.memory(report)[0]
        self.assertEqual(report.tell("upload"), "uploaded")
        most = self.memory(report)[1]
        body = upload_body(files)
        self.assertEqual(server.requests[0].body, body)
        self.assertGreater(most - before, len(body))
        # The body itself, a copy that this Wine sends from, and a little for the connection.
        self.assertLess(most - before, 2 * len(body) + (4 << 20))

    def memory(self, report):
        """Bytes in RAM, now and at most so far."""
        return tuple(1024 * int(kib) for kib in report.tell("usage").split()[3:])


class ANonAsciiPath(Case):
    def test_is_sent_in_the_hosts_code_page(self):
        address = loopback_address()
        host = UploadHost(self, address=address, wine=self.wine(prefix=self.fresh_prefix(), locale="ru_RU.UTF-8"))
        server = self.enterContext(WebServer(address, 80, answering(YES)))
        path = host.write("отчёт №1.log".encode("cp1251"), b"bytes", "cp1251")
        report = host.drive()
        report.tell("new")
        report.tell("post", b"-|-|" + path + b"|-")
        self.assertEqual(report.tell("upload"), "uploaded")
        self.assertEqual(server.requests[0].body, upload_body({"Conversion_log": (path, b"bytes")}))


def in_single_bytes(client):
    client.read_request()
    for byte in http_answer(YES):
        client.send(bytes([byte]))
        client.server.wait_end(0.01)  # So that each goes out alone.


def redirecting(client):
    if client.read_request().line.startswith("POST"):
        client.send(http_answer(b"", "302 Found", ["Location: /thanks"]))
    else:
        client.send(http_answer(YES))


class TheAnswer(UploadCase):
    CASES = {
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
        "the text in single bytes": (in_single_bytes, "uploaded"),
        "a redirect to the text": (redirecting, "uploaded"),
        "no answer, but an end": (lambda client: client.read_request(), "failed"),
        "no HTTP": (lambda client: (client.read_request(), client.send(b"220 " + YES + b"\r\n")), "failed"),
    }

    def test_decides_between_success_and_failure(self):
        for name, (answer, outcome) in self.CASES.items():
            with self.subTest(name), WebServer(self.address, 80, answer) as server:
                self.assertEqual(self.upload(), outcome)
                self.assertEqual(server.requests[0].body, upload_body({}))


class AFailure(UploadCase):
    def test_to_connect_is_reported(self):
        self.assertEqual(self.upload(), "failed")

    def test_in_the_middle_of_the_body_is_reported(self):
        def answer(client):
            client.read_some(100000)
            # Until the client can send no more: Wine's own send can miss a reset that comes earlier, and hang.
            client.server.wait_end(0.5)
            client.reset()

        self.serve(answer)
        self.post(file=self.host.write(b"big", bytes(16 << 20)))
        self.assertEqual(self.upload(), "failed")

    def test_is_followed_by_a_success_once_the_server_is_back(self):
        path = self.host.write(b"log", b"first")
        self.post(log=path)
        self.assertEqual(self.upload(), "failed")
        self.host.write(b"log", b"as it is by now, and longer")
        self.serve()
        self.assertEqual(self.upload(), "uploaded")
        self.assertEqual(self.sent(), upload_body({"Conversion_log": (path, b"as it is by now, and longer")}))
        (self.host.folder / "log").unlink()
        self.assertEqual(self.upload(), "uploaded")
        self.assertEqual(self.sent(), upload_body({"Conversion_log": (path, b"")}))

    def test_for_want_of_memory_is_the_librarys_exception_and_leaves_the_report_usable(self):
        self.serve()
        with open(self.host.folder / "huge", "wb") as file:
            file.truncate((2 << 30) - 2)
        self.post(file=self.host.path_of(b"huge"))
        self.assertEqual(self.upload(), "out of memory")
        self.post()
        self.assertEqual(self.upload(), "uploaded")


class TheBuiltInServer(Case):
    def test_reaches_nobody(self):
        report = UploadHost(self).drive()
        report.tell("new")
        self.assertEqual(report.tell("upload"), "failed")


class TheNewestReport(UploadCase):
    def test_is_known_to_the_class_until_it_is_gone(self):
        self.assertEqual(self.report.tell("newest"), "last")
        self.report.tell("new")
        self.assertEqual(self.report.tell("newest"), "last")
        self.report.tell("delete", "last")
        self.assertEqual(self.report.tell("newest"), "none")

    def test_stays_known_when_an_older_one_goes(self):
        self.report.tell("new")
        self.report.tell("delete", "first")
        self.assertEqual(self.report.tell("newest"), "last")


class ManyUploads(UploadCase):
    def repeat(self, outcome, count):
        for _ in range(count):
            self.report.send("upload")
        for _ in range(count):
            self.assertEqual(self.report.receive(), outcome)

    def assert_nothing_kept(self, outcome):
        self.repeat(outcome, 5)
        handles, memory = self.usage()
        self.repeat(outcome, 120)
        handles_after, memory_after = self.usage()
        self.assertGreater(handles, 0)
        self.assertLess(handles_after - handles, 10)
        # A body left behind each time would be 60 MB.
        self.assertLess(memory_after - memory, 4096, "KiB")

    def usage(self):
        return tuple(map(int, self.report.tell("usage").split()[1:3]))

    def test_that_succeed_leave_nothing(self):
        self.serve()
        self.post(file=self.host.write(b"file", os.urandom(500000)))
        self.assert_nothing_kept("uploaded")

    def test_that_fail_leave_nothing(self):
        self.post(file=self.host.write(b"file", os.urandom(500000)))
        self.assert_nothing_kept("failed")


class TheServerThatComesWithIt(UploadCase):
    def test_stores_what_the_library_sends(self):
        files = {
            name: self.host.write(name, content)
            for name, content in (
                (b"config", b"a\r\nb\n"),
                (b"script", b"zero\0byte"),
                (b"log", b"\n\n--AaB03x--\n"),
                (b"file", b""),
            )
        }
        with PhpServer(self.address, 80, self.artifacts / "store") as server:
            self.report.tell("post", b"|".join(files[name] for name in (b"config", b"script", b"log", b"file")))
            self.assertEqual(self.upload(), "uploaded")
            (stored,) = server.reports()
        self.assertEqual(
            stored,
            {
                "Conversion_Config": (files[b"config"].decode(), b"a\r\nb\n"),
                "Conversion_Script": (files[b"script"].decode(), b"zero\0byte"),
                "Conversion_log": (files[b"log"].decode(), b"\n\n--AaB03x--\n"),
                "File_for_conversion": (files[b"file"].decode(), b""),
            },
        )
