"""The same sources, built in another place, give the same bytes."""

import pathlib
import re
import shutil
import subprocess
import tempfile

from testing import runner
from testing.processes import REPO

SHIPPED = ("Wendax", "KOBRTL", "fall", "faultkit")


class Reproducible(runner.Case):
    time_limit = 800

    def build_elsewhere(self, settings):
        """Builds what ships from a copy of the sources; returns the build folder."""
        place = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="wendax-elsewhere-")))
        source = place / "some other folder"
        shutil.copytree(REPO, source, ignore=shutil.ignore_patterns("build", ".git", "__pycache__"))
        for command in (
            ["cmake", "--preset", "windows", "-S", source, *settings],
            ["cmake", "--build", source / "build/windows", "--target", *SHIPPED],
        ):
            done = subprocess.run(
                [*map(str, command)],
                cwd=source,
                text=True,
                stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT,
                timeout=700,
                check=False,
            )
            self.assertEqual(done.returncode, 0, done.stdout[-4000:])
        return source / "build/windows"

    def test_dlls_pdbs_and_import_libraries_are_the_same_wherever_they_are_built(self):
        ours = self.product("Wendax.dll").parent.parent
        cache = (ours / "CMakeCache.txt").read_text()
        settings = [
            f"-D{name}={value}"
            for name, value in re.findall(
                r"^(CMAKE_BUILD_TYPE|WENDAX_[A-Z]+_(?:ADDRESS|SERVER)):\w+=(.*)$", cache, re.M
            )
        ]
        self.assertEqual(len(settings), 3, settings)
        theirs = self.build_elsewhere(settings)
        for name in SHIPPED:
            for file in (f"bin/{name}.dll", f"bin/{name}.pdb", f"lib/{name}.lib"):
                with self.subTest(file):
                    self.assertTrue((ours / file).read_bytes() == (theirs / file).read_bytes())
