"""What the library does to a host before its fault: it is loaded, and covers a thread."""

import re
import shutil

import pytest

from testing.product import DLLS

OURS = {"Wendax.dll", "KOBRTL.dll"}
HARMLESS = {"RtlInitializeCriticalSection", "InitializeCriticalSection", "HeapCreate", "HeapAlloc", "RtlAllocateHeap"}
HARMLESS |= {"DisableThreadLibraryCalls"}
STAGE = re.compile(r"(\S+) threads (\d+) handles (\d+) windows (\d+) modules (.*)")


class LoadHost:
    def __init__(self, stage):
        self.prefix, self.machine = stage.fresh_prefix(), stage.machine
        self.folder = self.prefix.drive_c / "host"
        self.folder.mkdir()
        for name in ("load_host.exe", *DLLS):
            shutil.copy(stage.product(name), self.folder)
        self.wine = stage.wine(prefix=self.prefix)

    def run(self, **env):
        return self.wine.run(self.folder / "load_host.exe", cwd=self.folder, env=env, check=True)

    def files(self):
        return {path for folder in (self.folder, self.prefix.temp_dir) for path in folder.rglob("*")}


@pytest.fixture
def host(stage):
    return LoadHost(stage)


def stages_of(result):
    """{stage: ((threads, handles, windows), {(module, address, size)})}"""
    stages = {}
    for line in result.text.splitlines():
        stage, *counts, modules = STAGE.fullmatch(line).groups()
        found = (module.split(":") for module in modules.split())
        places = {(name, int(address, 16), int(size, 16)) for name, address, size in found}
        stages[stage] = (tuple(map(int, counts)), places)
    return stages


def test_loading_and_covering_add_two_libraries_and_nothing_else(host):
    files = host.files()
    stages = stages_of(host.run())
    assert list(stages) == ["warm-up", "before", "loaded", "covered", "freed"]
    counts, modules = stages["before"]
    assert min(counts[:2]) > 0
    for stage in ("loaded", "covered"):
        assert stages[stage][0] == counts, "threads, handles, windows"
        assert {name for name, _, _ in stages[stage][1] - modules} == OURS
    assert stages["freed"] == stages["before"]
    assert host.files() == files


def test_loading_calls_nothing_but_what_makes_its_memory_and_its_lock(host):
    # Wine can write down every call from one library into another, with the address to which it returns.
    result = host.run(WINEDEBUG="+relay")
    places = [range(address, address + size) for name, address, size in stages_of(result)["loaded"][1] if name in OURS]
    calls = re.findall(r"^\w+:Call \w+\.(\S+?)\(.* ret=(\w+)$", result.stderr.decode("latin-1"), re.MULTILINE)
    pointer = host.machine.choose("PA", "PEA")
    cover = f"?_set_se_translator@@YAP6AXI{pointer}U_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z"
    covering = [name for name, _ in calls].index(cover)
    ours = [name for name, back in calls[:covering] if any(int(back, 16) in place for place in places)]
    assert ours
    assert set(ours) - HARMLESS == set(), "while it is loaded"
