"""Pictures through the shipped format module, made and read by another program."""

import subprocess

from testing.runner import Case
from testing.picture import described


def colour_at(path, x, y):
    text = subprocess.run(
        ["convert", path, "-auto-orient", "-depth", "8", "-format", f"%[pixel:u.p{{{x},{y}}}]", "info:"],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    return [round(float(number)) for number in text[text.index("(") + 1 : text.index(")")].split(",")[:3]]


class Formats(Case):
    def source(self, name, *options):
        """A picture whose left half is red and whose right half is blue, with a green stripe on top."""
        path = self.artifacts / name
        subprocess.run(
            [
                "convert",
                "-size",
                "40x60",
                "xc:rgb(200,0,0)",
                "-size",
                "40x60",
                "xc:rgb(0,0,200)",
                "+append",
                "-fill",
                "rgb(0,200,0)",
                "-draw",
                "rectangle 0,0 79,14",
                *options,
                path,
            ],
            check=True,
        )
        return path

    def convert(self, source, target, form, width=0, height=0):
        wine = self.wine()
        result = wine.run(
            self.product("imaging_host.exe"),
            "convert",
            wine.prefix.to_windows(source),
            wine.prefix.to_windows(target),
            form,
            width,
            height,
            check=True,
        )
        return dict(line.split(": ", 1) for line in result.text.splitlines())

    def test_the_shipped_module_serves_what_it_promises(self):
        result = self.wine().run(self.product("imaging_host.exe"), "formats", check=True)
        served = {line.split(":")[0]: line.split(":")[1].split() for line in result.text.splitlines()}
        self.assertIn("save", served["JPG"])
        for name in ("BMP", "TGA", "PNG"):
            self.assertIn("save", served[name])
        for name in ("GIF", "PSD", "HDR", "PGM", "PPM", "PIC"):
            self.assertIn(name, served)

    def test_load_stretch_and_save_work_from_each_format_to_each(self):
        sources = [
            self.source("a.png"),
            self.source("a.bmp", "-type", "TrueColor"),
            self.source("a.tga", "-orient", "TopLeft"),
            self.source("a.jpg", "-quality", "95", "-sampling-factor", "1x1"),
            self.source("a.gif"),
            self.source("a.ppm"),
            self.source("palette.bmp", "-type", "Palette"),
            self.source("a.psd"),
        ]
        targets = {"PNG": "PNG", "BMP": "BMP3", "TGA": "TGA", "JPG": "JPEG"}
        for source in sources:
            for form, name in targets.items():
                with self.subTest(source=source.name, target=form):
                    target = self.artifacts / f"{source.name}.{form.lower()}"
                    facts = self.convert(source, target, form, 40, 90)
                    self.assertEqual((facts["load"], facts["stretch"], facts["save"]), ("RCOK", "1", "RCOK"))
                    self.assertEqual(facts["was"].split(",")[0].rsplit("x", 1)[0], "80x60")
                    self.assertEqual(described(target, "%m %wx%h"), f"{name} 40x90")
                    for x, y, colour in [(5, 5, (0, 200, 0)), (5, 60, (200, 0, 0)), (35, 60, (0, 0, 200))]:
                        for got, wanted in zip(colour_at(target, x, y), colour):
                            self.assertAlmostEqual(got, wanted, delta=12)

    def test_what_is_not_stretched_stays_exact(self):
        target = self.artifacts / "out.png"
        self.convert(self.source("in.png"), target, "PNG")
        difference = subprocess.run(
            ["compare", "-metric", "AE", self.artifacts / "in.png", target, "null:"], capture_output=True, text=True
        )
        self.assertEqual(difference.stderr.split()[0], "0")

    def test_a_format_that_can_only_be_read_says_so_and_leaves_no_file(self):
        target = self.artifacts / "out.psd"
        self.assertEqual(self.convert(self.source("in.png"), target, "PSD")["save"], "NSUP")
        self.assertEqual(self.convert(self.source("in.png"), target, "TIF")["save"], "UNSF")
        self.assertFalse(target.exists())

    def test_what_is_good_of_a_cut_picture_is_taken_where_damage_is_allowed(self):
        wine = self.wine()
        whole = self.source("whole.bmp", "-type", "TrueColor")
        cut = self.artifacts / "cut.bmp"
        cut.write_bytes(whole.read_bytes()[:9000])
        facts = {}
        for path in (whole, cut):
            result = wine.run(self.product("imaging_host.exe"), "load", wine.prefix.to_windows(path), check=True)
            facts[path] = dict(line.split(": ", 1) for line in result.text.splitlines())
        calls = ["AppendDamaged", "Append", "LoadDamaged", "Load", "LoadDamagedPage", "LoadPage"]
        self.assertEqual(
            facts[whole], dict.fromkeys(calls, "RCOK") | {"pages appended": "2", "pages loaded": "1", "pages kept": "1"}
        )
        self.assertEqual(
            facts[cut],
            {call: "OKAF" if "Damaged" in call else "BADI" for call in calls}
            | {"pages appended": "1", "pages loaded": "1", "pages kept": "1"},
        )

    def test_damaged_and_foreign_files_give_a_result(self):
        whole = self.source("whole.jpg").read_bytes()
        png = self.source("whole.png").read_bytes()
        cases = {
            "empty.jpg": b"",
            "text.jpg": b"not a picture",
            "cut.jpg": whole[:200],
            "cut.png": png[: len(png) // 2],
            "zeros.png": png[:40] + b"\0" * 400,
            "header.bmp": b"BM" + b"\xff" * 60,
        }
        for name, data in cases.items():
            with self.subTest(name=name):
                path = self.artifacts / name
                path.write_bytes(data)
                facts = self.convert(path, self.artifacts / "out.png", "PNG")
                self.assertIn(facts["load"], ("BADI", "UNSF", "OMEM"))
