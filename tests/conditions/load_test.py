"""What the library does to a host before its fault: it is loaded, and covers a thread."""

import re
import shutil

from testing.runner import Case

OURS = {"Wendax.dll", "KOBRTL.dll"}
STAGE = re.compile(r"(\S+) threads (\d+) handles (\d+) windows (\d+) modules (.*)")


class Loading(Case):
    def setUp(self):
        self.prefix = self.fresh_prefix()
        self.folder = self.prefix.drive_c / "host"
        self.folder.mkdir()
        for name in ("load_host.exe", "Wendax.dll", "KOBRTL.dll", "fall.dll", "faultkit.dll"):
            shutil.copy(self.product(name), self.folder)
        self.wine_here = self.wine(prefix=self.prefix)

    def run_host(self, **env):
        return self.wine_here.run(self.folder / "load_host.exe", cwd=self.folder, env=env, check=True)

    def stages(self, result):
        """{stage: ((threads, handles, windows), {(module, address, size)})}"""
        stages = {}
        for line in result.text.splitlines():
            stage, *counts, modules = STAGE.fullmatch(line).groups()
            found = (module.split(":") for module in modules.split())
            stages[stage] = (
                tuple(map(int, counts)),
                {(name, int(address, 16), int(size, 16)) for name, address, size in found},
            )
        return stages

    def files(self):
        return {path for folder in (self.folder, self.prefix.temp_dir) for path in folder.rglob("*")}

    def test_and_covering_add_two_libraries_and_nothing_else(self):
        files = self.files()
        stages = self.stages(self.run_host())
        self.assertEqual(list(stages), ["warm-up", "before", "loaded", "covered", "freed"])
        counts, modules = stages["before"]
        self.assertGreater(min(counts[:2]), 0)
        for stage in ("loaded", "covered"):
            self.assertEqual(stages[stage][0], counts, "threads, handles, windows")
            self.assertEqual({name for name, _, _ in stages[stage][1] - modules}, OURS)
        self.assertEqual(stages["freed"], stages["before"])
        self.assertEqual(self.files(), files)

    def test_calls_nothing_but_what_makes_its_memory_and_its_lock(self):
        # Wine can write down every call from one library into another, with the address to which it returns.
        result = self.run_host(WINEDEBUG="+relay")
        places = [
            range(address, address + size) for name, address, size in self.stages(result)["loaded"][1] if name in OURS
        ]
        calls = re.findall(r"^\w+:Call \w+\.(\S+?)\(.* ret=(\w+)$", result.stderr.decode("latin-1"), re.MULTILINE)
        ours = [name for name, back in calls if any(int(back, 16) in place for place in places)]
        covering = ours.index("?_set_se_translator@@YAP6AXIPAU_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z")
        harmless = {
            "RtlInitializeCriticalSection",
            "InitializeCriticalSection",
            "HeapCreate",
            "HeapAlloc",
            "RtlAllocateHeap",
            "DisableThreadLibraryCalls",
        }
        self.assertTrue(ours[:covering])
        self.assertEqual(set(ours[:covering]) - harmless, set(), "while it is loaded")
