"""The stack cookies of the DLLs, in processes that have loaded them."""

from testing.image import X64

DLLS = ("Wendax.dll", "KOBRTL.dll", "fall.dll", "faultkit.dll")
UNMADE = {0xBB40E64E, 0x00002B992DDFA232}  # what the linked images have, for the loader to find


def cookies(stage):
    """{DLL: cookie} of one process."""
    told = stage.wine().run(stage.product("cookie_host.exe"), *DLLS).text
    return {name: int(value, 16) for name, value in map(str.split, told.splitlines())}


def test_are_made_anew_for_each_image_and_process(stage):
    first, second = cookies(stage), cookies(stage)
    assert set(first) == set(second) == set(DLLS)
    values = {*first.values(), *second.values()}
    assert len(values) == 2 * len(DLLS)
    assert not values & UNMADE


def test_hold_zeros_on_top_in_64_bits_so_that_no_string_can_write_them(stage):
    limit = 2**48 if stage.machine == X64 else 2**32
    assert all(0 < value < limit for value in cookies(stage).values())
