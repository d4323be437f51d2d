#!/usr/bin/env python3
# End-to-end tests of the tool's commands for scans, pipes, fonts and files.

import itertools
import pathlib
import resource
import statistics
import struct
import subprocess
import unittest

from PIL import Image, ImageChops, ImageStat

from tool_test import TOOL, ToolTest, noise, sheet

BED = 12
LAYOUTS = ("--model 1 --swap-sides 1", "--model 1 --swap-sides 0", "--model 0 --swap-sides 0")

# Of files that test_refusals makes.
REFUSALS = (
    (1, "descramble {} -o x", "cut, mm, text, empty, other.tif"),
    (1, "info {}", "head, text"),
    (1, "simulate {} rear.pnm -o x --white w --black b", "text, empty, head, bad.pnm, bad.png, bad.jpg"),
    (1, "descramble raw.tif -o x --white {} --black full", "short, odd"),
    (1, "descramble raw.tif -o x --white full --black {}", "short"),
    (2, "{}", ", polish, --fast, info, simulate - - -o x, descramble - -o x --white - --black full"),
    (2, "descramble raw.tif -o x {}", "more, --lag 252, --lag 01, --lag -1, --lag x, --halve 3, --model 2, --white full"),
    (2, "process a -o x {}", "--format gif, --threshold x, --threshold 257, --threshold 0x10, "
        "--threshold 1.5, --threshold 9 --format bmp, --preview x, --preview .//x, "
        "--quality 50, --format jfif --quality 0, --lag 1, --raw --white w, --deskew maybe, --crop-left 1, --steps x, "
        "--crop fixed --crop-distance 9, --crop fixed --crop-length 0, --preview - --json"),
    (2, "process scan.tif -o x --steps y {}", "--crop auto --side front, --crop auto"),
    (2, "process colour.tif -o x --format tiff --side front --steps y {}", "--deskew on, --deskew on --crop auto"),
    (2, "wrap raw.tif -o x {}", "--width 3, --width 3 --height 4, --width 0 --height 1"),
    (2, "simulate a b -o x {}", "--skew nan, --model 0, --gain 3, --colour --swap-sides 0 --white w --black b"),
    (2, "simulate {} -o x", "front.pnm, --wear 3, --note 3, --note 012, front.pnm --note 2"),
    (2, "simulate front.pnm rear.pnm -o x {}", "--shift 3, --shift 25,0, --half-width 146, --skew 9 --rows 155"),
    (3, "descramble {} -o x", "lzw"),
    (3, "process {} -o x --format tiff --preview y", "samples"),  # the library ignores that tag, the preview cannot
    (3, "font merge coded -o {}", "x"),
    (4, "process {} -o x --format g4 --preview y", "colour.tif"),
    (5, "descramble {} -o x", "missing, ."),
    (5, "simulate front.pnm rear.pnm -o x --force --white {} --black y", "link"),
    (5, "descramble raw.tif -o {}", "scan.tif, link, nowhere/x, raw.tif/x"),
    (5, "descramble raw.tif --force -o {}", "., link"),
    (5, "process scan.tif -o - --preview {}", "raw.tif"),
    (5, "process scan.tif -o x --steps {}", "raw.tif, nowhere/x"),
    (1, "font show {} -o x", "text, empty"),
    (1, "font train 7=front.pnm --font seven 7={} -o x", "text, bad.png"),
    (2, "font {}", "train front.pnm -o x, train 128=front.pnm -o x, train 00=front.pnm -o x, train =front.pnm -o x, "
        "train 7=- 8=- -o x, merge seven -o x --on-conflict all, list"),
    (2, "font merge seven {} -o x", "seven"),
    (5, "font export seven -o {}", "seven, nowhere/x"),
    (6, "process {} -o x --preview y", "wide"),
    (6, "simulate {} rear.pnm -o x", "huge.pnm"),
    (6, "simulate front.pnm rear.pnm -o x --margin 10000", "the page"),
)


def page(front, rear, margin):
    half, rows = (max(front.size[i], rear.size[i]) + 2 * margin for i in (0, 1))
    whole = Image.new(front.mode, (2 * half, rows), (BED,) * len(front.mode))
    for face, start in ((front, 0), (rear, half)):
        whole.paste(face, (start + (half - face.width) // 2, (rows - face.height) // 2))
    return whole


# What process makes of a page.
def view(whole, side, degrees):
    middle, rows = whole.width // 2, whole.height
    boxes = {"front": (0, 0, middle, rows), "rear": (middle, 0, 2 * middle, rows)}
    image = whole.crop(boxes.get(side))
    if side == "flip":
        image.paste(whole.crop(boxes["front"]).rotate(180))
    return image.rotate(-degrees, expand=True)


class CliTest(ToolTest):
    def setUp(self):
        super().setUp()
        # Blocks of some 7 x 8 pixels that lie askew: no noise filter takes anything from them, and their edges give
        # Group 4 more to do than straight ones. No size is a multiple of 8.
        self.whole = self.scan(*(noise((i, 20), "L", i).resize((7 * i, 155), Image.BOX).rotate(10) for i in (21, 19)))

    # Makes raw.tif and scan.tif; undo is for both commands. Returns the page.
    def scan(self, front, rear, margin=48, how="", undo=""):
        front.save(self.dir / "front.pnm")
        rear.save(self.dir / "rear.pnm")
        how = f"--margin {margin} --bed {BED} --dpi 240 {how} {undo}" + " --colour" * (front.mode == "RGB")
        self.tool(f"simulate front.pnm rear.pnm -o raw.tif --force {how}")
        self.tool(f"descramble raw.tif -o scan.tif --force {undo}")
        return page(front, rear, margin)

    def sheets(self, mode, size, how="", undo=""):
        return self.scan(sheet(mode, size, 1), sheet(mode, size, 2), 30, how, undo)

    def report(self, how):
        return self.told(f"process scan.tif -o out --force {how}")

    def test_descrambling_restores_the_page(self):
        sizes = (((40, 30), (40, 30), 6), ((37, 21), (24, 33), 0), ((8, 5), (9, 4), 3))
        for case in itertools.product(("L", "RGB"), LAYOUTS, (0, 1, 9), sizes):
            mode, layout, lag, (front, rear, margin) = case
            faces, undo = (noise(front, mode, 1), noise(rear, mode, 2), margin), f"{layout} --lag {lag}"
            whole = self.scan(*faces, "", undo)
            self.assert_picture("scan.tif", whole, case)
            # What no row of the page feeds: channel B before it, channel A after it.
            raw, unfed = self.picture("raw.tif").tobytes(), lag * whole.width * len(mode)
            self.assertLessEqual({*raw[:unfed][1::2], *raw[len(raw) - unfed:][0::2]}, {BED}, case)
            if mode == "L" or layout == LAYOUTS[0]:
                self.scan(*faces, "--gain 13 --offset 8", f"{undo} --white white --black black")
                levels = zip(self.picture("scan.tif").tobytes(), whole.tobytes(), strict=True)
                self.assertLessEqual(max(abs(a - b) for a, b in levels), 1, case)
                white, black = (sorted(memoryview(self.read(name)).cast("H")) for name in ("white", "black"))
                self.assertTrue(190 <= white[0] < 205 < 235 < white[-1] and 8 <= black[0] < 12 < 20 < black[-1] <= 24)

    def test_halving_keeps_every_second_line(self):
        whole = self.scan(noise((30, 25), "L", 6), noise((30, 25), "L", 7), 0, "--lag 6")
        for halve, first in ((1, 1), (2, 0)):
            self.tool(f"descramble raw.tif -o half.tif --force --halve {halve} --lag 3")
            lines = b"".join(whole.crop((0, y, 60, y + 1)).tobytes() for y in range(first, 24, 2))
            self.assert_picture("half.tif", Image.frombytes("L", (60, 12), lines), halve)

    def test_sheet_lies_mirrored_on_the_bed(self):
        for mode, layout in itertools.product(("L", "RGB"), LAYOUTS):
            front, rear = noise((37, 21), mode, 1), noise((24, 33), mode, 2)
            self.scan(front, rear, 0, "--half-width 61 --rows 70 --shift -12,13 --noise 0", layout)
            whole = Image.new(mode, (122, 70), (BED,) * len(mode))
            whole.paste(front, (0, 24 + 13))
            whole.paste(rear, (61 + 18 + 12, 18 + 13))
            self.assert_picture("scan.tif", whole, (mode, layout))

    def test_a_banknote_as_the_sheet(self):
        how = "--wear 4 --contrast 80 --seed 9"
        for mode, more in (("L", ""), ("RGB", "--no-figure")):
            self.tool(f"note 5 -o front --rear rear --force {how} {more}")
            self.tool(f"simulate --note 5 -o raw.tif --force {how} {more}" + " --colour" * (mode == "RGB"))
            self.tool("descramble raw.tif -o scan.tif --force")
            self.assert_picture("scan.tif", page(*(self.picture(n).convert(mode) for n in ("front", "rear")), 24), mode)

    # The same at every place, in whatever order the sensor reads it.
    def test_bed_noise(self):
        scans = []
        for mode, undo in (("L", LAYOUTS[0]), ("RGB", LAYOUTS[1] + " --lag 99"), ("RGB", LAYOUTS[2] + " --lag 9")):
            self.scan(*[Image.new(mode, (40, 30), "white")] * 2, 99, "--half-width 300 --rows 300 --bed-noise 2", undo)
            scans.append(self.picture("scan.tif").convert("RGB").tobytes())
        self.assertEqual(len({*map(hash, scans)}), 1)
        scan, unfed = self.picture("scan.tif").convert("L"), self.picture("raw.tif").tobytes()[1:9 * 600 * 3:2]
        self.assertEqual(scan.crop((130, 135, 170, 165)).getextrema(), (255, 255))
        for bed in (scan.crop((0, 0, 256, 128)).tobytes(), unfed):
            self.assertAlmostEqual(statistics.pstdev(map(int.__sub__, bed, bed[1:])), 2 * 2 ** 0.5, delta=0.2)
            self.assertAlmostEqual(statistics.mean(bed), BED, delta=3)
        slow = scan.resize((18, 9), Image.BOX, (0, 0, 576, 128)).tobytes()
        self.assertGreater(max(slow) - min(slow), 3)

    def test_processing(self):
        self.tool("process scan.tif -o out --format 1bit")
        dark, light = self.picture("out").convert("L").crop((48, 48, 195, 203)).histogram()[::255]
        self.assertTrue(0.3 < dark / (dark + light) < 0.7, (dark, light))
        sides = (("front", 31), ("rear", 61), ("both", 224), ("flip", 120), ("both", 0), ("both", 256))
        for mode, kind in (("L", "tiff"), ("L", "bmp"), ("L", "1bit"), ("L", "g4"), ("RGB", "tiff")):
            if mode == "RGB":
                self.whole = self.scan(noise((56, 40), mode, 8), noise((48, 40), mode, 9), 8)
            for (side, level), degrees in itertools.product(sides, (0, 90, 270)):
                case = f"--format {kind} --side {side} --rotate {degrees}"
                wanted, depth = view(self.whole, side, degrees), (8,) * len(mode)
                if kind in ("1bit", "g4"):
                    case += f" --threshold {level}"
                    wanted, depth = wanted.point(lambda s: 255 * (s >= level)), (1,)
                self.tool(f"process scan.tif -o out --preview out.png --force {case}")
                self.assert_picture("out", wanted, case)
                self.assert_picture("out.png", wanted, case)
                if kind != "bmp":
                    tags = [self.picture("out").tag_v2[tag] for tag in (258, 259, 278, 282)]
                    self.assertEqual(tags, [depth, 4 if kind == "g4" else 1, wanted.height, 240], case)

    def test_jpeg(self):
        for mode, kind in itertools.product(("L", "RGB"), ("jpeg", "jfif")):
            wanted, sizes = view(self.sheets(mode, (200, 200)), "rear", 90), []
            for quality in (30, 95):
                self.report(f"--side rear --rotate 90 --format {kind} --quality {quality} --preview out.png")
                for name in ("out", "out.png"):
                    difference = ImageChops.difference(self.picture(name), wanted)
                    self.assertEqual((difference.mode, difference.size), (mode, wanted.size))
                    self.assertLess(max(ImageStat.Stat(difference).mean), 6, (kind, quality))
                coded = self.picture("out")
                if kind == "jpeg":
                    self.assertEqual([coded.tag_v2[tag] for tag in (53249, 259, 282)], [quality, 7, 240])
                sizes.append(len(self.read("out")))
            self.assertEqual(sizes[0] < sizes[1], kind == "jfif", sizes)

    # How straight it comes out, and how simulate turns it, is for deskew_accuracy.py.
    def test_deskew_of_a_grey_scan(self):
        for skew in (2, 6):
            self.sheets("L", (640, 480), f"--skew {skew} --noise 2")
            scan, made = self.picture("scan.tif"), self.report("--deskew on --format tiff")
            found, out = made["skew"]["found"], self.picture("out")
            self.assertEqual(made["skew"], {"found": found, "corrected": found, "not_corrected": None})
            self.assertAlmostEqual(found["degrees"], skew, delta=0.3)
            self.assertTrue(out.width < scan.width and out.height < scan.height, out.size)
            self.assertEqual(self.report("--deskew measure")["skew"], made["skew"] | {"corrected": None})
        self.sheets("L", (640, 480), "--skew -4")
        made = self.report("--deskew on")["skew"]
        self.assertEqual(made, {"found": None, "corrected": None, "not_corrected": "not found"})

    def test_crop(self):
        for skew, (side, start) in itertools.product((0, 3), (("front", 0), ("rear", 1))):
            self.sheets("RGB", (640, 480), f"--skew {skew}")
            made = self.report(f"--format tiff --side {side} --crop auto --deskew on --rotate 90 --crop-distance 60")
            cut, half = made["cut"], self.picture("scan.tif").width // 2
            self.assertAlmostEqual(cut["left"], start * half + 30, delta=15)
            self.assertAlmostEqual(cut["width"], half - 60, delta=30)
            self.assertAlmostEqual(abs(made["skew"]["found"]["degrees"]), skew, delta=0.3)
            self.assertEqual(made["skew"]["not_corrected"], None if skew else "within 1 degree")
        whole = self.sheets("RGB", (90, 60))
        for how, first, last in (("front --crop-left 20 --crop-length 60", 20, 60),
                                 ("rear --crop-right 7 --crop-length 60", 241, 293)):
            cut = self.report(f"--format tiff --crop fixed --side {how}")["cut"]
            self.assertEqual(cut, {"left": first, "top": 0, "width": last - first + 1, "height": whole.height})
            self.assert_picture("out", whole.crop((first, 0, last + 1, whole.height)), how)

    def test_raw_and_steps(self):
        undo, how = "--lag 8 --white white --black black", "--format 1bit --side rear --rotate 90 --deskew on"
        self.sheets("L", (640, 480), "--skew 4", undo)
        made = self.told(f"process --raw raw.tif -o two --steps d/ {how} {undo}")
        self.assertEqual(self.report(how), made | {"input": "scan.tif", "output": "out"})
        self.assertEqual(self.read("two"), self.read("out"))
        raw, scan = (self.picture(name).size for name in ("raw.tif", "scan.tif"))
        cut, border, turned = made["cut"], made["border"], (made["width"], made["height"])
        both, face = (2 * cut["width"], cut["height"]), turned[::-1]
        steps = {path.stem: self.picture(path) for path in sorted((self.dir / "d").iterdir())}
        self.assertEqual(list(steps), "1-raw 2-descrambled 3-border 4-deskewed 5-box 6-split 7-turned 8-threshold "
                         "9-result".split())
        self.assertEqual([p.size for p in steps.values()], [raw, scan, scan, both, both, face, turned, turned, turned])
        self.assertEqual(steps["3-border"].getpixel((border["last_row_column"], border["last_row"])), (255, 0, 0))
        self.assertEqual(steps["5-box"].getpixel((cut["left"], cut["top"])), (0, 190, 0))
        self.assert_picture("d/9-result.png", self.picture("out").convert("L"), how)
        self.report("--side flip --steps d --rotate 90")
        self.assertEqual({path.stem for path in (self.dir / "d").iterdir()},
                         {"2-descrambled", "6-flipped", "7-turned", "8-threshold", "9-result"})

    def test_wrap_and_describe(self):
        for mode in ("L", "RGB"):
            pixels = noise((37, 21), mode, 5)
            wrap = "wrap - -o - --width 37 --height 21 --dpi 300 --model-name M-1" + " --colour" * (mode == "RGB")
            face = self.tool(wrap, stdin=pixels.tobytes()).stdout
            self.tool("describe - -o scan.tif --force --description 0042", stdin=face)
            self.report("--format tiff")
            self.assert_picture("out", pixels, mode)
            self.assertRegex(self.tool("info scan.tif").stdout, rb"(?s)300 x 300 dpi\n.*0042.*M-1")

    # Codes and samples, the arithmetic, and pictures the right way up; sizes other than the first one's overlap below.
    def test_fonts(self):
        (self.dir / "chars").mkdir()
        first, second, wide, odd = noise((9, 7), "L", 1), noise((9, 7), "L", 2), noise((12, 5), "L", 3), noise((3, 4), "L", 4)
        for name, picture in (("chars/7a.png", first), ("chars/7b.png", second), ("wide.png", wide), ("chars/=.png", odd)):
            picture.save(self.dir / name)
        self.tool("font train chars/ 07=wide.png -o a")
        told = self.tool("font train ==chars/=.png --font a 7=wide.png -o b --verbose").stderr
        self.assertRegex(told, rb"wide.png: not of the template's size")
        made = self.told("font list b")["templates"]
        self.assertEqual([[t[key] for key in ("code", "character", "width", "height", "samples")] for t in made],
                         [[7, None, 12, 5, 1], [55, "7", 9, 7, 3], [61, "=", 3, 4, 2]])
        mean, below = ImageChops.add(first, second, 2), wide.crop((0, 0, 9, 5)).tobytes()
        levels = [(2 * m + s) // 3 for m, s in zip(mean.crop((0, 2, 9, 7)).tobytes(), below, strict=True)]
        mean.paste(Image.frombytes("L", (9, 5), bytes(levels)), (0, 2))
        self.tool("font export b -o e")
        self.assert_picture("e/001-code055-mean.png", mean, "mean")
        self.assert_picture("e/002-code061-variance.png", Image.new("L", (3, 4)), "variance")
        self.assertAlmostEqual(made[1]["mean_level"], statistics.mean(mean.tobytes()))
        self.assertRegex(self.tool("font list -", stdin=self.read("b")).stdout, rb"(?m)^ +1 +55  '7' +9 x 7 +3 ")
        self.tool("font train A=wide.png 7=wide.png -o c")
        for how, width in (("first", 9), ("last", 12)):
            self.tool(f"font merge b c -o d --force --on-conflict {how}")
            made = self.told("font list d")["templates"]
            self.assertEqual([(t["code"], t["width"]) for t in made], [(7, 12), (55, width), (61, 3), (65, 12)])
        self.tool("font show d -o sheet.png")
        sheet = self.picture("sheet.png")  # four times two images, enlarged and framed
        self.assertEqual((sheet.mode, max(sheet.getcolors())[1]), ("L", 255))

    def test_version_help_and_info(self):
        self.assertRegex(self.tool("--version").stdout, rb"\Azelimp \d+\.\d+\.\d+\n\Z")
        self.assertIn(b"Examples:\n  zelimp process", self.tool("process --help").stdout)
        self.scan(noise((56, 40), "RGB", 8), noise((48, 40), "RGB", 9), 8)
        facts = self.told("info raw.tif")
        keys = ("file", "from_device", "width", "height", "bit_depth", "pixel_bytes", "x_resolution", "obstacle")
        self.assertEqual([facts[key] for key in keys], ["raw.tif", True, 144, 56, 24, 144 * 56 * 3, 240, None])
        tags = {tag["id"]: (tag["name"], tag["type"], tag["count"], tag["value"]) for tag in facts["tags"]}
        self.assertEqual(tags[258], ("BitsPerSample", "SHORT", 3, [8, 8, 8]))
        self.assertEqual([tags[tag][3] for tag in (256, 271, 282)], [144, "Varnoke Industries, Inc", "240/1"])
        text = self.tool("info -", stdin=self.read("raw.tif")).stdout
        self.assertRegex(text, rb"(?s)\Astandard input: 144 x 56 pixels.*device: yes\n.*: possible\n.*\[8,8,8\]")
        self.tool("simulate front.pnm rear.pnm -o other.tif --make Somebody")
        self.assertRegex(self.tool("info other.tif --json").stdout, rb'(?s)"from_device": false.*"exit_code": 1,')

    def test_pipes(self):
        raw = self.tool("simulate - rear.pnm -o - --margin 48 --dpi 240", stdin=self.read("front.pnm"))
        self.assertEqual((raw.stdout, raw.stderr), (self.read("raw.tif"), b""))
        scan = self.tool("descramble - -o - --verbose", stdin=raw.stdout)
        self.assertEqual(scan.stdout, self.read("scan.tif"))
        self.assertRegex(scan.stderr, rb"(?s)486 x 251 pixels, bit depth 8.*wrote -, \d+ bytes, [\d.]+ ms\n\Z")
        self.tool("process scan.tif -o out.tif")
        self.assertEqual(self.tool("process - -o -", stdin=scan.stdout).stdout, self.read("out.tif"))

    def test_force_replaces_even_the_input(self):
        self.tool("process scan.tif -o scan.tif --format tiff --side rear --force")
        self.assert_picture("scan.tif", view(self.whole, "rear", 0), "in place")
        self.assertEqual((self.dir / "scan.tif").stat().st_mode, (self.dir / "rear.pnm").stat().st_mode)

    def test_what_appears_meanwhile_stays(self):
        (self.dir / "old").write_bytes(b"old")
        for how, appears in (("-o x", pathlib.Path.touch), ("-o old --force", pathlib.Path.mkdir)):
            with subprocess.Popen([TOOL, *f"process - {how} --preview y --steps z".split()], stdin=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, cwd=self.dir) as running:
                running.stdin.write(self.read("scan.tif"))  # more than a pipe holds: the tool has begun to read
                (self.dir / "y").unlink(missing_ok=True)
                appears(self.dir / "y")
                before = self.files()
            self.assertEqual((running.returncode, self.files()), (5, before))

    def test_refusals(self):
        def with_tag(tag, kind, old, new):
            return raw.replace(struct.pack("<HHII", tag, kind, 1, old), struct.pack("<HHII", tag, kind, 1, new))

        raw, width = self.read("raw.tif"), self.whole.width
        made = {"cut": raw[:-1], "head": raw[:60], "mm": b"MM\0*" + raw[4:], "text": b"Dear reader,\n", "empty": b"",
                "lzw": with_tag(259, 3, 1, 5), "samples": with_tag(277, 3, 1, 7), "full": bytes(2 * width),
                "wide": with_tag(256, 4, width, 1 << 31), "short": bytes(2 * width - 2), "odd": bytes(2 * width + 1),
                "huge.pnm": b"P5\n100000 100000\n255\n" + bytes(64), "bad.pnm": self.read("front.pnm")[:40],
                "bad.png": b"\x89PNG\r\n\x1a\n" + bytes(60), "bad.jpg": b"\xff\xd8\xff\xe0" + bytes(60)}
        for name, data in made.items():
            (self.dir / name).write_bytes(data)
        (self.dir / "link").symlink_to("nowhere")
        self.tool("simulate front.pnm rear.pnm -o other.tif --make Somebody")
        self.tool("simulate front.pnm rear.pnm -o colour.tif --colour")
        self.tool("font train 7=front.pnm -o seven")
        seven = self.read("seven")
        (self.dir / "coded").write_bytes(seven[:8] + bytes([200]) + seven[9:])
        self.assert_refused(REFUSALS, names_files=True)
        with open("/dev/full", "wb") as full:
            self.tool("process scan.tif -o - --preview y", code=5, stdout=full)
        self.tool("process scan.tif -o x --steps y", code=5,
                  preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (9, 9)))


if __name__ == "__main__":
    unittest.main()
