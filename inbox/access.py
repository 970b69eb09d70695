"""Who may see the pages, and what browsers are told not to do. The upload form is open to everybody; nothing else is."""

import hmac
import re
import secrets
import threading
import time

import flask
from werkzeug.security import check_password_hash

from inbox import schema
from inbox.config import is_loopback

_MOST_FORM = 1 << 18  # bytes of a form of the pages: to take a larger one apart could take minutes
_POLICY = (
    "default-src 'none'; style-src 'self'; img-src 'self'; form-action 'self'; frame-ancestors 'none'; base-uri 'none'"
)
_HEADERS = {
    "Content-Security-Policy": _POLICY,
    "X-Content-Type-Options": "nosniff",
    "Referrer-Policy": "same-origin",
    "Cache-Control": "no-store",
    "Cross-Origin-Opener-Policy": "same-origin",
    "Cross-Origin-Resource-Policy": "same-origin",
}


def protect(app, engine, config):
    """Puts the rules of access before every request of the app."""
    app.secret_key = _kept_secret(engine)
    app.config.update(SESSION_COOKIE_HTTPONLY=True, SESSION_COOKIE_SAMESITE="Strict", SESSION_COOKIE_NAME="inbox")
    app.config.update(PERMANENT_SESSION_LIFETIME=30 * 86400)
    # What each form of a session carries, so that no other page can send one.
    app.jinja_env.globals["token"] = lambda: flask.session.setdefault("token", secrets.token_urlsafe(24))
    # Ends all sessions when the password changes.
    proof = lambda: hmac.new(app.secret_key.encode(), config.password.encode(), "sha256").hexdigest()
    slow = threading.Lock()

    @app.before_request
    def check():
        endpoint = flask.request.endpoint
        if endpoint == "upload":
            return None
        if (flask.request.content_length or 0) > _MOST_FORM:
            flask.abort(413, "The form is too large.")
        # Without a password a page of elsewhere could reach this one under a name of its own that leads here.
        host = re.sub(r":\d+$", "", flask.request.host).strip("[]").lower()
        if not config.password and not is_loopback(host) and host not in config.hosts.lower().split():
            flask.abort(403, "This inbox is asked for by a name that is not its own (setting hosts).")
        if config.password and endpoint not in ("login", "static") and flask.session.get("user") != proof():
            if flask.request.method == "GET" and endpoint not in (None, "attachment", "picture"):
                return flask.redirect(flask.url_for("login", next=flask.request.full_path.rstrip("?")))
            flask.abort(403, "Log in first.")
        sent, mine = flask.request.form.get("token", ""), flask.session.get("token", "")
        if flask.request.method == "POST" and not (mine and hmac.compare_digest(sent.encode(), mine.encode())):
            flask.abort(400, "The form is out of date: go back, load the page again, and repeat.")
        return None

    @app.after_request
    def tell(answer):
        for name, value in _HEADERS.items():
            answer.headers.setdefault(name, value)
        return answer

    @app.route("/login", methods=["GET", "POST"])
    def login():
        wrong = False
        if flask.request.method == "POST" and config.password:
            if slow.locked():  # guesses that waited would keep the threads that take reports in
                flask.abort(429, "Somebody else is logging in: try again in a second.")
            with slow:  # one guess at a time
                wrong = not check_password_hash(config.password, flask.request.form.get("password", "")[:1000])
                if wrong:
                    app.logger.warning("a wrong password, from %s", flask.request.remote_addr)
                    time.sleep(1)
            if not wrong:
                flask.session.clear()
                flask.session.permanent = True
                flask.session["user"] = proof()
                path = flask.request.args.get("next", "")  # which is this site's, whatever the address was made to say
                return flask.redirect(path if re.fullmatch(r"/(?![/\\])[ -~]*", path) else "/")
        return flask.render_template("login.html", wrong=wrong), 403 if wrong else 200

    @app.post("/logout")
    def logout():
        flask.session.clear()
        return flask.redirect(flask.url_for("login"))


def _kept_secret(engine):
    """The key that signs sessions, the same for all workers."""
    with engine.execution_options(writes=True).begin() as connection:
        mine = {"name": "secret", "value": secrets.token_urlsafe(32)}
        schema.put(connection, schema.setting, [mine], value=lambda _: schema.setting.c.value)
        return schema.setting_of(connection, "secret")
