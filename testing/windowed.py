"""The windowed example as a user meets it."""

TITLE = "Ways to fail"

# Faults, by the places of their buttons.
WRITE_NOWHERE, OVERFLOW_STACK = 1, 9

# Where the window has its controls, in pixels.
_MARGIN, _ROW, _COLUMN = 12, 28, 190


def wait(desktop):
    """The example's window, when it has come to rest."""
    return desktop.wait_window(TITLE, 120)


def choose_upload(desktop, window):
    _click(desktop, window, 0, 1)


def choose_picture(desktop, window):
    _click(desktop, window, 1, 0)


def commit(desktop, window, number):
    """Presses the button of that fault."""
    _click(desktop, window, number % 2, 2 + number // 2, below=_MARGIN)


def _click(desktop, window, column, row, below=0):
    desktop.click_window(window, _MARGIN + column * _COLUMN + 20, _MARGIN + row * _ROW + _ROW // 2 + below)
