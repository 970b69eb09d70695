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
    TELLING = ("telling_host.exe", "faultkit.dll")

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


@pytest.fixture
def teller(describer):
    """teller(command...): the Description of the fault that telling_host ends with."""

    def tell(*commands, pdbs=True, folder=None, env=None):
        folder = folder or describer.folder(*describer.TELLING, *(("telling_host.pdb",) if pdbs else ()))
        return describer.describe_one(*commands, folder=folder, host="telling_host.exe", env=env)

    return tell
