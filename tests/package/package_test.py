"""The zip, as a developer takes it home: what is in it, and hosts made from nothing else."""

import atexit
import functools
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import zipfile

from testing import documents, report_dialog, runner
from testing.host import Host
from testing.processes import REPO

HERE = pathlib.Path(__file__).parent
BUILD = pathlib.Path(os.environ.get("WENDAX_BIN") or REPO / "build" / "windows" / "bin").absolute().parent
RUNTIME = ["KOBRTL.dll", "Wendax.dll", "fall.dll", "faultkit.dll"]
EXAMPLES = {
    "smallest": "smallest",
    "upload": "upload",
    "windowed": "windowed",
    "threads": "threads",
    "minidump": "minidump",
    "c-host": "c_host",
}


def run(*command, **options):
    """Runs a build tool; its words are in the failure."""
    done = subprocess.run(
        [*map(str, command)],
        text=True,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        timeout=200,
        check=False,
        **options,
    )
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


@functools.cache
def unpacked():
    """The zip's one folder, unpacked where nothing else of the project is near."""
    place = pathlib.Path(tempfile.mkdtemp(prefix="wendax-package-"))
    atexit.register(shutil.rmtree, place, ignore_errors=True)
    run("cpack", "-B", place / "made", "--config", BUILD / "CPackConfig.cmake")
    (archive,) = (place / "made").glob("*.zip")
    with zipfile.ZipFile(archive) as opened:
        opened.extractall(place)
    (place / "name").write_text(archive.name)
    return place / archive.stem


def configure(source, build, prefix, *options):
    return run(
        "cmake",
        "-G",
        "Ninja",
        "-S",
        source,
        "-B",
        build,
        f"-DCMAKE_PREFIX_PATH={prefix}",
        "-DCMAKE_BUILD_TYPE=Release",
        f"-DCMAKE_TOOLCHAIN_FILE={REPO}/cmake/toolchain-windows.cmake",
        f"-DCMAKE_PROJECT_INCLUDE={HERE}/consumer_rules.cmake",
        f"-DWENDAX_BUILD={BUILD}",
        *options,
    )


class PackageCase(runner.Case):
    def build(self, source, prefix=None):
        """Builds a consumer's project; returns the folder in which the program lies."""
        build = self.artifacts / "build"
        configure(source, build, prefix or unpacked())
        run("cmake", "--build", build)
        return build

    def report_of(self, program):
        """Runs a copied program with what lies beside it; returns its message."""
        desktop = self.desktop()
        host = Host(self, "smallest.exe", files=(), desktop=desktop)
        host.exe.unlink()
        for file in program.parent.glob("*.*"):
            if file.suffix in (".exe", ".dll"):
                shutil.copy(file, host.folder)
        host.exe = host.folder / program.name
        process = host.start()
        report_dialog.press(desktop, "Open Error Report")
        message = host.wait_messages(1)[0]
        self.assertEqual(process.wait_family(), 0)
        return message


class Package(PackageCase):
    def test_zip_holds_what_the_list_says(self):
        root = unpacked()
        found = sorted(str(path.relative_to(root)) for path in root.rglob("*") if path.is_file())
        folders = ("docs/", "examples/")  # their files come and go; the rest is what others rely on
        listed = [name for name in found if not name.startswith(folders)]
        self.assertEqual(listed, (HERE / "package_files.txt").read_text().splitlines())
        for name in ("docs/host-guide.md", "docs/images/email-dialog.png", "examples/upload-server/public/index.php"):
            self.assertIn(name, found)

    def test_zip_is_named_after_the_version_of_the_dlls(self):
        version = re.search(r"^project\(Wendax VERSION (\S+)", (REPO / "CMakeLists.txt").read_text(), re.M)[1]
        self.assertEqual(unpacked().name, f"Wendax-{version}-win32")
        for name in RUNTIME:
            content = (unpacked() / "bin" / name).read_bytes()
            for key in ("FileVersion", "ProductVersion"):
                at = content.index(key.encode("utf-16-le") + b"\0\0")
                text = content[at : at + 120].decode("utf-16-le", "replace")
                self.assertIn(version.replace(".", ", ") + ", 0", text, name)

    def test_links_between_the_documents_lead_somewhere(self):
        self.assertEqual(documents.broken_links(unpacked(), unpacked().rglob("*.md")), [])

    def test_first_report_of_the_readme_works_as_it_stands(self):
        text = (unpacked() / "README.md").read_text("utf-8")
        project = self.artifacts / "project"
        project.mkdir()
        blocks = dict(re.findall(r"```(cmake|cpp)\n(.*?)```", text, re.DOTALL)[:2])
        (project / "CMakeLists.txt").write_text(blocks["cmake"])
        (project / "host.cpp").write_text(blocks["cpp"])
        build = self.build(project)
        self.assertEqual(sorted(file.name for file in build.glob("*.dll")), RUNTIME)
        message = self.report_of(build / "host.exe")
        self.assertIn(b"EXCEPTION_ACCESS_VIOLATION", message.body)

    def test_pdbs_are_copied_on_request(self):
        project = self.artifacts / "project"
        shutil.copytree(unpacked() / "examples" / "smallest", project)
        listing = project / "CMakeLists.txt"
        listing.write_text(listing.read_text().replace("runtime(smallest)", "runtime(smallest PDBS)"))
        self.assertTrue((self.build(project) / "faultkit.pdb").exists())

    def test_hosts_that_it_is_not_for_are_told_why(self):
        project = self.artifacts / "project"
        project.mkdir()
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.16)\nproject(host LANGUAGES C)\n" "find_package(Wendax REQUIRED)\n"
        )
        for settings, reason in (
            ((), "for programs that run on Windows"),
            (
                (
                    "-DCMAKE_SYSTEM_NAME=Windows",
                    "-DCMAKE_C_COMPILER=clang-19",
                    "-DCMAKE_C_COMPILER_TARGET=x86_64-pc-windows-msvc",
                    "-DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY",
                ),
                "for 32-bit programs",
            ),
        ):
            with self.subTest(reason), self.assertRaisesRegex(AssertionError, f"Wendax is {reason}"):
                run(
                    "cmake",
                    "-S",
                    project,
                    "-B",
                    self.artifacts / reason,
                    f"-DCMAKE_PREFIX_PATH={unpacked()}",
                    *settings,
                )

    def test_reports_go_where_the_host_says(self):
        project = self.artifacts / "project"
        shutil.copytree(unpacked() / "examples" / "smallest", project)
        listing = project / "CMakeLists.txt"
        without = listing.read_text()
        for address, written in (
            ("a@b.example", b"a@b.example\0"),
            ('"Crash Desk <a@b.example>"', b'Crash Desk" <a@b.example>\r\nX-Report-To: "\0'),
        ):
            with self.subTest(address):
                listing.write_text(without.replace("runtime(smallest)", f"runtime(smallest SUPPORT_ADDRESS {address})"))
                self.assertIn(written, (self.build(project) / "Wendax.dll").read_bytes())

    def test_misspelt_request_for_the_runtime_is_refused(self):
        project = self.artifacts / "project"
        shutil.copytree(unpacked() / "examples" / "smallest", project)
        listing = project / "CMakeLists.txt"
        listing.write_text(
            listing.read_text().replace("runtime(smallest)", "runtime(smallest SUPORT_ADDRESS a@b.example)")
        )
        with self.assertRaisesRegex(AssertionError, r"not understood:\s+SUPORT_ADDRESS"):
            self.build(project)


class Examples(PackageCase):
    def test_each_example_is_a_project_of_its_own(self):
        for folder, program in EXAMPLES.items():
            with self.subTest(folder):
                build = self.artifacts / folder
                configure(unpacked() / "examples" / folder, build, unpacked())
                run("cmake", "--build", build)
                self.assertTrue((build / f"{program}.exe").exists())
                self.assertEqual(sorted(file.name for file in build.glob("*.dll")), RUNTIME)

    def test_format_module_is_a_project_that_links_with_nothing(self):
        build = self.build(unpacked() / "examples" / "format-module")
        exported = subprocess.run(
            ["llvm-readobj-19", "--coff-exports", build / "xbm.dll"],
            text=True,
            check=True,
            stdout=subprocess.PIPE,
            timeout=60,
        ).stdout
        self.assertEqual(
            re.findall(r"Name: (\w+)", exported),
            ["GetFilterInfo", "GetXBMFileInfo", "LoadXBMImageData", "SaveXBMImageData"],
        )


class Port(PackageCase):
    def test_host_finds_the_package_where_the_port_puts_it(self):
        port = self.artifacts / "port"
        shutil.copytree(REPO / "packaging" / "vcpkg" / "wendax", port)
        (archive,) = unpacked().parent.glob("made/*.zip")
        shutil.copy(archive, port)
        installed = self.artifacts / "packages"
        run("cmake", f"-DPORT={port}", f"-DCURRENT_PACKAGES_DIR={installed}", "-P", HERE / "vcpkg_stand_in.cmake")
        self.assertTrue((installed / "tools/wendax/redirect.py").exists())
        self.assertIn(
            "wendax_root}/tools/wendax/redirect.py", (installed / "share/wendax/WendaxConfig.cmake").read_text()
        )
        self.assertIn("stb", (installed / "share/wendax/copyright").read_text())
        build = self.build(unpacked() / "examples" / "minidump", installed)
        self.assertEqual(sorted(file.name for file in build.glob("*.dll")), RUNTIME)

    def test_port_is_of_the_librarys_version(self):
        told = json.loads((REPO / "packaging/vcpkg/wendax/vcpkg.json").read_text())
        self.assertEqual(unpacked().name, f"Wendax-{told['version']}-win32")
