"""Runs Windows programs for a test, each under a watchdog."""

import contextlib
import dataclasses
import itertools
import os
import re
import signal
import subprocess
import tempfile
import threading

from testing.prefix import project_prefix
from testing.processes import REPO, marked_processes, signal_group, spawn, wait_until

LIMIT_SECONDS = 120.0

# Wine's own helpers. They serve every program in the prefix, whichever of them happened to start them.
_SERVANTS = {
    "wineserver",
    "wineserver32",
    "wineserver64",
    "services.exe",
    "winedevice.exe",
    "plugplay.exe",
    "svchost.exe",
    "rpcss.exe",
    "explorer.exe",
    "start.exe",
    "conhost.exe",
}
_count = itertools.count(1)


class Hang(Exception):
    """A program was still running at the end of its limit, and was killed. The message says where it hung."""


@dataclasses.dataclass(frozen=True)
class Result:
    """How a program ended, and what it wrote. Of a Windows exit code only the lowest 8 bits come through."""

    returncode: int
    stdout: bytes
    stderr: bytes

    @property
    def text(self):
        """What it wrote to its standard output, as UTF-8, lines ending in a plain \\n."""
        return _text(self.stdout)


class Wine:
    """Runs programs in one prefix, on one desktop (or none), under one locale.

    prefix: the project's shared one if None. While any program without a display runs in a prefix, those with one show
    no windows: have a prefix of its own for a desktop. locale: such as "ru_RU.UTF-8" for ANSI code page 1251; C.UTF-8 (code
    page 1252) if None.
    """

    def __init__(self, desktop=None, prefix=None, locale=None):
        self.prefix = prefix or project_prefix()
        kept = {
            name: value
            for name, value in os.environ.items()
            if not name.startswith(("LC_", "WINE"))
            and name not in ("DISPLAY", "LANGUAGE", "LD_LIBRARY_PATH")
            or name == "WINEDEBUG"
        }
        self.env = {**kept, "LC_ALL": locale or "C.UTF-8", "WINEPREFIX": str(self.prefix.path)}
        if desktop:
            self.env.update(desktop.env)

    def start(self, exe, *args, cwd=None, env=None, limit=LIMIT_SECONDS, stdin=subprocess.DEVNULL, memory=None):
        """Starts a program and returns its WineProcess. After limit seconds the watchdog ends it. memory: how many bytes of
        address space it may have, Wine's own included; as many as there are if None.

        exe: a path of this system, or a Windows name. env: variables to add, or with None to take away.
        """
        environment = dict(self.env)
        for name, value in (env or {}).items():
            if value is None:
                environment.pop(name, None)
            else:
                environment[name] = str(value)
        return WineProcess(self, [str(exe), *map(str, args)], cwd, environment, limit, stdin, memory)

    def run(self, exe, *args, check=False, **options):
        """Runs a program to its end, and to that of the programs that it started, and returns the Result. Options as
        for start(); with check, a code other than 0 raises RuntimeError with what the program wrote."""
        with self.start(exe, *args, **options) as process:
            process.wait_family()
            if check and process.returncode != 0:
                raise RuntimeError(f"{process.name} ended with code {process.returncode}\n{process.output()}")
            return process.result()

    # The registry of the prefix

    def set_registry(self, key, name, value):
        """Sets a value: text, a number (32 bits), bytes; None removes it. An empty name is the key's default value.

        key as in r"HKEY_CURRENT_USER\\Environment".
        """
        self.import_registry(f"[{key}]\n{_quoted(name) if name else '@'}={_registry_data(value)}\n")

    def remove_registry_key(self, key):
        """Removes a key with everything below it."""
        self.import_registry(f"[-{key}]\n")

    def import_registry(self, entries):
        """Takes over entries in the notation of a .reg file, without its first line."""
        text = "Windows Registry Editor Version 5.00\n\n" + entries
        with tempfile.NamedTemporaryFile(suffix=".reg", dir=self.prefix.drive_c) as file:
            file.write(text.replace("\n", "\r\n").encode("utf-16"))
            file.flush()
            self.run("reg", "import", self.prefix.to_windows(file.name), check=True)

    def associate(self, extension, program, *args):
        """Makes program the one that opens files with that extension (".eml"): it gets args, then the file's name.

        program: a path of this system, or a Windows name.
        """
        name = self.prefix.to_windows(program) if str(program).startswith("/") else str(program)
        command = " ".join(f'"{word}"' for word in (name, *args, "%1"))
        file_type = "WendaxTest" + extension
        root = r"HKEY_CLASSES_ROOT"
        self.import_registry(
            f"[{root}\\{extension}]\n@={_quoted(file_type)}\n\n"
            f"[{root}\\{file_type}\\shell\\open\\command]\n@={_quoted(command)}\n"
        )

    def dissociate(self, extension):
        """Takes back associate(), and any other program for that extension."""
        self.remove_registry_key(rf"HKEY_CLASSES_ROOT\{extension}")
        self.remove_registry_key(rf"HKEY_CLASSES_ROOT\WendaxTest{extension}")


class WineProcess:
    """A program that was started. Also a context manager, which ends the program if it still runs."""

    def __init__(self, wine, argv, cwd, env, limit, stdin, memory):
        self.name = argv[0].replace("\\", "/").rpartition("/")[2]
        self.limit = limit
        self._wine = wine
        self._hang = None
        self._lock = threading.Lock()
        mark = ("WENDAX_TEST_PROCESS", f"{os.getpid()}.{next(_count)}")
        self._mark = "=".join(mark).encode()
        self._stdout, self._stderr = _Capture(), _Capture()
        self._process = spawn(
            [*(["prlimit", f"--as={memory}"] if memory else ()), REPO / "scripts" / "wine", *argv],
            cwd=cwd,
            env={**env, mark[0]: mark[1]},
            stdin=stdin,
            stdout=self._stdout.file,
            stderr=self._stderr.file,
        )
        self.stdin = self._process.stdin
        self._watchdog = threading.Timer(limit, self._expire)
        self._watchdog.daemon = True
        self._watchdog.start()

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self.kill()

    @property
    def pid(self):
        """The process id on this system."""
        return self._process.pid

    @property
    def returncode(self):
        """The exit code, or None while it runs."""
        return self._process.poll()

    def running(self):
        return self._process.poll() is None

    def wait(self):
        """Waits for the end of the program and returns its exit code. Raises Hang if the watchdog had to end it."""
        code = self._process.wait()
        with self._lock:  # Not before the watchdog, if it is at work, has written down what it saw.
            if self._hang:
                raise Hang(self._hang)
        return code

    def wait_family(self):
        """Waits for the end of the program and of the programs that it started; otherwise like wait()."""
        code = self.wait()
        wait_until(lambda: self._hang or not self.family(), f"what {self.name} started to end", self.limit + 120)
        self.wait()
        return code

    def kill(self):
        """Ends the program and the programs that it started, if they still run."""
        self._watchdog.cancel()
        with self._lock:
            self._end_family()
        self._process.wait()
        self._stdout.close()
        self._stderr.close()

    def result(self):
        """The Result of a program that has ended."""
        return Result(self.wait(), self.stdout, self.stderr)

    @property
    def stdout(self):
        """What it has written to its standard output by now."""
        return self._stdout.read()

    @property
    def stderr(self):
        return self._stderr.read()

    def output(self):
        """What it has written by now to both, as text for a message."""
        return f"--- standard output ---\n{_text(self.stdout)}\n--- standard error ---\n{_text(self.stderr)}\n---"

    def family(self):
        """{pid: name} of the program and of the programs that it started, as far as they run."""
        found = marked_processes(self._mark)
        return {pid: name for pid, name in found.items() if name not in _SERVANTS}

    # Inside

    def _expire(self):
        with self._lock:
            family = self.family()
            if family:
                self._hang = (
                    f"{self.name} was still running after {self.limit:g} s\n{self.output()}\n"
                    f"running: {family}\n{self._stacks()}"
                )
            self._end_family()

    def _end_family(self):
        signal_group(self._process, signal.SIGKILL)
        # Again, until none is left: a program may have started another one meanwhile, and dying takes its time.
        wait_until(lambda: not self._kill_family(), f"the end of {self.name} and its children", seen=self.family)

    def _kill_family(self):
        family = self.family()
        for pid in family:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)
        return family

    def _stacks(self):
        """Where the threads of the prefix's programs stand, Wine's own programs left out."""
        try:
            seen = subprocess.run(
                [REPO / "scripts" / "wine", "winedbg", "--command", "bt all"],
                env=self._wine.env,
                stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE,
                stderr=subprocess.DEVNULL,
                timeout=150,
                check=False,
            ).stdout
        except subprocess.TimeoutExpired as slow:
            seen = slow.stdout or b""  # On a busy machine the debugger may not come to the end of Wine's own programs.
        blocks = re.split(r"^(?=Backtracing for thread)", _text(seen), flags=re.MULTILINE)[1:]
        wanted = [block for block in blocks if "C:\\windows\\system32\\" not in block.partition("\n")[0]]
        return "".join(wanted) or "(no stacks: the debugger saw no program)"


class _Capture:
    """What a program writes. A file, because children may hold a pipe open for ever."""

    def __init__(self):
        self.file = tempfile.TemporaryFile(buffering=0)
        self._kept = None

    def read(self):
        if self._kept is not None:
            return self._kept
        # At a place of its own: the offset is shared with the program that writes.
        return os.pread(self.file.fileno(), os.fstat(self.file.fileno()).st_size, 0)

    def close(self):
        self._kept = self.read()
        self.file.close()


def _text(written):
    return written.decode("utf-8", "backslashreplace").replace("\r\n", "\n")


def _quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def _registry_data(value):
    if value is None:
        return "-"
    if isinstance(value, int):
        return f"dword:{value:08x}"
    if isinstance(value, bytes):
        return "hex:" + ",".join(f"{byte:02x}" for byte in value)
    return _quoted(value)
