#!/usr/bin/env python3
# Micro-holes from end to end: punched by simulate, scanned, processed and read.

import unittest

from PIL import Image

from tool_test import EXAMPLES, NOTHING_READ, ToolTest

REFUSALS = (
    (1, "holes {}", "cut.bmp, text"), (3, "holes {}", "colour.bmp"), (5, "holes {}", "x, front.bmp --overlay text"),
    (2, "holes {}", "small.pnm, front.bmp small.pnm, - -, front.bmp --overlay -"),
    (2, "holes front.bmp --zone {}", "1,2,3, 909,0,540,85, 166,195,540,85 --decode-zone"),
    (2, "simulate {} -o x", "small.pnm small.pnm --micro-holes 123, a b --micro-holes 12a, a b --hole-level 9"))


class HolesTest(ToolTest):
    # Makes front.bmp and rear.bmp; returns the zone of the front face.
    def scan(self, digits, how=""):
        self.tool(f"simulate {EXAMPLES}/cheque_front.png {EXAMPLES}/cheque_rear.png -o raw.tif --lag 8 --force --micro-holes {digits} {how}")
        for face in ("front", "rear"):
            self.tool(f"process --raw raw.tif --lag 8 -o {face}.bmp --format bmp --side {face} --force")
        front = Image.open(self.dir / "front.bmp")
        return front.crop((166, front.height - 280, 706, front.height - 195))

    def test_what_is_punched_is_read(self):
        for digits, how in (("40712356", ""), ("907134826", "--noise 4 --hole-jitter 1"), ("111111", "--margin 25"),
                            ("0888888880", "--half-width 1501 --rows 701 --shift 13,-11 --paper-noise 20"),
                            ("542361", "--paper-level 180 --hole-level 100 --extra-holes 1 --noise 2 --seed 3")):
            self.scan(digits, how)
            Image.open(self.dir / "rear.bmp").save(self.dir / "rear.png")
            for rear in ("rear.bmp", "rear.png --decode-zone"):
                read = self.tool(f"holes front.bmp {rear}").stdout.decode()
                self.assertEqual(read, f"text: {digits}\nfront: {digits}\nrear: {digits}\n", how)

    def test_severities(self):
        holes = {}
        for how in ("", "--missing-holes 2", "--extra-holes 2", "--hole-jitter 1"):
            zone = self.scan("4444444", f"--paper-level 200 --hole-level 90 {how}")
            darkness = sum(200 - level for level in zone.tobytes())
            holes[zone.tobytes()] = (*zone.getextrema(), round(darkness / 7 / 110 / 19.7))  # of each character
        self.assertEqual([*holes.values()], [(90, 200, count) for count in (14, 12, 16, 14)])

    def test_json_and_overlay(self):
        self.scan("40712356")
        read = self.told("holes front.bmp rear.bmp --overlay both.png")
        for four, *others in (face["characters"] for face in reversed(read.pop("faces"))):
            steps = [round((other["box"]["left"] - four["box"]["left"]) / 5) for other in others]
            self.assertEqual((four["differing_cells"], steps), ([], [*range(10, 80, 10)]))
            self.assertEqual(" ".join(four["pattern"]), "...#. ..##. .#.#. #..#. ##### ...#. ...#.")
        self.assertEqual([*read.values()][:3], ["40712356", 0, "40712356"])
        box = tuple(3 * (12 + four["box"][side] - start) for side, start in (("left", 166), ("top", 668 - 280)))
        both = Image.open(self.dir / "both.png")
        self.assertEqual([both.getpixel((36, 36)), both.getpixel(box)], [(40, 90, 220), (240, 140, 0)])

    def test_refusals_and_reasons(self):
        for digits, code, reason in (("4071235", 0, None), ("4071235 --missing-holes 3", 0, "unmatched"),
                                     ("417", NOTHING_READ, "no_box"), ("1", NOTHING_READ, "no_ink")):
            self.scan(digits)
            self.assertEqual(self.told("holes front.bmp", code=code)["faces"][0]["reason"], reason)
        (self.dir / "cut.bmp").write_bytes(self.read("front.bmp")[:-1])
        (self.dir / "text").write_bytes(b"Dear reader,\n")
        Image.new("RGB", (1448, 668)).save(self.dir / "colour.bmp")
        Image.new("L", (600, 270), 220).save(self.dir / "small.pnm")
        self.assert_refused(REFUSALS)


if __name__ == "__main__":
    unittest.main()
