"""Another release of the codec would make another fall.dll: the build stops at it, and says what to do."""

import pathlib
import re
import shutil
import subprocess
import tempfile

from testing.processes import REPO
from testing.product import BIN

HEADERS = ("stb_image.h", "stb_image_write.h")


class CodecBuild:
    """A build tree that takes the codec's headers from a folder of its own."""

    def __init__(self, place):
        self.stb, self.build = place / "stb", place / "build"
        cache = (BIN.parent / "CMakeCache.txt").read_text("utf-8")
        packaged = pathlib.Path(re.search(r"^STB_INCLUDE:PATH=(.*)$", cache, re.M)[1])
        self.stb.mkdir()
        for header in HEADERS:
            shutil.copy(packaged / header, self.stb)
        self.cmake("--preset", "windows", "-S", REPO, "-B", self.build, f"-DSTB_INCLUDE={self.stb}").check_returncode()

    def cmake(self, *args):
        out = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}
        return subprocess.run(["cmake", *map(str, args)], cwd=REPO, text=True, check=False, **out)

    def build_codec(self):
        return self.cmake("--build", self.build, "--target", "companions/fall/CMakeFiles/fall_core.dir/codec.c.obj")


def test_build_stops_at_another_release_of_the_codec_and_says_what_to_do():
    with tempfile.TemporaryDirectory(prefix="wendax-codec-") as place:
        build = CodecBuild(pathlib.Path(place))
        for header in HEADERS:
            content = (build.stb / header).read_text("utf-8")
            (build.stb / header).write_text(content + "// one line more\n", "utf-8")
            done = build.build_codec()
            assert done.returncode != 0, done.stdout
            assert re.search(
                rf"{build.stb}/{header} is not the release that fall\.dll is built from "
                r"\(libstb-dev [^)]+\): its SHA-256 is [0-9a-f]{64} instead of "
                r"[0-9a-f]{64}\. Install that release, or .* pin the new one in \S+/repair_stb\.py\.",
                done.stdout,
            )
            (build.stb / header).write_text(content, "utf-8")
        done = build.build_codec()
        assert done.returncode == 0, done.stdout
