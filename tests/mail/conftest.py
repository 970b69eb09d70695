"""A host that fails on a desktop, and its user."""

import pytest

from testing import report_dialog
from testing.host import Host


class Scene:
    def __init__(self, stage):
        self.stage = stage

    def start(self, *args, program="fault_host.exe", helper="full", prepare=None, size=(1280, 1024), **options):
        """Starts the host; returns the window of its dialog. prepare(host): to be done before; may give more arguments."""
        self.screen = self.stage.desktop(width=size[0], height=size[1])
        self.host = Host(self.stage, program, helper=helper, desktop=self.screen, **options)
        more = prepare(self.host) if prepare else None
        self.process = self.host.start(*(more or ()), *args, limit=280)
        return report_dialog.wait(self.screen)

    def open_reports(self, count=1):
        """The messages of as many reports that the user opens, when the host has ended."""
        return report_dialog.open_reports(self.screen, self.host, self.process, count)

    def finish(self):
        """What the host has printed, when it has ended."""
        self.process.wait_family()
        return self.process.result().text.splitlines()

    def goes_on(self):
        return self.finish()[-2:] == ["reported", "end"]

    def decline(self, window=None):
        report_dialog.press(self.screen, "Don't Open & Close", window)
        return self.finish()


@pytest.fixture
def scene(stage):
    return Scene(stage)
