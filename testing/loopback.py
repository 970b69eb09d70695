"""Addresses of this machine's own, and a way to their port 80 for those who are not root.

usage: python3 -m testing.loopback [--own-mounts] COMMAND...

Runs the command where it may listen at port 80: in a network of its own, if only root may do so here; with --own-mounts also
where what it mounts is seen by nobody else.
"""

import errno
import fcntl
import os
import random
import socket
import struct
import subprocess
import sys

from testing.processes import REPO

_INSIDE = "WENDAX_TEST_OWN_NAMESPACE"


class NoPort(Exception):
    """The port can't be used; the message says what to do."""


def loopback_address(port=80):
    """An address of this machine alone (all of 127/8 is) at which nobody uses the port.

    The library always talks to port 80. At an address of its own a test meets no other server there.
    """
    for _ in range(100):
        address = f"127.83.{random.randrange(1, 255)}.{random.randrange(1, 255)}"
        with socket.socket() as probe:
            try:
                probe.bind((address, port))
                return address
            except OSError as error:
                if error.errno == errno.EACCES:
                    raise NoPort(
                        f"port {port} of {address} is reserved to root here: run this as root, or allow it "
                        f"with 'sysctl net.ipv4.ip_unprivileged_port_start={port}'"
                    ) from None
                if error.errno != errno.EADDRINUSE:
                    raise NoPort(f"no server can listen on {address}:{port}: {error}") from None
    raise NoPort(f"port {port} is taken on every loopback address that was tried")


def need_port_80(own_mounts=False, command=None):
    """To be called first by a program that needs the port. Where only root may have it, the command (this program, if None)
    is started in this one's place in a network of its own, of which every user is the master; what it runs in Wine runs
    there too. own_mounts: it is started among mounts of its own, so that it can mount what nobody else sees.
    """
    inside = os.environ.pop(_INSIDE, None)
    if inside == "network":
        bring_loopback_up()
    trouble = None
    try:
        loopback_address()
    except NoPort as reason:
        trouble = reason
    if inside or not (trouble or own_mounts):
        if trouble:
            sys.exit(f"{sys.argv[0]}: {trouble}")
        return
    network = trouble or os.geteuid() != 0
    namespace = [
        "unshare",
        *(["--user", "--map-root-user", "--net"] if network else []),
        *(["--mount"] if own_mounts else []),
    ]
    done = subprocess.run([*namespace, "true"], stderr=subprocess.PIPE, check=False)
    if done.returncode != 0:
        sys.exit(f"{sys.argv[0]}: {trouble or done.stderr.decode(errors='replace')}")
    if network:
        # In there Wine's server is another one: the one out here must have written back what it holds.
        subprocess.run([REPO / "scripts" / "lib" / "wineserver", "-w"], timeout=120, check=True)
    os.execvpe(
        namespace[0],
        [*namespace, *(command or [sys.executable, *sys.argv])],
        {**os.environ, _INSIDE: "network" if network else "mounts"},
    )


def bring_loopback_up():
    set_flags, up = 0x8914, 1  # SIOCSIFFLAGS, IFF_UP
    with socket.socket() as any_socket:
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh14x", b"lo", up))


def main():
    arguments = sys.argv[1:]
    own_mounts = arguments[:1] == ["--own-mounts"]
    command = arguments[own_mounts:]
    if not command:
        sys.exit(__doc__)
    need_port_80(own_mounts, [sys.executable, "-m", "testing.loopback", *arguments])
    os.execvp(command[0], command)


if __name__ == "__main__":
    main()
