"""The report dialogs as a user meets them."""

from testing.picture import colours
from testing.processes import wait_until

TITLE = "Software Error Report"

# Places in dialog units: the middle of each button, and the size of the dialog.
_EMAIL_SIZE = (300, 173)
_UPLOAD_SIZE = (300, 177)
_BUTTONS = {
    "Open Error Report": (_EMAIL_SIZE, (258, 160)),
    "Don't Open & Close": (_EMAIL_SIZE, (183, 160)),
    "Upload Report": (_UPLOAD_SIZE, (258, 163)),
    "Close": (_UPLOAD_SIZE, (183, 163)),
    "What is sent": (_UPLOAD_SIZE, (118, 136)),
}


def wait(desktop, timeout=120):
    """The dialog's window, when it has come to rest."""
    return desktop.wait_window(TITLE, timeout)


def press(desktop, button, window=None):
    """Clicks one of the dialog's buttons with the pointer; returns the window."""
    window = window or wait(desktop)
    (width, height), (x, y) = _BUTTONS[button]
    desktop.click_window(window, x * window.width // width, y * window.height // height)
    return window


def close_by_keys(desktop, *keys):
    """Types the keys until the dialog has gone: when it comes it takes none for a moment."""

    def closed():
        desktop.key(*keys)
        return not desktop.find_window(TITLE)

    wait_until(closed, f"{' '.join(keys)} to close the dialog", 60)


def open_reports(desktop, host, process, count=1):
    """The user opens a report that many times; returns the messages, when the host and all that it started have ended."""
    for number in range(1, count + 1):
        press(desktop, "Open Error Report")
        messages = host.wait_messages(number)
    process.wait_family()
    return messages


def icon_colour(desktop, picture):
    """The colour near the left upper corner of the dialog's icon; takes the picture of the screen to see it."""
    window = wait(desktop)
    desktop.screenshot(picture)
    (colour,) = colours(picture, (window.x + 266 * window.width // 300, window.y + 18 * window.height // 175))
    return colour


def wait_closed(desktop, timeout=120):
    desktop.wait_no_window(TITLE, timeout)
