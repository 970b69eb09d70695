"""Shows a crash being reported to the server of examples/upload-server, and says where to look."""

import contextlib
import os
import shutil
import sys

from testing.php_server import PhpServer
from testing import report_dialog
from testing.desktop import Desktop
from testing.host import redirect
from testing.loopback import loopback_address, need_port_80
from testing.prefix import fresh_prefix
from testing.processes import REPO, wait_until
from testing.product import DLLS, product
from testing.wine import Wine

OUT = REPO / "build" / "demo-upload"


def main():
    here = "--here" in sys.argv[1:]
    if here and not os.environ.get("DISPLAY"):
        sys.exit("demo: --here needs a display, and DISPLAY is not set")
    shutil.rmtree(OUT, ignore_errors=True)
    host = OUT / "host"
    host.mkdir(parents=True)
    address = loopback_address()
    for name in ("upload.exe", *DLLS):
        shutil.copy(product(name), host)
    # The server's name is a build setting; this copy of the library gets the one that runs here.
    redirect(host / "Wendax.dll", "--upload-server", address)
    with contextlib.ExitStack() as stack:
        server = stack.enter_context(PhpServer(address, 80, OUT / "reports"))
        print(f"demo: the upload server listens on http://{address}/", flush=True)
        desktop = None if here else stack.enter_context(Desktop())
        # The code page of the dialog's Russian texts.
        wine = Wine(desktop, stack.enter_context(fresh_prefix()), "ru_RU.UTF-8")
        if here:
            wine.env["DISPLAY"] = os.environ["DISPLAY"]
        print("demo: upload.exe reads from address 0 ...", flush=True)
        process = stack.enter_context(wine.start(host / "upload.exe", cwd=host, limit=3600 if here else 300))
        if here:
            print('demo: answer the dialog on your screen ("Upload Report" sends the report)', flush=True)
        else:
            answer(desktop, server)
        process.wait_family()
        print(f"demo: the program says: {process.result().text.strip()}")
        show(server)


def answer(desktop, server):
    window = report_dialog.wait(desktop)
    print(f"demo: the dialog is on screen, see {desktop.screenshot(OUT / 'dialog.png')}", flush=True)
    report_dialog.press(desktop, "Upload Report", window)
    wait_until(server.report_folders, "a report to arrive", 120, seen=server.log)


def show(server):
    folders = server.report_folders()
    if not folders:
        print("demo: no report was wanted")
        return
    print(f"demo: the server stored {folders[0]}")
    for part, (path, content) in server.reports()[0].items():
        print(f"    {part:<20}{len(content):>8} bytes  {path}")


if __name__ == "__main__":
    need_port_80()
    main()
