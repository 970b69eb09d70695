"""The second try of an upload, through a real proxy (tinyproxy) that alone knows where the server is."""

import pytest

from testing.loopback import loopback_address
from testing.service import Service, listens
from testing.tls import SYSTEM_AUTHORITIES, SYSTEM_HOSTS, Authority, TlsFront, mounted_over
from testing.upload_body import FORM_PATH, YES, upload_body
from testing.web_server import WebServer, answering
from uploading import Uploader

HOST = "reports.wendax.test"
SETTINGS = r"HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Internet Settings"


class Proxy(Service):
    """hosts: the hosts file that the proxy alone sees."""

    def __init__(self, folder, hosts):
        super().__init__()
        self.address, self.port = loopback_address(3128), 3128
        self._hosts, self._settings, self._requests = (folder / name for name in ("hosts", "proxy.conf", "proxy.log"))
        self._hosts.write_text(hosts)
        place = f'Listen {self.address}\nPort {self.port}\nLogFile "{self._requests}"\n'
        self._settings.write_text(place + "LogLevel Connect\nMaxClients 20\nTimeout 60\n")

    def start(self):
        inside = 'mount --bind "$1" "$2" && exec tinyproxy -d -c "$3"'
        command = ["unshare", "--mount", "sh", "-c", inside, "sh", self._hosts, SYSTEM_HOSTS, self._settings]
        self.launch(command, lambda: listens(self.address, self.port))

    def requests(self):
        """The request lines that it was sent."""
        lines = self._requests.read_text().splitlines()
        return [line.partition("): ")[2] for line in lines if "Request (" in line]


class Network:
    """A server that is known to the proxy alone."""

    def __init__(self, stage, folder):
        self.stage = stage
        self.address = loopback_address()
        self.proxy = stage.enter_context(Proxy(folder, f"{self.address} {HOST}\n"))
        self.wine = stage.wine()

    def serve(self, answer=answering(YES), port=80):
        return self.stage.enter_context(WebServer(self.address, port, answer))

    def set_proxy(self, enabled=1, address=None):
        """Those of the user; taken back with the stage."""
        server = f"{address or self.proxy.address}:{self.proxy.port}"
        for name, value in (("ProxyEnable", enabled), ("ProxyServer", server)):
            self.wine.set_registry(SETTINGS, name, value)
            self.stage.callback(self.wine.set_registry, SETTINGS, name, None)

    def upload(self, *record):
        return Uploader(self.stage, wine=self.wine, record=record).start().tell("upload")


@pytest.fixture
def network(stage, tmp_path):
    return Network(stage, tmp_path)


def test_name_that_is_not_found_is_asked_of_the_proxy(network):
    server = network.serve()
    network.set_proxy()
    assert network.upload("--upload-server", HOST, "--proxy", "yes") == "uploaded"
    (request,) = server.requests
    assert request.line.startswith(f"POST {FORM_PATH} HTTP/1.")
    assert request.body == upload_body({})
    (asked,) = network.proxy.requests()
    assert asked.replace(":80/", "/") == f"POST http://{HOST}{FORM_PATH} HTTP/1.1"  # Wine names the port


def test_host_that_takes_no_connection_is_reached_by_the_proxy(network, tmp_path):
    server = network.serve()
    network.set_proxy()
    with mounted_over(SYSTEM_HOSTS, f"{loopback_address()} {HOST}\n".encode(), tmp_path):
        assert network.upload("--upload-server", HOST, "--proxy", "yes") == "uploaded"
    assert len(server.requests) == 1


def test_tls_goes_through_the_proxy_from_end_to_end(network, tmp_path):
    authority = Authority(tmp_path / "authority")
    server = network.serve(port=8081)
    network.set_proxy()
    front = TlsFront(network.address, 443, authority.certificate(HOST), (network.address, 8081))
    with mounted_over(SYSTEM_AUTHORITIES, authority.file.read_bytes(), tmp_path), front:
        assert network.upload("--upload-url", f"https://{HOST}/up", "--proxy", "yes") == "uploaded"
    (request,) = server.requests
    assert request.line.startswith("POST /up HTTP/1.")
    assert request.body == upload_body({})
    assert [line.split()[:2] for line in network.proxy.requests()] == [["CONNECT", f"{HOST}:443"]]


def test_record_that_does_not_allow_it_is_obeyed(network):
    server = network.serve()
    network.set_proxy()
    assert network.upload("--upload-server", HOST) == "failed"
    assert (server.requests, network.proxy.requests()) == ([], [])


@pytest.mark.parametrize("settings", (False, True), ids=("none", "off"))
def test_system_without_a_proxy_has_no_second_try(network, settings):
    if settings:
        network.set_proxy(enabled=0)
    assert network.upload("--upload-server", HOST, "--proxy", "yes") == "failed"
    assert network.proxy.requests() == []


def test_server_that_is_reached_is_not_asked_through_the_proxy(network):
    server = network.serve()
    network.set_proxy()
    assert network.upload("--upload-server", network.address, "--proxy", "yes") == "uploaded"
    assert len(server.requests) == 1
    assert network.proxy.requests() == []


@pytest.mark.parametrize("body", (b"Please log in.", None), ids=("refuses", "hangs up"))
def test_report_that_was_sent_is_not_sent_again(network, body):
    def answer(client):
        client.read_request()
        if body is None:
            client.reset()

    server = network.serve(answering(body) if body else answer)
    network.set_proxy()
    assert network.upload("--upload-server", network.address, "--proxy", "yes") == "failed"
    assert len(server.requests) == 1
    assert network.proxy.requests() == []


def test_server_that_is_not_trusted_is_not_asked_through_the_proxy(network, tmp_path):
    stranger = Authority(tmp_path / "stranger")
    server = network.serve(port=8081)
    network.set_proxy()
    with mounted_over(SYSTEM_HOSTS, f"{network.address} {HOST}\n".encode(), tmp_path):
        with TlsFront(network.address, 443, stranger.certificate(HOST), (network.address, 8081)):
            assert network.upload("--upload-url", f"https://{HOST}/up", "--proxy", "yes") == "failed"
    assert (server.requests, network.proxy.requests()) == ([], [])


def test_proxy_that_is_gone_too_is_a_failure(network):
    network.serve()
    network.set_proxy(address=loopback_address(3128))
    assert network.upload("--upload-server", HOST, "--proxy", "yes") == "failed"
