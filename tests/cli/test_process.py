#!/usr/bin/env python3
# End-to-end tests of what process does to a document: deskew, crop, JPEG, pictures of the steps; and of wrap, describe.

import itertools
import json
import unittest

from PIL import Image, ImageChops, ImageStat
from support import BED, ToolTest, noise

SIZE, MARGIN = (640, 480), 30


# A light sheet with soft spots of print in its middle.
def sheet(mode, size, seed):
    face = Image.new(mode, size, (240, 250, 230)[: len(mode)])
    print_size = (size[0] - 120, size[1] - 120)
    face.paste(noise((print_size[0] // 20, print_size[1] // 20), mode, seed).resize(print_size, Image.BICUBIC), (60, 60))
    return face


class ProcessTest(ToolTest):
    def sheets(self, mode, how="", undo="", size=SIZE):
        return self.scan(sheet(mode, size, 1), sheet(mode, size, 2), MARGIN, how, undo)

    def report(self, arguments):
        return json.loads(self.tool(f"process scan.tif -o out --force --json {arguments}").stdout)

    def test_jpeg(self):
        for mode, kind in itertools.product(("L", "RGB"), ("jpeg", "jfif")):
            wanted = self.sheets(mode, size=(200, 200)).crop((260, 0, 520, 260)).rotate(-90, expand=True)
            made = {}
            for quality in (95, 30):
                how = f"--side rear --rotate 90 --format {kind} --quality {quality} --preview out.png"
                facts = self.report(how)
                picture = self.picture("out")
                self.assertEqual((picture.mode, picture.size, facts["bytes"]), (mode, (260, 260), len(self.read("out"))))
                for name in ("out", "out.png"):
                    difference = ImageStat.Stat(ImageChops.difference(self.picture(name), wanted))
                    self.assertLess(max(difference.mean), 4, (how, name))
                if kind == "jpeg":
                    self.assertEqual([picture.tag_v2[tag] for tag in (53249, 259, 282)], [quality, 7, 240])
                else:
                    self.assertEqual((picture.format, picture.info["dpi"]), ("JPEG", (240, 240)))
                made[quality] = (len(self.read("out")), picture.tobytes())
            self.assertEqual(made[95] == made[30], kind == "jpeg")
            self.assertEqual(made[95][0] > 2 * made[30][0], kind == "jfif")

    def test_deskew_of_a_grey_scan(self):
        for skew in (2, 6):
            whole = self.sheets("L", f"--skew {skew} --noise 2")
            width, height = self.picture("scan.tif").size
            facts = self.report("--deskew on --format tiff")
            angle = facts["skew"]["found"]
            self.assertEqual((facts["skew"]["corrected"], facts["skew"]["not_corrected"]), (angle, None))
            self.assertAlmostEqual(angle["degrees"], skew, delta=0.3)
            self.assertAlmostEqual(angle["radians"] * 57.29578, angle["degrees"], 4)
            self.assertTrue(facts["width"] < width and facts["height"] < height, (facts, width, height))
            self.assertEqual((facts["width"], facts["height"]), self.picture("out").size)
            border = facts["border"]
            self.assertEqual((border["face"], border["first_row"]), ("front", height // 4))
            self.assertGreater(border["first_row_column"], border["last_row_column"])
            upright = self.picture("out").point(lambda level: level >= 128)
            for side, start in (("front", 0), ("rear", upright.width // 2)):
                tops = [upright.crop((x, 0, x + 1, upright.height)).getbbox()[1] for x in (start + 90, start + 500)]
                self.assertAlmostEqual(*tops, delta=3, msg=(skew, side))
            measured = self.report("--deskew measure --side rear")
            self.assertEqual([measured["skew"][key] for key in ("found", "corrected", "not_corrected")],
                             [angle, None, None])
            self.assertEqual(measured["cut"], {"left": width // 2, "top": 0, "width": width // 2, "height": height})
        self.sheets("L", "--skew -4")
        facts = self.report("--deskew on")
        self.assertEqual([facts["skew"], facts["border"]],
                         [{"found": None, "corrected": None, "not_corrected": "not found"}, None])

    def test_automatic_crop(self):
        for skew, side in itertools.product((0, 3), ("front", "rear")):
            whole = self.sheets("RGB", f"--skew {skew}")
            facts = self.report(f"--format jfif --side {side} --crop auto --deskew on --rotate 270 --crop-distance 60")
            half, height = (self.picture("scan.tif").width // 2, self.picture("scan.tif").height)
            cut = facts["cut"]
            self.assertEqual((facts["width"], facts["height"]), (height, cut["width"]))
            self.assertAlmostEqual(cut["left"], MARGIN + half * (side == "rear"), delta=12)
            self.assertAlmostEqual(cut["width"], half - 2 * MARGIN, delta=24)
            self.assertAlmostEqual(abs(facts["skew"]["found"]["degrees"]), skew, delta=0.3)
            self.assertEqual(facts["skew"]["not_corrected"], None if skew else "within 1 degree")

    def test_fixed_crop(self):
        whole = self.sheets("RGB", size=(90, 40))
        half = whole.width // 2
        for side, how, columns in (("front", "--crop-left 20 --crop-length 60", (20, 61)),
                                   ("front", "--crop-left 5 --crop-right 30", (5, half - 29)),
                                   ("rear", "--crop-right 7 --crop-length 60", (2 * half - 59, 2 * half - 6))):
            facts = self.report(f"--format tiff --side {side} --crop fixed {how}")
            self.assert_picture("out", whole.crop((columns[0], 0, columns[1], whole.height)), how)
            self.assertEqual(list(facts["cut"].values()), [columns[0], 0, columns[1] - columns[0], whole.height])

    def test_raw_and_steps(self):
        undo, how = "--lag 8 --white white --black black", "--format 1bit --side rear --rotate 90 --deskew on"
        self.sheets("L", "--skew 4", undo)
        self.tool(f"process scan.tif -o out {how}")
        facts = json.loads(self.tool(f"process --raw raw.tif -o two --steps d/ --json {how} {undo}").stdout)
        self.assertEqual(self.read("two"), self.read("out"))
        raw, scan = (self.picture(name).size for name in ("raw.tif", "scan.tif"))
        cut = facts["cut"]
        upright = (facts["width"], facts["height"])
        sizes = {"1-raw": raw, "2-descrambled": scan, "3-border": scan, "4-deskewed": (2 * cut["left"], cut["height"]),
                 "5-box": (2 * cut["left"], cut["height"]), "6-split": (cut["width"], cut["height"]),
                 "7-turned": upright, "8-threshold": upright, "9-result": upright}
        self.assertEqual({path.stem: Image.open(path).size for path in (self.dir / "d").iterdir()}, sizes)
        border = facts["border"]
        marked = self.picture("d/3-border.png")
        self.assertEqual(marked.getpixel((border["last_row_column"], border["last_row"])), (255, 0, 0))
        self.assertEqual(self.picture("d/5-box.png").getpixel((cut["left"], cut["top"])), (0, 190, 0))
        self.assert_picture("d/9-result.png", self.picture("two").convert("L"), how)
        self.tool("process scan.tif -o out --force --format 1bit --side flip --steps d --force --rotate 90")
        self.assertEqual(sorted(path.stem for path in (self.dir / "d").iterdir()),
                         ["2-descrambled", "6-flipped", "7-turned", "8-threshold", "9-result"])

    def test_wrap_and_describe(self):
        for mode, colour in (("L", ""), ("RGB", "--colour")):
            pixels = noise((37, 21), mode, 5)
            (self.dir / "pixels").write_bytes(pixels.tobytes())
            self.tool(f"wrap pixels -o face.tif --force --width 37 --height 21 --dpi 300 --model-name M-1 {colour}")
            self.tool("describe face.tif -o out --force --description 0042")
            self.tool("process out -o out.tif --force --format tiff")
            self.assert_picture("out.tif", pixels, mode)
            facts = json.loads(self.tool("info out --json").stdout)
            self.assertEqual([facts[key] for key in ("from_device", "model", "description", "x_resolution")],
                             [True, "M-1", "0042", 300])


if __name__ == "__main__":
    unittest.main()
