"""What the library adds to the setup of its host, as it is released."""


LIMIT = 120_000  # bytes: 120 KB, whichever way one counts them


def test_library_stays_below_120_kb(stage):
    assert stage.product("Wendax.dll").stat().st_size < LIMIT
