"""The cross toolchain's glue, seen from programs that run on it."""

import subprocess

from testing import runner


class Toolchain(runner.Case):
    def test_glue_keeps_its_promises(self):
        done = self.wine().run(self.product("toolchain_host.exe"), "one", "two words")
        self.assertNotIn("FAILED", done.text)
        self.assertRegex(done.text, r"checked \d{5,}")
        self.assertIn("host global destroyed", done.text)
        self.assertIn("dll global destroyed", done.text)
        self.assertEqual(done.returncode, 7)

    def test_window_program_gets_its_arguments_without_its_name(self):
        done = self.wine().run(self.product("toolchain_gui_host.exe"), "abc", "de")
        self.assertEqual(done.returncode, len("abc de"))

    def test_image_with_handlers_carries_the_security_marks(self):
        headers = subprocess.run(
            ["llvm-readobj-19", "--file-headers", "--coff-load-config", self.product("toolchain_host.exe")],
            check=True,
            capture_output=True,
            text=True,
        ).stdout
        self.assertIn("IMAGE_DLL_CHARACTERISTICS_DYNAMIC_BASE", headers)
        self.assertIn("IMAGE_DLL_CHARACTERISTICS_NX_COMPAT", headers)
        self.assertNotIn("IMAGE_DLL_CHARACTERISTICS_NO_SEH", headers)
        self.assertRegex(headers, r"SEHandlerCount: [1-9]")
