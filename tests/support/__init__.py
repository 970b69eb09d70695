"""What the integration tests stand on: a private desktop, Wine with a watchdog, and a small test base.

    from support import Case, main

    class TheDialog(Case):
        def test_closes_at_a_click(self):
            desktop = self.desktop()
            wine = self.wine(desktop)
            host = wine.start(self.product("host.exe"))
            dialog = desktop.wait_window("Error report")
            desktop.click_window(dialog, 40, 20)
            self.assertEqual(host.wait(), 0)

    if __name__ == "__main__":
        main()

The folder that holds this package (tests/) must be on PYTHONPATH. Everything here needs scripts/setup to have run.
"""

from support.desktop import Desktop, Window
from support.prefix import Prefix, fresh_prefix, project_prefix
from support.processes import WaitTimeout, wait_until
from support.runner import Case, main, wine_cannot
from support.wine import Hang, Result, Wine, WineProcess

__all__ = ["Case", "Desktop", "Hang", "Prefix", "Result", "WaitTimeout", "Window", "Wine", "WineProcess",
           "fresh_prefix", "main", "project_prefix", "wait_until", "wine_cannot"]
