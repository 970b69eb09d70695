"""The pages without a browser: what they show, refuse and change, and that nothing of a client's is ever more than text."""

import io
import json
import re
import struct
import threading
import types
import zlib
from concurrent.futures import ThreadPoolExecutor

import pytest
from PIL import Image
from werkzeug.security import generate_password_hash

import made
from conftest import Pages
from inbox import access
from inbox import config as settings
from inbox.signature import Rules
from testing.upload_body import CONFIRMATION, CONTENT_TYPE, FORM_PATH, upload_body

SCRIPT = "<script>alert(1)</script>"
EVIL = f'"><img src=x onerror=alert(1)>{SCRIPT}'


def picture(kind="JPEG"):
    content = io.BytesIO()
    Image.new("RGB", (64, 48), "teal").save(content, kind)
    return content.getvalue()


def bomb():
    """A PNG of 60000 x 60000 pixels in a few kilobytes."""
    chunk = lambda name, data: struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
    header = struct.pack(">IIBBBBB", 60000, 60000, 8, 2, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(bytes(5_000_000)))
        + chunk(b"IEND", b"")
    )


@pytest.fixture
def evil(box, pages):
    """A report with script in every field that a client can fill."""
    fault = made.fault_text(
        (EVIL[:60].replace("(", "").replace(")", ""), "run"), program="a<b>'\".exe", extra=[f"{EVIL} = x", EVIL]
    )
    text = made.message(fault, sender=f'"{SCRIPT}" <evil@example.org>', subject=EVIL, product=EVIL, processor=EVIL)
    box.reports.add_message(text)
    pages.upload(
        upload_body(
            {"Conversion_log": (EVIL.encode(), EVIL.encode()), **made.upload_files(made.fault_text(), product=EVIL)}
        )
    )
    box.reports.add_message(EVIL.encode())


PAGES = "/ /?state=all /crash/1 /crash/2 /report/1 /report/2 /report/3 /reports /versions /symbols /unreadable".split()
ALL = (*PAGES, "/login")


class TestSafety:
    @pytest.mark.parametrize("path", ALL)
    def test_what_a_client_sends_is_only_ever_text(self, evil, pages, path):
        answer = pages.get(path)
        assert "<script" not in answer.text and "<img src=x" not in answer.text
        assert not re.search(r"<[^>]*\son\w+=", answer.text)
        policy = answer.headers["Content-Security-Policy"]
        assert "default-src 'none'" in policy and "script" not in policy and "unsafe" not in policy
        assert answer.headers["X-Content-Type-Options"] == "nosniff"

    def test_attachments_are_downloads_without_a_name_of_the_client(self, evil, pages):
        answer = pages.get("/attachment/2")
        assert answer.headers["Content-Disposition"] == 'attachment; filename="report-2-2.txt"'
        assert answer.headers["Content-Type"] == "application/octet-stream"
        assert answer.data == EVIL.encode()

    def test_picture_is_encoded_anew(self, pages):
        sent = picture() + b"<?php evil ?>"
        pages.upload(upload_body(made.upload_files(picture=sent)))
        shown = pages.get("/picture/1")
        assert shown.headers["Content-Type"] == "image/png"
        assert b"php" not in shown.data
        assert Image.open(io.BytesIO(shown.data)).size == (64, 48)
        assert pages.get("/attachment/1").data == sent

    @pytest.mark.parametrize(
        "content",
        (bomb(), b"\xff\xd8\xff" + b"x" * 1000, picture()[:200], b"BM" + b"\xff" * 60),
        ids=("bomb", "noise", "cut", "BMP"),
    )
    def test_picture_that_is_none_is_not_shown(self, pages, content):
        pages.upload(upload_body(made.upload_files(picture=content)))
        pages.get("/picture/1", 404)

    def test_change_needs_the_forms_token(self, box, pages):
        made.add(box, made.fault_text())
        pages.get("/crash/1")
        for path in ("/crash/1/state", "/report/1/delete", "/delete-sender", "/logout"):
            pages.post(path, 400, token="", state="ignored", sender="x")
            pages.post(path, 400, token="wrong", state="ignored", sender="x")
        assert 'class="state open"' in pages.get("/crash/1").text

    @pytest.mark.parametrize("path", ("/login", "/nothing", "/crash/1/state"))
    def test_form_that_is_too_large_is_not_taken_apart(self, pages, path):
        form = {"data": b"a=&" * (1 << 20), "content_type": "application/x-www-form-urlencoded"}
        answer = pages.client.post(path, **form)
        assert (answer.status_code, "The form is too large." in answer.text) == (413, True)

    def test_only_a_sessions_cookie_is_set(self, box, pages):
        made.add(box, made.fault_text())
        assert pages.get("/").headers.getlist("Set-Cookie") == []
        (cookie,) = pages.get("/crash/1").headers.getlist("Set-Cookie")
        assert cookie.startswith("inbox=") and "HttpOnly" in cookie and "SameSite=Strict" in cookie

    def test_page_of_elsewhere_is_refused_by_its_name(self, pages):
        pages.get("/", 403, headers={"Host": "evil.example"})
        pages.get("/", headers={"Host": "127.0.0.1:8080"})
        answer = pages.client.post(
            FORM_PATH, data=upload_body({}), headers={"Host": "reports.example.com"}, content_type=CONTENT_TYPE
        )
        assert answer.status_code == 200

    @pytest.mark.parametrize(
        "path",
        (
            *("/crash/99999999999999999999", "/report/99999999999999999999", "/attachment/9999999999999999999999"),
            *("/picture/1", "/crash/x", "/crashes.exe", "/static/../web.py", "/index.php"),
        ),
    )
    def test_address_of_nothing_is_refused(self, pages, path):
        assert pages.client.get(path).status_code in (404, 405)

    @pytest.mark.parametrize(
        "query", "page=0 page=99999999999 since=yesterday until=2026 q=%00 q=%22* sort=drop&state=x crash=one".split()
    )
    def test_filter_that_makes_no_sense_is_left_out(self, box, pages, query):
        made.add(box, made.fault_text())
        assert "/crash/1" in pages.get("/?" + query).text
        assert "/report/1" in pages.get("/reports?" + query).text

    def test_word_of_any_length_is_searched_for(self, box, pages):
        made.add(box, made.fault_text())
        assert "0 crashes" in pages.get("/?q=" + "a" * 5000).text


class TestPassword:
    @pytest.fixture
    def config(self, config):
        config.password = generate_password_hash("correct horse", "pbkdf2:sha256:1000")
        return config

    def test_nothing_but_the_form_is_open(self, box, pages):
        pages.upload(upload_body(made.upload_files(picture=picture())))
        for path in "/ /reports /crash/1 /versions /symbols /unreadable /crashes.csv /report/1.json".split():
            assert pages.get(path, 302).headers["Location"].startswith("/login?next="), path
        for path in ("/attachment/1", "/picture/1", "/nothing"):
            pages.get(path, 403)
        for path in ("/crash/1/state", "/report/1/delete", "/delete-sender"):
            assert pages.client.post(path).status_code == 403

    def test_password_opens(self, pages):
        pages.post("/login?next=/reports", 403, token=pages.token(), password="wrong")
        answer = pages.post("/login?next=/reports", token=pages.token(), password="correct horse")
        assert answer.headers["Location"] == "/reports"
        pages.get("/reports")
        pages.post("/logout", token=pages.token("/"))
        pages.get("/reports", 302)

    def test_guess_while_another_is_judged_is_refused_at_once(self, box, pages, monkeypatch):
        judged, go = threading.Event(), threading.Event()
        monkeypatch.setattr(access, "time", types.SimpleNamespace(sleep=lambda _: (judged.set(), go.wait(20))))
        other = Pages(box)
        other.client = pages.client.application.test_client()
        with ThreadPoolExecutor(1) as pool:
            first = pool.submit(pages.post, "/login", 403, token=pages.token(), password="wrong")
            assert judged.wait(60)
            try:
                other.post("/login", 429, token=other.token(), password="correct horse")
            finally:
                go.set()
            first.result()
        other.post("/login", token=other.token(), password="correct horse")

    @pytest.mark.parametrize("target", ("//evil.example", "https://evil.example", "/\\evil.example"))
    def test_login_leads_nowhere_else(self, pages, target):
        answer = pages.post("/login?next=" + target, token=pages.token(), password="correct horse")
        assert answer.headers["Location"] == "/"

    def test_new_password_ends_sessions(self, box, pages):
        pages.post("/login", token=pages.token(), password="correct horse")
        pages.get("/")
        box.config.password += "x"
        pages.get("/", 302)


class TestForm:
    def test_success_is_told_as_the_library_wants_it(self, pages):
        assert pages.upload(upload_body({})).find(CONFIRMATION) > 0

    @pytest.mark.parametrize("body", (b"", upload_body({})[:-1], b"x" * 1000))
    def test_what_is_not_the_form_is_refused_and_kept(self, pages, body):
        assert CONFIRMATION not in pages.upload(body, 400)
        assert "1 unreadable" in pages.get("/unreadable").text

    def test_too_large_and_a_full_disk_are_told(self, box, pages, caplog):
        box.config.max_report = 1000
        pages.upload(upload_body({}), 413)
        box.config.max_report, box.config.min_free = 1 << 20, 1 << 60
        pages.upload(upload_body({}), 507)
        assert [record.args[0] for record in caplog.records] == [413, 507]

    def test_other_form_is_refused(self, pages):
        assert pages.client.post("/index.php?option=other", data=upload_body({})).status_code == 404


class TestPages:
    def test_list_narrows_and_exports_what_it_shows(self, box, pages):
        for number, leaf in enumerate(("draw", "save", "save")):
            made.add(box, made.fault_text((leaf, "run"), version=f"{number}.0.0.0"))
        assert "2 crashes" in pages.get("/").text
        shown = pages.get("/?function=save").text
        assert "1 crash" in shown and ">save<" in shown and ">draw<" not in shown
        (row,) = pages.get("/crashes.json?function=save").json
        assert (row["title"], row["count"], row["versions"]) == ("save", 2, ["1.0.0.0", "2.0.0.0"])
        lines = pages.get("/crashes.csv?function=save").text.splitlines()
        assert len(lines) == 2 and lines[0].startswith("id,title,kind")
        assert [row["version"] for row in pages.get("/versions.json").json] == ["0.0.0.0", "1.0.0.0", "2.0.0.0"]
        assert len(pages.get("/reports.json").json) == 3
        (wanted,) = pages.get("/symbols.json").json
        assert wanted == {"module": "board.exe", "key": made.KEY, "count": 3, "added": 0}
        assert pages.get("/symbols.csv").text.splitlines()[1] == f"board.exe,{made.KEY},3,0"
        assert json.loads(pages.get("/report/1.json").text)["stack"][0]["function"] == "draw"

    def test_formula_in_a_table_is_only_text(self, box, pages):
        made.add(box, made.fault_text(), subject="=cmd|calc!A1")
        assert ",'=cmd|calc!A1," in pages.get("/reports.csv").text

    def test_state_is_kept_with_its_history(self, box, pages):
        made.add(box, made.fault_text())
        pages.post("/crash/1/state", 400, state="fixed", fixed_in="")
        pages.post("/crash/1/state", state="fixed", fixed_in="2.0", note="see the other one")
        page = pages.get("/crash/1").text
        assert "fixed in 2.0" in page and "see the other one" in page
        made.add(box, made.fault_text(version="2.0.0.0"))
        page = pages.get("/crash/1").text
        assert "regressed" in page and "opened again: a report from 2.0.0.0, fixed in 2.0" in page
        assert '<span class="state regressed">' in pages.get("/").text

    def test_report_and_a_senders_reports_are_deleted(self, box, pages):
        for number in range(3):
            text = made.fault_text(extra=[f"EBX 0000000{number}  ECX 00000000"])
            made.add(box, text, sender="u@example.org")
        pages.post("/report/2/delete", 200)
        pages.get("/report/2", 404)
        pages.post("/delete-sender", 200, token=pages.token("/crash/1"), sender="u@example.org")
        pages.get("/crash/1", 404)

    def test_crash_that_has_moved_leads_to_where_it_is(self, box, pages):
        made.add(box, made.fault_text(("check", "draw")))
        box.reports.rules = Rules("skip *!check")
        box.regroup()
        assert pages.get("/crash/1", 302).headers["Location"] == "/crash/2"


class TestSettings:
    def test_file_and_command_line(self, tmp_path):
        (tmp_path / "inbox.ini").write_text("[inbox]\nlisten = 127.0.0.1:9000\nkeep = 90d\n")
        config = settings.load(tmp_path, keep="10d", threads=None)
        assert (config.listen, config.keep_seconds, config.threads) == ("127.0.0.1:9000", 864000, 16)

    @pytest.mark.parametrize(
        "line", ("lissten = x", "threads = many", "threads = 0", "max_report = -1", "keep = long", "listen = here")
    )
    def test_wrong_setting_is_named(self, tmp_path, line):
        (tmp_path / "inbox.ini").write_text(f"[inbox]\n{line}\n")
        with pytest.raises(settings.BadSetting, match=line.partition(" ")[0]):
            config = settings.load(tmp_path)
            assert config.address and config.keep_seconds

    @pytest.mark.parametrize("content", (b"keep = 1d\n", b"[inbox]\nkeep = 1d\nkeep = 2d\n", b"[inbox]\nkeep = \xff\n"))
    def test_file_that_is_none_is_named(self, tmp_path, content):
        (tmp_path / "inbox.ini").write_bytes(content)
        with pytest.raises(settings.BadSetting, match="inbox.ini"):
            settings.load(tmp_path)

    def test_password_file_is_nobody_elses(self, tmp_path):
        settings.save_password(tmp_path, "hash$x%y")
        assert settings.load(tmp_path).password == "hash$x%y"
        assert (tmp_path / "inbox.ini").stat().st_mode & 0o077 == 0
