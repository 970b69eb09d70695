"""Pictures through the shipped format module, made and read by another program."""

import subprocess

import pytest

from testing.picture import described


def colour_at(path, x, y):
    form = f"%[pixel:u.p{{{x},{y}}}]"
    command = ["convert", path, "-auto-orient", "-depth", "8", "-format", form, "info:"]
    text = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return [round(float(number)) for number in text[text.index("(") + 1 : text.index(")")].split(",")[:3]]


def draw(stage, name, *options):
    """A picture whose left half is red and whose right half is blue, with a green stripe on top."""
    path = stage.artifacts / name
    halves = "-size 40x60 xc:rgb(200,0,0) -size 40x60 xc:rgb(0,0,200) +append".split()
    stripe = ["-fill", "rgb(0,200,0)", "-draw", "rectangle 0,0 79,14"]
    subprocess.run(["convert", *halves, *stripe, *options, path], check=True)
    return path


def told(result):
    return dict(line.split(": ", 1) for line in result.text.splitlines())


def convert(stage, source, target, form, width=0, height=0):
    wine = stage.wine()
    files = (wine.prefix.to_windows(source), wine.prefix.to_windows(target))
    return told(wine.run(stage.product("imaging_host.exe"), "convert", *files, form, width, height, check=True))


def test_the_shipped_module_serves_what_it_promises(stage):
    result = stage.wine().run(stage.product("imaging_host.exe"), "formats", check=True)
    served = dict(line.split(":") for line in result.text.splitlines())
    written = dict.fromkeys(("JPG", "PNG", "BMP", "TGA", "HDR"), " save thumbnail")
    assert served == written | dict.fromkeys(("GIF", "PSD", "PGM", "PPM", "PIC"), " thumbnail")


SOURCES = {
    "a.png": [],
    "a.bmp": ["-type", "TrueColor"],
    "a.tga": ["-orient", "TopLeft"],
    "a.jpg": ["-quality", "95", "-sampling-factor", "1x1"],
    "a.gif": [],
    "a.ppm": [],
    "palette.bmp": ["-type", "Palette"],
    "a.psd": [],
}
TARGETS = {"PNG": "PNG", "BMP": "BMP3", "TGA": "TGA", "JPG": "JPEG"}


@pytest.mark.parametrize("form", TARGETS)
@pytest.mark.parametrize("source", SOURCES)
def test_load_stretch_and_save_work_from_each_format_to_each(stage, source, form):
    target = stage.artifacts / f"{source}.{form.lower()}"
    facts = convert(stage, draw(stage, source, *SOURCES[source]), target, form, 40, 90)
    assert (facts["load"], facts["stretch"], facts["save"]) == ("RCOK", "1", "RCOK")
    assert facts["was"].split(",")[0].rsplit("x", 1)[0] == "80x60"
    assert described(target, "%m %wx%h") == f"{TARGETS[form]} 40x90"
    for x, y, colour in [(5, 5, (0, 200, 0)), (5, 60, (200, 0, 0)), (35, 60, (0, 0, 200))]:
        for got, wanted in zip(colour_at(target, x, y), colour):
            assert abs(got - wanted) <= 12


def test_what_is_not_stretched_stays_exact(stage):
    target = stage.artifacts / "out.png"
    convert(stage, draw(stage, "in.png"), target, "PNG")
    command = ["compare", "-metric", "AE", stage.artifacts / "in.png", target, "null:"]
    difference = subprocess.run(command, capture_output=True, text=True)
    assert difference.stderr.split()[0] == "0"


def test_a_format_that_can_only_be_read_says_so_and_leaves_no_file(stage):
    target = stage.artifacts / "out.psd"
    assert convert(stage, draw(stage, "in.png"), target, "PSD")["save"] == "NSUP"
    assert convert(stage, draw(stage, "in.png"), target, "TIF")["save"] == "UNSF"
    assert not target.exists()


def test_what_is_good_of_a_cut_picture_is_taken_where_damage_is_allowed(stage):
    wine = stage.wine()
    whole = draw(stage, "whole.bmp", "-type", "TrueColor")
    cut = stage.artifacts / "cut.bmp"
    cut.write_bytes(whole.read_bytes()[:9000])
    facts = {}
    for path in (whole, cut):
        result = wine.run(stage.product("imaging_host.exe"), "load", wine.prefix.to_windows(path), check=True)
        facts[path] = told(result)
    calls = ["AppendDamaged", "Append", "LoadDamaged", "Load", "LoadDamagedPage", "LoadPage"]
    pages = {"pages appended": "2", "pages loaded": "1", "pages kept": "1"}
    assert facts[whole] == dict.fromkeys(calls, "RCOK") | pages
    verdicts = {call: "OKAF" if "Damaged" in call else "BADI" for call in calls}
    assert facts[cut] == verdicts | pages | {"pages appended": "1"}


DAMAGED = {
    "empty.jpg": lambda jpeg, png: b"",
    "text.jpg": lambda jpeg, png: b"not a picture",
    "cut.jpg": lambda jpeg, png: jpeg[:200],
    "cut.png": lambda jpeg, png: png[: len(png) // 2],
    "zeros.png": lambda jpeg, png: png[:40] + b"\0" * 400,
    "header.bmp": lambda jpeg, png: b"BM" + b"\xff" * 60,
}


@pytest.mark.parametrize("name", DAMAGED)
def test_damaged_and_foreign_files_give_a_result(stage, name):
    path = stage.artifacts / name
    path.write_bytes(DAMAGED[name](draw(stage, "whole.jpg").read_bytes(), draw(stage, "whole.png").read_bytes()))
    facts = convert(stage, path, stage.artifacts / "out.png", "PNG")
    assert facts["load"] in ("BADI", "UNSF", "OMEM")
