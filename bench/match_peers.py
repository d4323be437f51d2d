#!/usr/bin/env python3
"""One banknote template over its region, by the library and by OpenCV's matchTemplate with a mask, side by side.

    bench/match_peers.py LIBRARY

LIBRARY: libZelIMP.so, as build/release/src has it. A template of 60 x 55 pixels lies at 7 x 8 places of a region of
66 x 62. Ours is told with and without what is done once for a note of 1400 x 620 pixels: cutting the region out and
stretching its contrast. OpenCV is given the region, as 8-bit or floating-point pixels. Each row is the least of many
times; factors are those of a further template that fits. Without OpenCV for this Python (Debian: python3-opencv) there
is nothing to compare with, and a message says so.
"""

import ctypes
import sys
import time

try:
    import cv2
    import numpy
except ImportError as missing:
    print(f"skipped: {missing} (Debian: python3-opencv, which comes for /usr/bin/python3)")
    sys.exit(0)

WIDTH, HEIGHT = 1400, 620
LEFT, BOTTOM, REGION_WIDTH, REGION_HEIGHT = 38, 300, 66, 62
TEMPLATE_WIDTH, TEMPLATE_HEIGHT = 60, 55
FURTHER = 32  # templates beside the first


def dib(pixels):
    """An 8-bit DIB of rows as they lie, in a buffer that may be written."""
    height, width = pixels.shape
    stride = (width + 3) // 4 * 4
    rows = numpy.zeros((height, stride), numpy.uint8)
    rows[:, :width] = pixels
    header = numpy.array([40, width, height, 1 | 8 << 16, 0, rows.size, 0, 0, 0, 0], numpy.uint32)
    palette = numpy.arange(256, dtype=numpy.uint32) * 0x010101
    data = header.tobytes() + palette.tobytes() + rows.tobytes()
    return ctypes.create_string_buffer(data, len(data))


def microseconds(call, rounds=200, calls=10):
    """The least mean of a few calls."""
    best = float("inf")
    for _ in range(rounds):
        begin = time.perf_counter()
        for _ in range(calls):
            call()
        best = min(best, time.perf_counter() - begin)
    return best / calls * 1e6


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    library = ctypes.CDLL(sys.argv[1])
    decode = library["_Z18Money_Decode_MoneyPh"]

    random = numpy.random.default_rng(1)
    note = random.integers(0, 256, (HEIGHT, WIDTH), numpy.uint8)
    figure = numpy.repeat(numpy.repeat(random.integers(0, 2, (14, 15), numpy.uint8) * 255, 4, 0), 4, 1)
    templ = figure[:TEMPLATE_HEIGHT, :TEMPLATE_WIDTH].copy()
    mask = random.integers(0, 60, templ.shape, numpy.uint8)

    def add(number):
        library.ZelIMPAdd_Char(16 * number + 1, dib(templ))
        library.ZelIMPAdd_Mask(16 * number + 1, dib(mask))

    add(0)

    fitting = note.copy()  # at the last place
    top, right = BOTTOM + REGION_HEIGHT, LEFT + REGION_WIDTH
    fitting[top - TEMPLATE_HEIGHT:top, right - TEMPLATE_WIDTH:right] = templ
    noise_dib, fitting_dib = dib(note), dib(fitting)
    if decode(noise_dib) != 0 or decode(fitting_dib) != 2:
        sys.exit("the library does not tell the notes apart")
    region = fitting[BOTTOM:top, LEFT:right].copy()
    weights = (60 - mask).astype(numpy.float32)

    notes = {"fits at the last place": fitting_dib, "fits nowhere": noise_dib}
    whole = {name: microseconds(lambda image=image: decode(image)) for name, image in notes.items()}
    for number in range(1, FURTHER + 1):
        add(number)
    rows = {}
    for name, image in notes.items():
        all_of_them = microseconds(lambda image=image: decode(image))
        rows[f"ours, {name}: a further template"] = (all_of_them - whole[name]) / FURTHER
        rows[f"ours, {name}: the note as well"] = whole[name]
    for threads in 1, cv2.getNumberOfCPUs():
        cv2.setNumThreads(threads)
        for name, kind, weight in (("8 bit", numpy.uint8, (60 - mask)), ("float", numpy.float32, weights)):
            a, b, w = region.astype(kind), templ.astype(kind), weight.astype(kind)
            if cv2.minMaxLoc(cv2.matchTemplate(a, b, cv2.TM_SQDIFF, mask=w))[2] != (6, 7):
                sys.exit("OpenCV does not find the place")
            rows[f"OpenCV {cv2.__version__}, {name}, threads: {threads}"] = microseconds(
                lambda a=a, b=b, w=w: cv2.matchTemplate(a, b, cv2.TM_SQDIFF, mask=w))
    ours = next(iter(rows.values()))
    for name, time_taken in rows.items():
        print(f"{name:48} {time_taken:9.2f} us {time_taken / ours:7.1f} x")
    library.ZelIMPUnloadAllRecognizers()


if __name__ == "__main__":
    main()
