#!/usr/bin/env python3
"""Searches for large errors where the proofs say that they may be.

usage: tools/search_proofs.py [--build build/linux] [--only Exp] [--scripts 1] [--points 100000]
                               [--climb 1000000] [--seed 1]

Of each recorded bound (proofs/record.txt) it takes the scripts with the largest values, has the proof
program draw arguments of their cases, and lets tests/accuracy climb from these. Prints the largest
error of each export; and which rows of families/errors.inc, and docs/accuracy.md, it is beyond.
"""

import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "proofs"))
import prove  # noqa: E402


def largest(program, label, cache, jobs, count):
    """The names of the scripts with the largest values of a bound."""
    of = [s for s in prove.scripts_of(program) if label in s.bounds.values()]
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        found = list(pool.map(lambda s: prove.run(s, cache)[0], of))
    return [s.name for _, s in sorted(((f[label], s) for f, s in zip(found, of) if f), key=lambda p: -p[0])][:count]


def search(build, export, program, script, points, climb, seed):
    """The largest errors of an export, of normal and subnormal results, from arguments of a script; with the inputs."""
    drawn = subprocess.run([program, "draw", script, str(points)], stdout=subprocess.PIPE,
                           stderr=subprocess.DEVNULL, text=True).stdout
    if not drawn:
        return []
    with tempfile.NamedTemporaryFile("w") as file:
        file.write(drawn)
        file.flush()
        output = subprocess.run([build / "tests/accuracy", build / "src/libqelvmpx.so.5", "--exports", export, "--points",
                                 file.name, "--climb", str(climb), "--seed", str(seed)], stdout=subprocess.PIPE, text=True).stdout
    return re.findall(r"largest (\S+) at (.+?)  subnormal (\S+) at (.+?)  of", output)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--build", type=Path, default=ROOT / "build/linux")
    parser.add_argument("--only", default="", help="bounds whose names match this expression")
    parser.add_argument("--scripts", type=int, default=1, help="for each bound; more run the family's proof")
    parser.add_argument("--points", type=int, default=100000, help="drawn for each script")
    parser.add_argument("--climb", type=int, default=1000000, help="steps from them")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1)
    arguments = parser.parse_args()
    os.nice(10)
    programs = arguments.build / "proofs/programs"
    cache = Path(os.environ.setdefault("QELVM_PROOF_CACHE", str((programs / "cache").resolve())))
    record = (ROOT / "proofs/record.txt").read_text()
    observed = {f"{export} {results}": float(value) for export, results, value in re.findall(
        r"^QELVM_ERROR\((\w+), (\w+), \S+, ([\d.]+),", (ROOT / "families/errors.inc").read_text(), re.M)}
    scripts = {h: (program, name) for h, program, name in re.findall(r"^script (\S+) (\S+) (.*)", record, re.M)}
    for h, label in sorted(re.findall(r"^worst (\S+) (.*)", record, re.M), key=lambda w: w[1]):
        if not re.search(arguments.only, label):
            continue
        export, results = label.split(" ")
        program, worst = programs / scripts[h][0], scripts[h][1]
        chosen = [worst] if arguments.scripts == 1 else \
            largest(program, label, cache, arguments.jobs, arguments.scripts)
        with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
            found = list(pool.map(lambda s: search(arguments.build, export, program, s, arguments.points,
                                                   arguments.climb, arguments.seed), chosen))
        pairs = [row[2:] if results == "subnormal" else row[:2] for row in sum(found, [])]
        error, at = max(((float(e), at) for e, at in pairs if e != "-"), default=(0, None))
        if at is None:
            print(f"{label}: no arguments can be drawn of {', '.join(chosen)}")
            continue
        print(f"{label}: {error:.4f} at {at}, recorded {observed[label]:.4f}{'  LARGER' if error > observed[label] else ''}",
              flush=True)


if __name__ == "__main__":
    main()
