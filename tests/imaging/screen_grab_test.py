"""The screenshot on displays of several sizes. A module for tests writes down what it is given to save."""

import os
import shutil
import struct
import subprocess

import pytest

from testing.picture import described

SIDE = 512
# Of the picture that is put on the display, as red, green, blue.
CORNERS = {(0, 0): (220, 30, 30), (1, 0): (30, 200, 30), (0, 1): (40, 40, 230), (1, 1): (240, 240, 30)}


class Recording:
    """What jpg_recorder wrote: the save record, then the page."""

    def __init__(self, data):
        self.record = data[:136]
        self.width, self.height, self.depth = struct.unpack_from("<III", data, 136)
        self.pixels = data[148:]

    def pixel(self, x, y):
        at = ((self.height - 1 - y) * self.width + x) * 3
        blue, green, red = self.pixels[at : at + 3]
        return red, green, blue


@pytest.fixture
def small(stage):
    return stage.desktop(width=640, height=480)


@pytest.fixture
def wine(stage, small):
    return stage.wine(small)


def show_corners(stage, desktop):
    """Fills the display with a picture of four colours."""
    picture = stage.artifacts / "corners.png"
    half = f"{desktop.width // 2}x{desktop.height // 2}"
    tile = {place: ("-size", half, "xc:rgb(%d,%d,%d)" % colour) for place, colour in CORNERS.items()}
    rows = [("(", *tile[0, y], *tile[1, y], "+append", ")") for y in (0, 1)]
    subprocess.run(["convert", *rows[0], *rows[1], "-append", picture], check=True)
    # It ends with 1 even when it has done its work; what the tests see of the picture tells.
    subprocess.run(["display", "-window", "root", picture], check=False, env={**os.environ, **desktop.env})


def take(stage, wine, *args, **env):
    env = {"IMAGING_MODULES": "jpg_recorder", **env}
    result = wine.run(stage.product("imaging_host.exe"), *(args or ("screenshot",)), env=env, check=True)
    return dict(line.split(": ", 1) for line in result.text.splitlines())


def recording(wine, facts):
    return Recording(wine.prefix.to_unix(facts["path"]).read_bytes())


@pytest.mark.parametrize(("width", "height"), [(640, 480), (1024, 768), (1920, 1080), (3840, 2160)])
def test_screenshot_shows_the_whole_primary_display_upright_in_512_by_512(stage, width, height):
    desktop = stage.desktop(width=width, height=height)
    show_corners(stage, desktop)
    wine = stage.wine(desktop)
    facts = take(stage, wine)
    assert facts["path"].endswith("\\screen_copy.jpg")
    assert (facts["documents"], facts["period"]) == ("0", "0")
    shown = recording(wine, facts)
    assert (shown.width, shown.height, shown.depth) == (SIDE, SIDE, 24)
    check_corners(shown.pixel)
    take(stage, wine, IMAGING_MODULES="fall\n")
    picture = stage.artifacts / f"{width}x{height}.jpg"
    shutil.copy(wine.prefix.to_unix(facts["path"]), picture)
    assert described(picture, "%m %wx%h %Q %[channels] %z") == "JPEG 512x512 75 srgb 8"
    pixels = subprocess.run(["convert", picture, "-depth", "8", "rgb:-"], check=True, capture_output=True).stdout
    check_corners(lambda x, y: tuple(pixels[(y * SIDE + x) * 3 :][:3]), tolerance=4)


def check_corners(pixel, tolerance=0):
    for (right, bottom), colour in CORNERS.items():
        for inset in (2, 100, 240):
            x = SIDE - 1 - inset if right else inset
            y = SIDE - 1 - inset if bottom else inset
            for got, wanted in zip(pixel(x, y), colour):
                assert abs(got - wanted) <= tolerance, f"at {x}, {y}"


def test_screenshot_grabs_the_part_that_is_asked_for(stage, small, wine):
    show_corners(stage, small)
    for x, y in [(100, 100), (600, 100), (100, 400), (600, 400)]:
        facts = take(stage, wine, "grab", x, y)
        red, green, blue = CORNERS[int(x > 320), int(y > 240)]
        assert facts == {"width": "10", "height": "8", "red, green, blue": f"{red} {green} {blue}"}


def test_second_screenshot_overwrites_the_first(stage, small, wine):
    first = recording(wine, take(stage, wine))
    show_corners(stage, small)
    second = recording(wine, take(stage, wine))
    assert len(second.pixels) == SIDE * SIDE * 3
    assert first.pixel(10, 10) != second.pixel(10, 10)


def test_without_a_module_there_is_no_screenshot_file_and_no_window(stage, small, wine):
    facts = take(stage, wine, IMAGING_MODULES="no such module")
    assert not wine.prefix.to_unix(facts["path"]).exists()
    assert facts["documents"] == "0"
    assert small.windows() == []


def test_place_that_cant_be_written_is_left_as_it_is(stage, wine):
    place = wine.prefix.to_unix(take(stage, wine)["path"])
    place.unlink()
    place.mkdir()
    take(stage, wine)
    assert place.is_dir()
    facts = take(stage, wine, IMAGING_TEMP="C:\\no such folder")
    assert facts["path"] == "C:\\no such folder\\screen_copy.jpg"
    assert facts["documents"] == "0"


def test_200_screenshots_leave_no_objects_and_handles_behind(stage, wine):
    facts = take(stage, wine, "many-screenshots", 200, IMAGING_MODULES="fall\n")
    assert int(facts["objects before"]) > 0
    assert facts["objects after"] == facts["objects before"]
    assert facts["handles after"] == facts["handles before"]


def test_screenshot_takes_little_of_the_stack(stage):
    desktop = stage.desktop(width=1024, height=768)
    facts = take(stage, stage.wine(desktop), "screenshot-stack", IMAGING_MODULES="fall\n")
    print("stack bytes of one screenshot:", facts["stack bytes"])
    assert int(facts["stack bytes"]) < 24 * 1024


def test_module_that_is_none_is_complained_about_once(stage, small, wine):
    shutil.copy(stage.product("KOBRTL.dll"), stage.artifacts / "none.dll")
    env = {"IMAGING_MODULES": "none", "IMAGING_DIRECTORY": wine.prefix.to_windows(stage.artifacts)}
    host = wine.start(stage.product("imaging_host.exe"), "formats", env=env)
    box = small.wait_window("imaging_host")
    small.activate(box)
    small.key("Return")
    assert host.wait() == 0
