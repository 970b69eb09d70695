"""The zip, as a developer takes it home: what is in it, and hosts made from nothing else."""

import atexit
import functools
import pathlib
import re
import shutil
import subprocess
import tempfile
import zipfile

import pytest

from testing import documents, report_dialog
from testing.host import Host
from testing.image import X86, X64, Image, machine_of
from testing.processes import REPO
from testing.product import BIN, DLLS, MACHINE

HERE = pathlib.Path(__file__).parent
BUILD = BIN.parent
OTHER = MACHINE.choose(X64, X86)
VERSION = re.search(r"^project\(Wendax VERSION (\S+)", (REPO / "CMakeLists.txt").read_text(), re.M)[1]
RUNTIME = sorted(DLLS)
EXAMPLES = {name: name for name in ("cover", "smallest", "upload", "windowed", "threads", "minidump")}
EXAMPLES |= {"c-host": "c_host", "upload-reporter": "upload_reporter"}


def run(*command, **options):
    """Runs a build tool; its words are in the failure."""
    out = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}
    done = subprocess.run([*map(str, command)], text=True, check=False, **out, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


def trees():
    """Those that are built."""
    found = [REPO / "build" / "windows", REPO / "build" / "windows-x64"]
    found = [tree for tree in found if (tree / "bin" / "Wendax.dll").exists()]
    assert BUILD in found
    return found


@functools.cache
def unpacked():
    """The zip's one folder, unpacked where nothing else of the project is near."""
    place = pathlib.Path(tempfile.mkdtemp(prefix="wendax-package-"))
    atexit.register(shutil.rmtree, place, ignore_errors=True)
    run(REPO / "scripts" / "package", "--built", place / "made")
    (archive,) = (place / "made").glob("*.zip")
    with zipfile.ZipFile(archive) as opened:
        opened.extractall(place)
    return place / archive.stem


def configure(source, build, prefix, *options):
    rules = (f"-DCMAKE_PROJECT_INCLUDE={HERE}/consumer_rules.cmake", f"-DWENDAX_BUILD={BUILD}")
    toolchain = (f"-DCMAKE_TOOLCHAIN_FILE={REPO}/cmake/toolchain-windows.cmake", f"-DWENDAX_ARCH={MACHINE.name}")
    settings = (f"-DCMAKE_PREFIX_PATH={prefix}", "-DCMAKE_BUILD_TYPE=Release", *rules, *toolchain, *options)
    return run("cmake", "-G", "Ninja", "-S", source, "-B", build, *settings)


def build_host(stage, source, prefix=None):
    """Builds a consumer's project; returns the folder in which the program lies."""
    build = stage.artifacts / "build"
    configure(source, build, prefix or unpacked())
    run("cmake", "--build", build)
    return build


def build_smallest(stage, words):
    """Builds that example with these words in its request for the runtime; returns its folder."""
    project = stage.artifacts / "project"
    shutil.copytree(unpacked() / "examples" / "smallest", project, dirs_exist_ok=True)
    listing = project / "CMakeLists.txt"
    listing.write_text(listing.read_text().replace("runtime(smallest)", f"runtime(smallest {words})"))
    return build_host(stage, project)


def report_of(stage, program, code=0xC0000005 & 0xFF):
    """Runs a copied program with what lies beside it; returns its message. code: what it ends with, mostly its fault's."""
    desktop = stage.desktop()
    host = Host(stage, "smallest.exe", files=(), desktop=desktop)
    host.exe.unlink()
    for file in program.parent.glob("*.*"):
        if file.suffix in (".exe", ".dll"):
            shutil.copy(file, host.folder)
    host.exe = host.folder / program.name
    process = host.start()
    (message,) = report_dialog.open_reports(desktop, host, process)
    assert process.returncode == code
    return message


class TestPackage:
    def test_zip_holds_what_the_list_says(self):
        root = unpacked()
        found = sorted(str(path.relative_to(root)) for path in root.rglob("*") if path.is_file())
        folders = ("docs/", "examples/")  # their files come and go; the rest is what others rely on
        listed = [name for name in found if not name.startswith(folders)]
        expected = {
            line.replace("ARCH", machine_of(tree / "bin" / "Wendax.dll").name)
            for line in (HERE / "package_files.txt").read_text().splitlines()
            for tree in trees()
        }
        assert listed == sorted(expected)
        papers = {"docs/host-guide.md", "docs/api/wendax_8h.html", "docs/images/email-dialog.png"}
        assert papers | {"examples/upload-server/public/index.php"} <= set(found)
        assert "docs/Doxyfile" not in found

    def test_packages_are_all_that_is_made(self):
        made = {path.name for path in (unpacked().parent / "made").iterdir()}
        assert made == {f"Wendax-{VERSION}.zip", f"Wendax.{VERSION}.nupkg"}

    def test_zip_is_named_after_the_version_of_the_dlls(self):
        assert unpacked().name == f"Wendax-{VERSION}"
        for name in RUNTIME:
            content = (unpacked() / "bin" / MACHINE.name / name).read_bytes()
            for key in ("FileVersion", "ProductVersion"):
                at = content.index(key.encode("utf-16-le") + b"\0\0")
                text = content[at : at + 120].decode("utf-16-le", "replace")
                assert VERSION.replace(".", ", ") + ", 0" in text, name

    def test_all_that_tells_a_version_tells_that_one(self):
        told = {
            "packaging/vcpkg/wendax/vcpkg.json": r'"version": "(.*?)"',
            "CHANGELOG.md": r"^## (\d\S*)",
            "inbox/forward.py": r"wendax-inbox/([\d.]+)",
            unpacked() / "docs/api/index.html": r'id="projectnumber">(?:&#160;)?(.*?)<',
            unpacked() / "lib/cmake/Wendax/WendaxConfigVersion.cmake": r'set\(PACKAGE_VERSION "(.*?)"\)',
        }
        found = {name: re.search(pattern, (REPO / name).read_text("utf-8"), re.M) for name, pattern in told.items()}
        assert {name: match and match[1] for name, match in found.items()} == dict.fromkeys(told, VERSION)

    def test_links_between_the_documents_lead_somewhere(self):
        assert documents.broken_links(unpacked(), unpacked().rglob("*.md")) == []

    def test_first_report_of_the_readme_works_as_it_stands(self, stage):
        text = (unpacked() / "README.md").read_text("utf-8")
        project = stage.artifacts / "project"
        project.mkdir()
        blocks = dict(re.findall(r"```(cmake|cpp)\n(.*?)```", text, re.DOTALL)[:2])
        (project / "CMakeLists.txt").write_text(blocks["cmake"])
        (project / "host.cpp").write_text(blocks["cpp"])
        build = build_host(stage, project)
        assert sorted(file.name for file in build.glob("*.dll")) == RUNTIME
        message = report_of(stage, build / "host.exe")
        assert b"EXCEPTION_ACCESS_VIOLATION" in message.body

    def test_pdbs_are_copied_on_request(self, stage):
        assert (build_smallest(stage, "PDBS") / "fall.pdb").exists()

    def test_hosts_that_it_is_not_for_are_told_why(self, stage):
        project = stage.artifacts / "project"
        project.mkdir()
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.16)\nproject(host LANGUAGES C)\nfind_package(Wendax REQUIRED)\n"
        )
        one = stage.artifacts / "one"
        run("cmake", "--install", BUILD, "--prefix", one)
        target = f"-DCMAKE_C_COMPILER_TARGET={OTHER.processor}-pc-windows-msvc"
        compiler = ("-DCMAKE_C_COMPILER=clang-19", "-DCMAKE_RC_COMPILER=llvm-rc-19", target)
        compiler += ("-DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY",)
        for settings, reason in (
            ((), "for programs that run on Windows"),
            (("-DCMAKE_SYSTEM_NAME=Windows", *compiler), f"not installed here for {OTHER.name}"),
        ):
            with pytest.raises(AssertionError, match=f"Wendax is {reason}"):
                places = ("-G", "Ninja", "-S", project, "-B", stage.artifacts / reason, f"-DCMAKE_PREFIX_PATH={one}")
                run("cmake", *places, *settings)

    def test_reports_go_where_the_host_says(self, stage):
        for address, written in (
            ("a@b.example", b"a@b.example\0"),
            ('"Crash Desk <a@b.example>"', b'Crash Desk" <a@b.example>\r\nX-Report-To: "\0'),
        ):
            build = build_smallest(stage, f"SUPPORT_ADDRESS {address}")
            assert written in (build / "Wendax.dll").read_bytes(), address

    def test_reports_speak_of_the_program_that_the_host_names(self, stage):
        names = 'PRODUCT "Fine Drawing" COMPANY "Pencil & Co" PROGRAM smallest.exe'
        place = "UPLOAD_URL https://reports.example.com/up"
        build = build_smallest(stage, f"PDBS {names} OWN_PICTURES PROXY {place}")
        record = (build / "Wendax.dll").read_bytes().partition(b"WENDAX REPORTS>\0")[2][128:]
        assert record.startswith(b"https://reports.example.com/up\0")
        names = (b"Fine Drawing".ljust(48, b"\0"), b"Pencil & Co".ljust(48, b"\0"), b"smallest.exe".ljust(64, b"\0"))
        assert record[144:306] == b"".join(names) + b"\1\1"

    def test_misspelt_request_for_the_runtime_is_refused(self, stage):
        with pytest.raises(AssertionError, match=r"not understood:\s+SUPORT_ADDRESS"):
            build_smallest(stage, "SUPORT_ADDRESS a@b.example")


class TestExamples:
    @pytest.mark.parametrize("folder, program", EXAMPLES.items(), ids=EXAMPLES)
    def test_each_example_is_a_project_of_its_own(self, stage, folder, program):
        build = stage.artifacts / folder
        configure(unpacked() / "examples" / folder, build, unpacked())
        run("cmake", "--build", build)
        (made,) = [file for file in build.glob(f"{program}.*") if file.suffix in (".exe", ".dll")]
        assert sorted(file.name for file in build.glob("*.dll") if file != made) == RUNTIME

    def test_format_module_is_a_project_that_links_with_nothing(self, stage):
        build = build_host(stage, unpacked() / "examples" / "format-module")
        entries = "GetFilterInfo GetXBMFileInfo LoadXBMImageData SaveXBMImageData"
        assert Image(build / "xbm.dll").exports() == set(entries.split())


class TestPort:
    def test_host_finds_the_package_where_the_port_puts_it(self, stage):
        port = stage.artifacts / "port"
        shutil.copytree(REPO / "packaging" / "vcpkg" / "wendax", port)
        (archive,) = unpacked().parent.glob("made/*.zip")
        shutil.copy(archive, port)
        installed = stage.artifacts / "packages"
        places = (f"-DPORT={port}", f"-DCURRENT_PACKAGES_DIR={installed}")
        settings = (*places, f"-DVCPKG_TARGET_ARCHITECTURE={MACHINE.name}", f"-DVERSION={VERSION}")
        run("cmake", *settings, "-P", HERE / "vcpkg_stand_in.cmake")
        assert (installed / "tools/wendax/redirect.py").exists()
        assert "wendax_root}/tools/wendax/redirect.py" in (installed / "share/wendax/WendaxConfig.cmake").read_text()
        assert "stb" in (installed / "share/wendax/copyright").read_text()
        build = build_host(stage, unpacked() / "examples" / "minidump", installed)
        assert sorted(file.name for file in build.glob("*.dll")) == RUNTIME


def test_builds_for_both_machines_may_go_to_one_folder(stage):
    place = stage.artifacts / "installed"
    for tree in trees():
        run("cmake", "--install", tree, "--prefix", place)
    for tree in trees():
        machine = machine_of(tree / "bin" / "Wendax.dll")
        for name in ("Wendax.dll", "KOBRTL.dll", "fall.dll"):
            assert machine_of(place / "bin" / machine.name / name) is machine
        assert (place / "lib" / machine.name / "Wendax.lib").exists()
    build = build_host(stage, place / "examples" / "smallest", place)
    assert machine_of(build / "Wendax.dll") is MACHINE
