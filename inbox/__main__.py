"""usage: inbox [--store FOLDER] [--database URL] [COMMAND] ...: see scripts/inbox --help and docs/inbox.md"""

import argparse
import getpass
import logging
import pathlib
import sys
import threading
import time

import resolver
import sqlalchemy as sa
import waitress
from waitress.channel import HTTPChannel
from waitress.task import ErrorTask
from werkzeug.security import generate_password_hash

from inbox import config as settings
from inbox import demo, forward
from inbox.core import Inbox
from inbox.schema import report
from inbox.web import make_app

_DATABASE_ERRORS = sa.exc.OperationalError, sa.exc.ArgumentError
_STORE = pathlib.Path(__file__).resolve().parents[1] / "build" / "inbox"


def _parser():
    words = "Receives crash reports, groups them by what crashed, and shows them in a browser."
    parser = argparse.ArgumentParser("scripts/inbox", description=words)
    parser.set_defaults(run=_serve)
    parser.add_argument("--store", default=_STORE, help="folder of the store (build/inbox)")
    parser.add_argument("--database", help="URL of a PostgreSQL database; several workers may share it")
    parser.add_argument("--rules", help="file of the rules of grouping (groups.txt in the store, or inbox/groups.txt)")
    parser.add_argument("--listen", help="ADDRESS:PORT (127.0.0.1:8080)")
    parser.add_argument("--threads", help="worker threads (16)")
    parser.add_argument("--keep", help="delete reports of this age, such as 180d")
    parser.add_argument("--watch", action="append", default=[], metavar="FOLDER", help="take in what appears there")
    parser.add_argument("--demo", action="store_true", help="fill the store with reports of real crashes first")
    commands = parser.add_subparsers(metavar="COMMAND")

    def command(name, run, words):
        made = commands.add_parser(name, help=words)
        made.set_defaults(run=run)
        return made

    add = command("add", _add, "take in messages: .eml, mbox, Maildir, or folders of them")
    add.add_argument("files", nargs="+", metavar="FILE")
    add.add_argument("--watch", dest="stay", action="store_true", help="go on with what appears there")
    symbols = command("symbols", _symbols, "add: file the PDBs, and GCC's programs with their symbols, below a folder")
    symbols.add_argument("action", choices=["add"])
    symbols.add_argument("files", nargs="+", metavar="FOLDER")
    command("regroup", _regroup, "group all reports anew, after a change of the rules")
    sending = command("forward", _forward, "send reports on by Sentry's envelope protocol")
    sending.add_argument("--dsn", required=True, metavar="URL")
    sending.add_argument("--again", action="store_true", help="also those that were sent before")
    deleting = command("delete", _delete, "delete reports of an age, or of a sender")
    which = deleting.add_mutually_exclusive_group(required=True)
    which.add_argument("--older", metavar="180d")
    which.add_argument("--sender", metavar="ADDRESS")
    command("password", _password, "set the password of the pages")
    return parser


def main(arguments=None):
    options = _parser().parse_args(arguments)
    logging.basicConfig(format="%(asctime)s %(levelname)s %(message)s", level=logging.INFO)
    given = {name: getattr(options, name) for name in ("database", "rules", "listen", "threads", "keep")}
    try:
        for name in [*getattr(options, "files", []), *options.watch]:
            if not pathlib.Path(name).exists():
                raise OSError(f"{name} is missing")
        return options.run(settings.load(options.store, **given), options) or 0
    except (settings.BadSetting, resolver.NoSymbolizer, OSError, ImportError, *_DATABASE_ERRORS) as error:
        print(f"inbox: {error}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        return 130


class _LoggedErrorTask(ErrorTask):
    """What waitress refuses by itself, such as a body that is too large, leaves a line as well."""

    def execute(self):
        logging.getLogger("inbox").warning("refused with %s: %s", self.request.error.code, self.request.error.reason)
        super().execute()


def _serve(config, options):
    """Listens until it is told to end, on waitress, which reads slow and large requests before a thread has to care."""
    host, port = config.address
    if not settings.is_loopback(host) and not config.password:
        raise settings.BadSetting(f"{host} is reached from elsewhere: set a password first (scripts/inbox password)")
    config.keep_seconds  # a wrong one is told now
    if options.demo:
        demo.fill(Inbox(config, ask=True))
    inbox = Inbox(config)
    threading.Thread(target=inbox.work, args=(options.watch,), name="work", daemon=True).start()
    HTTPChannel.error_task_class = _LoggedErrorTask
    # The app itself answers what is a little too large; beyond that waitress doesn't even read it.
    limits = {"max_request_body_size": config.max_report + (1 << 20), "max_request_header_size": 65536}
    limits |= {"threads": config.threads, "channel_timeout": 120, "connection_limit": 200}
    options = {"host": host, "port": port, "ident": "inbox", "clear_untrusted_proxy_headers": True, **limits}
    server = waitress.create_server(make_app(inbox), **options)
    print(f"inbox: http://{host}:{server.effective_port}/ shows what is in {config.url}", flush=True)
    server.run()


def _add(config, options):
    inbox = Inbox(config, ask=True)
    new, known, unreadable = inbox.add_files(options.files)
    print(f"{new} new, {known} known already, {unreadable} unreadable")
    while options.stay:
        time.sleep(2)
        inbox.watch_once(options.files, print)
        inbox.resolve_pending()
    inbox.resolve_pending()
    return 1 if unreadable else 0


def _symbols(config, options):
    inbox, wrong = Inbox(config, ask=True), []
    for folder in options.files:
        added, bad = inbox.symbols.add(folder, inbox.writer)
        wrong += bad
        print(f"{folder}: {len(added)} new PDBs or programs")
    print(f"{inbox.resolve_pending()} reports resolved")
    print("\n".join(wrong), file=sys.stderr, end="\n" if wrong else "")
    return 1 if wrong else 0


def _regroup(config, _options):
    print(f"{Inbox(config, ask=True).regroup()} reports have moved")


def _forward(config, options):
    sent, failed = forward.forward(Inbox(config, ask=True), options.dsn, options.again)
    print(f"{sent} sent, {failed} failed")
    return 1 if failed else 0


def _delete(config, options):
    if options.sender:
        condition = report.c.sender == options.sender.lower()
    else:
        condition = report.c.received < int(time.time()) - settings.seconds(options.older, "--older")
    print(f"{Inbox(config).delete(condition)} reports deleted")


def _password(config, _options):
    first = getpass.getpass("New password: ") if sys.stdin.isatty() else sys.stdin.readline().rstrip("\n")
    if sys.stdin.isatty() and first != getpass.getpass("Again: "):
        raise settings.BadSetting("the two differ")
    if len(first) < 8:
        raise settings.BadSetting("a password has at least 8 characters")
    settings.save_password(config.store, generate_password_hash(first))
    print("The password is set.")


if __name__ == "__main__":
    sys.exit(main())
