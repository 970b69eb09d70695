"""The upload server of examples/, run by php-cli, with a store that the test can look into."""

import json
import os
import pathlib

from testing.processes import REPO
from testing.service import Service, listens

SERVER = REPO / "examples" / "upload-server"


class PhpServer(Service):
    """ini: PHP settings, with which php is started directly instead of by the script "serve"."""

    def __init__(self, address, port, store, env=None, ini=None):
        super().__init__()
        self.address, self.port, self.store = address, port, pathlib.Path(store)
        self._env = {**os.environ, "UPLOAD_STORE": str(store), **(env or {})}
        self._command = [SERVER / "serve", f"{address}:{port}"]
        if ini is not None:
            settings = [word for name, value in ini.items() for word in ("-d", f"{name}={value}")]
            public = SERVER / "public"
            self._command = ["php", "-n", *settings, "-S", f"{address}:{port}", "-t", public, public / "index.php"]

    def start(self):
        self.launch(self._command, lambda: listens(self.address, self.port), env=self._env)

    def reports(self):
        """The reports in the store, oldest first: [{part: (path as it is listed, content)}]."""
        return [_report(folder) for folder in self.report_folders()]

    def report_folders(self):
        if not self.store.is_dir():
            return []
        return sorted(entry for entry in self.store.iterdir() if not entry.name.startswith("."))


def _report(folder):
    listed = json.loads((folder / "report.json").read_text())
    found = {entry["part"]: (entry["path"], (folder / entry["file"]).read_bytes()) for entry in listed["files"]}
    names = {entry["file"] for entry in listed["files"]} | {"report.json"}
    if names != {entry.name for entry in folder.iterdir()}:
        raise AssertionError(f"{folder} holds other files than its list: {sorted(folder.iterdir())}")
    return found
