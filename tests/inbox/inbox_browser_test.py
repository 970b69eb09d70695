"""The pages in a real browser, clicked through as a person would: the demonstration's reports, from the list down to a file.
WENDAX_INBOX_PICTURES names a folder for the pictures that docs/inbox.md shows."""

import contextlib
import os
import pathlib

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import Select, WebDriverWait
from werkzeug.security import generate_password_hash

import made
from inbox import demo
from inbox.config import Config, save_password
from inbox.core import Inbox
from testing.upload_body import upload_body

_OPTIONS = """
--headless=new --no-sandbox --disable-gpu --disable-dev-shm-usage --disable-background-networking --disable-component-update
--disable-sync --disable-default-apps --no-first-run --no-default-browser-check --window-size=1280,900
"""


class Browser:
    """Chromium with the inbox in it."""

    def __init__(self, server, downloads, pictures):
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for option in (*_OPTIONS.split(), "--host-resolver-rules=MAP * ~NOTFOUND , EXCLUDE 127.0.0.1"):
            options.add_argument(option)
        options.add_experimental_option("prefs", {"download.default_directory": str(downloads)})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.server, self.url, self.pictures = server, server.url, pictures

    def open(self, path):
        self.driver.get(self.url + path)

    def heading(self):
        return self.driver.find_element(By.TAG_NAME, "h1").text

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def follow(self, words):
        self._and_wait(self.driver.find_element(By.LINK_TEXT, words).click)

    def press(self, words):
        self._and_wait(self.driver.find_element(By.XPATH, f"//button[contains(., '{words}')]").click)

    def _and_wait(self, act):
        page = self.find("html").id
        act()
        WebDriverWait(self.driver, 60).until(lambda _: self.find("html").id != page)

    def picture(self, name):
        self.driver.save_screenshot(str(self.pictures / f"{name}.png"))

    def complaints(self):
        """What the page has said on the console, such as what its policy has kept from running."""
        return [entry for entry in self.driver.get_log("browser") if entry["level"] in ("SEVERE", "WARNING")]


@pytest.fixture
def browse(served, tmp_path):
    """browse(pictures): a browser with the inbox, until the end of the test."""
    with contextlib.ExitStack() as stack:

        def start(pictures):
            browser = Browser(served(), tmp_path, pictures)
            stack.callback(browser.driver.quit)
            return browser

        yield start


@pytest.mark.timeout(300)
def test_every_page_is_reached_by_clicks(browse, told, tmp_path, artifacts):
    box = Inbox(Config(tmp_path / "store", min_free=0), ask=True)
    demo.fill(box)
    box.reports.add_message(b"Subject: hello\n\nThis is no report.\n")
    box.engine.dispose()
    browser = browse(pathlib.Path(os.environ.get("WENDAX_INBOX_PICTURES") or artifacts))
    browser.open("/")
    assert browser.heading().startswith("10 crashes")
    assert len(browser.all("main table tbody tr")) == 10
    browser.picture("inbox-crashes")

    browser.find("input[name=function]").send_keys("divide_by")
    browser.press("Show")
    assert browser.heading().startswith("1 crash")
    browser.follow("Reset")
    browser.find("input[name=q]").send_keys("read_nowhere ryzen")
    browser.press("Show")
    assert browser.heading().startswith("1 crash")

    browser.follow("read_nowhere")
    assert browser.heading() == "read_nowhere open"
    assert "faults.cpp:" in browser.find(".stack li .line").text
    browser.find("input[value=fixed]").click()
    browser.find("input[name=fixed_in]").send_keys("1.3")
    browser.find("textarea").send_keys("A null pointer: looked at first.")
    browser.press("Keep")
    assert browser.heading() == "read_nowhere fixed in 1.3"
    assert "fixed in 1.3" in browser.find(".history").text
    browser.picture("inbox-crash")

    browser.all("table td a[href^='/report/']")[0].click()
    assert browser.heading().startswith("Report #")
    browser.picture("inbox-report")
    picture = browser.find("img.screen")
    WebDriverWait(browser.driver, 60).until(lambda _: picture.get_property("naturalWidth") == 512)
    browser.driver.execute_script("arguments[0].scrollIntoView()", browser.find("table"))
    browser.picture("inbox-report-files")
    browser.driver.find_element(By.LINK_TEXT, "Download").click()
    WebDriverWait(browser.driver, 60).until(lambda _: list(tmp_path.glob("report-*-*.*")))
    browser.press("Delete this report")
    assert browser.heading() == "Deleted"

    browser.follow("Reports")
    assert browser.heading().startswith("124 reports")
    browser.picture("inbox-reports")
    browser.follow("Next")
    assert "Page 2 of 3" in browser.find(".pager").text
    browser.follow("Versions")
    assert browser.heading().startswith("Crashes per version of Ways to fail")
    assert len(browser.all("svg.chart rect.reports")) == 3
    browser.picture("inbox-versions")
    browser.follow("1.2.0.0")
    assert Select(browser.find("select[name=state]")).first_selected_option.text == "all"
    browser.follow("Symbols")
    assert len(browser.all("table")[1].find_elements(By.TAG_NAME, "tr")) == 4
    browser.picture("inbox-symbols")
    browser.follow("Unreadable")
    assert browser.heading().startswith("1 unreadable")
    browser.picture("inbox-unreadable")
    browser.follow("#126")
    assert "It is kept as it came." in browser.find(".warning").text

    assert browser.server.upload(upload_body(made.upload_files(told[64])))[0] == 200
    browser.open("/?q=nightly-412")
    browser.follow("write_null")
    browser.all("table td a[href^='/report/']")[0].click()
    headings = {heading.text: heading for heading in browser.all("h2")}
    assert {"Values", "Notes", "Other threads: 1"} <= headings.keys()
    browser.driver.execute_script("arguments[0].scrollIntoView()", headings["Values"])
    browser.picture("inbox-report-words")
    assert browser.complaints() == []


@pytest.mark.timeout(300)
def test_login_in_a_browser(browse, tmp_path, artifacts):
    save_password(tmp_path / "store", generate_password_hash("correct horse"))
    browser = browse(artifacts)
    browser.open("/versions")
    assert browser.heading() == "Log in"
    browser.picture("login")
    browser.find("input[type=password]").send_keys("wrong")
    browser.press("Log in")
    assert "not the password" in browser.find(".warning").text
    browser.find("input[type=password]").send_keys("correct horse")
    browser.press("Log in")
    assert browser.heading().startswith("Crashes per version")
    browser.press("Log out")
    assert browser.heading() == "Log in"
    # But for the answer to the wrong password.
    assert [entry for entry in browser.complaints() if "403" not in entry["message"]] == []
