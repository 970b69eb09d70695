"""The upload server that comes with the library, fed with good and with hostile requests."""

import contextlib
import http.client
import os
import re
import shutil
import socket
import stat
from concurrent.futures import ThreadPoolExecutor

import pytest

from testing.php_server import PhpServer
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


class Uploads:
    """The server, and a client's requests to it."""

    def __init__(self, stage):
        self.stage = stage

    def serve(self, env=None, ini=None, store="store"):
        server = PhpServer(loopback_address(PORT), PORT, self.stage.artifacts / store, env, ini)
        self.server = self.stage.enter_context(server)

    def request(self, method="POST", path=FORM_PATH, body=None, headers=None):
        """The status, the body of the answer and its headers."""
        with contextlib.closing(http.client.HTTPConnection(self.server.address, PORT, timeout=60)) as connection:
            connection.request(method, path, body, headers or {})
            answer = connection.getresponse()
            return answer.status, answer.read(), answer.headers

    def post(self, body, content_type=CONTENT_TYPE, path=FORM_PATH):
        status, answer, _ = self.request("POST", path, body, {"Content-Type": content_type})
        if status != 200:
            assert CONFIRMATION not in answer, "a refusal must not read as a success"
        return status, answer

    def assert_only(self, files):
        """There is one report, of these files."""
        expected = {part: (_as_listed(path), content) for part, (path, content) in files.items()}
        assert self.server.reports() == [expected]


@pytest.fixture
def uploads(stage):
    return Uploads(stage)


@pytest.fixture
def served(uploads):
    """With the server as it is by default."""
    uploads.serve()
    return uploads


@pytest.fixture
def unpacked(uploads):
    """With one where PHP takes the body apart, on web hosts that can't switch it off."""
    uploads.serve(ini={"enable_post_data_reading": 1})
    return uploads


class TestReport:
    def test_is_stored_byte_for_byte_and_confirmed(self, served):
        status, answer = served.post(upload_body(GOOD))
        assert status == 200
        assert answer.find(CONFIRMATION) > 0, "the library wants the text after the answer's beginning"
        served.assert_only(GOOD)

    def test_without_files_is_stored(self, served):
        assert served.post(upload_body({}))[0] == 200
        assert served.server.reports() == [{}]

    def test_may_hold_boundaries_in_its_files(self, served):
        header = b'\n--AaB03x\ncontent-disposition: form-data; name="Conversion_log'
        contents = [b"\n\n--AaB03x--\n", b"--AaB03x\n", header]
        contents += [b"\n\n--AaB03x--\n\n--AaB03x\n", b"\r\n--AaB03x--\r\n", b"\n\n--AaB03x--\n--AaB03x\n"]
        files = {part: (b"C:\\f", content) for part, content in zip(PARTS, contents)}
        assert served.post(upload_body(files))[0] == 200
        served.assert_only(files)

    def test_of_48_megabytes_is_stored(self, served):
        files = {part: (b"C:\\big", os.urandom(8 << 20)) for part in PARTS}
        assert served.post(upload_body(files))[0] == 200
        served.assert_only(files)

    def test_gets_a_folder_of_its_own_that_only_the_server_can_read(self, served):
        for _ in range(5):
            assert served.post(upload_body(GOOD))[0] == 200
        folders = served.server.report_folders()
        assert len(folders) == 5
        for folder in folders:
            assert re.search(r"^\d{8}-\d{6}-[0-9a-f]{16}$", folder.name)
            assert stat.S_IMODE(folder.stat().st_mode) == 0o700
            for file in folder.iterdir():
                assert stat.S_IMODE(file.stat().st_mode) == 0o600

    def test_never_names_a_file(self, served, stage):
        paths = (b"../../../evil.php", b"C:\\..\\..\\evil.php", b"/etc/passwd")
        for name in (*paths, b"index.php", b"report.json", b'a" onload="x'):
            assert served.post(upload_body({part: (name, b"<?php evil();") for part in PARTS}))[0] == 200
        written = {path.name for path in served.server.store.rglob("*") if path.is_file()}
        kept = "conversion_script.bin conversion_config.bin file_for_conversion.bin conversion_log.txt screen_copy.jpg"
        assert written == {".htaccess", ".lock", "report.json", *kept.split(), "system_info.txt"}
        assert not [path for path in stage.artifacts.rglob("evil*")]


class TestFirstReports:
    """Of programs that fail at the same moment, while there is no store yet."""

    AT_ONCE = 8
    # Making so many folders takes long enough for another report to come in between.
    STORE = "/".join(["a"] * 200)

    def test_are_all_stored_when_they_come_at_once(self, uploads, stage):
        uploads.serve({"PHP_CLI_SERVER_WORKERS": str(self.AT_ONCE)}, store=self.STORE)
        body = upload_body(GOOD)
        with ThreadPoolExecutor(self.AT_ONCE) as pool:
            for _ in range(15):
                shutil.rmtree(stage.artifacts / "a", ignore_errors=True)
                assert [status for status, _ in pool.map(uploads.post, [body] * self.AT_ONCE)] == [200] * self.AT_ONCE
                assert len(uploads.server.reports()) == self.AT_ONCE


WHOLE = upload_body(GOOD)
NO_REPORTS = {
    "empty": b"",
    "text": b"hello",
    "cut in half": WHOLE[: len(WHOLE) // 2],
    "cut in the first header": WHOLE[:20],
    "without its last byte": WHOLE[:-1],
    "with a byte more": WHOLE + b"\n",
    "with CR LF": WHOLE.replace(b"\n", b"\r\n"),
    "without the first line end": WHOLE[1:],
    "parts in another order": WHOLE.replace(b"Conversion_Script", b"x")
    .replace(b"Conversion_Config", b"Conversion_Script")
    .replace(b"x", b"Conversion_Config"),
    "another form": WHOLE.replace(b"com_mosforms", b"com_content"),
    "a seventh part": upload_body({**GOOD}).replace(
        b'--AaB03x\ncontent-disposition: form-data; name="tableid', WHOLE + b'--AaB03x\nname="tableid'
    ),
    "trailer alone": WHOLE[WHOLE.rfind(b'--AaB03x\ncontent-disposition: form-data; name="tableid') :],
    "first header alone": WHOLE[: WHOLE.find(b"script\x00")],
    "a line end in a path": upload_body({"Screen_copy": (b"a\nb", b"")}),
    "a zero byte in a path": upload_body({"Screen_copy": (b"a\x00b", b"")}),
    "an endless path": upload_body({"Screen_copy": (b"a" * 40000, b"")}),
    "only boundaries": b"\n\n--AaB03x--\n" * 100000,
    "only header lines": b'--AaB03x\ncontent-disposition: form-data; name="' * 100000,
    "a part of another name": WHOLE.replace(b"Screen_copy", b"../../Screen"),
    "a part twice": WHOLE.replace(b"Screen_copy", b"System_info"),
    "in UTF-16": WHOLE.decode("latin-1").encode("utf-16"),
    "after a mark of byte order": b"\xef\xbb\xbf" + WHOLE,
}


class TestWhatIsNoReport:
    @pytest.mark.parametrize("body", NO_REPORTS.values(), ids=NO_REPORTS)
    def test_is_refused(self, served, body):
        assert served.post(body)[0] == 400
        assert served.server.reports() == []

    @pytest.mark.parametrize(
        "content_type",
        [
            *("", "text/plain", "application/x-www-form-urlencoded", "multipart/form-data"),
            *("multipart/form-data; boundary=other", "multipart/form-data; boundary=AaB03xx"),
            "multipart/mixed; boundary=AaB03x",
        ],
    )
    def test_of_another_type_is_refused(self, served, content_type):
        assert served.post(upload_body(GOOD), content_type)[0] == 415
        assert served.server.reports() == []

    @pytest.mark.parametrize(
        "path",
        [
            *("/", "/index.php", "/index.php?option=other", "/index.php?option[]=com_mosforms"),
            *("/other.php?option=com_mosforms", "/index.php/x?option=com_mosforms"),
        ],
    )
    def test_for_another_page_is_refused(self, served, path):
        assert served.post(upload_body(GOOD), path=path)[0] == 404
        assert served.server.reports() == []

    @pytest.mark.parametrize("method", ["PUT", "DELETE", "OPTIONS", "PATCH"])
    def test_by_another_method_is_refused(self, served, method):
        status, _, headers = served.request(method)
        assert status == 405
        assert headers["Allow"] == "GET, HEAD, POST"

    # None beyond 64 bits: that ends PHP's own server, and other web servers answer it themselves.
    @pytest.mark.parametrize(
        ("length", "body"),
        [
            pytest.param(None, WHOLE, id="none"),
            pytest.param(len(WHOLE) - 1, WHOLE, id="less than there is"),
            pytest.param(-1, WHOLE, id="negative"),
            pytest.param("many", WHOLE, id="no number"),
            pytest.param(65 << 20, b"", id="larger than allowed"),
        ],
    )
    def test_of_a_length_that_lies_is_refused(self, served, length, body):
        announced = b"" if length is None else b"Content-Length: %s\r\n" % str(length).encode()
        answer = self.raw(
            served,
            b"POST %s HTTP/1.1\r\nHost: x\r\nContent-Type: %s\r\n%s\r\n%s"
            % (FORM_PATH.encode(), CONTENT_TYPE.encode(), announced, body),
        )
        assert CONFIRMATION not in answer
        assert not re.search(rb"HTTP/1.\d 2", answer[:15])
        assert served.server.reports() == []
        assert served.post(WHOLE)[0] == 200, "the server goes on"

    def raw(self, uploads, request):
        """What comes back when the client says no more than this."""
        with socket.create_connection((uploads.server.address, PORT), timeout=60) as client:
            client.sendall(request)
            client.shutdown(socket.SHUT_WR)
            pieces = []
            with contextlib.suppress(ConnectionError):
                while piece := client.recv(65536):
                    pieces.append(piece)
            return b"".join(pieces)

    def test_cut_off_in_the_middle_leaves_nothing(self, served):
        body = upload_body(GOOD)
        with socket.create_connection((served.server.address, PORT), timeout=60) as client:
            client.sendall(
                b"POST %s HTTP/1.1\r\nHost: x\r\nContent-Type: %s\r\nContent-Length: %d\r\n\r\n%s"
                % (FORM_PATH.encode(), CONTENT_TYPE.encode(), len(body), body[:-100])
            )
        assert served.post(body)[0] == 200
        assert len(served.server.reports()) == 1


class TestBounds:
    def test_of_one_report_hold(self, uploads):
        size = len(upload_body({"Screen_copy": (b"C:\\s", b"")}))
        uploads.serve({"UPLOAD_MAX_BODY": str(size + 1000)})
        assert uploads.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 1000)}))[0] == 200
        assert uploads.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 1001)}))[0] == 413
        assert len(uploads.server.reports()) == 1

    def test_of_the_number_of_reports_hold(self, uploads):
        uploads.serve({"UPLOAD_MAX_REPORTS": "2"})
        assert [uploads.post(upload_body(GOOD))[0] for _ in range(4)] == [200, 200, 507, 507]
        assert len(uploads.server.reports()) == 2

    def test_of_the_size_of_all_reports_hold(self, uploads):
        uploads.serve({"UPLOAD_MAX_TOTAL": "10000"})
        body = upload_body({"Screen_copy": (b"C:\\s", b"x" * 4000)})
        assert [uploads.post(body)[0] for _ in range(3)] == [200, 200, 507]

    def test_leave_space_for_nothing_half_written(self, uploads):
        uploads.serve({"UPLOAD_MAX_REPORTS": "1"})
        left = uploads.server.store / ".new-20200101-000000-0000000000000000"
        left.mkdir(parents=True)
        (left / "screen_copy.jpg").write_bytes(b"of a request that was killed")
        assert uploads.post(upload_body(GOOD))[0] == 200
        assert not left.exists()


class TestOwnerOfTheServer:
    def test_finds_each_refusal_in_the_log_with_its_status_and_size(self, uploads):
        body = upload_body({"Screen_copy": (b"C:\\s", b"<secret>" * 500)})
        uploads.serve({"UPLOAD_MAX_REPORTS": "1", "UPLOAD_MAX_BODY": str(len(body))})
        answers = [*map(uploads.post, (body, body, body + b"\n", body[:-1]))]
        answers += [uploads.request("PUT"), uploads.request("GET", "/<secret>")]
        assert [answer[0] for answer in answers] == [200, 507, 413, 400, 405, 404]
        log = re.sub(r"^\[[^]]*\] ", "", uploads.server.log(), flags=re.MULTILINE)
        assert re.findall("^Refused .*", log, re.MULTILINE) == [
            f"Refused with 507, {len(body)} bytes: There is no room for more reports.",
            f"Refused with 413, {len(body) + 1} bytes: The report is too large.",
            f"Refused with 400, {len(body) - 1} bytes: The report is cut off.",
            "Refused with 405, 0 bytes: Only GET and POST are understood here.",
            "Refused with 404, 0 bytes: There is nothing here.",
        ]

    def test_sees_on_the_page_how_full_the_store_is(self, served):
        assert b"In the store: 0 of 1000, 0 of 4 GiB." in served.request("GET", "/")[1]
        body = upload_body({"Screen_copy": (b"C:\\s", b"x" * (50 << 20))})
        assert [served.post(body)[0] for _ in range(2)] == [200, 200]
        assert b"In the store: 2 of 1000, 0.1 of 4 GiB." in served.request("GET", "/")[1]

    def test_sees_bounds_of_his_own(self, uploads):
        uploads.serve({"UPLOAD_MAX_REPORTS": "20", "UPLOAD_MAX_TOTAL": str(1536 << 20)})
        assert b"In the store: 0 of 20, 0 of 1.5 GiB." in uploads.request("GET", "/")[1]

    def test_sees_the_size_of_every_file_in_the_store(self, uploads):
        uploads.serve({"UPLOAD_MAX_TOTAL": "1000"})
        assert uploads.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 300)}))[0] == 200
        size = sum(file.stat().st_size for file in uploads.server.report_folders()[0].iterdir())
        assert b"In the store: 1 of 1000, %d of 1000 bytes." % size in uploads.request("GET", "/")[1]


class TestStore:
    def test_that_cannot_be_written_is_an_error_of_the_server(self, uploads, stage):
        (stage.artifacts / "store").write_text("a file in its place")
        uploads.serve()
        assert uploads.post(upload_body(GOOD))[0] == 500

    def test_is_not_shown(self, served):
        assert served.post(upload_body(GOOD))[0] == 200
        report = served.server.report_folders()[0].name
        for path in (
            *(f"/{report}/report.json", f"/store/{report}/screen_copy.jpg", f"/../reports/{report}/report.json"),
            *(f"/..%2freports%2f{report}%2freport.json", "/.htaccess", "/.user.ini", "//"),
            *("/../src/settings.php", "/%2e%2e/src/settings.php", "/index.php/../../src/settings.php"),
        ):
            status, answer, _ = served.request("GET", path)
            assert status == 404, (path, answer)

    def test_lists_its_reports_on_a_plain_page(self, served):
        assert b"(0)" in served.request("GET", "/")[1]
        assert served.post(upload_body({"Screen_copy": (b"<script>", b"<script>")}))[0] == 200
        status, page, headers = served.request("GET", "/index.php")
        assert status == 200
        assert served.server.report_folders()[0].name.encode() in page
        assert b"Screen_copy&nbsp;(8)" in page
        assert b"<script>" not in page
        assert headers["X-Content-Type-Options"] == "nosniff"
        assert "default-src 'none'" in headers["Content-Security-Policy"]
        assert served.request("HEAD", "/")[:2] == (200, b"")


NO_REPORTS_EITHER = {
    "another form": WHOLE.replace(b"com_mosforms", b"com_content"),
    "an unknown file": WHOLE.replace(b"Screen_copy", b"Screen_shot"),
    "text": b"hello",
    "many files under one name": WHOLE.replace(b'name="Screen_copy"', b'name="Screen_copy[]"'),
    "a field more": WHOLE + b'content-disposition: form-data; name="x"\n\n1\n--AaB03x\n',
    "cut in half": WHOLE[: len(WHOLE) // 2],
}


class TestWherePhpTakesTheBodyApart:
    """On web hosts that can't switch it off."""

    def test_the_report_is_stored_all_the_same(self, unpacked):
        files = {**GOOD, "Conversion_log": (b"C:\\log", b"ends in a lone CR\r")}
        assert unpacked.post(upload_body(files))[0] == 200
        unpacked.assert_only(files)

    def test_a_file_that_php_has_cut_is_refused(self, unpacked):
        body = upload_body({"Conversion_log": (b"C:\\log", b"before\n--AaB03x--\nafter")})
        assert unpacked.post(body)[0] == 400

    def test_a_file_beyond_its_limit_is_too_large(self, uploads):
        uploads.serve(ini={"enable_post_data_reading": 1, "upload_max_filesize": 1000})
        assert uploads.post(upload_body({"Screen_copy": (b"C:\\s", b"x" * 1000)}))[0] == 413
        assert uploads.server.reports() == []

    def test_a_report_beyond_its_limit_is_left_to_the_script_and_stored(self, uploads):
        uploads.serve(ini={"enable_post_data_reading": 1, "post_max_size": 20000})
        files = {"Screen_copy": (b"C:\\s", b"x" * 20000)}
        assert uploads.post(upload_body(files))[0] == 200
        uploads.assert_only(files)

    @pytest.mark.parametrize("body", NO_REPORTS_EITHER.values(), ids=NO_REPORTS_EITHER)
    def test_what_is_no_report_is_refused(self, unpacked, body):
        assert unpacked.post(body)[0] == 400
        assert unpacked.server.reports() == []


def _as_listed(path):
    return re.sub(rb"[^\x20-\x24\x26-\x7e]", lambda byte: b"%%%02X" % ord(byte[0]), path).decode("ascii")
