# What the end-to-end tests of the tool have in common. ZELIMP names the program file.

import io
import os
import pathlib
import random
import subprocess
import tempfile
import unittest

from PIL import Image

TOOL = os.environ.get("ZELIMP", "zelimp")
BED = 12


def noise(size, mode, seed):
    return Image.frombytes(mode, size, random.Random(seed).randbytes(size[0] * size[1] * len(mode)))


# Both faces side by side, each in the middle of its half.
def page(front, rear, margin):
    half, rows = (max(front.size[i], rear.size[i]) + 2 * margin for i in (0, 1))
    whole = Image.new(front.mode, (2 * half, rows), (BED,) * len(front.mode))
    for face, start in ((front, 0), (rear, half)):
        whole.paste(face, (start + (half - face.width) // 2, (rows - face.height) // 2))
    return whole


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.dir = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def tool(self, command, stdin=b"", code=0, stdout=subprocess.PIPE):
        before = self.files()
        done = subprocess.run([TOOL, *command.split()], input=stdin, stdout=stdout, stderr=subprocess.PIPE,
                              cwd=self.dir, timeout=300)
        self.assertEqual(done.returncode, code, (command, done.stderr))
        if code:
            self.assertRegex(done.stderr, rb"\Azelimp: [^\n]+\n\Z", command)
            self.assertFalse(done.stdout, command)
            self.assertEqual(self.files(), before, command)
        return done

    # Makes raw.tif and scan.tif; undo is for both commands. Returns the page.
    def scan(self, front, rear, margin=48, how="", undo=""):
        front.save(self.dir / "front.pnm")
        rear.save(self.dir / "rear.pnm")
        how = f"--margin {margin} --bed {BED} --dpi 240 {how} {undo}" + " --colour" * (front.mode == "RGB")
        self.tool(f"simulate front.pnm rear.pnm -o raw.tif --force {how}")
        self.tool(f"descramble raw.tif -o scan.tif --force {undo}")
        return page(front, rear, margin)

    def files(self):
        return {str(path): path.is_file() and hash(path.read_bytes()) for path in self.dir.rglob("*")}

    def read(self, name):
        return (self.dir / name).read_bytes()

    def picture(self, name):
        return Image.open(io.BytesIO(self.read(name)))

    def assert_picture(self, name, wanted, case):
        picture = self.picture(name).convert(wanted.mode)
        self.assertEqual((picture.size, hash(picture.tobytes())), (wanted.size, hash(wanted.tobytes())), (name, case))
