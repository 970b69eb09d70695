"""KOBRTL.dll as it ships: its exports, its resampler and its message box in a program linked against it."""

import math

import pytest

EXPORTS = {
    "??0Scale@glib@@QAE@PBXIIHI0I@Z",
    "?CalcDestBpp@Scale@glib@@QBEIH@Z",
    "?MsgBox@@YAHPAUHWND__@@IPBDZZ",
    "?ScaleTo@Scale@glib@@QBEHPAXIIHH@Z",
}
EXPORTS_64 = {
    "??0Scale@glib@@QEAA@PEBXIIHI0I@Z",
    "?CalcDestBpp@Scale@glib@@QEBAIH@Z",
    "?MsgBox@@YAHPEAUHWND__@@IPEBDZZ",
    "?ScaleTo@Scale@glib@@QEBAHPEAXIIHH@Z",
}
NEAREST, AREA, LINEAR = 0, 1, 2


def mitchell(x):
    x = abs(x)
    if x < 1:
        return (7 * x**3 - 12 * x**2 + 16 / 3) / 6
    return (-7 / 3 * x**3 + 12 * x**2 - 20 * x + 32 / 3) / 6 if x < 2 else 0


def catmull_rom(x):
    x = abs(x)
    if x < 1:
        return 1.5 * x**3 - 2.5 * x**2 + 1
    return -0.5 * x**3 + 2.5 * x**2 - 4 * x + 2 if x < 2 else 0


def triangle(x):
    return max(0, 1 - abs(x))


def scaled_line(values, size, linear):
    """The values at `size` places, each the weighted sum of its neighbourhood; edges continue."""
    ratio = len(values) / size
    width = max(ratio, 1)
    curve = triangle if linear else mitchell if ratio > 1 else catmull_rom
    line = []
    for i in range(size):
        centre = (i + 0.5) * ratio - 0.5
        places = range(math.floor(centre - 2 * width), math.ceil(centre + 2 * width) + 1)
        weights = [curve((j - centre) / width) for j in places]
        inside = [values[min(max(j, 0), len(values) - 1)] for j in places]
        line.append(sum(w * v for w, v in zip(weights, inside)) / sum(weights))
    return line


def scaled(channel, width, height, linear):
    """One channel, a list of rows."""
    rows = [scaled_line(row, width, linear) for row in channel]
    columns = [scaled_line([row[x] for row in rows], height, linear) for x in range(width)]
    return [[columns[x][y] for x in range(width)] for y in range(height)]


def told_by_host(stage, *args, desktop=None):
    result = stage.wine(desktop).run(stage.product("kobrtl_host.exe"), *map(str, args), check=True)
    return dict(line.split(": ", 1) for line in result.text.splitlines())


def test_exports_the_names_that_visual_cpp_makes_of_the_header(stage):
    assert stage.image("KOBRTL.dll").exports() == stage.machine.choose(EXPORTS, EXPORTS_64)


def test_needs_only_libraries_that_every_windows_has(stage):
    found = {library.lower() for library in stage.image("KOBRTL.dll").libraries()}
    assert found == {"kernel32.dll", "msvcrt.dll", "user32.dll"}


def check_picture(stage, type, bpp, width, height, to_width, to_height, *how):
    facts = told_by_host(stage, *how, "scale", type, bpp, width, height, to_width, to_height)
    assert (facts["depth"], facts["done"]) == (str(bpp), "1")
    result = bytes.fromhex(facts["pixels"])
    bytes_per_pixel = bpp // 8
    source = [i * i // 3 % 251 for i in range(width * height * bytes_per_pixel)]
    for c in range(bytes_per_pixel):
        channel = [
            source[y * width * bytes_per_pixel + c : (y + 1) * width * bytes_per_pixel : bytes_per_pixel]
            for y in range(height)
        ]
        for y, row in enumerate(scaled(channel, to_width, to_height, type == LINEAR)):
            for x, ideal in enumerate(row):
                given = result[(y * to_width + x) * bytes_per_pixel + c]
                assert abs(given - min(max(ideal, 0), 255)) < 0.53, f"column {x}, row {y}, channel {c}"


PICTURES = {
    "shrunk": (AREA, 24, 83, 61, 20, 13),
    "grown": (AREA, 24, 19, 14, 50, 45),
    "low, and then narrow and high": (AREA, 24, 300, 3, 4, 120),
    "linear, low, and then narrow and high": (LINEAR, 8, 400, 1, 3, 150),
    "grey": (AREA, 8, 83, 61, 20, 13),
    "linear": (LINEAR, 24, 40, 30, 17, 33),
}


@pytest.mark.parametrize("picture", PICTURES.values(), ids=PICTURES)
def test_a_scaled_picture_is_what_the_formula_says(stage, picture):
    check_picture(stage, *picture)


def test_is_the_same_in_the_middle_of_the_hosts_floating_point_work(stage):
    check_picture(stage, AREA, 24, 83, 61, 20, 13, "troubled")
    for type in (NEAREST, AREA, LINEAR):
        # Its opacities are anything, also none.
        usual, troubled = (told_by_host(stage, *how, "scale", type, 32, 300, 300, 11, 17) for how in ([], ["troubled"]))
        assert troubled == {**usual, "floating point": "kept"}


def test_box_comes_in_the_middle_of_the_hosts_floating_point_work(stage):
    facts = told_by_host(stage, "troubled", "box", 0x10, "kobrtl_host", 1, "-", 3000, desktop=stage.desktop())
    assert (facts["answer"], facts["floating point"]) == ("1", "kept")


def test_a_type_that_does_not_exist_scales_nothing(stage):
    facts = told_by_host(stage, "scale", 3, 24, 8, 8, 4, 4)
    assert (facts["depth"], facts["done"]) == ("0", "0")


def test_a_box_shows_the_formatted_text_and_the_icon_under_the_name_of_the_program(stage):
    facts = told_by_host(stage, "box", 0x10, "kobrtl_host", 1, "-", 0, desktop=stage.desktop())
    assert facts == {"answer": "1", "icon": "1", "text": "Bad format, '-5' 100%: ", "floating point": "kept"}


def test_a_box_has_the_title_of_its_owner_and_gives_the_button_that_was_pressed(stage):
    facts = told_by_host(stage, "box", 0x4, "Torvex", 7, "Torvex", 0, desktop=stage.desktop())
    assert (facts["answer"], facts["icon"]) == ("7", "0")


def test_a_long_text_is_shown_whole(stage):
    facts = told_by_host(stage, "box", 0x10, "kobrtl_host", 1, "-", 3000, desktop=stage.desktop())
    assert facts["text"] == "Bad format, '-5' 100%: " + 3000 * "*"
