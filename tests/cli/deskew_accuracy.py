#!/usr/bin/env python3
# How straight the tool makes pages that passed the device askew: simulated scans of real and of specimen pages, and a
# line fitted to the borders of what comes out. ZELIMP_SHARED names the folder of real scans.

import itertools
import math
import os
import pathlib
import statistics
import unittest

from PIL import Image, ImageOps

from tool_test import EXAMPLES, ToolTest

SPECIMENS = sorted(EXAMPLES.glob("letter*.png"))
SCANS = pathlib.Path(os.environ.get("ZELIMP_SHARED", "")) / "scans"
REAL = sorted([*SCANS.glob("bookpage*"), *SCANS.glob("receipt*")])
PAPER = 40  # nearly all of a page's border is lighter, and the bed darker


# Degrees by which the outer borders are turned, above 0 as the device turns sheets. Rows where a border is torn or dark
# hardly change the median slope, and those that are far from its line are left out of the fit.
def border_angles(image):
    paper = image.point(lambda level: 255 * (level > PAPER))
    rows = range(image.height // 4, 3 * image.height // 4, 8)
    for border, sign in ((0, -1), (2, 1)):
        points = [(y, paper.crop((0, y, image.width, y + 1)).getbbox()[border]) for y in rows]
        slope = statistics.median((b[1] - a[1]) / (b[0] - a[0]) for a, b in itertools.combinations(points, 2))
        start = statistics.median(x - slope * y for y, x in points)
        near = [(y, x) for y, x in points if abs(x - slope * y - start) < 4]
        yield sign * math.degrees(math.atan(statistics.linear_regression(*zip(*near)).slope))


class DeskewAccuracyTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.pages = [ImageOps.contain(Image.open(path).convert("L"), (2000, 1200)) for path in SPECIMENS + REAL]

    def scan(self, front, rear, skew):
        front.save(self.dir / "front.pnm")
        rear.save(self.dir / "rear.pnm")
        self.tool(f"simulate front.pnm rear.pnm -o raw.tif --force --skew {skew} --lag 8 --bed-noise 2 --noise 2")
        self.tool("descramble raw.tif -o scan.tif --force --lag 8")

    def processed(self, how=""):
        self.tool(f"process scan.tif -o out.tif --force --format tiff {how}")
        return self.picture("out.tif")

    def test_the_fit_sees_angles(self):
        for skew in (-3, 0, 0.2, 8):
            self.scan(*self.pages[:2], skew)
            self.assertLess(max(abs(angle - skew) for angle in border_angles(self.processed())), 0.05, skew)

    def test_pages_come_out_straight(self):
        faces = [(page, self.pages[i - 1]) for i, page in enumerate(self.pages)]
        faces.append((self.pages[0].point(lambda level: level // 4), self.pages[1]))  # only the rear can be traced
        for (i, (front, rear)), skew in itertools.product(enumerate(faces), (1.2, 2, 4, 6, 8)):
            self.scan(front, rear, skew)
            self.assertLess(max(map(abs, border_angles(self.processed("--deskew on --json")))), 0.25, (i, skew))
        if not REAL:
            self.skipTest(f"no real scans in {SCANS}: tried the specimens alone")

    def test_other_skews_are_left_alone(self):
        for skew in (-3, 0.5, 12):
            self.scan(*self.pages[:2], skew)
            self.assertEqual(self.processed("--deskew on --json"), self.processed(), skew)


if __name__ == "__main__":
    unittest.main()
