#!/usr/bin/env python3
"""Shows that the golden sequence takes every path of every kernel.

Builds the library with clang's coverage counters, runs the golden sequence and the checks of bad
arguments, and lists every stretch of code and every side of a branch in src/ that no instantiation
has reached. Exit status 1 if there is one.
"""
import argparse
import json
import re
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
OPTIONS = ("-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_BUILD_TYPE=None", "-DQELVM_INSTRUMENTATION=-fprofile-instr-generate -fcoverage-mapping",
           "-DQELVM_EXPORTS_TESTS_ONLY=ON", "-DQELVM_TOOL=OFF", "-DQELVM_BENCH=OFF",
           "-DQELVM_EXAMPLES=OFF", "-DQELVM_WIDE=OFF")

EXPLAINED = (  # file, code, why it is not missed
    (r"core/lanes\.hpp", r".*", "which lanes there are is decided by the compiler"),
    (r".*", r"return|if constexpr .*", "the other side of an if constexpr"),
    (r"core/call_frame\.hpp", r"withIndices|storeRegister", "the sides of an if constexpr for registers"),
    (r"trig/reduce_trig_argument\.cpp", r"if", "registers alone"),
    (r"errfunc/erfc\.cpp", r"\{ return uniform<X>\(1\.0\); \}", "only registers compute both sides"),
    (r"core/scaling\.hpp", r"exponent < -1022|.*subnormalScale\(exponent\).*",
     "scaleTwoStep covers more than its users need; tests/blocks tries it all"),
    (r".*", r"\{", "the body of a generic lambda is counted where it is instantiated"),
    (r"core/error_report\.cpp", r"default:?", "no other status is reported"),
    (r"core/error_report\.cpp", r"i < most|.*text\[i\].*|\+\+i", "the reporting names are empty"),
)


def run(*command, **options):
    return subprocess.run([str(c) for c in command], check=True, cwd=ROOT, capture_output=True,
                          text=True, **options).stdout


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", nargs="?", type=Path, default=ROOT / "build/coverage",
                        metavar="BUILD_DIRECTORY", help="where to build (%(default)s)")
    build = parser.parse_args().build.resolve()
    run("cmake", "-G", "Ninja", "-S", ROOT, "-B", build, *OPTIONS)
    run("cmake", "--build", build)
    library, profiles = build / "src/libqelvmpx.so.5", []
    for name, *data in (("golden", "families"), ("frame",)):
        profiles.append(build / f"{name}.profraw")
        run(build / "tests/library_checks", library, name, *data,
            env={"LLVM_PROFILE_FILE": str(profiles[-1])})
    run("llvm-profdata", "merge", *profiles, "-o", build / "profile")
    report = json.loads(run("llvm-cov", "export", library, f"-instr-profile={build / 'profile'}"))

    code, branches = defaultdict(int), defaultdict(lambda: [0, 0])
    for function in report["data"][0]["functions"]:
        files = function["filenames"]
        for *place, count, file, _, kind in function["regions"]:
            if kind == 0:
                code[files[file], *place] += count
        for *place, taken, not_taken, file, _, _ in function["branches"]:
            sides = branches[files[file], *place]
            sides[0] += taken
            sides[1] += not_taken

    missed = [(*place, "not reached") for place, count in code.items() if count == 0]
    for place, sides in branches.items():
        missed += [(*place, f"never {side}") for side, n in zip(("true", "false"), sides) if n == 0]
    texts, unexplained = {}, 0
    for file, line, column, end_line, end_column, what in sorted(missed):
        lines = texts.setdefault(file, Path(file).read_text().splitlines())
        text = lines[line - 1][column - 1 : end_column - 1 if line == end_line else None]
        name = str(Path(file).relative_to(ROOT))
        if not any(re.search(f, name) and re.fullmatch(c, text) for f, c, _ in EXPLAINED):
            unexplained += 1
            print(f"{name}:{line}: {what}: {text}")
    print(f"{len(code)} stretches of code, {2 * len(branches)} sides of branches, "
          f"{unexplained} missed")
    return unexplained != 0


if __name__ == "__main__":
    sys.exit(main())
