"""Builds and runs the programs in README.md: every fenced block ```c or ```cpp that contains a main function.

Programs that use the checked interface are C++20, other C++ is C++17, C is C99. Run without arguments they must end
with 0, or with 2 where they explain their usage.
"""

import argparse
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys


def programs(text):
    """(language, code) of each block with a main."""
    blocks = re.findall(r"^```(c|cpp)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)
    return [block for block in blocks if re.search(r"\bmain\s*\(", block[1])]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("readme", "include", "library", "scratch", "cc", "cxx", "flags"):
        parser.add_argument("--" + name, required=True)
    arguments = parser.parse_args()

    found = programs(pathlib.Path(arguments.readme).read_text(encoding="utf-8"))
    if not found:
        sys.exit("README.md contains no program")
    scratch = pathlib.Path(arguments.scratch)
    shutil.rmtree(scratch, ignore_errors=True)
    library_dir = str(pathlib.Path(arguments.library).parent)
    failed = 0
    for number, (language, code) in enumerate(found, 1):
        folder = scratch / str(number)
        folder.mkdir(parents=True)
        source = folder / f"readme.{language}"
        source.write_text(code, encoding="utf-8")
        if language == "c":
            compiler = [arguments.cc, "-std=c99"]
        else:
            compiler = [arguments.cxx, "-std=c++20" if "ZelIMP.hpp" in code else "-std=c++17"]
        command = [*compiler, "-Wall", "-Wextra", "-Werror", *shlex.split(arguments.flags), "-I" + arguments.include,
                   str(source), "-o", str(folder / "readme"), "-L" + library_dir, "-lZelIMP",
                   "-Wl,-rpath," + library_dir]
        built = subprocess.run(command).returncode == 0
        result = subprocess.run(["./readme"], cwd=folder, env=os.environ).returncode if built else None
        print(f"program {number} ({language}): " + (f"ended with {result}" if built else "does not build"))
        failed += result not in (0, 2)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
