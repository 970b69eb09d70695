"""What the library adds to the setup of its host, as it is released."""


# In bytes: of Wendax.dll (with 64 bits the second), and of all four.
LIMIT = 140 * 1024, 150 * 1024
LIMIT_OF_ALL = 300 * 1024
DLLS = ("Wendax.dll", "KOBRTL.dll", "fall.dll", "faultkit.dll")


def test_library_stays_below_140_kb_and_with_64_bits_150_kb(stage):
    assert stage.product("Wendax.dll").stat().st_size <= stage.machine.choose(*LIMIT)


def test_all_that_ships_stays_below_300_kb(stage):
    assert sum(stage.product(name).stat().st_size for name in DLLS) < LIMIT_OF_ALL
