#!/usr/bin/env python3
"""Shows what each filter of `zelimp resample` does to a page of text and to a
photograph: makes the contact sheets and the curves of docs/resampling.md.

    filter_sheets.py [--tool ZELIMP] [--out DIR]

Each picture of a sheet is a part of what the tool made, its pixels enlarged so
that they can be seen one by one.  Needs python3-pil and fonts-dejavu-core.
"""

import argparse
import pathlib
import subprocess
import tempfile

from PIL import Image, ImageDraw, ImageFont

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent

# From nearest pixels over the smoothing ones to those that ring most.
FILTERS = ("box", "triangle", "cosine", "hermite", "bell", "quadratic-bspline",
           "cubic-spline", "mitchell", "quadratic", "catmull-rom",
           "cubic-convolution", "lanczos3", "lanczos8")

# File, source, resolution it is brought to first or None, from, to, the part
# of the result that is shown, how much its pixels are enlarged.
SHEETS = (
    ("filters_text_shrunk.png", "letter.png", None, 200, 130,
     (129, 440, 189, 488), 4),
    ("filters_text_enlarged.png", "letter.png", 100, 100, 300,
     (300, 1018, 380, 1074), 3),
    ("filters_photograph_shrunk.png", "photograph.jpg", None, 300, 130,
     (84, 172, 144, 214), 4),
    ("filters_photograph_enlarged.png", "photograph.jpg", 100, 100, 300,
     (536, 450, 616, 506), 3),
)

COLUMNS, GAP, LABEL = 5, 10, 24


def resample(tool, source, target, start, end, name):
    subprocess.run([tool, "resample", source, "-o", target, "--force",
                    "--from", str(start), "--to", str(end), "--filter", name],
                   check=True)
    with Image.open(target) as picture:
        return picture.copy()


def part_of(picture, part, enlarged):
    part = picture.crop(part)
    return part.resize((part.width * enlarged, part.height * enlarged),
                       Image.Resampling.NEAREST)


def sheet(pictures):
    """Labelled pictures of one size, row after row."""
    width, height = pictures[0][1].size
    rows = -(-len(pictures) // COLUMNS)
    whole = Image.new(pictures[0][1].mode,
                      (COLUMNS * (width + GAP) + GAP,
                       rows * (height + LABEL + GAP) + GAP), "white")
    face = ImageFont.truetype("DejaVuSans-Bold.ttf", 14,
                              layout_engine=ImageFont.Layout.BASIC)
    pen = ImageDraw.Draw(whole)
    for n, (label, picture) in enumerate(pictures):
        x = GAP + n % COLUMNS * (width + GAP)
        y = GAP + n // COLUMNS * (height + LABEL + GAP)
        pen.text((x, y + 16), label, font=face, fill="black", anchor="ls")
        whole.paste(picture, (x, y + LABEL))
    return whole


def make_sheet(tool, folder, source, first, start, end, part, enlarged):
    path = HERE / source
    if first:
        with Image.open(path) as picture:
            own = round(picture.info["dpi"][0])
        path = folder / "source.png"
        resample(tool, HERE / source, path, own, first, "mitchell")
    made = [(name, resample(tool, path, folder / "made.png", start, end, name))
            for name in FILTERS]
    # The source as large as the results, pixel for pixel.
    with Image.open(path) as picture:
        scale = start / end
        box = [round(side * scale) for side in part]
        shown = picture.crop(box).resize(
            ((part[2] - part[0]) * enlarged, (part[3] - part[1]) * enlarged),
            Image.Resampling.NEAREST)
    title = f"source, {start} dpi"
    return sheet([(title, shown)] + [
        (name, part_of(picture, part, enlarged)) for name, picture in made])


def main():
    parser = argparse.ArgumentParser(
        description="Make the pictures of docs/resampling.md.")
    parser.add_argument("--tool", metavar="ZELIMP",
                        default=ROOT / "build/release/tools/zelimp/zelimp",
                        help="the tool (default: that of ./run)")
    parser.add_argument("--out", type=pathlib.Path, metavar="DIR",
                        default=ROOT / "docs/images",
                        help="directory of the pictures (default: "
                             "docs/images)")
    args = parser.parse_args()

    args.out.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        for name, *how in SHEETS:
            path = args.out / name
            picture = make_sheet(args.tool, pathlib.Path(folder), *how)
            picture.save(path, "PNG", optimize=True)
            print(f"{path}: {path.stat().st_size} bytes")
    subprocess.run([args.tool, "resample", "--force", "--plot-filters",
                    args.out / "filters.svg"], check=True)


if __name__ == "__main__":
    main()
