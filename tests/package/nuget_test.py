"""The NuGet package, as a Visual C++ project takes it: unpacked, its targets read for each platform, a host built by them."""

import pathlib
import re
import shutil
import urllib.parse
import xml.etree.ElementTree as xml
import zipfile

import pytest
from package_test import RUNTIME, VERSION, build_host, report_of, trees, unpacked

from testing.image import X64, X86, machine_of
from testing.product import MACHINE

MSBUILD = "{http://schemas.microsoft.com/developer/msbuild/2003}"
NUSPEC = "{http://schemas.microsoft.com/packaging/2013/05/nuspec.xsd}"
TYPES = "{http://schemas.openxmlformats.org/package/2006/content-types}"
PLATFORMS = {"Win32": X86, "x64": X64}


def package():
    (found,) = unpacked().parent.glob("made/*.nupkg")
    return found


@pytest.fixture
def folder(stage):
    """The package as the client unpacks it, names decoded."""
    place = stage.artifacts / "packages" / package().stem
    with zipfile.ZipFile(package()) as archive:
        for name in archive.namelist():
            path = place / urllib.parse.unquote(name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(archive.read(name))
    return place


class Targets:
    """What MSBuild makes of the package's targets, in a project of that platform with these properties."""

    def __init__(self, folder, platform, **properties):
        self.native = folder / "build" / "native"
        self.root = xml.parse(self.native / "Wendax.targets").getroot()
        assert self.root.tag == MSBUILD + "Project"
        self.properties = {
            "MSBuildThisFileDirectory": f"{self.native}/",
            "Platform": platform,
            "OutDir": "C:\\out\\",
            **properties,
        }
        for each in self.children(self.root, "PropertyGroup", "*"):
            self.properties[each.tag.removeprefix(MSBUILD)] = self.expand(each.text)

    def expand(self, text):
        text = re.sub(r"\$\((\w+)\)", lambda match: self.properties.get(match[1], ""), text)
        return text.replace("\\", "/")

    def holds(self, element):
        condition = element.get("Condition")
        if condition is None:
            return True
        left, operator, right = re.fullmatch(r"'(.*)' (==|!=) '(.*)'", self.expand(condition)).groups()
        return (left.lower() == right.lower()) == (operator == "==")

    def children(self, element, *path):
        """Those elements down the path whose conditions hold, of them and of all above."""
        if not path:
            return [element]
        name = path[0] if path[0] == "*" else MSBUILD + path[0]
        return [
            found for child in element.findall(name) if self.holds(child) for found in self.children(child, *path[1:])
        ]

    def setting(self, tool, name):
        """The entries that a setting of a tool gets before the project's own."""
        found = self.children(self.root, "ItemDefinitionGroup", tool, name)
        return [entry for each in found for entry in self.expand(each.text).split(";") if not entry.startswith("%(")]

    def runtime(self):
        (item,) = self.children(self.root, "ItemGroup", "WendaxRuntime")
        pattern = pathlib.Path(self.expand(item.get("Include")))
        return sorted(pattern.parent.glob(pattern.name))

    def tasks(self, target):
        (found,) = self.root.findall(f"{MSBUILD}Target[@Name='{target}']")
        return [task.tag.removeprefix(MSBUILD) for task in self.children(found, "*")] if self.holds(found) else []


def test_package_has_the_parts_that_its_format_asks_for(folder):
    assert package().name == f"Wendax.{VERSION}.nupkg"
    told = {each.tag.removeprefix(NUSPEC): each.text for each in xml.parse(folder / "Wendax.nuspec").getroot()[0]}
    assert (told["id"], told["version"], told["license"], told["readme"]) == ("Wendax", VERSION, "MIT", "README.md")
    assert {"authors", "description"} <= told.keys()
    (manifest,) = xml.parse(folder / "_rels" / ".rels").getroot()
    assert manifest.get("Type") == "http://schemas.microsoft.com/packaging/2010/07/manifest"
    assert manifest.get("Target") == "/Wendax.nuspec"
    assert (folder / "README.md").exists()


def test_each_part_of_the_package_has_a_type(folder):
    types = xml.parse(folder / "[Content_Types].xml").getroot()
    suffixes = {each.get("Extension") for each in types.findall(TYPES + "Default")}
    names = {each.get("PartName") for each in types.findall(TYPES + "Override")}
    with zipfile.ZipFile(package()) as archive:
        parts = [name for name in archive.namelist() if name != "[Content_Types].xml"]
    assert len(parts) > 50
    for part in parts:
        assert "/" + part in names or pathlib.PurePosixPath("x" + part.rpartition("/")[2]).suffix[1:] in suffixes, part


@pytest.mark.parametrize("platform", PLATFORMS)
def test_targets_name_what_is_there_for_the_platform(folder, platform):
    machine = PLATFORMS[platform]
    if machine not in [machine_of(tree / "bin" / "Wendax.dll") for tree in trees()]:
        pytest.skip(f"{machine.name} is not built here")
    targets = Targets(folder, platform)
    (include,) = targets.setting("ClCompile", "AdditionalIncludeDirectories")
    assert (pathlib.Path(include) / "wendax.h").exists()
    (libraries,) = targets.setting("Link", "AdditionalLibraryDirectories")
    for name in targets.setting("Link", "AdditionalDependencies"):
        assert (pathlib.Path(libraries) / name).exists(), name
    assert [file.name for file in targets.runtime()] == RUNTIME
    assert {machine_of(file) for file in targets.runtime()} == {machine}
    assert targets.tasks("WendaxPlatform") == []
    assert targets.tasks("WendaxRuntimeFiles") == ["Copy"]


def test_project_of_another_platform_is_told_so(folder):
    assert Targets(folder, "ARM64").tasks("WendaxPlatform") == ["Error"]


def test_exception_model_is_the_projects_own_on_request(folder):
    assert Targets(folder, "x64").setting("ClCompile", "ExceptionHandling") == ["Async"]
    assert Targets(folder, "x64", WendaxExceptionModel="Project").setting("ClCompile", "ExceptionHandling") == []


def test_redirection_runs_the_tool_that_the_package_brings(folder):
    targets = Targets(folder, "x64", WendaxRedirect="--support-address a@b.example")
    assert targets.tasks("WendaxRuntimeFiles") == ["Copy", "Exec"]
    (target,) = targets.root.findall(f"{MSBUILD}Target[@Name='WendaxRuntimeFiles']")
    command = targets.expand(target.find(MSBUILD + "Exec").get("Command"))
    tool, dll, options = re.fullmatch(r'python "(.*?)" "(.*?)" (.*)', command).groups()
    assert pathlib.Path(tool).resolve() == (folder / "tools" / "redirect.py").resolve()
    assert (dll, options) == ("C:/out/Wendax.dll", "--support-address a@b.example")


def test_host_built_by_the_targets_alone_makes_its_report(stage, folder):
    targets = Targets(folder, MACHINE.choose("Win32", "x64"))
    project = stage.artifacts / "project"
    project.mkdir()
    shutil.copy(unpacked() / "examples" / "smallest" / "smallest.cpp", project)
    includes = targets.setting("ClCompile", "AdditionalIncludeDirectories")
    folders = targets.setting("Link", "AdditionalLibraryDirectories")
    libraries = targets.setting("Link", "AdditionalDependencies")
    (project / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.16)\nproject(host LANGUAGES CXX)\nadd_executable(smallest smallest.cpp)\n"
        "target_compile_options(smallest PRIVATE -fexceptions -fasync-exceptions)\n"  # what /EHa is
        f"target_include_directories(smallest PRIVATE {' '.join(includes)})\n"
        f"target_link_directories(smallest PRIVATE {' '.join(folders)})\n"
        f"target_link_libraries(smallest PRIVATE {' '.join(libraries)})\n"
    )
    build = build_host(stage, project, stage.artifacts)
    for file in targets.runtime():
        shutil.copy(file, build)
    assert b"EXCEPTION_ACCESS_VIOLATION" in report_of(stage, build / "smallest.exe", code=0).body
