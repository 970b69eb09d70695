"""What the library adds to the setup of its host, as it is released."""

from testing.product import DLLS

# In bytes, with 32 and with 64 bits: of Wendax.dll, and of all four.
LIMIT = 140 * 1024, 168 * 1024
LIMIT_OF_ALL = 310 * 1024, 344 * 1024


def test_library_stays_below_140_kb_and_with_64_bits_168_kb(stage):
    assert stage.product("Wendax.dll").stat().st_size <= stage.machine.choose(*LIMIT)


def test_all_that_ships_stays_below_310_kb_and_with_64_bits_344_kb(stage):
    assert sum(stage.product(name).stat().st_size for name in DLLS) < stage.machine.choose(*LIMIT_OF_ALL)
