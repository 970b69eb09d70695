"""Programs that run beside a test."""

import contextlib
import os
import socket
import tempfile

from testing.processes import spawn, stop, wait_until


def listens(address, port):
    """Whether somebody takes connections there."""
    with socket.socket() as probe:
        return probe.connect_ex((address, port)) == 0


def free_port(address="127.0.0.1"):
    """A port of that address which nobody uses."""
    with socket.socket() as probe:
        probe.bind((address, 0))
        return probe.getsockname()[1]


class Service(contextlib.ExitStack):
    """Context manager: a program, which its start() launches, and what else it enters, to be left together."""

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.close()
            raise
        return self

    def launch(self, command, ready=lambda: True, timeout=60, **options):
        """Starts the program and waits until it is ready()."""
        self._log = self.enter_context(tempfile.TemporaryFile())
        self.process = spawn(command, stdout=self._log, stderr=self._log, **options)
        self.callback(stop, self.process)

        def is_ready():
            if self.process.poll() is not None:
                raise RuntimeError(f"{command[0]} ended at once: {self.log()}")
            return ready()

        wait_until(is_ready, f"{command[0]} to start", timeout, seen=self.log)

    def log(self):
        """What the program has written."""
        return os.pread(self._log.fileno(), 1 << 20, 0).decode("utf-8", "replace")
