"""A PostgreSQL of the test's own, run by a user who is not root: data and socket lie in a temporary folder."""

import contextlib
import os
import pathlib
import pwd
import shutil
import subprocess
import tempfile

from testing.processes import spawn, stop, wait_until

_USER = "nobody"


class Postgres(contextlib.ExitStack):
    """Context manager. url: of its database."""

    def __enter__(self):
        super().__enter__()
        folder = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory(prefix="wendax-pg-")))
        self._as = ["setpriv", "--reuid", _USER, "--regid", "nogroup", "--clear-groups"] if os.getuid() == 0 else []
        if self._as:
            os.chown(folder, pwd.getpwnam(_USER).pw_uid, pwd.getpwnam(_USER).pw_gid)
        programs = max(pathlib.Path("/usr/lib/postgresql").glob("*/bin"), key=lambda path: int(path.parent.name))
        data = folder / "data"
        self._run(
            programs / "initdb", "-D", data, "-U", "inbox", "--auth=trust", "--encoding=UTF8", "--no-locale", "-N"
        )
        log = self.enter_context(open(folder / "log", "wb"))
        server = spawn(
            [
                *self._as,
                programs / "postgres",
                "-D",
                data,
                "-k",
                folder,
                "-c",
                "listen_addresses=",
                "-c",
                "max_connections=60",
            ],
            stdout=log,
            stderr=log,
        )
        self.callback(stop, server)
        ready = [programs / "pg_isready", "-h", folder]
        wait_until(lambda: subprocess.run(ready, capture_output=True, check=False).returncode == 0, "PostgreSQL", 120)
        self._run(programs / "createdb", "-h", folder, "-U", "inbox", "inbox")
        self.url = f"postgresql://inbox@/inbox?host={folder}"
        return self

    def _run(self, program, *arguments):
        done = subprocess.run(
            [*self._as, program, *arguments], capture_output=True, text=True, timeout=120, check=False, cwd="/"
        )
        if done.returncode:
            raise RuntimeError(f"{program}: {done.stderr}")


def installed():
    return bool(shutil.which("setpriv")) and any(pathlib.Path("/usr/lib/postgresql").glob("*/bin/initdb"))
