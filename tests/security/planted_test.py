"""DLLs under the names that a report loads, where a search could come upon them."""

import shutil

from testing import report_dialog
from testing.host import Host
from testing.product import DLLS

OF_THE_SYSTEM = """
advapi32.dll dbghelp.dll gdi32.dll gdiplus.dll msvcrt.dll shdocvw.dll shell32.dll user32.dll version.dll wininet.dll
winspool.drv
""".split()
# Wine prefers its own libraries to others' of the same names, as Windows doesn't.
AS_WINDOWS = "winemenubuilder.exe=d;mscoree,mshtml=;gdiplus,dbghelp,shdocvw,version,wininet,winspool.drv=n,b"


def report(stage, plant, folder=None):
    """Makes a whole report; plant(host) puts DLLs somewhere, folder is the current one. Returns the planted ones that
    were loaded, and the message."""
    desktop = stage.desktop()
    host = Host(stage, "fault_host.exe", files=DLLS, desktop=desktop)
    plant(host)
    log = host.prefix.drive_c / "planted.log"
    env = {"PLANTED_LOG": "C:\\planted.log", "WINEDLLOVERRIDES": AS_WINDOWS}
    process = host.start("--screen", "1", "write", cwd=host.prefix.drive_c / (folder or "host"), env=env)
    (message,) = report_dialog.open_reports(desktop, host, process)
    return (log.read_text().splitlines() if log.exists() else []), message


def put(stage, folder, names):
    folder.mkdir(exist_ok=True)
    for name in names:
        shutil.copy(stage.product("planted.dll"), folder / name)


def assert_whole(message):
    assert b"EXCEPTION_ACCESS_VIOLATION" in message.body
    assert "screen_copy.jpg" in dict(message.attachments)


def test_in_the_current_folder_are_left_alone(stage):
    plant = lambda host: put(stage, host.prefix.drive_c / "elsewhere", (*DLLS, *OF_THE_SYSTEM))
    loaded, message = report(stage, plant, "elsewhere")
    assert loaded == []
    assert_whole(message)


def test_in_the_programs_folder_are_left_alone_where_the_library_names_the_place(stage):
    loaded, message = report(stage, lambda host: put(stage, host.folder, ("gdiplus.dll", "dbghelp.dll")))
    assert loaded == []
    assert_whole(message)
    assert_whole(message)


def test_are_seen_when_they_are_loaded(stage):
    # The one library whose plain name is kept: the program's folder comes first.
    loaded, _ = report(stage, lambda host: put(stage, host.folder, ("shdocvw.dll",)))
    assert loaded == ["C:\\host\\shdocvw.dll"]
