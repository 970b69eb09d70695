"""The stack cookies of the DLLs, in processes that have loaded them."""

import pytest

from testing.image import X64
from testing.product import DLLS, MACHINE

UNMADE = {0xBB40E64E, 0x00002B992DDFA232}  # what the linked images have, for the loader to find


def cookies(stage):
    """{DLL: cookie} of one process."""
    told = stage.wine().run(stage.product("cookie_host.exe"), *DLLS).text
    return {name: int(value, 16) for name, value in map(str.split, told.splitlines())}


def test_are_made_anew_for_each_image_and_process(stage):
    # Where the loader makes them it may draw one number twice, Wine's from a clock of milliseconds: so by several runs.
    runs = [cookies(stage) for _ in range(4)]
    for made in runs:
        assert set(made) == set(DLLS)
        assert len(set(made.values())) > 1
        assert not set(made.values()) & UNMADE
    for dll in DLLS:
        assert len({made[dll] for made in runs}) > 1, dll


@pytest.mark.skipif(MACHINE is not X64, reason="with 32 bits they have no zeros to spare")
def test_hold_zeros_on_top_so_that_no_string_can_write_them(stage):
    assert all(0 < value < 2**48 for value in cookies(stage).values())
