"""What one test starts and where it leaves its outputs: all of it goes with the stage."""

import contextlib
import pathlib
import shutil
import sys

from testing.desktop import Desktop
from testing.prefix import VARIANT, fresh_prefix, shared_prefix
from testing.processes import REPO
from testing.product import MACHINE, helper, image, product
from testing.wine import Wine

# What tests leave to be looked at, of each machine and Wine apart.
ARTIFACTS = REPO / "build" / f"test-artifacts{VARIANT}"
OUTPUT_CHARACTERS = 4000


class Stage(contextlib.ExitStack):
    """Context manager. Desktops, prefixes and programs that it gives last until its end.

    artifacts: an empty folder for what is left to be looked at. product, image, helper, machine: of the build tree, see there.
    """

    product = staticmethod(product)
    image = staticmethod(image)
    helper = staticmethod(helper)
    machine = MACHINE

    def __init__(self, artifacts):
        super().__init__()
        self.desktops = []
        self._processes = []
        self.artifacts = pathlib.Path(artifacts)
        self._prefixes = {}
        shutil.rmtree(self.artifacts, ignore_errors=True)
        self.artifacts.mkdir(parents=True)

    def desktop(self, **size):
        """A Desktop."""
        desktop = self.enter_context(Desktop(**size))
        self.desktops.append(desktop)
        return desktop

    def fresh_prefix(self):
        """A Wine prefix that nobody else uses."""
        return self.enter_context(fresh_prefix())

    def wine(self, desktop=None, prefix=None, locale=None):
        """A Wine whose programs end with the stage. Where no prefix is named, it has the one that all stages of this
        process share; with a desktop a fresh one: programs without a display would take its windows away (see Wine)."""
        if desktop and not prefix:
            prefix = self._prefixes.get(desktop) or self._prefixes.setdefault(desktop, self.fresh_prefix())
        wine = Wine(desktop, prefix or shared_prefix(), locale)
        start = wine.start

        def start_on_stage(*args, **options):
            self._processes.append(self.enter_context(start(*args, **options)))
            return self._processes[-1]

        wine.start = start_on_stage
        return wine

    def show_failure(self):
        """Keeps a picture of each desktop, and prints how the programs stand."""
        for process in self._processes:
            state = "running" if process.running() else f"ended with {process.returncode}"
            print(f"{process.name}: {state}", process.output()[-OUTPUT_CHARACTERS:], sep="\n", file=sys.stderr)
        for number, desktop in enumerate(self.desktops, 1):
            with contextlib.suppress(Exception):  # The failure itself matters more.
                print(
                    "a picture of the failure:",
                    desktop.screenshot(self.artifacts / f"failure-{number}.png"),
                    file=sys.stderr,
                )
