"""A PostgreSQL of the test's own, run by a user who is not root: data and socket lie in a temporary folder."""

import os
import pathlib
import pwd
import subprocess
import tempfile

from testing.service import Service

_USER = "nobody"


class Postgres(Service):
    """url: of its database."""

    def start(self):
        folder = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory(prefix="wendax-pg-")))
        self._as = ["setpriv", "--reuid", _USER, "--regid", "nogroup", "--clear-groups"] if os.getuid() == 0 else []
        if self._as:
            os.chown(folder, pwd.getpwnam(_USER).pw_uid, pwd.getpwnam(_USER).pw_gid)
        programs = max(pathlib.Path("/usr/lib/postgresql").glob("*/bin"), key=lambda path: int(path.parent.name))
        data = folder / "data"
        self._run(programs / "initdb", *f"-D {data} -U inbox --auth=trust --encoding=UTF8 --no-locale -N".split())
        server = f"{programs}/postgres -D {data} -k {folder} -c listen_addresses= -c max_connections=60".split()
        ready = [programs / "pg_isready", "-h", folder]
        is_ready = lambda: subprocess.run(ready, capture_output=True, check=False).returncode == 0
        self.launch([*self._as, *server], is_ready, 120)
        self._run(programs / "createdb", "-h", folder, "-U", "inbox", "inbox")
        self.url = f"postgresql://inbox@/inbox?host={folder}"

    def _run(self, program, *arguments):
        done = subprocess.run(
            [*self._as, program, *arguments], capture_output=True, text=True, timeout=120, check=False, cwd="/"
        )
        if done.returncode:
            raise RuntimeError(f"{program}: {done.stderr}")
