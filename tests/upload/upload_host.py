"""A host with the library beside it, whose reports go to an address of the test's choice."""

import pathlib
import re
import shutil

from driven_host import DrivenHost
from support.host import LIBRARY_FILES

_FORM_URL = re.compile(rb"http://([^/\0]+)(/index\.php\?option=com_mosforms)\0")


def aim_library(dll, address):
    """Puts another server into the form's URL of a Wendax.dll, the one difference to what ships.

    The shipped library knows one server, by a name that reaches nobody.
    """
    content = dll.read_bytes()
    found, = _FORM_URL.finditer(content)
    url = b"http://" + address.encode("ascii") + found[2] + b"\0"
    if len(url) > len(found[0]):
        raise ValueError(f"{address} is longer than the server's name in {dll}: configure with a longer "
                         "WENDAX_UPLOAD_SERVER")
    dll.write_bytes(content[:found.start()] + url.ljust(len(found[0]), b"\0") + content[found.end():])


class UploadHost:
    """A folder with a host and the library's files. With an address, reports go there; without, to the server that is
    built in. wine: where it runs; the shared prefix if None."""

    def __init__(self, case, program="upload_host.exe", address=None, wine=None):
        self.wine = wine or case.wine()
        self.folder = case.artifacts / "host"
        self.folder.mkdir()
        self.exe = pathlib.Path(shutil.copy(case.product(program), self.folder))
        for name in LIBRARY_FILES:
            shutil.copy(case.product(name), self.folder)
        if address:
            aim_library(self.folder / "Wendax.dll", address)

    def start(self, **options):
        return self.wine.start(self.exe, cwd=self.folder, **options)

    def drive(self, **options):
        return DrivenHost(self.wine, self.exe, cwd=self.folder, **options)

    def write(self, name, content, encoding="ascii"):
        """Puts a file into the host's folder; name is bytes. Returns its full path as the host calls it, in bytes."""
        (self.folder / name.decode(encoding)).write_bytes(content)
        return self.path_of(name)

    def path_of(self, name):
        return self.wine.prefix.to_windows(self.folder).encode("ascii") + b"\\" + name
