# What end-to-end tests of the tool share; ZELIMP names its program file. Pillow makes the pictures that it reads and
# reads those that it writes: its coders and decoders are not ours.

import io
import json
import os
import pathlib
import random
import subprocess
import tempfile
import unittest

from PIL import Image

TOOL = os.environ.get("ZELIMP", "zelimp")
EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
NOTHING_READ = 8  # the exit code with which the tool prints its result all the same


def noise(size, mode, seed):
    return Image.frombytes(mode, size, random.Random(seed).randbytes(size[0] * size[1] * len(mode)))


# A light sheet without sharp edges.
def sheet(mode, size, seed):
    return noise((size[0] // 20, size[1] // 20), mode, seed).resize(size, Image.BICUBIC).point(lambda s: 180 + s // 4)


# Each test has a folder of its own, in which the tool runs.
class ToolTest(unittest.TestCase):
    def setUp(self):
        self.dir = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def tool(self, command, stdin=b"", code=0, stdout=subprocess.PIPE, **more):
        before = self.files()
        done = subprocess.run([TOOL, *command.split()], input=stdin, stdout=stdout, stderr=subprocess.PIPE,
                              cwd=self.dir, timeout=300, **more)
        self.assertEqual(done.returncode, code, (command, done.stderr))
        if code not in (0, NOTHING_READ):
            self.assertRegex(done.stderr, rb"\Azelimp: [^\n]+\n\Z", command)
            self.assertFalse(done.stdout, command)
            self.assertEqual(self.files(), before, command)
        return done

    # What the command prints as JSON.
    def told(self, command, **more):
        return json.loads(self.tool(f"{command} --json", **more).stdout)

    # Each with the exit code, the command, and what stands for {} in it, one after the other: with names_files, except
    # for usage errors, a file, which the sentence has to name.
    def assert_refused(self, refusals, names_files=False):
        for code, form, values in refusals:
            for value in values.split(", "):
                sentence = self.tool(form.format(value), code=code).stderr.decode()
                if names_files and code != 2 and "{}" in form:
                    self.assertTrue(sentence.startswith(f"zelimp: {value}: "), sentence)

    def files(self):
        return {path.name: path.is_file() and hash(path.read_bytes()) for path in self.dir.iterdir()}

    def read(self, name):
        return (self.dir / name).read_bytes()

    def picture(self, name):
        return Image.open(io.BytesIO(self.read(name)))

    def assert_picture(self, name, wanted, case):
        picture = self.picture(name).convert(wanted.mode)
        self.assertEqual((picture.size, hash(picture.tobytes())), (wanted.size, hash(wanted.tobytes())), (name, case))
