#!/usr/bin/env python3
"""Draws the specimen documents and the photograph beside this script.

    draw_specimens.py            write the pictures beside the script
    draw_specimens.py --check    redraw in memory; exit 1 if a file differs
    draw_specimens.py --out DIR  write the pictures into DIR instead

Needs python3-pil and fonts-dejavu-core.  Everything named in the pictures is
invented, and every picture carries the word SPECIMEN.
"""

import argparse
import io
import math
import pathlib
import random
import sys

from PIL import Image, ImageChops, ImageDraw, ImageFilter, ImageFont

DPI = 200
HERE = pathlib.Path(__file__).resolve().parent

# Curves are drawn this many times too large and averaged down: the drawing
# primitives themselves do not smooth their edges, and a scanned line does.
OVER = 4

SANS = "DejaVuSans.ttf"
SANS_BOLD = "DejaVuSans-Bold.ttf"
MONO_BOLD = "DejaVuSansMono-Bold.ttf"
SERIF = "DejaVuSerif.ttf"
SERIF_BOLD = "DejaVuSerif-Bold.ttf"


def font(name, size):
    # The basic layout engine is always compiled in; leaving the choice open
    # would let optional libraries move glyphs by a pixel.
    try:
        return ImageFont.truetype(
            name, size, layout_engine=ImageFont.Layout.BASIC)
    except OSError:
        sys.exit(f"draw_specimens: font {name} not found; "
                 "install fonts-dejavu-core")


# --------------------------------------------------------------- ink and pens

def blend(paper, ink, part):
    return tuple(round(p + (i - p) * part) for p, i in zip(paper, ink))


def curve_mask(size, curves, width):
    """Smooth-edged mask of polylines given in page pixels."""
    big = Image.new("L", (size[0] * OVER, size[1] * OVER), 0)
    pen = ImageDraw.Draw(big)
    for points in curves:
        pen.line([(x * OVER, y * OVER) for x, y in points],
                 fill=255, width=max(1, round(width * OVER)), joint="curve")
    return big.reduce(OVER)


def posterise(mask, levels):
    # Few levels keep the background compressible; the eye cannot tell at
    # the low contrast these patterns are printed with.
    step = 255 / (levels - 1)
    return mask.point([round(round(v / step) * step) for v in range(256)])


def pen_stroke(size, points, thin, thick):
    """Mask of one pen stroke: heavier where the pen is slow or going down."""
    big = Image.new("L", (size[0] * OVER, size[1] * OVER), 0)
    draw = ImageDraw.Draw(big)
    for (x0, y0), (x1, y1) in zip(points, points[1:]):
        length = math.hypot(x1 - x0, y1 - y0) or 1e-6
        down = max(0.0, (y1 - y0) / length)
        radius = (thin + (thick - thin) * down) * OVER / 2
        steps = max(1, math.ceil(length * OVER / 2))
        for i in range(steps + 1):
            x = (x0 + (x1 - x0) * i / steps) * OVER
            y = (y0 + (y1 - y0) * i / steps) * OVER
            draw.ellipse((x - radius, y - radius, x + radius, y + radius),
                         fill=255)
    return big.reduce(OVER)


def spline(knots, per_segment=24):
    """Curve through all knots (uniform Catmull-Rom)."""
    k = [knots[0]] + list(knots) + [knots[-1]]
    out = []
    for i in range(1, len(k) - 2):
        for j in range(per_segment):
            t = j / per_segment
            out.append(tuple(
                0.5 * (2 * k[i][a] + (k[i + 1][a] - k[i - 1][a]) * t
                       + (2 * k[i - 1][a] - 5 * k[i][a] + 4 * k[i + 1][a]
                          - k[i + 2][a]) * t * t
                       + (3 * k[i][a] - k[i - 1][a] - 3 * k[i + 1][a]
                          + k[i + 2][a]) * t ** 3)
                for a in (0, 1)))
    out.append(tuple(knots[-1]))
    return out


def signature(rng, width, height, loops):
    """A scrawl that spells nothing: a capital, running loops, a flourish.

    loops holds the height of each loop, so that no two writers share a hand.
    """
    def jig(v):
        return v * (1 + rng.uniform(-0.06, 0.06))

    base = height * 0.60
    knots = [(width * .05, base * .55), (width * .12, base * .12),
             (width * .16, base * .30), (width * .10, base * 1.25),
             (width * .03, base * 1.18), (width * .08, base * .80),
             (width * .22, base * .35), (width * .25, base * .15),
             (width * .22, base * .95), (width * .27, base * .80)]
    # Alternating tall and short loops read as letters with ascenders.
    x = width * .29
    for tall in loops:
        advance = width * .47 / len(loops)
        top = base - base * jig(tall) * .85
        knots += [(x + advance * .55, top),
                  (x + advance * .25, top + (base - top) * .25),
                  (x + advance * .40, base * jig(.98)),
                  (x + advance * .95, base * jig(.86))]
        x += advance
    knots += [(width * .84, base * .70), (width * .97, base * .58),
              (width * .90, base * 1.22), (width * .55, base * 1.36),
              (width * .30, base * 1.42)]
    return pen_stroke((width, height), spline(knots), 2.0, 3.8)


DRAWER = (.42, .48, .95, .40, .45, .38, .90, .85, .36, .30)
PAYEE = (.95, .40, .36, .44, .42, .98, .38, .34)
KEEPER = (.45, .40, .42, .50, .96, .44, .38, .46, .40, .92, .34)


def handwriting(rng, text, size, name=SERIF, slant=0.24):
    """Mask of slanted, slightly uneven lettering."""
    face = font(name, size * OVER)
    pad = size * OVER
    width = round(face.getlength(text)) + 3 * pad
    height = size * OVER * 2
    big = Image.new("L", (width, height), 0)
    draw = ImageDraw.Draw(big)
    x = pad
    for ch in text:
        draw.text((x, height * .7 + rng.uniform(-.03, .03) * size * OVER), ch,
                  font=face, fill=255, anchor="ls")
        x += face.getlength(ch) * .96 + rng.uniform(-.01, .02) * size * OVER
    big = big.transform(big.size, Image.Transform.AFFINE,
                        (1, slant, -slant * height * .7, 0, 1, 0),
                        Image.Resampling.BILINEAR)
    width -= width % OVER
    small = big.crop((0, 0, width, height)).reduce(OVER)
    left, _, right, _ = small.getbbox()
    # Only the sides are trimmed, so that the base line stays at a known place.
    return small.crop((left, 0, right, small.height)), round(size * 2 * .7)


def put(page, mask, xy, ink):
    page.paste(ink, (xy[0], xy[1], xy[0] + mask.width, xy[1] + mask.height),
               mask)


def write_by_hand(page, rng, xy, text, size, ink, name=SERIF):
    mask, base = handwriting(rng, text, size, name)
    put(page, mask, (xy[0], xy[1] - base), ink)


def spaced(draw, xy, text, face, ink, gap):
    """Text from the base line point xy with extra space between letters."""
    x, y = xy
    for ch in text:
        draw.text((x, y), ch, font=face, fill=ink, anchor="ls")
        x += face.getlength(ch) + gap


def wrap(text, face, width):
    lines, line = [], ""
    for word in text.split():
        longer = f"{line} {word}" if line else word
        if line and face.getlength(longer) > width:
            lines.append(line)
            line = word
        else:
            line = longer
    return lines + [line]


def paragraph(draw, xy, text, face, width, leading, ink, justify=False):
    """Sets text from the base line xy on; returns the next base line."""
    x, y = xy
    lines = wrap(text, face, width)
    for n, line in enumerate(lines):
        words = line.split()
        if justify and n + 1 < len(lines) and len(words) > 1:
            ink_width = sum(face.getlength(w) for w in words)
            gap = (width - ink_width) / (len(words) - 1)
            at = x
            for word in words:
                draw.text((round(at), y), word, font=face, fill=ink,
                          anchor="ls")
                at += face.getlength(word) + gap
        else:
            draw.text((x, y), line, font=face, fill=ink, anchor="ls")
        y += leading
    return y


# ------------------------------------------------------------ fine background

def wave_field(size, period, pitch, swing, strands, phase):
    """Interlaced waves that repeat after `period` by `pitch` pixels.

    Whole-pixel periods make the field tile exactly, which is what lets a
    page full of fine lines compress to a few kilobytes.
    """
    curves = []
    for row in range(-2, 4):
        for s in range(strands):
            shift = 2 * math.pi * s / strands + phase
            points = []
            for i in range(-8, 4 * (period + 16) + 1):
                x = i / 4
                a = 2 * math.pi * x / period
                y = (row * pitch + pitch * s / strands
                     + swing * math.sin(a + shift)
                     + swing * .35 * math.sin(2 * a - shift))
                points.append((x + period, y + pitch))
            curves.append(points)
    tile = curve_mask((3 * period, 3 * pitch), curves, 1.0)
    tile = tile.crop((period, pitch, 2 * period, 2 * pitch))
    field = Image.new("L", size, 0)
    for y in range(0, size[1], pitch):
        for x in range(0, size[0], period):
            field.paste(tile, (x, y))
    return field


def rosette(size, centre, radius, petals, rings, width=1.0):
    curves = []
    for ring in range(rings):
        turn = 2 * math.pi * ring / (rings * petals)
        mid = radius * (.34 + .46 * ring / rings)
        points = []
        for i in range(1441):
            a = 2 * math.pi * i / 1440
            r = mid + radius * .20 * math.sin(petals * (a + turn))
            points.append((centre[0] + r * math.cos(a),
                           centre[1] + r * math.sin(a)))
        curves.append(points)
    return curve_mask(size, curves, width)


# ---------------------------------------------------------------- the cheque

CHEQUE = (1400, 620)
PAPER = (252, 250, 244)
BLACK = (28, 28, 34)
GREEN = (22, 84, 74)
BLUE = (30, 48, 138)
RED = (186, 38, 44)
VIOLET = (96, 44, 128)
AQUA = (216, 241, 238)
PEACH = (255, 235, 212)
ROSE = (251, 217, 215)
LILAC = (236, 226, 244)

CHEQUE_NUMBER = "004217"


def to_palette(page):
    """The page in a fixed palette: each ink in steps over each background.

    A palette chosen from the picture would give the few pixels of the rarer
    inks away to the background.
    """
    colours = [PAPER]
    for tint in (AQUA, PEACH, ROSE, LILAC):
        colours += [blend(PAPER, tint, n / 4) for n in range(1, 5)]
    for ink in (BLACK, GREEN, BLUE, RED, VIOLET):
        colours += [blend(PAPER, ink, n / 12) for n in range(1, 13)]
    flat = [v for colour in colours for v in colour]
    chart = Image.new("P", (1, 1))
    chart.putpalette(flat + list(PAPER) * (256 - len(colours)))
    out = page.quantize(palette=chart, dither=Image.Dither.NONE)
    out.putpalette(flat)
    return out


def draw_cheque_front():
    rng = random.Random(4217)
    width, height = CHEQUE
    page = Image.new("RGB", CHEQUE, PAPER)
    clear_band = 512

    # The code line needs plain paper behind it, so the pattern stops above.
    area = (width, clear_band)
    put(page, posterise(wave_field(area, 140, 64, 13, 6, 0.0), 5),
        (0, 0), AQUA)
    put(page, posterise(wave_field(area, 100, 64, 9, 3, 1.3), 5),
        (0, 0), PEACH)
    put(page, posterise(rosette(area, (700, 300), 205, 12, 9), 5),
        (0, 0), AQUA)

    # Letters large enough to be read through everything written over them,
    # pale enough to disappear when the page is reduced to black and white.
    mark_face = font(SANS_BOLD, 144)
    mark = Image.new("L", (1000, 220), 0)
    ImageDraw.Draw(mark).text((500, 110), "SPECIMEN", font=mark_face,
                              fill=255, anchor="mm")
    mark = mark.rotate(9, Image.Resampling.BICUBIC, expand=True)
    put(page, posterise(mark, 5),
        (622 - mark.width // 2, 292 - mark.height // 2), ROSE)

    put(page, rosette((130, 130), (65, 65), 68, 8, 7), (44, 30), GREEN)
    draw = ImageDraw.Draw(page)
    draw.ellipse((93, 79, 125, 111), fill=GREEN)
    draw.text((109, 95), "Q", font=font(SERIF_BOLD, 24), fill=PAPER,
              anchor="mm")

    draw.text((192, 84), "Quillmoor Specimen Bank", font=font(SERIF_BOLD, 40),
              fill=GREEN, anchor="ls")
    draw.text((194, 116), "12 Example Street, Sampleton",
              font=font(SANS_BOLD, 18), fill=GREEN, anchor="ls")
    draw.text((194, 142), "Branch 0417", font=font(SANS_BOLD, 18), fill=GREEN,
              anchor="ls")

    draw.rectangle((846, 46, 1078, 98), outline=RED, width=3)
    draw.text((962, 72), "SPECIMEN", font=font(SANS_BOLD, 34), fill=RED,
              anchor="mm")
    draw.text((962, 118), "no value, not payable", font=font(SANS_BOLD, 17),
              fill=RED, anchor="mm")

    label = font(SANS_BOLD, 15)
    draw.text((1345, 76), "No. " + CHEQUE_NUMBER, font=font(MONO_BOLD, 26),
              fill=BLACK, anchor="rs")

    def rule(x0, x1, y):
        draw.rectangle((x0, y, x1, y + 1), fill=BLACK)

    rule(1085, 1345, 176)
    draw.text((1075, 176), "DATE", font=label, fill=BLACK, anchor="rs")
    write_by_hand(page, rng, (1104, 168), "14 March 2031", 27, BLUE)

    draw.text((55, 232), "PAY TO THE", font=label, fill=BLACK, anchor="ls")
    draw.text((55, 254), "ORDER OF", font=label, fill=BLACK, anchor="ls")
    rule(165, 1010, 254)
    write_by_hand(page, rng, (190, 245), "Brindlewick Paper Works", 36, BLUE)

    draw.rectangle((1045, 204, 1345, 262), fill=PAPER, outline=GREEN, width=3)
    draw.text((1062, 234), "\u00a4", font=font(SANS_BOLD, 34), fill=GREEN,
              anchor="lm")
    write_by_hand(page, rng, (1112, 246), "1,274.50", 36, BLUE)

    rule(55, 1235, 330)
    draw.text((1345, 330), "UNITS", font=font(SANS_BOLD, 22), fill=BLACK,
              anchor="rs")
    write_by_hand(page, rng, (72, 321),
                  "One thousand two hundred seventy-four and 50/100", 34, BLUE)
    # The rest of the line is struck through, as on any filled-in cheque.
    tail = spline([(0, 9), (50, 6), (110, 11), (170, 6), (214, 8)])
    put(page, pen_stroke((220, 18), tail, 2.4, 3.4), (1005, 302), BLUE)

    draw.text((55, 384), "Marrowby Example Works", font=font(SANS_BOLD, 21),
              fill=BLACK, anchor="ls")
    draw.text((55, 411), "Account 00 4417 2093", font=font(SANS_BOLD, 19),
              fill=BLACK, anchor="ls")

    draw.text((55, 482), "MEMO", font=label, fill=BLACK, anchor="ls")
    rule(115, 560, 482)
    write_by_hand(page, rng, (135, 474), "Envelopes, order 88", 27, BLUE)

    rule(860, 1345, 482)
    draw.text((1102, 504), "AUTHORISED SIGNATURE", font=font(SANS_BOLD, 14),
              fill=BLACK, anchor="ms")
    put(page, signature(rng, 400, 120, DRAWER), (900, 372), BLUE)

    # One character every eighth of an inch, the groups fenced by marks that
    # cannot be taken for digits.
    digit = font(MONO_BOLD, 32)
    pitch = DPI // 8
    code = f"<{CHEQUE_NUMBER}> =04170093= 0044172093> 27"
    x = (width - pitch * len(code)) // 2
    for ch in code:
        mid = x + pitch // 2
        if ch == "<":
            draw.polygon([(mid + 7, 561), (mid + 7, 584), (mid - 7, 572)],
                         fill=BLACK)
        elif ch == ">":
            draw.polygon([(mid - 7, 561), (mid - 7, 584), (mid + 7, 572)],
                         fill=BLACK)
        elif ch == "=":
            for y in (561, 571, 581):
                draw.rectangle((mid - 8, y, mid + 7, y + 3), fill=BLACK)
        elif ch != " ":
            draw.text((mid, 585), ch, font=digit, fill=BLACK, anchor="ms")
        x += pitch
    return to_palette(page)


REAR_NOTES = (
    "This sheet is a specimen drawn to try out scanners. It is not a "
    "means of payment and nobody will pay for it.",
    "The bank, the payee, the account and the signatures are invented. "
    "The code line on the front leads nowhere.",
    "The waves printed in the background are paler than the lettering, so "
    "that a page reduced to black and white keeps the words and loses "
    "the waves.",
    "Copy it, fold it, crease it and feed it askew as often as needed.",
)


def rubber_stamp():
    """Masks of the tinted ground and of the print of one stamp."""
    k = OVER
    tint = Image.new("L", (372 * k, 248 * k), 0)
    ink = Image.new("L", tint.size, 0)

    def frame(mask, inset, corner, **style):
        ImageDraw.Draw(mask).rounded_rectangle(
            ((14 + inset) * k, (25 + inset) * k,
             (358 - inset) * k, (223 - inset) * k), corner * k, **style)

    frame(tint, 0, 16, fill=255)
    frame(ink, 0, 16, outline=255, width=5 * k)
    frame(ink, 10, 9, outline=255, width=2 * k)
    pen = ImageDraw.Draw(ink)
    for y, text, face in ((73, "RECEIVED", font(SANS_BOLD, 38 * k)),
                          (125, "17 MAR 2031", font(MONO_BOLD, 36 * k)),
                          (181, "Counter 6 \u00b7 SPECIMEN",
                           font(SANS_BOLD, 20 * k))):
        pen.text((186 * k, y * k), text, font=face, fill=255, anchor="mm")
    pen.rectangle((66 * k, 152 * k, 306 * k, 155 * k), fill=255)
    # Nobody holds a stamp straight.
    return [mask.rotate(5, Image.Resampling.BICUBIC).reduce(k)
            for mask in (tint, ink)]


def draw_cheque_rear():
    rng = random.Random(7124)
    page = Image.new("RGB", CHEQUE, PAPER)
    put(page, posterise(wave_field(CHEQUE, 140, 62, 15, 5, 0.6), 5),
        (0, 0), PEACH)
    put(page, posterise(rosette(CHEQUE, (728, 400), 205, 14, 8), 5),
        (0, 0), AQUA)
    draw = ImageDraw.Draw(page)

    # The payee signs across the short end, so this block is set upright and
    # turned as a whole.
    black = Image.new("L", (540, 330), 0)
    turn = ImageDraw.Draw(black)
    turn.text((270, 26), "ENDORSE HERE", font=font(SANS_BOLD, 20), fill=255,
              anchor="ms")
    for y in (118, 178, 238):
        turn.rectangle((0, y, 539, y + 1), fill=255)
    turn.text((0, 118 - 8), "X", font=font(SANS_BOLD, 22), fill=255,
              anchor="ls")
    turn.rectangle((0, 284, 539, 287), fill=255)
    turn.text((270, 314), "DO NOT WRITE, SIGN OR STAMP BELOW THIS LINE",
              font=font(SANS_BOLD, 15), fill=255, anchor="ms")
    blue = Image.new("L", black.size, 0)
    blue.paste(signature(rng, 330, 106, PAYEE), (70, 40))
    words, base = handwriting(rng, "for Brindlewick Paper Works", 25)
    blue.paste(words, (40, 171 - base))
    put(page, black.transpose(Image.Transpose.ROTATE_270), (1030, 40), BLACK)
    put(page, blue.transpose(Image.Transpose.ROTATE_270), (1030, 40), BLUE)

    tint, ink = rubber_stamp()
    put(page, tint, (50, 42), LILAC)
    put(page, ink, (50, 42), VIOLET)

    draw.rectangle((56, 330, 416, 566), outline=GREEN, width=2)
    draw.rectangle((56, 330, 416, 362), fill=GREEN)
    draw.text((236, 347), "FOR THE BANK", font=font(SANS_BOLD, 17),
              fill=PAPER, anchor="mm")
    small = font(SANS_BOLD, 16)
    for y, what, value in ((404, "Batch", "0093"), (452, "Item", "0118"),
                           (500, "Counter", "6"), (548, "Checked", None)):
        draw.text((74, y), what, font=small, fill=BLACK, anchor="ls")
        draw.rectangle((170, y + 2, 396, y + 2), fill=BLACK)
        if value:
            draw.text((186, y - 3), value, font=font(MONO_BOLD, 22),
                      fill=VIOLET, anchor="ls")
    tick = spline([(4, 18), (12, 28), (20, 16), (40, 3)])
    put(page, pen_stroke((48, 34), tick, 2.4, 3.6), (190, 516), BLUE)

    draw.text((466, 72), "Notes on this specimen", font=font(SERIF_BOLD, 24),
              fill=GREEN, anchor="ls")
    draw.rectangle((466, 84, 990, 85), fill=GREEN)
    text = font(SANS_BOLD, 17)
    y = 118
    for n, note in enumerate(REAR_NOTES, 1):
        draw.text((466, y), f"{n}.", font=text, fill=BLACK, anchor="ls")
        y = paragraph(draw, (498, y), note, text, 492, 26, BLACK) + 12
    draw.text((728, 548), "SPECIMEN", font=font(SANS_BOLD, 44), fill=RED,
              anchor="ms")
    draw.text((728, 574), "Quillmoor Specimen Bank, cheque "
              + CHEQUE_NUMBER, font=font(SANS_BOLD, 15), fill=RED, anchor="ms")
    return to_palette(page)


# ---------------------------------------------------------------- the letter

LETTER = (1700, 2200)
LEFT, RIGHT = 200, 1500
SHEET = 252
TYPE = 24

OPENING = (
    "Thank you for your enquiry about the tin boxes found under the stairs "
    "of the old toll house. We opened the first of them on Monday. It holds "
    "some four hundred slips of paper, most of them receipts for candles, "
    "rope and lamp oil, and one very long letter about a goat.",

    "The paper is in better order than we feared. About a third of the slips "
    "are folded once, a few are torn along the fold, and none is wet. The "
    "ink has turned brown but can be read without a lamp. We suggest that "
    "everything be scanned on both sides before it is sorted, because the "
    "writers often carried their sums over to the back of the sheet.",

    "The table gives our count so far. Please note that the third box could "
    "not be opened; its key is on a ring with forty others, and we are "
    "trying them in turn.",
)

TABLE_HEAD = ("Box", "Contents", "Slips", "Torn", "Hours")
TABLE_ROWS = (
    ("1", "Receipts and one letter", "412", "9", "6.5"),
    ("2", "Toll tickets, unused", "1,260", "0", "4.0"),
    ("3", "Not yet opened", "\u2013", "\u2013", "0.8"),
    ("4", "Drawings of bridges", "37", "5", "2.2"),
)

AFTER_TABLE = (
    "So that your operator can judge the setting of the lamp, we have had a "
    "grey scale printed below. It should run from black to white without a "
    "step in the upper half, and in sixteen even steps in the lower half."
)

BEFORE_CLOSING = (
    "Box four will need the wide tray. The drawings are on thin yellow paper, "
    "rolled so tightly that they close again as soon as they are let go; two "
    "clerks held the largest while a third measured it. Kindly tell us "
    "whether your tray takes a sheet of that temper, or whether we should "
    "press the drawings first."
)

CLOSING = (
    "The scans will go to you in the order of the boxes. We remain, with the "
    "goat\u2019s kind regards,"
)


def draw_letter():
    rng = random.Random(1700)
    page = Image.new("L", LETTER, SHEET)
    draw = ImageDraw.Draw(page)

    put(page, rosette((150, 150), (75, 75), 78, 10, 6, 1.4), (LEFT, 118), 60)
    draw.text((385, 190), "Marrowby Example Archive",
              font=font(SERIF_BOLD, 54), fill=TYPE, anchor="ls")
    spaced(draw, (388, 238), "PAPERS, MAPS AND ODDMENTS", font(SANS, 22), 80,
           5)
    for n, line in enumerate(("3 Sample Row", "Sampleton",
                              "open weekdays 9 to 5")):
        draw.text((RIGHT, 178 + 30 * n), line, font=font(SANS, 21), fill=80,
                  anchor="rs")
    draw.rectangle((LEFT, 286, RIGHT, 290), fill=TYPE)
    draw.rectangle((LEFT, 295, RIGHT, 296), fill=TYPE)

    body = font(SERIF, 27)
    bold = font(SERIF_BOLD, 27)
    for n, line in enumerate(("Brindlewick Paper Works", "Scanning Room",
                              "88 Placeholder Lane", "Sampleton")):
        draw.text((LEFT, 376 + 38 * n), line, font=body, fill=TYPE,
                  anchor="ls")
    draw.text((RIGHT, 376), "14 March 2031", font=body, fill=TYPE,
              anchor="rs")
    draw.text((RIGHT, 414), "Our file 31/0417", font=body, fill=TYPE,
              anchor="rs")
    draw.rectangle((1270, 446, RIGHT, 498), outline=60, width=3)
    draw.text((1385, 472), "SPECIMEN", font=font(SANS_BOLD, 32), fill=60,
              anchor="mm")

    draw.text((LEFT, 584), "Four tin boxes from the toll house", font=bold,
              fill=TYPE, anchor="ls")
    draw.text((LEFT, 644), "Dear Sir or Madam,", font=body, fill=TYPE,
              anchor="ls")
    y = 702
    for text in OPENING:
        y = paragraph(draw, (LEFT, y), text, body, RIGHT - LEFT, 40, TYPE,
                      justify=True) + 20

    y = draw_table(draw, y - 20)
    y = paragraph(draw, (LEFT, y + 58), AFTER_TABLE, body, RIGHT - LEFT, 40,
                  TYPE, justify=True)
    y = draw_grey_scale(page, y - 6)
    y = paragraph(draw, (LEFT, y + 58), BEFORE_CLOSING, body, RIGHT - LEFT,
                  40, TYPE, justify=True)
    y = paragraph(draw, (LEFT, y + 18), CLOSING, body, RIGHT - LEFT, 40, TYPE)
    put(page, signature(rng, 460, 150, KEEPER), (LEFT, y - 28), 30)
    draw.text((LEFT, y + 130), "Keeper of the boxes", font=body, fill=TYPE,
              anchor="ls")

    draw_footer(draw, "Page 1 of 2")
    return page


def draw_table(draw, top):
    head = font(SANS_BOLD, 22)
    cell = font(SANS, 22)
    row = 46
    edges = (LEFT, 320, 880, 1100, 1300, RIGHT)
    bottom = top + row * (len(TABLE_ROWS) + 1)
    draw.rectangle((LEFT, top, RIGHT, top + row), fill=222)
    for n, texts in enumerate((TABLE_HEAD,) + TABLE_ROWS):
        base = top + row * n + 31
        face = cell if n else head
        for c, text in enumerate(texts):
            if c < 2:
                draw.text((edges[c] + 18, base), text, font=face, fill=TYPE,
                          anchor="ls")
            else:
                draw.text((edges[c + 1] - 22, base), text, font=face,
                          fill=TYPE, anchor="rs")
    for n in range(len(TABLE_ROWS) + 2):
        thick = 3 if n in (0, 1, len(TABLE_ROWS) + 1) else 1
        draw.rectangle((LEFT, top + row * n, RIGHT,
                        top + row * n + thick - 1), fill=TYPE)
    for x in edges:
        draw.rectangle((x, top, x + 1, bottom), fill=TYPE)
    return bottom


def draw_grey_scale(page, top):
    draw = ImageDraw.Draw(page)
    width, half = 1280, 32
    left = (LEFT + RIGHT - width) // 2
    for x in range(width):
        draw.line((left + x, top, left + x, top + half - 1),
                  fill=x * 255 // (width - 1))
    for n in range(16):
        x = left + n * width // 16
        draw.rectangle((x, top + half, x + width // 16 - 1,
                        top + 2 * half - 1), fill=n * 17)
    draw.rectangle((left - 2, top - 2, left + width + 1, top + 2 * half + 1),
                   outline=TYPE, width=2)
    return top + 2 * half


def draw_footer(draw, page_number):
    face = font(SANS, 19)
    draw.rectangle((LEFT, 2076, RIGHT, 2077), fill=90)
    draw.text((LEFT, 2110), "Marrowby Example Archive \u00b7 SPECIMEN, every "
              "name on this sheet is invented", font=face, fill=90,
              anchor="ls")
    draw.text((RIGHT, 2110), page_number, font=face, fill=90, anchor="rs")


def draw_letter_rear(front):
    # Paper scatters what shines through it: the front shows mirrored, soft,
    # and so weak, even behind solid black, that the page must still count as
    # blank.  It is kept to a few shades, since the soft edges would otherwise
    # make the empty side the largest file of all.
    ghost = front.transpose(Image.Transpose.FLIP_LEFT_RIGHT)
    ghost = ghost.filter(ImageFilter.GaussianBlur(3))
    page = ghost.point([SHEET - min(15, round(max(0, SHEET - v) * .10 / 3) * 3)
                        for v in range(256)])
    draw = ImageDraw.Draw(page)
    draw.text((RIGHT, 2110), "Page 2 of 2", font=font(SANS, 19), fill=90,
              anchor="rs")
    draw.text((LEFT, 2110), "SPECIMEN", font=font(SANS, 19), fill=90,
              anchor="ls")
    return page


# ------------------------------------------------------------ the photograph

PHOTOGRAPH = (900, 600)
PHOTOGRAPH_DPI = 300
PHOTOGRAPH_QUALITY = 87

# The camera looks down on a table; the table's far edge is this row.
TABLE_EDGE = 236
HORIZON = -150

LIGHT = (-.53, -.62, .58)


def grain(rng, size, cell):
    """Smooth noise from 0 to 255, whose spots are some `cell` pixels wide."""
    small = (size[0] // cell + 4, size[1] // cell + 4)
    noise = Image.frombytes("L", small, rng.randbytes(small[0] * small[1]))
    return noise.resize((small[0] * cell, small[1] * cell),
                        Image.Resampling.BICUBIC).crop((0, 0, *size))


def lit(picture, light):
    """The picture with each pixel times light / 128."""
    return Image.merge("RGB", [
        ImageChops.multiply(band, light).point(lambda v: min(255, 2 * v))
        for band in picture.split()])


def draw_wall(rng):
    width, height = PHOTOGRAPH
    spot = Image.radial_gradient("L").resize((width * 2, height * 2),
                                             Image.Resampling.BICUBIC)
    spot = spot.crop((640, 420, 640 + width, 420 + height))
    light = spot.point(lambda v: 150 - v * 92 // 255)
    for cell, swing in ((90, 14), (24, 7), (7, 5)):
        light = ImageChops.add(light, grain(rng, PHOTOGRAPH, cell)
                               .point(lambda v: v * swing // 255), 1,
                               -swing // 2)
    return lit(Image.new("RGB", PHOTOGRAPH, (176, 166, 148)), light)


def gingham(rng, threads=120, pitch=4):
    """A woven check, threads over and under each other, that tiles."""
    def yarn(n):
        base = (48, 82, 138) if n // 10 % 2 else (226, 222, 210)
        dim = rng.uniform(.88, 1.06)
        return [v * dim for v in base]

    warp = [yarn(n) for n in range(threads)]
    weft = [yarn(n) for n in range(threads)]
    rounded = (.72, 1.0, 1.04, .84)
    pixels = bytearray()
    for y in range(threads * pitch):
        for x in range(threads * pitch):
            i, j = x // pitch, y // pitch
            over = (i + j) % 2 == 0
            colour = warp[i] if over else weft[j]
            shade = rounded[x % pitch if over else y % pitch]
            shade *= .94 + .06 * rounded[y % pitch if over else x % pitch]
            pixels += bytes(min(255, int(v * shade)) for v in colour)
    side = threads * pitch
    return Image.frombytes("RGB", (side, side), bytes(pixels))


def draw_cloth(rng):
    """The cloth in perspective: the lower part of the photograph."""
    tile = gingham(rng)
    flat = Image.new("RGB", (tile.width * 6, tile.height * 6))
    for y in range(0, flat.height, tile.height):
        for x in range(0, flat.width, tile.width):
            flat.paste(tile, (x, y))

    # A point lies u right of and v beyond the camera, both in pixels of the
    # weave and both over the distance from the horizon; turned a little, and
    # from the middle of the flat cloth on.
    k = 3
    width, height = PHOTOGRAPH[0], PHOTOGRAPH[1] - TABLE_EDGE
    turn = math.radians(24)
    cos, sin = math.cos(turn), math.sin(turn)
    middle, far = flat.width / 2, 1700
    near, depth = PHOTOGRAPH[1] - HORIZON, 900000
    # Numerators as multiples of x, y and 1 in large pixels.
    row = TABLE_EDGE - HORIZON
    u = (near / k, 0, -near * width / 2)
    v = (0, -far / k, depth - far * row)
    down = (0, 1 / k, row)
    maps = []
    for a, b in ((cos, -sin), (sin, cos)):
        maps += [(a * u[n] + b * v[n] + middle * down[n]) / row
                 for n in range(3)]
    maps += [down[0] / row, down[1] / row]
    cloth = flat.transform((width * k, height * k),
                           Image.Transform.PERSPECTIVE, maps,
                           Image.Resampling.BICUBIC).reduce(k)

    # Folds, and less light further away.
    light = Image.linear_gradient("L").resize(cloth.size)
    light = light.point(lambda v: 92 + v * 34 // 255)
    folds = grain(rng, (width, height * 3), 150).resize(cloth.size)
    light = ImageChops.add(light, folds.point(lambda v: v * 36 // 255), 1, -14)
    return lit(cloth, light)


def fruit(page, centre, radii, tilt, skin):
    """An ellipsoid; skin(x, y, z, light, shine) gives the colour at a normal."""
    k = 2
    reach = math.ceil(max(radii)) + 2
    side = 2 * reach * k
    cos, sin = math.cos(tilt), math.sin(tilt)
    pixels, mask = bytearray(), bytearray()
    for row in range(side):
        for column in range(side):
            dx = (column + .5) / k - reach
            dy = (row + .5) / k - reach
            x = (dx * cos + dy * sin) / radii[0]
            y = (dy * cos - dx * sin) / radii[1]
            rest = 1 - x * x - y * y
            if rest <= 0:
                pixels += b"\0\0\0"
                mask.append(0)
                continue
            z = math.sqrt(rest)
            normal = (x * cos - y * sin, x * sin + y * cos, z)
            facing = sum(a * b for a, b in zip(normal, LIGHT))
            # Light from a window, the room, and the cloth below.
            light = (.86 * max(0.0, facing * .82 + .18) + .16
                     + .13 * max(0.0, normal[1]) * (1 - z))
            half = normal[0] * -.30 + normal[1] * -.35 + normal[2] * .887
            shine = max(0.0, half) ** 60
            colour = skin(x, y, z, light, shine)
            pixels += bytes(max(0, min(255, int(v))) for v in colour)
            mask.append(255)
    body = Image.frombytes("RGB", (side, side), bytes(pixels)).reduce(k)
    cover = Image.frombytes("L", (side, side), bytes(mask)).reduce(k)
    page.paste(body, (centre[0] - reach, centre[1] - reach), cover)


def orange_skin(rng):
    side = 512
    bumps = grain(rng, (side, side), 4).load()

    def skin(x, y, z, light, shine):
        # The peel's pits, seen shorter towards the rim.
        u = int(256 + 150 * math.asin(max(-1, min(1, x))))
        v = int(256 + 150 * math.asin(max(-1, min(1, y))))
        pit = (bumps[u, v] - bumps[(u + 2) % side, (v + 2) % side]) / 255
        light = light * (1 + .16 * pit * z)
        gloss = 118 * shine * (1 + .9 * pit)
        return (238 * light + gloss, 128 * light + gloss * .96,
                22 * light + gloss * .85)
    return skin


def apple_skin(rng):
    side = 720
    streaks = grain(rng, (side, 12), 5).resize((side, 360)).load()
    spots = grain(rng, (side, 360), 3).load()

    def skin(x, y, z, light, shine):
        turn = int(360 + 340 * math.atan2(x, z) / math.pi) % side
        height = int(180 + 170 * y)
        red = .62 + .55 * (streaks[turn, height] / 255 - .45) + .28 * x
        red = max(0.0, min(1.0, red))
        speck = .10 * (spots[turn, height] > 214)
        ground = (206, 176, 72)
        blush = (168, 22, 26)
        return [(g + (b - g) * red) * (light + speck) + 175 * shine
                for g, b in zip(ground, blush)]
    return skin


def lemon_skin(rng):
    side = 512
    bumps = grain(rng, (side, side), 6).load()

    def skin(x, y, z, light, shine):
        u, v = int(256 + 190 * x), int(256 + 190 * y)
        pit = (bumps[u, v] - bumps[u + 3, v + 3]) / 255
        light = light * (1 + .13 * pit)
        gloss = 105 * shine
        return (240 * light + gloss, 204 * light + gloss, 52 * light + gloss)
    return skin


def soft_ellipse(box, blur, size=PHOTOGRAPH):
    mask = Image.new("L", size, 0)
    ImageDraw.Draw(mask).ellipse(box, fill=255)
    return mask.filter(ImageFilter.GaussianBlur(blur))


def cast_shadow(page, box):
    """Shadow of a body on the cloth: dark where it stands, wide to the right."""
    x0, y0, x1, y1 = box
    wide = soft_ellipse((x0 + 8, y0 - 8, x1 + (x1 - x0) * .55, y1 + 4), 15)
    contact = soft_ellipse((x0 + 16, y0 + 6, x1 - 8, y1), 6)
    page.paste((18, 18, 30), (0, 0), wide.point(lambda v: v * 125 // 255))
    page.paste((10, 8, 14), (0, 0), contact.point(lambda v: v * 185 // 255))


def draw_grass(page, rng):
    """Dry stems before the wall, each with an ear of grains and awns."""
    for n in range(13):
        foot = (130 + rng.uniform(-26, 26), 300)
        top = (50 + n * 27 + rng.uniform(-16, 16), rng.uniform(24, 92))
        bend = (foot[0] + (top[0] - foot[0]) * .25, 190)
        stem = spline([foot, bend, top])
        tone = rng.uniform(.72, 1.08)
        straw = tuple(round(v * tone) for v in (196, 168, 104))
        curves = [stem]
        put(page, curve_mask(PHOTOGRAPH, curves, 1.7), (0, 0), straw)
        dx, dy = top[0] - stem[-12][0], top[1] - stem[-12][1]
        length = math.hypot(dx, dy)
        dx, dy = dx / length, dy / length
        grains, awns = [], []
        for i in range(14):
            at = (top[0] + dx * i * 3.1, top[1] + dy * i * 3.1)
            for side in (-1, 1):
                tip = (at[0] + dx * 6 - dy * 4.0 * side,
                       at[1] + dy * 6 + dx * 4.0 * side)
                grains.append([at, tip])
                awns.append([tip, (tip[0] + dx * 19 - dy * 7 * side,
                                   tip[1] + dy * 19 + dx * 7 * side)])
        put(page, curve_mask(PHOTOGRAPH, awns, .6), (0, 0), straw)
        dark = tuple(round(v * .82) for v in straw)
        put(page, curve_mask(PHOTOGRAPH, grains, 2.6), (0, 0), dark)


def draw_card(page):
    """A printed card that lies on the cloth."""
    k = 3
    card = Image.new("RGB", (250 * k, 132 * k), (238, 232, 214))
    pen = ImageDraw.Draw(card)
    pen.rectangle((7 * k, 7 * k, 243 * k, 125 * k), outline=(120, 40, 40),
                  width=k)
    pen.text((125 * k, 42 * k), "SPECIMEN", font=font(SERIF_BOLD, 34 * k),
             fill=(60, 22, 22), anchor="mm")
    for y, text in ((72, "orange, apple and lemon on linen"),
                    (90, "nobody grew, picked or photographed them"),
                    (108, "every pixel of this picture is computed")):
        pen.text((125 * k, y * k), text, font=font(SERIF, 10 * k),
                 fill=(50, 44, 40), anchor="mm")
    corners = ((498, 470), (752, 424), (838, 508), (566, 572))
    x0, y0 = min(c[0] for c in corners), min(c[1] for c in corners)
    x1, y1 = max(c[0] for c in corners), max(c[1] for c in corners)
    shadow = Image.new("L", PHOTOGRAPH, 0)
    ImageDraw.Draw(shadow).polygon([(x + 5, y + 7) for x, y in corners],
                                   fill=150)
    page.paste((14, 14, 22), (0, 0),
               shadow.filter(ImageFilter.GaussianBlur(4)))
    size = ((x1 - x0) * k, (y1 - y0) * k)
    maps = perspective([((x - x0) * k, (y - y0) * k) for x, y in corners],
                       [(0, 0), (card.width, 0), card.size, (0, card.height)])
    laid = card.transform(size, Image.Transform.PERSPECTIVE, maps,
                          Image.Resampling.BICUBIC)
    mask = Image.new("L", card.size, 255).transform(
        size, Image.Transform.PERSPECTIVE, maps, Image.Resampling.BICUBIC)
    page.paste(laid.reduce(k), (x0, y0), mask.reduce(k))


def perspective(places, sources):
    """Numbers by which Image.transform takes places of the result to sources."""
    rows = []
    for (x, y), (u, v) in zip(places, sources):
        rows.append([x, y, 1, 0, 0, 0, -u * x, -u * y, u])
        rows.append([0, 0, 0, x, y, 1, -v * x, -v * y, v])
    for i in range(8):  # elimination with the largest pivot
        best = max(range(i, 8), key=lambda r: abs(rows[r][i]))
        rows[i], rows[best] = rows[best], rows[i]
        rows[i] = [value / rows[i][i] for value in rows[i]]
        for r in range(8):
            if r != i:
                rows[r] = [a - rows[r][i] * b
                           for a, b in zip(rows[r], rows[i])]
    return [row[8] for row in rows]


def expose(page, rng):
    """What lens and sensor add: dark corners, grain, soft far parts."""
    far = Image.linear_gradient("L").resize(PHOTOGRAPH)
    far = far.point(lambda v: max(0, 190 - v * 3))
    page.paste(page.filter(ImageFilter.GaussianBlur(1.2)), (0, 0), far)
    corners = Image.radial_gradient("L").resize(PHOTOGRAPH)
    page = lit(page, corners.point(lambda v: 146 - max(0, v - 90) * 40 // 165))
    bands = []
    for band in page.split():
        noise = Image.blend(grain(rng, PHOTOGRAPH, 1), grain(rng, PHOTOGRAPH, 1),
                            .5)
        noise = noise.point(lambda v: 128 + (v - 128) * 10 // 128)
        bands.append(ImageChops.add(band, noise, 1, -128))
    return Image.merge("RGB", bands)


def draw_photograph():
    rng = random.Random(900)
    page = draw_wall(rng)
    draw_grass(page, rng)
    page.paste(draw_cloth(rng), (0, TABLE_EDGE))
    # The far edge of the table is round, and the wall dark behind it.
    edge = Image.new("L", PHOTOGRAPH, 0)
    ImageDraw.Draw(edge).rectangle((0, TABLE_EDGE - 9, 900, TABLE_EDGE),
                                   fill=120)
    page.paste((40, 34, 30), (0, 0), edge.filter(ImageFilter.GaussianBlur(4)))

    cast_shadow(page, (126, 330, 330, 392))
    cast_shadow(page, (330, 290, 522, 350))
    cast_shadow(page, (262, 420, 470, 476))
    fruit(page, (424, 246), (96, 90), 0.0, apple_skin(rng))
    stem = spline([(428, 172), (433, 152), (446, 136)])
    put(page, curve_mask(PHOTOGRAPH, [stem], 5), (0, 0), (74, 52, 34))
    fruit(page, (226, 282), (104, 103), 0.0, orange_skin(rng))
    fruit(page, (364, 404), (98, 70), -0.28, lemon_skin(rng))
    draw_card(page)
    return expose(page, rng)


# ----------------------------------------------------------------------- main

def draw_all():
    letter = draw_letter()
    return {
        "cheque_front.png": draw_cheque_front(),
        "cheque_rear.png": draw_cheque_rear(),
        "letter.png": letter,
        "letter_rear.png": draw_letter_rear(letter),
        "photograph.jpg": draw_photograph(),
    }


def save(name, picture, file):
    if name.endswith(".jpg"):
        picture.save(file, "JPEG", quality=PHOTOGRAPH_QUALITY, optimize=True,
                     dpi=(PHOTOGRAPH_DPI, PHOTOGRAPH_DPI))
    else:
        picture.save(file, "PNG", optimize=True, dpi=(DPI, DPI))


def difference(path, picture):
    """What sets the file apart from the picture just drawn, or None."""
    memory = io.BytesIO()
    save(path.name, picture, memory)
    drawn = Image.open(memory)
    wanted = drawn.info["dpi"]
    try:
        with Image.open(path) as stored:
            stored.load()
            dpi = stored.info.get("dpi")
    except (OSError, SyntaxError) as error:  # a bad chunk is a SyntaxError
        return f"cannot be read: {error}"
    if stored.mode != drawn.mode or stored.size != drawn.size:
        return (f"is {stored.mode} {stored.size[0]}x{stored.size[1]}, drawn "
                f"{drawn.mode} {drawn.size[0]}x{drawn.size[1]}")
    if dpi != wanted:
        return f"resolution is {dpi}, drawn {wanted} dpi"
    box = ImageChops.difference(stored.convert("RGB"),
                                drawn.convert("RGB")).getbbox()
    return f"pixels differ within {box}" if box else None


def main():
    parser = argparse.ArgumentParser(
        description="Draw the specimen documents.")
    parser.add_argument("--check", action="store_true",
                        help="compare the files with a fresh drawing; "
                             "write nothing, exit 1 on any difference")
    parser.add_argument("--out", type=pathlib.Path, default=HERE,
                        metavar="DIR",
                        help="directory of the files (default: the "
                             "directory of this script)")
    args = parser.parse_args()

    if not args.check:
        args.out.mkdir(parents=True, exist_ok=True)
    failed = False
    for name, picture in draw_all().items():
        path = args.out / name
        if args.check:
            reason = difference(path, picture)
            print(f"{name}: {reason or 'same'}")
            failed |= reason is not None
        else:
            save(name, picture, path)
            print(f"{name}: {path.stat().st_size} bytes")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
