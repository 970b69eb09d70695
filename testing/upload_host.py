"""A host with the library beside it, whose reports go to an address of the test's choice."""

import pathlib
import shutil

from testing.driven_host import DrivenHost
from testing.host import LIBRARY_FILES, redirect


class UploadHost:
    """A folder with a host and the library's files. With an address, reports go there; without, to the server that is
    built in. wine: where it runs; the shared prefix if None."""

    def __init__(self, stage, program="upload_host.exe", address=None, wine=None, folder="host"):
        self.wine = wine or stage.wine()
        self.folder = stage.artifacts / folder
        self.folder.mkdir()
        self.exe = pathlib.Path(shutil.copy(stage.product(program), self.folder))
        # What describes the fault, for the example that uploads the text of it.
        for name in (*LIBRARY_FILES, *(("faultkit.dll",) if program == "upload.exe" else ())):
            shutil.copy(stage.product(name), self.folder)
        if address:
            redirect(self.folder / "Wendax.dll", "--upload-server", address)

    def redirect(self, *options):
        """Writes that into the library's record."""
        redirect(self.folder / "Wendax.dll", *options)

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
