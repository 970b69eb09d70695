"""Settings: those of the command line, then those of inbox.ini in the store's folder, then these."""

import configparser
import dataclasses
import ipaddress
import pathlib
import re


class BadSetting(Exception):
    """A setting can't be used. The message says which and why."""


@dataclasses.dataclass
class Config:
    store: pathlib.Path
    listen: str = "127.0.0.1:8080"
    database: str = ""  # a URL; empty: SQLite in the store's folder
    rules: str = ""  # a file; empty: groups.txt of the store's folder, or the one that comes along
    password: str = ""  # its hash
    keep: str = ""  # such as 180d; empty: for ever
    hosts: str = ""  # names by which browsers may ask for pages without a password, beside those of loopback
    threads: int = 16
    max_report: int = 64 << 20
    min_free: int = 1 << 30  # bytes of disk that are left alone

    @property
    def url(self):
        return self.database or f"sqlite:///{(self.store / 'inbox.db').absolute()}"

    @property
    def address(self):
        host, _, port = self.listen.rpartition(":")
        if not host or not port.isdigit() or int(port) > 65535:
            raise BadSetting(f"listen must be ADDRESS:PORT, not {self.listen!r}")
        return host.strip("[]"), int(port)

    @property
    def keep_seconds(self):
        return seconds(self.keep, "keep") if self.keep else None


def seconds(days, name):
    """An age. name: of the setting that says it."""
    if not re.fullmatch(r"[1-9]\d{0,5}d", days):
        raise BadSetting(f"{name} must be a number of days such as 180d, not {days!r}")
    return int(days[:-1]) * 86400


def is_loopback(host):
    try:
        return host.lower() == "localhost" or ipaddress.ip_address(host).is_loopback
    except ValueError:
        return False


def load(store, **given):
    """The Config of that folder; given values other than None go first."""
    config = Config(pathlib.Path(store))
    values = dict(_read(config.store)["inbox"]) | {name: value for name, value in given.items() if value is not None}
    for name, value in values.items():
        if name not in Config.__annotations__ or name == "store":
            raise BadSetting(f"inbox.ini: there is no setting {name!r}")
        kind = type(getattr(config, name))
        if kind is int and not re.fullmatch(r"[1-9]\d{0,14}|0", value):
            raise BadSetting(f"{name} must be a number, not {value!r}")
        setattr(config, name, kind(value))
    if not config.threads:
        raise BadSetting("threads must be 1 at least")
    return config


def _read(store):
    file = configparser.ConfigParser(interpolation=None)
    file["inbox"] = {}
    try:
        file.read(store / "inbox.ini", "utf-8")
    except (configparser.Error, UnicodeDecodeError) as error:
        raise BadSetting(f"inbox.ini: {error}") from error
    return file


def save_password(store, hashed):
    """Puts a password's hash into inbox.ini, which nobody else may read."""
    path = pathlib.Path(store) / "inbox.ini"
    file = _read(path.parent)
    file["inbox"]["password"] = hashed
    path.parent.mkdir(parents=True, exist_ok=True)
    path.touch(0o600)
    path.chmod(0o600)
    with open(path, "w", encoding="utf-8") as written:
        file.write(written)
