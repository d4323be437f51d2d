#!/usr/bin/env python3
# Banknotes from end to end: drawn by note, trained and read by banknote. ZELIMP names the tool's program file.

import json
import pathlib
import subprocess
import tempfile
import unittest

import test_cli
from PIL import Image

PLACES = "# two only\n0 1 1 9 9\n1 38 300 66 62 # y from the bottom\n\n" + 5 * "0 -9 1 9 9\n"
REFUSALS = (  # exit code, command, and what stands for {} in it, one after the other
    (1, "banknote {}", "2.png --font text, 2.png --font f --locations text, text --font f"),
    (2, "banknote {}", ", 2.png, --font f, train 2.png -o x, - - --font f, s.png --font f, 2.png --font f --overlay -"),
    (2, "banknote train 2.png -o x {}", "--value 3, --class 7, --value 2 --class 1, --value 2 --margin 31, "
        "--value 2 --region 38;300;66, --value 2 --region 38;330;66;62"),
    (2, "banknote train {} --value 2 -o x", "s.png"), (2, "note {} -o x", "3, 2 --turn nan"))


class BanknoteTest(unittest.TestCase):
    tool, files = test_cli.CliTest.tool, test_cli.CliTest.files

    def setUp(self):
        self.dir = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        for value in (2, 5, 20):
            self.tool(f"note {value} -o {value}.png")
            self.tool(f"note {value} -o worn.png --noise 15 --shift 2,-1 --wear 2 --force")
            self.tool(f"banknote train {value}.png worn.png --value {value} --force -o f {'--font f' * (value > 2)}")
        self.tool("note 2 -o no.png --no-figure")

    def read(self, how, code=0):
        done = subprocess.run([test_cli.TOOL, "banknote", *how.split(), *"--font f --json --overlay o --force".split()],
                              capture_output=True, cwd=self.dir)
        self.assertEqual(done.returncode, code, done.stderr)
        read = json.loads(done.stdout)
        return (read["value"], read["image"], read["orientation"]), read["matches"]

    def test_value_face_and_orientation(self):
        for value, how, turned in ((2, "", "upright"), (5, "--half-turn", "turned"), (20, "--shift 3,-3", "upright")):
            self.tool(f"note {value} -o n.png --rear m.png --contrast 70 --noise 15 --force {how}")
            for pair, image in (("n.png m.png", "first"), ("m.png n.png", "second"), ("n.png", "first")):
                found, matches = self.read(f"{pair} --all-classes")
                self.assertEqual(found, (value, image, turned), how)
        place = (880 - 155 + 4 + 3, 384 - 140 + 4 - 3, 132, 92)
        found = tuple(matches[0]["place"].values())  # the first place that is good enough, not the best
        self.assertTrue(all(abs(a - b) <= 2 for a, b in zip(found, place, strict=True)), (found, place))
        seen = Image.open(self.dir / "o")
        self.assertEqual([seen.getpixel(at) for at in ((725, 244), found[:2])], [(40, 90, 220), (0, 170, 60)])

    def test_classes_codes_and_refusals(self):
        (self.dir / "places").write_text(PLACES)
        for how in ("", "--locations places"):
            self.assertEqual([self.read(f"20.png {how}", 8)[0][0], self.read(f"2.png {how}")[0][0]], [None, 2])
        self.assertEqual(len(self.read("no.png --all-classes", 8)[1]), 6)
        self.tool("banknote train worn.png --class 1 --margin 3 --font f -o g")
        fonts = json.loads(self.tool("font list g --json").stdout)["templates"]
        self.assertEqual([(one["code"], one["width"]) for one in fonts], [(1, 58), (2, 106), (4, 132), (17, 60)])
        (self.dir / "text").write_text("1 2 3\n")
        Image.new("L", (300, 300), 9).save(self.dir / "s.png")
        for code, form, values in REFUSALS:
            for value in values.split(", "):
                self.tool(form.format(value.replace(";", ",")), code=code)


if __name__ == "__main__":
    unittest.main()
