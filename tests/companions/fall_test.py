"""fall.dll as it ships: its exports, and its files in the hands of other readers."""

import re
import shutil
import subprocess

import pytest

from testing.picture import described

READ_AND_WRITTEN = ["JPG", "PNG", "BMP", "TGA", "HDR"]
ONLY_READ = ["GIF", "PSD", "PGM", "PPM", "PIC"]


def error_between(one, other):
    """The root mean square error of two pictures, in levels of 255."""
    # A Targa that begins with its lowest row is turned only on demand.
    upright = []
    for path in map(str, (one, other)):
        upright.append(path.removesuffix("[0]") + ".upright.png")
        subprocess.run(["convert", path, "-auto-orient", upright[-1]], check=True)
    told = subprocess.run(["compare", "-metric", "RMSE", *upright, "null:"], capture_output=True, text=True).stderr
    return float(re.search(r"\(([\d.e-]+)\)", told)[1]) * 255


def segments(jpeg):
    """The markers up to the pixels, with their contents."""
    at, found = 2, {}
    while jpeg[at] == 0xFF and jpeg[at + 1] != 0xDA:
        length = int.from_bytes(jpeg[at + 2 : at + 4], "big")
        found[jpeg[at + 1]] = jpeg[at + 4 : at + 2 + length]
        at += 2 + length
    return found


@pytest.fixture
def picture(stage):
    path = stage.artifacts / "picture.ppm"
    subprocess.run(["convert", "-seed", "7", "-size", "512x512", "plasma:red-blue", "-depth", "8", path], check=True)
    return path


def convert(stage, source, source_format, target_format, quality=75, bits=24):
    target = stage.artifacts / f"out.{target_format.lower()}"
    told = host(stage, source, source_format, target, target_format, quality, bits, check=True)
    assert "load: RCOK" in told
    assert "save: RCOK" in told
    return target


def host(stage, source, source_format, target, target_format, *numbers, **options):
    wine = stage.wine()
    files = (wine.prefix.to_windows(source), source_format, wine.prefix.to_windows(target), target_format)
    return wine.run(stage.product("fall_host.exe"), *files, *numbers, **options).text


def test_exports_the_entries_of_its_formats(stage):
    expected = ["GetFilterInfo"]
    for name in READ_AND_WRITTEN + ONLY_READ:
        expected += [f"Load{name}ImageData", f"Get{name}FileInfo", f"Load{name}ImageThumbnail"]
    expected += [f"Save{name}ImageData" for name in READ_AND_WRITTEN]
    assert stage.image("fall.dll").exports() == set(expected)


def test_needs_nothing_but_what_every_windows_has(stage):
    assert stage.image("fall.dll").libraries() == {"kernel32.dll", "msvcrt.dll"}


def test_a_screenshot_is_a_baseline_jpeg_of_quality_75(stage, picture):
    jpeg = convert(stage, picture, "PPM", "JPG")
    assert described(jpeg, "%m %w %h %Q %[colorspace] %[interlace]") == "JPEG 512 512 75 sRGB None"
    parts = segments(jpeg.read_bytes())
    assert parts[0xE0][:5] == b"JFIF\0"
    assert parts[0xC0][5] == 3
    assert error_between(picture, jpeg) < 6


def test_the_quality_is_the_asked_one(stage, picture):
    for quality in (1, 30, 90, 100):
        assert described(convert(stage, picture, "PPM", "JPG", quality), "%Q") == str(quality)


def test_what_it_writes_without_loss_others_read_unchanged(stage, picture):
    for name in ("PNG", "BMP", "TGA"):
        assert error_between(picture, convert(stage, picture, "PPM", name)) == 0, name


def test_reads_what_others_write(stage, picture):
    for name, options in {
        "png": [],
        "bmp": [],
        "tga": [],
        "psd": [],
        "jpg": ["-interlace", "JPEG", "-quality", "98"],
        "gif": ["-colors", "256", "+dither"],
    }.items():
        source = stage.artifacts / f"in.{name}"
        subprocess.run(["convert", picture, *options, source], check=True)
        shown = convert(stage, source, name.upper(), "PNG")
        # A PSD holds the flattened picture first.
        limit = 2 if name == "jpg" else 0
        assert error_between(f"{source}[0]", shown) <= limit, name
        shutil.move(shown, stage.artifacts / f"from_{name}.png")


def test_white_is_what_a_portable_map_names_as_its_maximum(stage):
    for white in (1, 15, 100, 1023, 4095):
        source = stage.artifacts / f"white_{white}.pgm"
        samples = [0, 1, white // 2, white]
        size = 2 if white > 255 else 1
        source.write_bytes(b"P5 4 1 %d\n" % white + b"".join(s.to_bytes(size, "big") for s in samples))
        assert error_between(source, convert(stage, source, "PGM", "PNG")) <= 1, white


def test_a_good_bitmap_of_run_lengths_is_not_called_damaged(stage, picture):
    source = stage.artifacts / "runs.bmp"
    packed = "-colors 16 -type Palette -compress RLE".split()
    subprocess.run(["convert", picture, *packed, f"BMP3:{source}"], check=True)
    assert source.read_bytes()[30] == 1, "the picture is packed"
    assert "load: NSUP" in host(stage, source, "BMP", stage.artifacts / "none.png", "PNG", 75, 24)
