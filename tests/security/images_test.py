"""The DLLs as files: the marks that Windows protects them by, what they import, what they tell about where they were made."""

import pathlib
import re
import subprocess

from testing import runner
from testing.processes import REPO

HERE = pathlib.Path(__file__).parent
DLLS = ("Wendax.dll", "KOBRTL.dll", "fall.dll", "faultkit.dll")
APPLICATION_DIR, SYSTEM32 = 0x200, 0x800  # LOAD_LIBRARY_SEARCH_...


class Images(runner.Case):
    def read(self, dll, *options):
        """What llvm-readobj says of it."""
        told = subprocess.run(
            ["llvm-readobj-19", *options, self.product(dll)], check=True, capture_output=True, text=True
        ).stdout
        return told

    def imports(self, dll):
        """{(library, function)}"""
        told = self.read(dll, "--coff-imports")
        found = set()
        for block in re.findall(r"Import \{(.*?)\n\}", told, re.DOTALL):
            library = re.search(r"Name: (\S+)", block)[1]
            found |= {(library, name) for name in re.findall(r"Symbol: (\S+) ", block)}
        return found

    def test_moves_to_any_address_and_keeps_data_from_running(self):
        for dll in DLLS:
            with self.subTest(dll):
                headers = self.read(dll, "--file-headers")
                self.assertIn("IMAGE_DLL_CHARACTERISTICS_DYNAMIC_BASE", headers)
                self.assertIn("IMAGE_DLL_CHARACTERISTICS_NX_COMPAT", headers)
                self.assertNotIn("IMAGE_FILE_RELOCS_STRIPPED", headers)
                self.assertRegex(headers, r"BaseRelocationTableSize: 0x[1-9A-F]")

    def test_lists_its_exception_handlers(self):
        for dll in DLLS:
            with self.subTest(dll):
                told = self.read(dll, "--file-headers", "--coff-load-config")
                handlers = int(re.search(r"SEHandlerCount: (\d+)", told)[1])
                frames = {name for _, name in self.imports(dll)} & {"__CxxFrameHandler3", "_except_handler3"}
                # Without a handler of its own the image says so, and then nothing in it is ever taken for one.
                self.assertEqual("IMAGE_DLL_CHARACTERISTICS_NO_SEH" in told, not frames)
                self.assertEqual(handlers > 0, bool(frames))

    def test_has_no_section_that_can_be_written_and_run(self):
        for dll in DLLS:
            with self.subTest(dll):
                told = self.read(dll, "--sections")
                sections = re.findall(r"Name: (\S+) .*?Characteristics \[.*?\n(.*?)\]", told, re.DOTALL)
                self.assertIn(".text", [name for name, _ in sections])
                for name, marks in sections:
                    self.assertFalse("MEM_WRITE" in marks and "MEM_EXECUTE" in marks, name)

    def test_looks_for_its_imports_in_few_places(self):
        for dll in DLLS:
            with self.subTest(dll):
                flags = int(
                    re.search(r"DependentLoadFlags: (0x[0-9A-F]+)", self.read(dll, "--coff-load-config"))[1], 16
                )
                own = {library for library, _ in self.imports(dll)} & set(DLLS)
                self.assertEqual(flags, APPLICATION_DIR | SYSTEM32 if own else SYSTEM32)

    def test_of_a_companion_imports_what_the_list_says(self):
        listed = {
            tuple(line.split())
            for line in (HERE / "companion_imports.txt").read_text().splitlines()
            if not line.startswith("#")
        }
        imported = {(dll, *function) for dll in DLLS[1:] for function in self.imports(dll)}
        self.assertEqual(imported, listed)

    def test_tells_nothing_about_the_machine_that_built_it(self):
        places = {
            str(REPO),
            str(pathlib.Path.home()),
            str(self.product("Wendax.dll").parent),
            "/usr/",
            "/home/",
            "/root/",
            "/tmp/",
        } - {"/"}
        for dll in DLLS:
            with self.subTest(dll):
                for file in (dll, dll.replace(".dll", ".pdb")):
                    content = self.product(file).read_bytes().lower()
                    for place in places:
                        for text in (place, place.replace("/", "\\")):
                            for encoded in (text.lower().encode(), text.lower().encode("utf-16-le")):
                                self.assertNotIn(encoded, content, f"{text} in {file}")
