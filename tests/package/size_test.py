"""What the library adds to the setup of its host, as it is released."""

from testing import runner

LIMIT = 120_000  # bytes: 120 KB, whichever way one counts them


class Size(runner.Case):
    def test_library_stays_below_120_kb(self):
        self.assertLess(self.product("Wendax.dll").stat().st_size, LIMIT)
