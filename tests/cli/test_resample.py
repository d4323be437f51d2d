#!/usr/bin/env python3
# The resample command. Pillow makes and reads the files, a literal model the pixels.

import re
import unittest
import xml.etree.ElementTree

from PIL import Image, ImageChops, ImageDraw, ImageStat

from tool_test import EXAMPLES, ToolTest, noise, sheet

DRAWING = EXAMPLES.parent / "docs/images/filters.svg"

# Exit code, what follows "resample in.png ", and a part of the sentence.
REFUSALS = (
    (2, "-o x.gif --to 9", "x.gif: the name does not end in .png"), (2, "-o - --to 9", "--format"),
    (2, "-o x.png", "--to"), (2, "-o x.png --to 9 --quality 8", "JPEG"), (2, "--plot-filters x.svg", "no picture"),
    (2, "-o x.png --to 9", "in.png: does not tell"), (2, "-o x.png --to 9", "has 300 x 150", {"dpi": (300, 150)}),
    (2, "-o x.png --from 300 --to 1", "in.png: the result would have no width"), (5, "-o in.png --to 9", "exists"),
    (3, "-o x.png --to 9", "in.png: only", {"format": "BMP"}), (3, "-o x.png --to 9", "in.png: a", {"transparency": 7}),
    (6, "-o x.png --from 1 --to 65535", "in.png"), (6, "-o x.jpg --from 1 --to 2500", "75000 x 2500 pixels cannot"))


def quadratic(a):
    return -2 * a * a + 1 if a <= 0.5 else a * a - 2.5 * a + 1.5 if a <= 1.5 else 0


# One pass over rows, whose result is columns, so that the next one goes down.
def one_pass(rows, length, weight, radius):
    scale, columns = length / len(rows[0]), []
    reach, factor = (radius, 1) if scale > 1 else (radius / scale, scale)
    for centre in (i / scale for i in range(length)):
        left, total, sums = int(centre + 0.5 - reach), 0, [0] * len(rows)
        for j in range(max(left, 0), min(int(left + 2 * reach) + 1, len(rows[0]))):
            part = weight(abs((centre - j) * factor))
            total, sums = total + part, [before + row[j] * part for before, row in zip(sums, rows)]
        columns.append([min(255, max(0, int(value / total))) for value in sums])
    return columns


def model(image, ratio, weight=lambda a: max(1 - a, 0), radius=1):
    width, height = size = [int(side * ratio) for side in image.size]
    bands = [[band.tobytes()[y * band.width:][:band.width] for y in range(band.height)] for band in image.split()]
    made = [one_pass(one_pass(rows, width, weight, radius), height, weight, radius) for rows in bands]
    return Image.merge(image.mode, [Image.frombytes("L", size, bytes(sum(rows, []))) for rows in made])


class ResampleTest(ToolTest):
    # Makes in.png of the image; returns out.
    def result(self, image, how, out="out.png"):
        image.save(self.dir / "in.png")
        self.tool(f"resample in.png -o {out} --force {how}")
        return self.picture(out)

    def test_pixels(self):
        kinds = [noise((37, 23), mode, 1) for mode in ("L", "RGB")]
        kinds += [kinds[0].convert("1"), kinds[0].convert("P"), kinds[1].quantize(9), kinds[1].convert("RGBA")]
        for image, mode in zip(kinds, ("L", "RGB", "L", "L", "RGB", "RGB")):
            for to, how, *filter in ((200, ""), (720, "--filter quadratic", quadratic, 1.5)):
                self.result(image, f"--from 300 --to {to} {how}")
                self.assert_picture("out.png", model(image.convert(mode), to / 300, *filter), (mode, to))
        white = self.result(Image.new("L", (425, 550), 255), "--from 3 --to 2").histogram()
        self.assertEqual(white[250:], [0, 0, 0, 4144, 39451, 59983])
        corner = self.result(Image.new("L", (9, 9), 255), "--from 100 --to 300 --filter box").getpixel
        self.assertEqual([corner((x, 25)) for x in (0, 25, 26)], [255, 255, 0])

    def test_formats_and_resolutions(self):
        cases = (({"dpi": (300, 300)}, "--to 201", 0.67, [201, 201]),
                 ({"dpi": (300, 200)}, "--from 100 --to 67", 0.67, [201, 134]), ({}, "--from 9.5 --to 19", 2, [19, 19]))
        for mode, (tags, how, ratio, dpi) in ((m, c) for m in ("L", "RGB") for c in cases):
            for source in ("png", "tif", "jpg", "bmp")[:4 if tags else 3]:  # Pillow's bitmaps have a resolution always
                sheet(mode, (60, 40), 1).save(self.dir / f"in.{source}", **tags)
                right = model(self.picture(f"in.{source}"), ratio)
                for target in ("PNG", "tif", "tiff", "jpg", "jpeg", "bmp"):
                    self.tool(f"resample in.{source} -o out.{target} --force {how}")
                    out, case = self.picture(f"out.{target}"), (mode, how, source, target)
                    self.assertEqual((out.mode, out.size, [*map(round, out.info["dpi"])]), (mode, right.size, dpi), case)
                    difference = max(ImageStat.Stat(ImageChops.difference(out, right)).mean)
                    self.assertTrue(difference < 1.5 if target[0] == "j" else difference == 0, (case, difference))
        self.assertEqual([self.picture("out.tif").tag_v2[tag] for tag in (259, 296)], [5, 2])
        coded = (self.tool(f"resample in.png -o - --from 1 --to 3 --format jpeg {q}") for q in ("", "--quality 80"))
        self.assertGreater(*(len(done.stdout) for done in coded))

    # A red disk on nothing, which has a colour: on white nothing darkens the disk's edge.
    def test_alpha(self):
        image = Image.new("RGBA", (90, 90), (0, 99, 0, 0))
        ImageDraw.Draw(image).ellipse((20, 20, 70, 70), fill=(255, 0, 0, 255))
        for target in ("png", "tif", "png", "bmp"):
            image = self.result(image, "--from 3 --to 2", f"out.{target}")
            self.assertEqual(image.mode == "RGBA", target != "bmp")
            seen = Image.alpha_composite(Image.new("RGBA", image.size, "white"), image.convert("RGBA"))
            (darkest, _), (least, most), *_ = seen.getextrema()
            self.assertTrue(darkest > 235 and least < 6 and most == 255, (target, seen.getextrema()))

    def test_plot(self):
        self.tool("resample --plot-filters plot.svg")
        self.assertEqual(self.read("plot.svg"), DRAWING.read_bytes())
        names = re.findall(r"^  ([a-z0-9-]+) +([\d.]+) +[a-z]", self.tool("resample --help").stdout.decode(), re.M)
        groups = xml.etree.ElementTree.fromstring(self.read("plot.svg")).findall("{*}g")
        ends = {group.get("id"): float(group.find("{*}path").get("d").split("L")[-1].split()[0]) for group in groups}
        self.assertEqual((len(groups), ends), (13, {name: 30 * float(radius) for name, radius in names}))

    def test_refusals(self):
        for code, command, words, *how in REFUSALS:
            noise((30, 1), "RGBA" if "only" in words else "L", 5).save(self.dir / "in.png", **dict(*how))
            self.assertIn(words, self.tool(f"resample in.png {command}", code=code).stderr.decode(), command)


if __name__ == "__main__":
    unittest.main()
