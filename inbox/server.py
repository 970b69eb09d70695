"""Runs the pages on waitress, which reads slow and large requests before a thread has to care."""

import logging
import threading

import waitress
from waitress.channel import HTTPChannel
from waitress.task import ErrorTask

from inbox.config import BadSetting, is_loopback
from inbox.core import Inbox
from inbox.web import make_app

log = logging.getLogger("inbox")


class _LoggedErrorTask(ErrorTask):
    """What waitress refuses by itself, such as a body that is too large, leaves a line as well."""

    def execute(self):
        error = self.request.error
        log.warning("refused with %s: %s", error.code, error.reason)
        super().execute()


def serve(config, folders=()):
    """Listens until it is told to end."""
    host, port = config.address
    if not is_loopback(host) and not config.password:
        raise BadSetting(f"{host} can be reached from elsewhere: set a password first (scripts/inbox password)")
    config.keep_seconds  # a wrong one is told now
    inbox = Inbox(config)
    app = make_app(inbox)
    threading.Thread(target=inbox.work, args=(folders,), name="work", daemon=True).start()
    HTTPChannel.error_task_class = _LoggedErrorTask
    # The app itself answers what is a little too large; beyond that waitress doesn't even read it.
    limit = config.max_report + (1 << 20)
    server = waitress.create_server(
        app, host=host, port=port, threads=config.threads, max_request_body_size=limit, max_request_header_size=65536,
        channel_timeout=120, connection_limit=200, ident="inbox", clear_untrusted_proxy_headers=True,
    )  # fmt: skip
    print(f"inbox: http://{host}:{server.effective_port}/ shows what is in {config.url}", flush=True)
    server.run()
