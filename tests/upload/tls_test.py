"""The upload over TLS, to real servers with certificates of an authority that the test has made."""

import contextlib
import os

import pytest

from testing.loopback import loopback_address
from testing.php_server import PhpServer
from testing.tls import SYSTEM_AUTHORITIES, SYSTEM_HOSTS, Authority, TlsFront, mounted_over
from testing.upload_body import CONTENT_TYPE, FORM_PATH, YES, upload_body
from testing.web_server import WebServer, answering, http_answer, sending
from uploading import WESTERN, UploadDialog, Uploader

HOST, OTHER_HOST = "reports.wendax.test", "elsewhere.wendax.test"
URL = f"https://{HOST}:8443"


class Network:
    """Two hosts, and an authority that Wine trusts."""

    def __init__(self, folder):
        self.address, self.other_address = loopback_address(8443), loopback_address(8443)
        self.authority = Authority(folder / "authority")
        self.certificate = self.authority.certificate(HOST)
        self.mounts = (
            (SYSTEM_AUTHORITIES, self.authority.file.read_bytes()),
            (SYSTEM_HOSTS, f"127.0.0.1 localhost\n{self.address} {HOST}\n{self.other_address} {OTHER_HOST}\n".encode()),
        )


@pytest.fixture(scope="module")
def network(tmp_path_factory):
    folder = tmp_path_factory.mktemp("network")
    made = Network(folder)
    with contextlib.ExitStack() as mounts:
        for place, content in made.mounts:
            mounts.enter_context(mounted_over(place, content, folder))
        yield made


class Place:
    """What one test has there: servers, and a host that uploads."""

    def __init__(self, stage, network):
        self.stage = stage
        self.address, self.other_address = network.address, network.other_address
        self.authority, self.certificate = network.authority, network.certificate

    def serve(self, answer, certificate=None, address=None):
        """A server with TLS at port 8443; what it is sent is in its requests."""
        address = address or self.address
        server = self.stage.enter_context(WebServer(address, 8081, answer))
        certificate = certificate or self.certificate
        self.stage.enter_context(TlsFront(address, 8443, certificate, (address, 8081)))
        return server

    def uploads_to(self, url):
        self.host = Uploader(self.stage, record=("--upload-url", url))
        return self.host.start()


@pytest.fixture
def place(stage, network):
    return Place(stage, network)


class TestUpload:
    def test_arrives_at_the_form_of_a_server_that_is_trusted(self, place):
        server = place.serve(answering(YES))
        report = place.uploads_to(URL)
        log = place.host.write(b"log", b"bytes\0of the log")
        place.host.post(log=log)
        assert report.tell("upload") == "uploaded"
        (request,) = server.requests
        assert request.line == f"POST {FORM_PATH} HTTP/1.1"
        assert request.headers["content-type"] == CONTENT_TYPE
        assert request.headers["host"] == f"{HOST}:8443"
        assert request.body == upload_body({"Conversion_log": (log, b"bytes\0of the log")})

    def test_arrives_at_the_path_of_the_record(self, place):
        server = place.serve(answering(YES))
        assert place.uploads_to(f"https://{HOST}:8443/crash/up.cgi?a=1&b=%20").tell("upload") == "uploaded"
        (request,) = server.requests
        assert request.line == "POST /crash/up.cgi?a=1&b=%20 HTTP/1.1"

    def test_is_stored_by_the_server_that_comes_with_the_library(self, place, stage):
        with PhpServer(place.address, 8081, stage.artifacts / "store") as server:
            with TlsFront(place.address, 8443, place.certificate, (place.address, 8081)):
                report = place.uploads_to(URL)
                log = place.host.write(b"log", b"of the host")
                place.host.post(log=log)
                assert report.tell("upload") == "uploaded"
            (stored,) = server.reports()
        assert stored["Conversion_log"] == (log.decode(), b"of the host")

    def test_of_64_megabytes_arrives_whole(self, place):
        server = place.serve(answering(YES))
        report = place.uploads_to(URL)
        content = os.urandom(64 << 20)
        file = place.host.write(b"big", content)
        place.host.post(file=file)
        assert report.tell("upload", timeout=240) == "uploaded"
        assert server.requests[0].body == upload_body({"File_for_conversion": (file, content)})

    def test_that_failed_goes_over_tls_at_the_next_start_too_or_not_at_all(self, place):
        report = place.uploads_to(URL)
        assert report.tell("keep", place.host.path_of(b"unsent")) == "1"
        assert report.tell("upload") == "failed"  # nobody listens
        report.end()
        report = place.host.start()
        assert report.tell("keep", place.host.path_of(b"unsent")) == "1"

        def in_the_clear(client):
            client.read_some(16)
            client.send(http_answer(YES))

        with WebServer(place.address, 8443, in_the_clear) as plain:
            assert report.tell("send-unsent") == "1 0 1 0"
        assert plain.requests and not any(b"POST" in begin for begin in plain.requests)
        server = place.serve(answering(YES))
        assert report.tell("send-unsent") == "1 1 0 0"
        (request,) = server.requests
        assert request.line == f"POST {FORM_PATH} HTTP/1.1"
        assert request.headers["host"] == f"{HOST}:8443"
        assert request.body == upload_body({})

    def test_that_shows_its_progress_arrives_whole(self, place, stage):
        server = place.serve(answering(YES))
        dialog = UploadDialog(stage, locale=WESTERN, record=("--upload-url", URL))
        assert dialog.report.tell("show-progress") == "1"
        content = os.urandom(4 << 20)
        file = dialog.write(b"big", content)
        dialog.post(file=file)
        dialog.open()
        dialog.press("Upload Report")
        assert dialog.report.receive() == "1"
        (request,) = server.requests
        assert request.body == upload_body({"File_for_conversion": (file, content)})

    def test_without_a_confirmation_is_a_failure(self, place):
        server = place.serve(answering(b"Please log in."))
        assert place.uploads_to(URL).tell("upload") == "failed"
        assert len(server.requests) == 1


class TestServerThatIsNotTrusted:
    """It gets nothing, and nothing goes out in the clear instead."""

    def assert_refused(self, place, certificate):
        server = place.serve(answering(YES), certificate)
        plain = place.stage.enter_context(WebServer(place.address, 80, answering(YES)))
        assert place.uploads_to(URL).tell("upload") == "failed"
        assert (server.requests, plain.requests) == ([], [])

    def test_by_its_authority(self, place, stage):
        stranger = Authority(stage.artifacts / "stranger", "Unknown Authority")
        self.assert_refused(place, stranger.certificate(HOST))

    def test_by_its_date(self, place):
        self.assert_refused(place, place.authority.certificate(HOST, days=-1))

    def test_by_its_name(self, place):
        self.assert_refused(place, place.authority.certificate(OTHER_HOST))

    def test_by_speaking_no_tls(self, place):
        server = place.stage.enter_context(WebServer(place.address, 8443, lambda client: client.read_some(5)))
        assert place.uploads_to(URL).tell("upload") == "failed"
        assert {request[:2] for request in server.requests} == {b"\x16\x03"}, "greetings of TLS alone"


class TestServerThatBreaksOff:
    def test_in_the_middle_of_the_body_is_a_failure(self, place):
        def answer(client):
            client.read_some(100000)
            client.reset()

        server = place.serve(answer)
        report = place.uploads_to(URL)
        place.host.post(file=place.host.write(b"big", bytes(16 << 20)))
        assert report.tell("upload") == "failed"
        assert server.requests

    def test_in_the_middle_of_the_answer_is_a_failure(self, place):
        place.serve(sending(http_answer(YES)[:-10]))
        assert place.uploads_to(URL).tell("upload") == "failed"

    def test_is_followed_by_a_success_once_it_is_back(self, place):
        report = place.uploads_to(URL)
        assert report.tell("upload") == "failed"
        server = place.serve(answering(YES))
        assert report.tell("upload") == "uploaded"
        assert len(server.requests) == 1


class TestRedirect:
    def redirected(self, place, location, status="302 Found"):
        """A server with a form that redirects, and pages that confirm."""

        def answer(client):
            if client.read_request().line.split()[1] == FORM_PATH:
                client.send(http_answer(b"", status, [f"Location: {location}"]))
            else:
                client.send(http_answer(YES))

        server = place.serve(answer)
        return server, place.uploads_to(URL)

    @pytest.mark.parametrize("location", ("/thanks", f"https://{HOST}:8443/thanks", "thanks"))
    def test_on_the_same_server_is_followed(self, place, location):
        server, report = self.redirected(place, location)
        assert report.tell("upload") == "uploaded"
        assert [request.line for request in server.requests] == [f"POST {FORM_PATH} HTTP/1.1", "GET /thanks HTTP/1.1"]
        assert server.requests[1].body == b""

    @pytest.mark.parametrize("status", ("302 Found", "307 Temporary Redirect", "308 Permanent Redirect"))
    def test_to_another_host_carries_no_body(self, place, status):
        other = place.serve(answering(YES), place.authority.certificate(OTHER_HOST), place.other_address)
        _, report = self.redirected(place, f"https://{OTHER_HOST}:8443/taken", status)
        assert report.tell("upload") == "uploaded"
        assert [(request.line, request.body) for request in other.requests] == [("GET /taken HTTP/1.1", b"")]

    def test_to_a_host_that_is_not_trusted_is_a_failure(self, place):
        other = place.serve(answering(YES), place.certificate, place.other_address)
        _, report = self.redirected(place, f"https://{OTHER_HOST}:8443/taken")
        assert report.tell("upload") == "failed"
        assert other.requests == []

    @pytest.mark.parametrize("status", ("302 Found", "307 Temporary Redirect"))
    def test_to_plain_http_is_a_failure(self, place, status):
        plain = place.stage.enter_context(WebServer(place.address, 80, answering(YES)))
        _, report = self.redirected(place, f"http://{HOST}/thanks", status)
        assert report.tell("upload") == "failed"
        assert plain.requests == []

    def test_without_an_end_is_a_failure(self, place):
        server, report = self.redirected(place, FORM_PATH)
        assert report.tell("upload") == "failed"
        assert len(server.requests) < 10

    def test_without_a_place_is_a_failure(self, place):
        place.serve(answering(YES, "302 Found"))
        assert place.uploads_to(URL).tell("upload") == "failed"
