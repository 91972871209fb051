#!/usr/bin/env python3
"""Breaks the library on purpose and shows which test notices.

usage: tools/mutate.py [--count 200] [--seed 1] [--jobs 2] [--only TEXT] [--work DIRECTORY]

Every mutation changes one place of src/: the last bit of a constant, the order of a sum, a sign, a
report, a limit by one ulp, or a flag that is raised on purpose. The places are drawn at random, the
same number from every source. Prints a line for each mutation and a table at the end; exit status 1
if one was not caught. Works on copies of the tree in DIRECTORY, where it notes what it found:
interrupted, it goes on where it stopped, unless the tree has changed. Needs what ./test.sh needs, and
its build.
"""
import argparse
import hashlib
import json
import random
import re
import shutil
import subprocess
import sys
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from functools import cache
from pathlib import Path
from queue import Queue

ROOT = Path(__file__).resolve().parent.parent
CONSTANT = re.compile(r"-?0x[0-9a-f](?:\.[0-9a-f]+)?p[+-]?\d+")
LIMIT = re.compile(r"[<>]|Within|limit|Limit|overflow|underflow|subnormal|ordinary|tiny|small", re.I)
REPORT = re.compile(r"return (?!qelStatusOk)qelStatus\w+;")
FAMILIES = re.findall(r"\((\w+),", (ROOT / "families/families.inc").read_text())
LEVELS = ("v3", "v4")
AT_RUN_TIME = re.compile(r"atRunTime\(([\w.]+)\)")


def mutate_constant(text, digits):
    """The neighbouring double, or the next but one; likewise for floats."""
    value = float.fromhex(text)
    return (value + value * 2.0 ** (1 - digits)).hex()


def closing(text, opening):
    depth = 0
    for i in range(opening, len(text)):
        depth += {"(": 1, ")": -1}.get(text[i], 0)
        if depth == 0:
            return i
    return None


def regroupings(line):
    """(start, end, replacement) for every (a + b) + c in the line, made a + (b + c)."""
    for start in range(len(line)):
        if line[start] != "(" or (start and (line[start - 1].isalnum() or line[start - 1] in "_>")):
            continue
        end = closing(line, start)
        if end is None:
            continue
        inner = line[start + 1 : end]
        after = re.match(r" \+ (\w[\w.]*)(?![\w.(\[<])", line[end + 1 :])
        depth, plus = 0, None
        for i, c in enumerate(inner):
            depth += {"(": 1, ")": -1}.get(c, 0)
            if depth == 0 and inner[i : i + 3] == " + ":
                plus = i
        if after and plus is not None and " - " not in inner[plus:]:
            a, b = inner[:plus], inner[plus + 3 :]
            yield start, end + 1 + after.end(), f"{a} + ({b} + {after[1]})"


def mutations_of(path):
    """(kind, path, line number, line, changed line)"""
    table = path.suffix == ".inc"
    short_road = False
    for number, line in enumerate(path.read_text().splitlines()):
        # Short roads of floats: what changes in them is within the distance that they allow for, or
        # fails their own tests.
        short_road = re.match(r"(struct|class) \w+ShortRoad\b", line) or (short_road and line != "};")
        if short_road:
            continue
        code = line.split("//")[0]
        if code.lstrip().startswith(("#", "*", "/*", "static_assert", "///")):
            continue

        def change(kind, start, end, replacement):
            return kind, path, number, line, line[:start] + replacement + line[end:]

        for m in CONSTANT.finditer(code):
            if float.fromhex(m[0]) not in (0.0,) and not (table and number % 7):
                kind = "table" if table else "limit" if LIMIT.search(code) else "constant"
                digits = 24 if code[m.end() :].startswith("f") else 53
                yield change(kind, *m.span(), mutate_constant(m[0], digits))
        if table:
            continue
        for start, end, replacement in regroupings(code):
            yield change("order of a sum", start, end, replacement)
        for m in re.finditer(r"(?<=[\w)\]]) ([+-]) (?=[\w(])", code):
            if not re.search(r"\[\w+ [+-] \d\]|<\w+ [+-] \d>|\b(field|int32_t|uint64_t|Bits|mask|bias)\b|<<|>>|sizeof", code):
                yield change("sign", *m.span(1), "-" if m[1] == "+" else "+")
        if path.name == "register_frame.hpp":  # a test inverted, a place one off, a queue forgotten
            for m in re.finditer(r"(?<= )(>=|<|>|!=|==|&&)(?= )", code):
                yield change("frame", *m.span(), {">=": ">", "<": "<=", ">": ">=", "!=": "==",
                                                  "==": "!=", "&&": "||"}[m[0]])
            for m in re.finditer(r"~(?=[\w(])|(?<=\w) [+-] 1\b|!(?=\w)", code):
                yield change("frame", *m.span(), "")
            for m in re.finditer(r"call_\.(flush|compute)\(.*\);", code):
                yield change("frame", *m.span(), ";")
        for m in REPORT.finditer(code):
            yield change("report", *m.span(), "return qelStatusOk;")
        for m in AT_RUN_TIME.finditer(code):
            yield change("flag", *m.span(), m[1])


def draw(count, seed, only):
    chooser = random.Random(seed)
    sources = sorted(p for p in (ROOT / "src").rglob("*.*")
                     if p.suffix in (".cpp", ".hpp", ".inc")
                     and p.name != "lanes.hpp"  # fails to compile
                     and not p.name.startswith("short_")
                     and "version" not in p.parts and "windows" not in p.parts
                     and only in str(p.relative_to(ROOT)))
    pools = {p: [m for m in mutations_of(p)] for p in sources}
    chosen = []
    while len(chosen) < count and any(pools.values()):
        for pool in pools.values():
            if pool and len(chosen) < count:
                kinds = sorted({m[0] for m in pool})
                kind = chooser.choice(kinds)
                mutation = chooser.choice([m for m in pool if m[0] == kind])
                pool.remove(mutation)
                chosen.append(mutation)
    return chosen


def tracked_files():
    names = subprocess.run(["git", "ls-files"], cwd=ROOT, check=True, capture_output=True, text=True)
    return [ROOT / name for name in names.stdout.splitlines()]


class Copy:
    """A copy of the tree, built; breaks, builds and tests it, and mends it again."""

    def __init__(self, directory):
        self.tree, self.build = directory / "tree", directory / "build"
        for path in tracked_files():
            target = self.tree_path(path)
            target.parent.mkdir(parents=True, exist_ok=True)
            if not target.exists() or target.read_bytes() != path.read_bytes():
                shutil.copy(path, target)
        # With ccache, mending costs no time.
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.tree, "-B", self.build,
                        "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1", "-DQELVM_TOOL=OFF",
                        "-DQELVM_EXAMPLES=OFF", *launcher], check=True, capture_output=True)
        if caught := self.caught(ROOT / "src/core/lanes.hpp"):
            sys.exit(f"the tests fail before anything is broken: {caught}")

    def run(self, *command, limit=600):
        try:
            return subprocess.run([str(c) for c in command], cwd=self.tree, capture_output=True,
                                  timeout=limit).returncode
        except subprocess.TimeoutExpired:
            return -1

    def make(self, *targets):
        return self.run("ninja", "-C", self.build, "-j1", *targets, limit=1800)

    def passes(self, program, *arguments, good=(0,)):
        """A program of the tests, built from the tree as it is."""
        return (self.make(f"tests/{program}") == 0
                and self.run(self.build / "tests" / program, *arguments) in good)

    def caught(self, path):
        """The first of the tests that fails, or nothing; the quick ones come first."""
        library = self.build / "src/libqelvmpx.so.5"
        if self.make("qelvmpx") != 0:
            return "build"
        of_levels = path.name == "register_frame.hpp"  # and not of the plain library
        for layer, *data in () if of_levels else (("values", "families"), ("golden", "families"),
                                                  ("frame",)):
            if not self.passes("library_checks", library, layer, *data):
                return layer
        for level in LEVELS if of_levels or path.name == "simd.hpp" else ():
            if self.make(f"qelvmpx_{level}") != 0:
                return "build"
            wide = self.build / f"src/glibc-hwcaps/x86-64-{level}/libqelvmpx.so.5"
            if not self.passes("compare_libraries", library, wide, "--count", 100000):
                return "comparison"
            if not self.passes("library_checks", wide, "frame", level):
                return "frame"
        if of_levels:
            return None
        if path.parent.name in ("core", "trig"):  # the routines that are tested by themselves
            for program in ("blocks_test", "reduction_test"):
                if not self.passes(program):
                    return "blocks"
        if path.suffix == ".inc" and not (
                self.passes("rows_test")
                and generated(path) in (None, self.tree_path(path).read_text())):
            return "tables"
        for family in families_of(path):
            if not self.passes("accuracy", library, "--count", 20000, "--exports", family):
                return "accuracy"
            if family and not self.passes("exhaustive", library, "--stride", 1000, "--threads", 1,
                                          "--exports", family, good=(0, 2)):  # 2: no such export
                return "exhaustive"
        return None

    def tree_path(self, path):
        return self.tree / path.relative_to(ROOT)

    def judge(self, mutation):
        kind, path, number, line, changed = mutation
        target = self.tree_path(path)
        original = target.read_text()
        lines = original.splitlines(keepends=True)
        lines[number] = changed + "\n"
        target.write_text("".join(lines))
        try:
            return self.caught(path)
        finally:
            target.write_text(original)


def families_of(path):
    """Whose results a source can change, as the tests select exports: "Exp_", or "" for all."""
    camel = lambda source: "".join(word.capitalize() for word in source.stem.split("_"))
    sources = [path] if camel(path) in FAMILIES else sorted(path.parent.glob("*.cpp"))
    return [f"{camel(source)}_" for source in sources if camel(source) in FAMILIES] or [""]


@cache
def generated(path):
    """What the generator of a table prints; None where it cannot be run."""
    fit = ROOT / f"tools/tables/{path.stem}.sollya"
    if not fit.exists():
        command = [ROOT / f"build/linux/tests/generate_{path.stem}"]
    elif shutil.which("sollya"):
        command = ["sollya", fit.name]
    else:
        return None
    return subprocess.run(command, cwd=fit.parent, check=True, capture_output=True, text=True).stdout


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--only", default="", help="only sources whose path contains this")
    parser.add_argument("--work", type=Path, default=ROOT / "build/mutations")
    options = parser.parse_args()
    chosen = draw(options.count, options.seed, options.only)
    copies = Queue()
    with ThreadPoolExecutor(options.jobs) as pool:
        for copy in pool.map(lambda i: Copy(options.work / str(i)), range(options.jobs)):
            copies.put(copy)

        # What was judged before, of this same tree, is not judged again.
        state = hashlib.sha256(b"".join(path.read_bytes() for path in tracked_files()))
        notes = options.work / f"judged-{state.hexdigest()[:16]}.json"
        judged = json.loads(notes.read_text()) if notes.exists() else {}

        def judge(mutation):
            key = " ".join(map(str, mutation))
            if key not in judged:
                copy = copies.get()
                try:
                    judged[key] = copy.judge(mutation)
                finally:
                    copies.put(copy)
                notes.write_text(json.dumps(judged.copy()))
            return judged[key]

        tally, missed = Counter(), 0
        for mutation, test in zip(chosen, pool.map(judge, chosen)):
            kind, path, number, line, changed = mutation
            tally[kind, test or "nothing"] += 1
            missed += test is None
            print(f"{test or 'NOT CAUGHT':10} {kind:15} {path.relative_to(ROOT)}: {line.strip()}\n"
                  f"{'':27}becomes {changed.strip()}", flush=True)
    tests = sorted({test for _, test in tally})
    print("\n| kind | " + " | ".join(tests) + " |\n|---" + "|---" * len(tests) + "|")
    for kind in sorted({kind for kind, _ in tally}):
        print(f"| {kind} | " + " | ".join(str(tally[kind, t]) for t in tests) + " |")
    print(f"\n{len(chosen)} mutations, {len(chosen) - missed} caught, {missed} not caught")
    return missed != 0


if __name__ == "__main__":
    sys.exit(main())
