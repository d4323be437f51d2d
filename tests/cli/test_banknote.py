#!/usr/bin/env python3
# Banknotes from end to end: drawn by note, trained and read by banknote.

import unittest

from PIL import Image, ImageChops

from tool_test import NOTHING_READ, ToolTest

PLACES = "# two only\n0 -842 -84 66 62\r\n1 38 -84 66 62 # from the top\r\n\r\n" + 4 * "0 -9 1 9 9\n" + "0 -9 1 9 9"
REFUSALS = (
    (1, "banknote {}", "2.png --font text, 2.png --font f --locations text, text --font f"),
    (2, "banknote {}", ", 2.png, --font f, train 2.png -o x, - - --font f, s.png --font f, 2.png --font f --overlay -, "
        "2.png --font - --locations -, train - --font - --value 2 -o x, --font f train 2.png --value 2 -o x"),
    (2, "banknote train 2.png -o x {}", "--value 3, --class 7, --value 2 --class 1, --value 2 --margin 31"),
    (2, "banknote train 2.png --value 2 -o x --region {}", "38,300,66, 38,323,66,62, -65,300,66,62, 010,300,66,62, "
        "38,300,66,62 --locations places"), (2, "note {} -o x", "3, 2 --turn nan"),
    (2, "banknote train --value 20 -o x {}", "s.png, 20.png s.png, 20.png --locations places"),
    (6, "banknote train s.png --class 1 -o x {}", "--region 0,0,20000,300 --margin 100"))


class BanknoteTest(ToolTest):
    def setUp(self):
        super().setUp()
        for value in (2, 5, 20):
            self.tool(f"note {value} -o {value}.png")
            self.tool(f"note {value} -o worn.png --noise 15 --shift 2,-1 --wear 2 --force")
            self.tool(f"banknote train {value}.png worn.png --value {value} --force -o f {'--font f' * (value > 2)}")
        self.tool("note 2 -o no.png --no-figure")
        (self.dir / "places").write_text(PLACES)

    def recognise(self, how, code=0):
        read = self.told(f"banknote {how} --font f --overlay o --force", code=code)
        return (read["value"], read["image"], read["orientation"]), read["matches"]

    def test_value_face_and_orientation(self):
        for value, how, turned in ((2, "", "upright"), (5, "--half-turn", "turned"), (20, "--shift 3,-3", "upright")):
            self.tool(f"note {value} -o n.png --rear m.png --contrast 70 --noise 15 --force {how}")
            for pair, image in (("n.png m.png", "first"), ("m.png n.png", "second"), ("n.png", "first")):
                found, matches = self.recognise(f"{pair} --all-classes")
                self.assertEqual(found, (value, image, turned), how)
                left, top, width, height = place = tuple(matches[0]["place"].values())
                figure = Image.open(self.dir / "o").convert("L").crop((left, top, left + width, top + height))
                self.assertGreater(sum(figure.histogram()[:100]), width * height / 8, how)  # ink
        best = (880 - 155 + 4 + 3, 384 - 140 + 4 - 3, 132, 92)  # found is the first place that is good enough
        self.assertTrue(all(abs(a - b) <= 2 for a, b in zip(place, best, strict=True)), (place, best))
        seen = Image.open(self.dir / "o")
        self.assertEqual([seen.getpixel(at) for at in ((725, 244), place[:2])], [(40, 90, 220), (0, 170, 60)])

    def test_classes_codes_and_refusals(self):
        for how in ("", "--locations places"):
            self.assertEqual([self.recognise(f"20.png {how}", NOTHING_READ)[0][0], self.recognise(f"2.png {how}")[0][0]], [None, 2])
        matches = self.recognise("no.png --all-classes", NOTHING_READ)[1]
        self.assertEqual([one["score"] - one["disagreeing"] * 1000 // one["limit"] for one in matches], 6 * [0])
        Image.open(self.dir / "no.png").crop((0, 0, 200, 384)).save(self.dir / "narrow.png")
        left, top, *_ = self.recognise("narrow.png", NOTHING_READ)[1][0]["place"].values()
        seen = Image.open(self.dir / "o")  # only class 1 is enabled: of the edge of class 0 at 38, 100 nothing
        self.assertEqual((seen.getpixel((left, top)), len({*seen.getpixel((38, 100))})), ((240, 140, 0), 1))
        self.assertLess(seen.convert("L").crop((400, 384, *seen.size)).getextrema()[0], 100)  # the caption goes on
        self.assertRegex(self.tool("banknote 2.png --font f --all-classes").stdout, rb"\Avalue: 2\nimage: first, "
                         rb"upright\ntemplate: value 2, code 1, score .*\n(  then value (5|20), .*\n){2}\Z")
        self.tool("banknote train worn.png --class 1 --margin 3 --font f -o g")
        fonts = self.told("font list g")["templates"]
        self.assertEqual([(one["code"], one["width"]) for one in fonts], [(1, 58), (2, 106), (4, 132), (17, 60)])
        (self.dir / "text").write_text("1 2 3\n")
        Image.new("L", (20000, 300), 9).save(self.dir / "s.png")
        for row in ("2 1 1 9 9", "0 1 1 9", "0 1 1 9 9 9", "0 1 1 0 9", "0 1 100001 9 9", PLACES):
            (self.dir / "bad").write_text(PLACES.replace("0 -842 -84 66 62", row))
            self.tool("banknote 2.png --font f --locations bad", code=1)
        self.assert_refused(REFUSALS)

    def test_training(self):
        self.tool("note 2 -o off.png --shift 4,-4 --noise 40")
        done = self.tool("banknote train 2.png off.png --class 0 --locations places -o g --verbose")
        self.assertIn(b"off.png: cut 8, 0 from", done.stderr)
        for _ in range(6):  # codes 32 to 112
            self.tool("banknote train 2.png --value 1 --font g -o g --force")
        self.tool("banknote train 2.png --value 1 --font g -o x", code=2)
        # Halves in black and white, and in the white one columns that differ: their masks are known.
        for i, levels in enumerate(([200, 190, 0], [221, 150, 255], [221, 150, 255])):
            Image.frombytes("L", (20, 20), 20 * bytes(levels + 7 * [255] + 10 * [0])).save(self.dir / f"{i}.png")
        done = self.tool("banknote train 0.png 1.png 2.png --value 5 --region 0,0,20,20 --margin 0 -o h --verbose")
        self.assertIn(b"code 2: 160 light and 200 dark of 400 pixels count", done.stderr)
        self.assertEqual([*(self.dir / "h").read_bytes()[-20:]], [38, 70, 127] + 17 * [0])

    def test_specimens(self):
        def faces(how):
            self.tool(f"note 2 -o n.png --rear m.png --force {how}")
            return [Image.open(self.dir / name).convert("L") for name in ("n.png", "m.png")]

        (clean, rear), (noisy, _), (worn, worn_rear) = faces(""), faces("--noise 9"), faces("--wear 1 --seed 3")
        self.assertEqual([ImageChops.subtract(*p).getextrema()[1] for p in ((noisy, clean), (clean, noisy))], [9, 9])
        box, rear_box = (ImageChops.difference(*two).getbbox() for two in ((worn, clean), (worn_rear, rear)))
        self.assertEqual(rear_box, (880 - box[2], box[1], 880 - box[0], box[3]))  # through the sheet
        dim = [face.rotate(180).point(lambda level: round(128 + (level - 128) * 0.6)) for face in (clean, rear)]
        self.assertFalse(any(ImageChops.difference(*p).getbbox() for p in zip(dim, faces("--half-turn --contrast 60"))))
        turned = faces("--turn -10")[0].crop((30, 100, 75, 140))  # where the figure comes to lie
        self.assertLess(turned.getextrema()[0] + 60, clean.crop((30, 100, 75, 140)).getextrema()[0])


if __name__ == "__main__":
    unittest.main()
