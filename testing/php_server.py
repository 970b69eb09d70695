"""The upload server of examples/, run by php-cli, with a store that the test can look into."""

import contextlib
import json
import os
import pathlib
import socket
import tempfile

from testing.processes import REPO, spawn, stop, wait_until

SERVER = REPO / "examples" / "upload-server"


class PhpServer:
    """Context manager. ini: PHP settings, with which php is started directly instead of by the script "serve"."""

    def __init__(self, address, port, store, env=None, ini=None):
        self.address, self.port, self.store = address, port, pathlib.Path(store)
        self._env = {**os.environ, "UPLOAD_STORE": str(store), **(env or {})}
        self._command = [SERVER / "serve", f"{address}:{port}"]
        if ini is not None:
            settings = [word for name, value in ini.items() for word in ("-d", f"{name}={value}")]
            self._command = [
                "php",
                "-n",
                *settings,
                "-S",
                f"{address}:{port}",
                "-t",
                SERVER / "public",
                SERVER / "public" / "index.php",
            ]

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self._log = stack.enter_context(tempfile.TemporaryFile())
            server = spawn(self._command, env=self._env, stdout=self._log, stderr=self._log)
            stack.callback(stop, server)

            def ready():
                if server.poll() is not None:
                    raise RuntimeError(f"php ended at once: {self.log()}")
                with socket.socket() as probe:
                    return probe.connect_ex((self.address, self.port)) == 0

            wait_until(ready, "php to listen", seen=self.log)
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *failure):
        self._stack.close()

    def log(self):
        return os.pread(self._log.fileno(), 65536, 0).decode("utf-8", "replace")

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
