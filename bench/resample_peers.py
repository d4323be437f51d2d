#!/usr/bin/env python3
"""Times resampling against Pillow: the same noise, in the same run.

    bench/resample_peers.py LIBRARY

LIBRARY: libZelIMP.so, as build/release/src has it.
Prints medians of processor time on one thread, in milliseconds.  Pillow sums
whole numbers, this library doubles in a fixed order, so results may differ by
1.  Needs python3-pil; says so and does nothing where it is missing.
"""

import ctypes
import random
import statistics
import sys
import time

try:
    from PIL import Image
except ImportError:
    print("skipped: this Python has no Pillow (Debian: python3-pil, which comes for /usr/bin/python3)")
    sys.exit(0)

WIDTH, HEIGHT = 1700, 2200
RUNS = 15

# Mode, entry point, Pillow's filter, resolutions.
CASES = [
    ("L", "ZelIMPResample8BitBitmap", Image.BILINEAR, 300, 200),
    ("L", "ZelIMPResample8BitBitmap", Image.BILINEAR, 200, 300),
    ("RGB", "ZelIMPResample24BitBitmap", Image.BOX, 300, 200),
    ("RGB", "ZelIMPResample24BitBitmap", Image.BOX, 200, 300),
]


def milliseconds(work):
    times = []
    for _ in range(RUNS):
        begin = time.process_time()
        work()
        times.append(time.process_time() - begin)
    return statistics.median(times) * 1e3


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    library = ctypes.CDLL(sys.argv[1])
    print(f"{'':24}{'Pillow':>8}{'ZelIMP':>8}  factor")
    for mode, name, pillow_filter, from_dpi, to_dpi in CASES:
        samples = len(mode)
        width, height = WIDTH * to_dpi // from_dpi, HEIGHT * to_dpi // from_dpi
        noise = random.Random(1).randbytes(WIDTH * HEIGHT * samples)
        image = Image.frombytes(mode, (WIDTH, HEIGHT), noise)
        target = ctypes.create_string_buffer(width * height * samples)
        size = ctypes.c_uint(), ctypes.c_uint()

        def ours():
            failed = getattr(library, name)(
                noise, WIDTH, HEIGHT, target, ctypes.byref(size[0]), ctypes.byref(size[1]),
                ctypes.c_double(from_dpi), ctypes.c_double(to_dpi))
            if failed or (size[0].value, size[1].value) != (width, height):
                sys.exit(f"{name} failed")

        theirs = milliseconds(lambda: image.resize((width, height), pillow_filter))
        mine = milliseconds(ours)
        what = f"{mode} {'box' if mode == 'RGB' else 'triangle'} {from_dpi} to {to_dpi}"
        print(f"{what:24}{theirs:8.2f}{mine:8.2f}{theirs / mine:8.1f}")


main()
