"""A host program that takes commands on its standard input, and answers each with a line."""

import subprocess

from testing.processes import wait_until


class DrivenHost:
    def __init__(self, wine, program, limit=240, **options):
        self.process = wine.start(program, stdin=subprocess.PIPE, limit=limit, **options)
        self._read = 0

    def send(self, *words):
        """Gives it a command. Words are bytes, or anything that prints as plain ASCII."""
        line = b" ".join(word if isinstance(word, bytes) else str(word).encode("ascii") for word in words) + b"\n"
        self.process.stdin.write(line)
        self.process.stdin.flush()

    def receive(self, timeout=120):
        """Its next answer."""

        def answered():
            lines = self.process.stdout.split(b"\n")
            if len(lines) > self._read + 1:
                return lines[self._read]
            if not self.process.running():
                raise AssertionError(f"the host ended: {self.process.output()}")
            return None

        found = wait_until(answered, "the host's answer", timeout, seen=self.process.output)
        self._read += 1
        return found.decode("ascii").strip()

    def tell(self, *words, timeout=120):
        """Gives it a command, and returns its answer."""
        self.send(*words)
        return self.receive(timeout)

    def end(self):
        """Ends its input, waits for its end and returns its exit code."""
        self.process.stdin.close()
        return self.process.wait()
