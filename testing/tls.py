"""A certificate authority of the test's own, and TLS in front of a plain server (stunnel).

What Wine trusts and which hosts it knows are files of this system: where a test has mounts of its own (OWN_MOUNTS in CMake),
it puts others in their place.
"""

import contextlib
import datetime
import pathlib
import subprocess
import tempfile

from testing.service import Service, listens

SYSTEM_AUTHORITIES = "/etc/ssl/certs/ca-certificates.crt"
SYSTEM_HOSTS = "/etc/hosts"

_CONFIGURATION = """
[ca]
default_ca = own
[own]
database = index.txt
new_certs_dir = .
rand_serial = yes
default_md = sha256
unique_subject = no
policy = any
[any]
commonName = supplied
[server]
subjectAltName = DNS:{host}
extendedKeyUsage = serverAuth
"""


class Authority:
    """Makes certificates in a folder. file: its own certificate."""

    def __init__(self, folder, name="Wendax Test Authority"):
        self.folder = pathlib.Path(folder)
        self.folder.mkdir(parents=True)
        (self.folder / "index.txt").touch()
        self.file = self.folder / "authority.pem"
        self._openssl(
            *("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "authority.key", "-out", self.file.name),
            *("-days", "2", "-subj", f"/CN={name}", "-addext", "keyUsage=critical,keyCertSign,cRLSign"),
        )

    def certificate(self, host, days=2):
        """The file with certificate and key of that host, good for the days around this moment, or with negative days until
        so many days ago."""
        (self.folder / "ca.conf").write_text(_CONFIGURATION.format(host=host))
        now = datetime.datetime.now(datetime.timezone.utc)
        start, end = (
            (now + datetime.timedelta(days=offset)).strftime("%Y%m%d%H%M%SZ") for offset in (-abs(days) - 1, days)
        )
        self._openssl(
            *("req", "-newkey", "rsa:2048", "-nodes", "-keyout", "host.key", "-out", "host.csr", "-subj", f"/CN={host}")
        )
        self._openssl(
            *("ca", "-batch", "-config", "ca.conf", "-cert", self.file.name, "-keyfile", "authority.key"),
            *("-extensions", "server", "-startdate", start, "-enddate", end, "-notext"),
            *("-in", "host.csr", "-out", "host.pem"),
        )
        with tempfile.NamedTemporaryFile(dir=self.folder, suffix=".pem", delete=False) as file:
            file.write((self.folder / "host.pem").read_bytes() + (self.folder / "host.key").read_bytes())
        return pathlib.Path(file.name)

    def _openssl(self, *words):
        subprocess.run(["openssl", *words], cwd=self.folder, check=True, capture_output=True, timeout=60)


class TlsFront(Service):
    """Takes TLS connections at address and port, and hands them on to the plain server behind it, a pair of address and
    port."""

    def __init__(self, address, port, certificate, behind):
        super().__init__()
        self.address, self.port = address, port
        self._settings = (
            "foreground = yes\npid =\nsyslog = no\n[front]\n"
            "TIMEOUTclose = 0\n"  # Wine ends a connection when it is closed, not when that is announced
            f"accept = {address}:{port}\nconnect = {behind[0]}:{behind[1]}\ncert = {certificate}\n"
        )

    def start(self):
        settings = self.enter_context(tempfile.NamedTemporaryFile("w", suffix=".conf"))
        settings.write(self._settings)
        settings.flush()
        self.launch(["stunnel4", settings.name], lambda: listens(self.address, self.port))


@contextlib.contextmanager
def mounted_over(place, content, folder):
    """In the place of that file of the system there is another one with the content, for this process and those that it
    starts, which must have mounts of their own."""
    with tempfile.NamedTemporaryFile(dir=folder, delete=False) as file:
        file.write(content)
    pathlib.Path(file.name).chmod(0o644)
    subprocess.run(["mount", "--bind", file.name, place], check=True)
    try:
        yield
    finally:
        subprocess.run(["umount", "--lazy", place], check=True)
