"""usage: inbox [--store FOLDER] [--database URL] [COMMAND] ...: see scripts/inbox --help and docs/inbox.md"""

import argparse
import getpass
import logging
import pathlib
import sys
import time

import sqlalchemy as sa
from werkzeug.security import generate_password_hash

from inbox import config as settings
from inbox.core import Inbox
from inbox.schema import report
from inbox.signature import BadRules

_STORE = pathlib.Path(__file__).resolve().parents[1] / "build" / "inbox"


def _parser():
    words = "Receives crash reports, groups them by what crashed, and shows them in a browser."
    parser = argparse.ArgumentParser("scripts/inbox", description=words)
    parser.add_argument("--store", default=_STORE, help="folder of the store (build/inbox)")
    parser.add_argument("--database", help="URL of a PostgreSQL database; several workers may share it")
    parser.add_argument("--rules", help="file of the rules of grouping (groups.txt in the store, or inbox/groups.txt)")
    parser.add_argument("--listen", help="ADDRESS:PORT (127.0.0.1:8080)")
    parser.add_argument("--threads", help="worker threads (16)")
    parser.add_argument("--keep", help="delete reports of this age, such as 180d")
    parser.add_argument("--watch", action="append", default=[], metavar="FOLDER", help="take in what appears there")
    parser.add_argument("--demo", action="store_true", help="fill the store with reports of real crashes first")
    commands = parser.add_subparsers(dest="command", metavar="COMMAND")
    add = commands.add_parser("add", help="take in messages: .eml, mbox, Maildir, or folders of them")
    add.add_argument("files", nargs="+", metavar="FILE")
    add.add_argument("--watch", dest="stay", action="store_true", help="go on with what appears there")
    symbols = commands.add_parser("symbols", help="add: file the PDBs below a folder")
    symbols.add_argument("action", choices=["add"])
    symbols.add_argument("folders", nargs="+", metavar="FOLDER")
    commands.add_parser("regroup", help="group all reports anew, after a change of the rules")
    forward = commands.add_parser("forward", help="send reports on by Sentry's envelope protocol")
    forward.add_argument("--dsn", required=True, metavar="URL")
    forward.add_argument("--again", action="store_true", help="also those that were sent before")
    delete = commands.add_parser("delete", help="delete reports of an age, or of a sender")
    which = delete.add_mutually_exclusive_group(required=True)
    which.add_argument("--older", metavar="180d")
    which.add_argument("--sender", metavar="ADDRESS")
    commands.add_parser("password", help="set the password of the pages")
    return parser


def main(arguments=None):
    options = _parser().parse_args(arguments)
    logging.basicConfig(format="%(asctime)s %(levelname)s %(message)s", level=logging.INFO)
    given = {name: getattr(options, name) for name in ("database", "rules", "listen", "threads", "keep")}
    try:
        if options.command == "password":
            return _password(options.store)
        config = settings.load(options.store, **given)
        if options.command is None:
            if options.demo:
                from inbox import demo

                demo.fill(Inbox(config, ask=True))
            from inbox import server

            server.serve(config, options.watch)
            return 0
        return _COMMANDS[options.command](Inbox(config, ask=True), options)
    except (settings.BadSetting, BadRules, OSError, sa.exc.OperationalError, sa.exc.ArgumentError) as error:
        print(f"inbox: {error}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        return 130


def _add(inbox, options):
    for name in options.files:
        if not pathlib.Path(name).exists():
            raise OSError(f"{name} is missing")
    new, known, unreadable = inbox.add_files(options.files)
    print(f"{new} new, {known} known already, {unreadable} unreadable")
    while options.stay:
        time.sleep(2)
        inbox.watch_once(options.files, print)
        inbox.resolve_pending()
    inbox.resolve_pending()
    return 1 if unreadable else 0


def _symbols(inbox, options):
    wrong = []
    for folder in options.folders:
        if not pathlib.Path(folder).exists():
            raise OSError(f"{folder} is missing")
        added, bad = inbox.symbols.add(folder, inbox.writer)
        wrong += bad
        print(f"{folder}: {len(added)} new PDBs")
    print(f"{inbox.resolve_pending()} reports resolved")
    print("\n".join(wrong), file=sys.stderr, end="\n" if wrong else "")
    return 1 if wrong else 0


def _regroup(inbox, _options):
    print(f"{inbox.regroup()} reports have moved")
    return 0


def _forward(inbox, options):
    from inbox import forward

    sent, failed = forward.forward(inbox, options.dsn, options.again)
    print(f"{sent} sent, {failed} failed")
    return 1 if failed else 0


def _delete(inbox, options):
    if options.sender:
        condition = report.c.sender == options.sender.lower()
    else:
        seconds = settings.Config(pathlib.Path(), keep=options.older).keep_seconds
        condition = report.c.received < int(time.time()) - seconds
    print(f"{inbox.delete(condition)} reports deleted")
    return 0


def _password(store):
    first = getpass.getpass("New password: ") if sys.stdin.isatty() else sys.stdin.readline().rstrip("\n")
    if sys.stdin.isatty() and first != getpass.getpass("Again: "):
        raise settings.BadSetting("the two differ")
    if len(first) < 8:
        raise settings.BadSetting("a password has at least 8 characters")
    settings.save_password(store, generate_password_hash(first))
    print("The password is set.")
    return 0


_COMMANDS = {"add": _add, "symbols": _symbols, "regroup": _regroup, "forward": _forward, "delete": _delete}

if __name__ == "__main__":
    sys.exit(main())
