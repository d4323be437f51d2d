"""Installs the build into a scratch prefix and uses it from there as a host would.

Every header is compiled on its own. Programs are built and run in both ways that a host can find the library: those in
consumer/ by find_package in CMake, those in README.md by pkg-config. Before that the prefix is renamed, so that a path
of the installation that got into a file shows. A tool that was built must run from there, too.
"""

import argparse
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
STRICT = "-pedantic -Wall -Wextra -Werror"


def run(*command, statuses=(0,), **options):
    """Runs a command and shows it; a status other than these ends the test."""
    print("+", shlex.join(str(word) for word in command), flush=True)
    if (status := subprocess.run([str(word) for word in command], **options).returncode) not in statuses:
        sys.exit(f"ended with {status}")


def with_path(name, folder):
    """The environment with folder in front of a path list."""
    return os.environ | {name: os.pathsep.join(filter(None, [str(folder), os.environ.get(name)]))}


def readme_programs(folder):
    """Writes every fenced block of README.md with a main function to a file: (its path, the standard it needs)."""
    readme = (HERE.parents[1] / "README.md").read_text(encoding="utf-8")
    for number, (language, code) in enumerate(re.findall(r"^```(c|cpp)\n(.*?)^```$", readme, re.MULTILINE | re.DOTALL)):
        if re.search(r"\bmain\s*\(", code):
            source = folder / f"readme{number}.{language}"
            source.write_text(code, encoding="utf-8")
            yield source, "-std=c99" if language == "c" else "-std=c++20" if "ZelIMP.hpp" in code else "-std=c++17"


def headers_alone(prefix, arguments):
    for header in sorted((prefix / "include").rglob("*.h*")):
        run(arguments.cxx, "-std=c++20" if header.suffix == ".hpp" else "-std=c++17", *shlex.split(STRICT), "-I",
            prefix / "include", "-fsyntax-only", "-include", header, "-x", "c++", os.devnull)


def by_cmake(prefix, work, arguments):
    run(arguments.cmake, "-S", HERE / "consumer", "-B", work, "-G", arguments.generator,
        f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_C_COMPILER={arguments.cc}", f"-DCMAKE_CXX_COMPILER={arguments.cxx}",
        f"-DCMAKE_C_FLAGS={arguments.flags} {STRICT}", f"-DCMAKE_CXX_FLAGS={arguments.flags} {STRICT}",
        f"-DZELIMP_WANTED={arguments.version}")
    run(arguments.cmake, "--build", work)
    for program in ("flat_c99", "flat_cpp17", "checked_cpp20"):
        run(work / program)


def by_pkg_config(prefix, work, arguments):
    libdir = prefix / arguments.libdir
    environment = with_path("PKG_CONFIG_PATH", libdir / "pkgconfig")

    def ask(*options):
        return subprocess.run(["pkg-config", *options, "zelimp"], env=environment, check=True, capture_output=True,
                              text=True).stdout.split()

    if ask("--modversion") != [arguments.version]:
        sys.exit("pkg-config tells a version other than " + arguments.version)
    work.mkdir()
    programs = list(readme_programs(work))
    if not programs:
        sys.exit("README.md contains no program")
    for source, standard in programs:
        run(arguments.cc if source.suffix == ".c" else arguments.cxx, standard, *shlex.split(STRICT),
            *shlex.split(arguments.flags), source, "-o", source.stem, *ask("--cflags"), *ask("--libs"), cwd=work)
        # Without arguments it may explain its usage.
        run(work / source.stem, statuses=(0, 2), env=with_path("LD_LIBRARY_PATH", libdir))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("build", "scratch", "libdir", "cmake", "generator", "cc", "cxx", "version", "flags"):
        parser.add_argument("--" + name, required=True)
    arguments = parser.parse_args()

    scratch = pathlib.Path(arguments.scratch)
    shutil.rmtree(scratch, ignore_errors=True)
    run(arguments.cmake, "--install", arguments.build, "--prefix", scratch / "first", stdout=subprocess.DEVNULL)
    prefix = (scratch / "first").rename(scratch / "moved")

    headers_alone(prefix, arguments)
    by_cmake(prefix, scratch / "cmake", arguments)
    by_pkg_config(prefix, scratch / "pkg-config", arguments)
    tool = prefix / "bin" / "zelimp"
    if tool.exists():
        run(tool, "--version")


if __name__ == "__main__":
    main()
