"""Hosts that fault, and what faultkit.dll says about it."""

import pathlib
import shutil
import tempfile

import pytest

from describing import take_all_apart


class Describer:
    """Hosts run in folders of their own, so that what lies beside them, PDBs or not, is the test's choice."""

    FILES = ("describe_host.exe", "faultkit.dll", "fault_guest.dll")
    PDBS = ("describe_host.pdb", "fault_guest.pdb")

    def __init__(self, stage):
        self.stage = stage

    def folder(self, *names):
        folder = pathlib.Path(self.stage.enter_context(tempfile.TemporaryDirectory()))
        for name in names:
            shutil.copy(self.stage.product(name), folder)
        return folder

    def describe(self, *args, pdbs=True, folder=None, env=None, wine=None, host="describe_host.exe"):
        """The Descriptions of the faults in args, in order."""
        folder = folder or self.folder(*self.FILES, *(self.PDBS if pdbs else ()))
        done = (wine or self.stage.wine()).run(folder / host, *args, cwd=folder, env=env)
        assert done.returncode == 0, done
        return take_all_apart(done.text)

    def describe_one(self, *args, **options):
        (description,) = self.describe(*args, **options)
        return description


@pytest.fixture
def describer(stage):
    return Describer(stage)
