"""Addresses of this machine's own, and what may go wrong with their port 80."""

import errno
import random
import socket


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
                    raise NoPort(f"port {port} of {address} is reserved to root here: run the tests as root, or allow "
                                 f"it with 'sysctl net.ipv4.ip_unprivileged_port_start={port}'") from None
                if error.errno != errno.EADDRINUSE:
                    raise NoPort(f"no server can listen on {address}:{port}: {error}") from None
    raise NoPort(f"port {port} is taken on every loopback address that was tried")
