"""The classes of the public header are those of the library."""

from testing import runner


class Layout(runner.Case):
    def test_public_header_and_library_agree_on_the_report_classes(self):
        done = self.wine().run(self.product("layout_host.exe"), check=True)
        self.assertEqual(done.text, "compared 14\n")
