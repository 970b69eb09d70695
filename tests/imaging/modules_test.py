"""Format modules as the product loads them."""

import shutil

from testing.runner import Case


class Modules(Case):
    def facts(self, *args, modules=None, directory=None, cwd=None):
        env = {}
        if modules is not None:
            env["IMAGING_MODULES"] = modules
        if directory is not None:
            env["IMAGING_DIRECTORY"] = directory
        result = self.wine().run(self.product("imaging_host.exe"), *args, env=env, cwd=cwd, check=True)
        return dict(
            line.split(": ", 1) if ": " in line else (line.rstrip(":"), "") for line in result.text.splitlines()
        )

    def test_a_module_of_another_maker_is_found_by_its_directory(self):
        wine = self.wine()
        folder = self.artifacts / "module folder"
        folder.mkdir()
        shutil.copy(self.product("xbm.dll"), folder / "other.flt")
        facts = self.facts("formats", modules="other.flt", directory=wine.prefix.to_windows(folder) + "\\")
        self.assertEqual(facts, {"XBM": "save"})

    def test_a_module_beside_the_host_is_found_without_a_directory(self):
        self.assertEqual(self.facts("formats", modules="xbm\n"), {"XBM": "save"})

    def test_modules_that_are_missing_or_no_libraries_are_passed_over(self):
        wine = self.wine()
        (self.artifacts / "text.dll").write_text("this is no library")
        facts = self.facts("formats", modules="missing\ntext\n\n", directory=wine.prefix.to_windows(self.artifacts))
        self.assertEqual(facts, {})

    def test_a_picture_comes_from_a_resource(self):
        self.assertEqual(self.facts("resource", "PICTURE", modules="xbm"), {"load": "RCOK", "pages": "1"})
        self.assertEqual(self.facts("resource", "NOPICTURE", modules="xbm"), {"load": "UNSF", "pages": "0"})
        self.assertEqual(self.facts("resource", "MISSING", modules="xbm"), {"load": "MISS", "pages": "0"})

    def test_a_fault_in_a_module_is_a_result(self):
        self.assertEqual(
            self.facts("module-faults"),
            {
                "load": "CFLT",
                "detect": "CFLT",
                "thumbnail": "CFLT",
                "thumbnail again": "CFLT",
                "save": "CFLT",
                "formats of one that can't be asked": "0",
            },
        )

    def test_a_fault_in_the_start_of_gdiplus_is_swallowed(self):
        self.assertEqual(
            self.facts("gdiplus-fault"),
            {
                "running after the fault": "0",
                "documents": "1",
                "running after the next try": "1",
                "running in the end": "0",
            },
        )
