"""The upload server that comes with the library, fed with good and with hostile requests."""

import contextlib
import http.client
import os
import re
import shutil
import socket
import stat
from concurrent.futures import ThreadPoolExecutor

from testing.php_server import PhpServer
from testing.runner import Case
from testing.loopback import loopback_address
from testing.upload_body import CONFIRMATION, CONTENT_TYPE, FORM_PATH, PARTS, upload_body

PORT = 8080
GOOD = {
    "Conversion_Script": (b"C:\\work\\script.txt", b"script\x00with zero\x00"),
    "Conversion_Config": (b"C:\\work\\empty.cfg", b""),
    "File_for_conversion": (b"D:\\\xcf\xe0\xef\xea\xe0\\50% a.dwg", bytes(range(256)) * 40),
    "Screen_copy": (b"C:\\Temp\\screen_copy.jpg", b"\xff\xd8 picture \r\n"),
    "System_info": (b"C:\\Temp\\system_info.txt", b"Windows Version:\n"),
}


class ServerCase(Case):
    def serve(self, env=None, ini=None, store="store"):
        self.server = self.enterContext(PhpServer(loopback_address(PORT), PORT, self.artifacts / store, env, ini))
        return self.server

    def request(self, method="POST", path=FORM_PATH, body=None, headers=None):
        """The status, the body of the answer and its headers."""
        connection = http.client.HTTPConnection(self.server.address, PORT, timeout=60)
        try:
            connection.request(method, path, body, headers or {})
            answer = connection.getresponse()
            return answer.status, answer.read(), answer.headers
        finally:
            connection.close()

    def post(self, body, content_type=CONTENT_TYPE, path=FORM_PATH):
        status, answer, _ = self.request("POST", path, body, {"Content-Type": content_type})
        if status != 200:
            self.assertNotIn(CONFIRMATION, answer, "a refusal must not read as a success")
        return status, answer

    def assert_stored(self, files, report):
        expected = {part: (_as_listed(path), content) for part, (path, content) in files.items()}
        self.assertEqual(report, expected)


class AReport(ServerCase):
    def test_is_stored_byte_for_byte_and_confirmed(self):
        self.serve()
        status, answer = self.post(upload_body(GOOD))
        self.assertEqual(status, 200)
        self.assertGreater(answer.find(CONFIRMATION), 0, "the library wants the text after the answer's beginning")
        self.assert_stored(GOOD, *self.server.reports())

    def test_without_files_is_stored(self):
        self.serve()
        self.assertEqual(self.post(upload_body({}))[0], 200)
        self.assertEqual(self.server.reports(), [{}])

    def test_may_hold_boundaries_in_its_files(self):
        self.serve()
        files = {
            part: (b"C:\\f", content)
            for part, content in zip(
                PARTS,
                (
                    b"\n\n--AaB03x--\n",
                    b"--AaB03x\n",
                    b'\n--AaB03x\ncontent-disposition: form-data; name="Conversion_log',
                    b"\n\n--AaB03x--\n\n--AaB03x\n",
                    b"\r\n--AaB03x--\r\n",
                    b"\n\n--AaB03x--\n--AaB03x\n",
                ),
            )
        }
        self.assertEqual(self.post(upload_body(files))[0], 200)
        self.assert_stored(files, *self.server.reports())

    def test_of_48_megabytes_is_stored(self):
        self.serve()
        files = {part: (b"C:\\big", os.urandom(8 << 20)) for part in PARTS}
        self.assertEqual(self.post(upload_body(files))[0], 200)
        self.assert_stored(files, *self.server.reports())

    def test_gets_a_folder_of_its_own_that_only_the_server_can_read(self):
        self.serve()
        for _ in range(5):
            self.assertEqual(self.post(upload_body(GOOD))[0], 200)
        folders = self.server.report_folders()
        self.assertEqual(len(folders), 5)
        for folder in folders:
            self.assertRegex(folder.name, r"^\d{8}-\d{6}-[0-9a-f]{16}$")
            self.assertEqual(stat.S_IMODE(folder.stat().st_mode), 0o700)
            for file in folder.iterdir():
                self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600)

    def test_never_names_a_file(self):
        self.serve()
        names = (
            b"../../../evil.php",
            b"C:\\..\\..\\evil.php",
            b"/etc/passwd",
            b"index.php",
            b"report.json",
            b'a" onload="x',
        )
        for name in names:
            self.assertEqual(self.post(upload_body({part: (name, b"<?php evil();") for part in PARTS}))[0], 200)
        written = {path.name for path in self.server.store.rglob("*") if path.is_file()}
        self.assertEqual(
            written,
            {
                ".htaccess",
                ".lock",
                "report.json",
                "conversion_script.bin",
                "conversion_config.bin",
                "file_for_conversion.bin",
                "conversion_log.txt",
                "screen_copy.jpg",
                "system_info.txt",
            },
        )
        self.assertFalse([path for path in self.artifacts.rglob("evil*")])


class TheFirstReports(ServerCase):
    """Of programs that fail at the same moment, while there is no store yet."""

    AT_ONCE = 8
    # Making so many folders takes long enough for another report to come in between.
    STORE = "/".join(["a"] * 200)

    def test_are_all_stored_when_they_come_at_once(self):
        self.serve({"PHP_CLI_SERVER_WORKERS": str(self.AT_ONCE)}, store=self.STORE)
        body = upload_body(GOOD)
        with ThreadPoolExecutor(self.AT_ONCE) as pool:
            for _ in range(15):
                shutil.rmtree(self.artifacts / "a", ignore_errors=True)
                self.assertEqual(list(pool.map(self.post_and_see, [body] * self.AT_ONCE)), [200] * self.AT_ONCE)
                self.assertEqual(len(self.server.reports()), self.AT_ONCE)

    def post_and_see(self, body):
        return self.post(body)[0]


class WhatIsNoReport(ServerCase):
    def test_is_refused(self):
        self.serve()
        good = upload_body(GOOD)
        cases = {
            "empty": b"",
            "text": b"hello",
            "cut in half": good[: len(good) // 2],
            "cut in the first header": good[:20],
            "without its last byte": good[:-1],
            "with a byte more": good + b"\n",
            "with CR LF": good.replace(b"\n", b"\r\n"),
            "without the first line end": good[1:],
            "parts in another order": good.replace(b"Conversion_Script", b"x")
            .replace(b"Conversion_Config", b"Conversion_Script")
            .replace(b"x", b"Conversion_Config"),
            "another form": good.replace(b"com_mosforms", b"com_content"),
            "a seventh part": upload_body({**GOOD}).replace(
                b'--AaB03x\ncontent-disposition: form-data; name="tableid', good + b'--AaB03x\nname="tableid'
            ),
            "trailer alone": good[good.rfind(b'--AaB03x\ncontent-disposition: form-data; name="tableid') :],
            "first header alone": good[: good.find(b"script\x00")],
            "a line end in a path": upload_body({"Screen_copy": (b"a\nb", b"")}),
            "a zero byte in a path": upload_body({"Screen_copy": (b"a\x00b", b"")}),
            "an endless path": upload_body({"Screen_copy": (b"a" * 40000, b"")}),
            "only boundaries": b"\n\n--AaB03x--\n" * 100000,
            "only header lines": b'--AaB03x\ncontent-disposition: form-data; name="' * 100000,
            "a part of another name": good.replace(b"Screen_copy", b"../../Screen"),
            "a part twice": good.replace(b"Screen_copy", b"System_info"),
            "in UTF-16": good.decode("latin-1").encode("utf-16"),
            "after a mark of byte order": b"\xef\xbb\xbf" + good,
        }
        for name, body in cases.items():
            with self.subTest(name):
                self.assertEqual(self.post(body)[0], 400)
        self.assertEqual(self.server.reports(), [])

    def test_of_another_type_is_refused(self):
        self.serve()
        for content_type in (
            "application/x-www-form-urlencoded",
            "multipart/form-data",
            "text/plain",
            "",
            "multipart/form-data; boundary=other",
            "multipart/form-data; boundary=AaB03xx",
            "multipart/mixed; boundary=AaB03x",
        ):
            with self.subTest(content_type):
                self.assertEqual(self.post(upload_body(GOOD), content_type)[0], 415)
        self.assertEqual(self.server.reports(), [])

    def test_for_another_page_is_refused(self):
        self.serve()
        for path in (
            "/",
            "/index.php",
            "/index.php?option=other",
            "/index.php?option[]=com_mosforms",
            "/other.php?option=com_mosforms",
            "/index.php/x?option=com_mosforms",
        ):
            with self.subTest(path):
                self.assertEqual(self.post(upload_body(GOOD), path=path)[0], 404)
        self.assertEqual(self.server.reports(), [])

    def test_by_another_method_is_refused(self):
        self.serve()
        for method in ("PUT", "DELETE", "OPTIONS", "PATCH"):
            with self.subTest(method):
                status, _, headers = self.request(method)
                self.assertEqual(status, 405)
                self.assertEqual(headers["Allow"], "GET, HEAD, POST")

    def test_of_a_length_that_lies_is_refused(self):
        self.serve()
        good = upload_body(GOOD)
        # None beyond 64 bits: that ends PHP's own server, and other web servers answer it themselves.
        for name, length, body in (
            ("none", None, good),
            ("less than there is", len(good) - 1, good),
            ("negative", -1, good),
            ("no number", "many", good),
            ("larger than allowed", 65 << 20, b""),
        ):
            with self.subTest(name):
                announced = b"" if length is None else b"Content-Length: %s\r\n" % str(length).encode()
                answer = self.raw(
                    b"POST %s HTTP/1.1\r\nHost: x\r\nContent-Type: %s\r\n%s\r\n%s"
                    % (FORM_PATH.encode(), CONTENT_TYPE.encode(), announced, body)
                )
                self.assertNotIn(CONFIRMATION, answer)
                self.assertNotRegex(answer[:15], rb"HTTP/1.\d 2")
        self.assertEqual(self.server.reports(), [])
        self.assertEqual(self.post(good)[0], 200, "the server goes on")

    def raw(self, request):
        """What comes back when the client says no more than this."""
        with socket.create_connection((self.server.address, PORT), timeout=60) as client:
            client.sendall(request)
            client.shutdown(socket.SHUT_WR)
            pieces = []
            with contextlib.suppress(ConnectionError):
                while piece := client.recv(65536):
                    pieces.append(piece)
            return b"".join(pieces)

    def test_cut_off_in_the_middle_leaves_nothing(self):
        self.serve()
        body = upload_body(GOOD)
        with socket.create_connection((self.server.address, PORT), timeout=60) as client:
            client.sendall(
                b"POST %s HTTP/1.1\r\nHost: x\r\nContent-Type: %s\r\nContent-Length: %d\r\n\r\n%s"
                % (FORM_PATH.encode(), CONTENT_TYPE.encode(), len(body), body[:-100])
            )
        self.assertEqual(self.post(body)[0], 200)
        self.assertEqual(len(self.server.reports()), 1)


class TheBounds(ServerCase):
    def test_of_one_report_hold(self):
        size = len(upload_body({"Screen_copy": (b"C:\\s", b"")}))
        self.serve({"UPLOAD_MAX_BODY": str(size + 1000)})
        self.assertEqual(self.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 1000)}))[0], 200)
        self.assertEqual(self.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 1001)}))[0], 413)
        self.assertEqual(len(self.server.reports()), 1)

    def test_of_the_number_of_reports_hold(self):
        self.serve({"UPLOAD_MAX_REPORTS": "2"})
        self.assertEqual([self.post(upload_body(GOOD))[0] for _ in range(4)], [200, 200, 507, 507])
        self.assertEqual(len(self.server.reports()), 2)

    def test_of_the_size_of_all_reports_hold(self):
        self.serve({"UPLOAD_MAX_TOTAL": "10000"})
        body = upload_body({"Screen_copy": (b"C:\\s", b"x" * 4000)})
        self.assertEqual([self.post(body)[0] for _ in range(3)], [200, 200, 507])

    def test_leave_room_for_nothing_half_written(self):
        self.serve({"UPLOAD_MAX_REPORTS": "1"})
        left = self.server.store / ".new-20200101-000000-0000000000000000"
        left.mkdir(parents=True)
        (left / "screen_copy.jpg").write_bytes(b"of a request that was killed")
        self.assertEqual(self.post(upload_body(GOOD))[0], 200)
        self.assertFalse(left.exists())


class TheOwnerOfTheServer(ServerCase):
    def test_finds_each_refusal_in_the_log_with_its_status_and_size(self):
        body = upload_body({"Screen_copy": (b"C:\\s", b"<secret>" * 500)})
        self.serve({"UPLOAD_MAX_REPORTS": "1", "UPLOAD_MAX_BODY": str(len(body))})
        self.assertEqual(
            [
                self.post(body)[0],
                self.post(body)[0],
                self.post(body + b"\n")[0],
                self.post(body[:-1])[0],
                self.request("PUT")[0],
                self.request("GET", "/<secret>")[0],
            ],
            [200, 507, 413, 400, 405, 404],
        )
        log = re.sub(r"^\[[^]]*\] ", "", self.server.log(), flags=re.MULTILINE)
        self.assertEqual(
            re.findall("^Refused .*", log, re.MULTILINE),
            [
                f"Refused with 507, {len(body)} bytes: There is no room for more reports.",
                f"Refused with 413, {len(body) + 1} bytes: The report is too large.",
                f"Refused with 400, {len(body) - 1} bytes: The report is cut off.",
                "Refused with 405, 0 bytes: Only GET and POST are understood here.",
                "Refused with 404, 0 bytes: There is nothing here.",
            ],
        )

    def test_sees_on_the_page_how_full_the_store_is(self):
        self.serve()
        self.assertIn(b"In the store: 0 of 1000, 0 of 4 GiB.", self.request("GET", "/")[1])
        body = upload_body({"Screen_copy": (b"C:\\s", b"x" * (50 << 20))})
        self.assertEqual([self.post(body)[0] for _ in range(2)], [200, 200])
        self.assertIn(b"In the store: 2 of 1000, 0.1 of 4 GiB.", self.request("GET", "/")[1])

    def test_sees_bounds_of_his_own(self):
        self.serve({"UPLOAD_MAX_REPORTS": "20", "UPLOAD_MAX_TOTAL": str(1536 << 20)})
        self.assertIn(b"In the store: 0 of 20, 0 of 1.5 GiB.", self.request("GET", "/")[1])

    def test_sees_the_size_of_every_file_in_the_store(self):
        self.serve({"UPLOAD_MAX_TOTAL": "1000"})
        self.assertEqual(self.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 300)}))[0], 200)
        size = sum(file.stat().st_size for file in self.server.report_folders()[0].iterdir())
        self.assertIn(b"In the store: 1 of 1000, %d of 1000 bytes." % size, self.request("GET", "/")[1])


class TheStore(ServerCase):
    def test_that_cannot_be_written_is_an_error_of_the_server(self):
        (self.artifacts / "store").write_text("a file in its place")
        self.serve()
        self.assertEqual(self.post(upload_body(GOOD))[0], 500)

    def test_is_not_shown(self):
        self.serve()
        self.assertEqual(self.post(upload_body(GOOD))[0], 200)
        report = self.server.report_folders()[0].name
        for path in (
            f"/{report}/report.json",
            f"/store/{report}/screen_copy.jpg",
            f"/../reports/{report}/report.json",
            f"/..%2freports%2f{report}%2freport.json",
            "/.htaccess",
            "/.user.ini",
            "/../src/settings.php",
            "/%2e%2e/src/settings.php",
            "//",
            "/index.php/../../src/settings.php",
        ):
            with self.subTest(path):
                status, answer, _ = self.request("GET", path)
                self.assertEqual(status, 404, answer)

    def test_lists_its_reports_on_a_plain_page(self):
        self.serve()
        self.assertIn(b"(0)", self.request("GET", "/")[1])
        self.assertEqual(self.post(upload_body({"Screen_copy": (b"<script>", b"<script>")}))[0], 200)
        status, page, headers = self.request("GET", "/index.php")
        self.assertEqual(status, 200)
        self.assertIn(self.server.report_folders()[0].name.encode(), page)
        self.assertIn(b"Screen_copy&nbsp;(8)", page)
        self.assertNotIn(b"<script>", page)
        self.assertEqual(headers["X-Content-Type-Options"], "nosniff")
        self.assertIn("default-src 'none'", headers["Content-Security-Policy"])
        self.assertEqual(self.request("HEAD", "/")[:2], (200, b""))


class WherePhpTakesTheBodyApart(ServerCase):
    """On web hosts that can't switch it off."""

    def test_the_report_is_stored_all_the_same(self):
        self.serve(ini={"enable_post_data_reading": 1})
        files = {**GOOD, "Conversion_log": (b"C:\\log", b"ends in a lone CR\r")}
        self.assertEqual(self.post(upload_body(files))[0], 200)
        self.assert_stored(files, *self.server.reports())

    def test_a_file_that_php_has_cut_is_refused(self):
        self.serve(ini={"enable_post_data_reading": 1})
        body = upload_body({"Conversion_log": (b"C:\\log", b"before\n--AaB03x--\nafter")})
        self.assertEqual(self.post(body)[0], 400)

    def test_a_file_beyond_its_limit_is_too_large(self):
        self.serve(ini={"enable_post_data_reading": 1, "upload_max_filesize": 1000})
        self.assertEqual(self.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 1000)}))[0], 413)
        self.assertEqual(self.server.reports(), [])

    def test_a_report_beyond_its_limit_is_left_to_the_script_and_stored(self):
        self.serve(ini={"enable_post_data_reading": 1, "post_max_size": 20000})
        files = {"Screen_copy": (b"C:\\s", b"x" * 20000)}
        self.assertEqual(self.post(upload_body(files))[0], 200)
        self.assert_stored(files, *self.server.reports())

    def test_what_is_no_report_is_refused(self):
        self.serve(ini={"enable_post_data_reading": 1})
        good = upload_body(GOOD)
        for name, body in {
            "another form": good.replace(b"com_mosforms", b"com_content"),
            "an unknown file": good.replace(b"Screen_copy", b"Screen_shot"),
            "text": b"hello",
            "many files under one name": good.replace(b'name="Screen_copy"', b'name="Screen_copy[]"'),
            "a field more": good + b'content-disposition: form-data; name="x"\n\n1\n--AaB03x\n',
            "cut in half": good[: len(good) // 2],
        }.items():
            with self.subTest(name):
                self.assertEqual(self.post(body)[0], 400)
        self.assertEqual(self.server.reports(), [])


def _as_listed(path):
    return re.sub(rb"[^\x20-\x24\x26-\x7e]", lambda byte: b"%%%02X" % ord(byte[0]), path).decode("ascii")
