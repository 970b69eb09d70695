"""Reports of thirty known bugs, made by programs that truly fault, in three versions, on machines that differ."""

import contextlib
import shutil

from testing.product import BIN, DLLS

BUGS = 30
_WINDOWS = ("win7", "win10", "vista", "winxp")  # as Wine tells programs


def helpers(version):
    """The folder with that version of the program."""
    return BIN.parent / "test-helpers" / f"bugs-{version}"


class Machine:
    """A user's machine: a Wine prefix with a Windows version, in which versions of the program are installed."""

    def __init__(self, stage, number):
        self.prefix = stage.fresh_prefix()
        self.wine = stage.wine(None, self.prefix)
        self.wine.dissociate(".eml")
        self.wine.set_registry(r"HKEY_CURRENT_USER\Software\Wine", "Version", _WINDOWS[number % len(_WINDOWS)])

    def reports(self, version, seed, pdbs):
        """{bug: bytes of the message} of one user who meets them all."""
        folder = self.prefix.drive_c / f"board-{version}-{seed}"
        folder.mkdir()
        names = ["bugs_host.exe", "bugs_plugin.dll", *(("bugs_host.pdb", "bugs_plugin.pdb") if pdbs else ())]
        for path in [helpers(version) / name for name in names] + [BIN / name for name in DLLS]:
            shutil.copy(path, folder)
        for left in self.prefix.temp_dir.glob("*.eml"):
            with contextlib.suppress(FileNotFoundError):
                left.unlink()
        done = self.wine.run(folder / "bugs_host.exe", seed, *range(BUGS), cwd=folder)
        assert done.text.split() == [word for number in range(BUGS) for word in ("reported", str(number))], done
        written = sorted(self.prefix.temp_dir.glob("*.eml"), key=lambda path: path.stat().st_mtime_ns)
        assert len(written) == BUGS
        return dict(enumerate(path.read_bytes() for path in written))


def labelled(stage):
    """[(bug, bytes)]: of each bug ten reports, by three versions on four machines, half of them with PDBs at hand."""
    machines = [Machine(stage, number) for number in range(4)]
    found = []
    for user in range(10):
        made = machines[user % 4].reports(version=user % 3 + 1, seed=7 + user * 13, pdbs=user % 2)
        found += made.items()
    return found
