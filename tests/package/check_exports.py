"""Compares the dynamic symbols of the library with its export list, in both directions.

Names are compared without argument lists. A name marked C must have C linkage, one marked D must be data, any other
must be a C++ function. Namespace zelimp is free. Where the list that several libraries share lies beside the project
(folder in ZELIMP_SHARED), ours must be a part of it.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys


def read_list(path):
    """The lines of an export list as a set, comments left out."""
    lines = pathlib.Path(path).read_text(encoding="utf-8").splitlines()
    return {line.strip() for line in lines if line.strip() and not line.startswith("#")}


def dynamic_symbols(library, *options):
    """(type letter, name) of every symbol that the library defines for others, in the order of its table."""
    output = subprocess.run(["nm", "-D", "-p", "--defined-only", *options, library], check=True, capture_output=True,
                            text=True).stdout
    return [re.match(r"[0-9a-f]* *(\S) (.*)", line).groups() for line in output.splitlines()]


def exported(library):
    """What the library exports, as lines of an export list."""
    lines = set()
    for (kind, mangled), (_, name) in zip(dynamic_symbols(library), dynamic_symbols(library, "-C"), strict=True):
        name = name.split("(")[0]
        if re.match(r"((vtable|typeinfo|typeinfo name) for )?zelimp::\S+$", name):
            continue
        if kind in "BDRVGSu":
            lines.add("D " + name)
        elif kind in "TW" and not mangled.startswith("_Z"):
            lines.add("C " + name)
        elif kind in "TW":
            lines.add(name)
        else:
            lines.add(f"{kind}? {name}")
    return lines


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("library", "list", "soname"):
        parser.add_argument("--" + name, required=True)
    arguments = parser.parse_args()

    listed = read_list(arguments.list)
    found = exported(arguments.library)
    faults = [f"listed, not exported: {line}" for line in sorted(listed - found)]
    faults += [f"exported, not listed: {line}" for line in sorted(found - listed)]

    dynamic = subprocess.run(["readelf", "-dW", arguments.library], check=True, capture_output=True, text=True).stdout
    soname = re.search(r"\(SONAME\).*\[(.*)\]", dynamic)
    if not soname or soname[1] != arguments.soname:
        faults.append(f"SONAME is {soname and soname[1]}, not {arguments.soname}")

    shared = pathlib.Path(os.environ.get("ZELIMP_SHARED", ""), "exports.txt")
    if os.environ.get("ZELIMP_SHARED") and shared.is_file():
        faults += [f"not in the shared list: {line}" for line in sorted(listed - read_list(shared))]
    else:
        print("No shared export list beside the project: not compared with it.")

    print(*faults, sep="\n", end="\n" if faults else "")
    print(f"{len(listed)} names listed, {len(found)} exported, {len(faults)} faults")
    return 1 if faults or not found else 0


if __name__ == "__main__":
    sys.exit(main())
