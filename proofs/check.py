#!/usr/bin/env python3
"""Compares what is published of errors with the record of the proofs, and the record with the kernels.

  proofs/check.py PROGRAMS

PROGRAMS is the folder of the built proof programs. What they ask Sollya is answered from
proofs/answers.txt, the record of the last full run; other questions are asked anew. Every script must be the one that was recorded
(proofs/record.txt names its hash): else tools/prove.sh has to run again. Every proof replays its
records, and its worst script runs through Gappa, where that is installed.
"""

import concurrent.futures
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import prove

ROOT = Path(__file__).resolve().parent.parent
failed = 0


def expect(what, holds):
    global failed
    if not holds:
        failed += 1
        print("FAILED", what)


programs = Path(sys.argv[1])
recorded, bounds, worst = set(), {}, {}
for line in (ROOT / "proofs/record.txt").read_text().splitlines():
    kind, value, rest = line.split(" ", 2)
    if kind == "script":
        recorded.add((value, rest))
    elif kind == "bound":
        bounds[rest] = float(value)
    elif kind == "worst":
        worst[rest] = value

os.environ["QELVM_PROOF_ANSWERS"] = str(ROOT / "proofs/answers.txt")
os.environ.setdefault("QELVM_PROOF_CACHE", str((programs / "cache").resolve()))
if not shutil.which("sollya"):
    print("no Sollya, which bounds the polynomials: nothing compared")
    sys.exit(77)
pool = concurrent.futures.ThreadPoolExecutor(os.cpu_count())
scripts = [s for of_one in pool.map(prove.scripts_of, prove.programs_in(programs)) for s in of_one]
current = {(s.hash()[:32], label): s for s in scripts for label in s.bounds.values()}
names = {(s.hash()[:32], f"{s.family} {s.name}") for s in scripts}
expect(f"the scripts are not those of proofs/record.txt ({len(names - recorded)} new, {len(recorded - names)} gone, "
       f"such as {sorted(n for _, n in names ^ recorded)[:3]}): run tools/prove.sh", names == recorded)
for done in pool.map(lambda program: subprocess.run([program, "replay", "20"], stdout=subprocess.PIPE,
                                                    stderr=subprocess.STDOUT, text=True),
                     prove.programs_in(programs)):
    expect(f"{Path(done.args[0]).name}: {done.stdout}", done.returncode == 0)
if shutil.which("gappa"):
    for label, (found, message) in zip(worst, pool.map(
            lambda item: prove.run(current[item[::-1]], None) if item[::-1] in current else (None, "is not there"),
            worst.items())):
        expect(f"{label}: the worst script gives {found or message}, recorded is {bounds[label]}",
               found is not None and prove.upwards(found[label]) == f"{bounds[label]:.7f}")
else:
    print("no Gappa: the worst scripts did not run")

published = {f"{family}_64f_{c}": float(bound) for family, *both in re.findall(
    r"^QELVM_FAMILY\((\w+),.* ([\d.]+), ([\d.]+)\)$", (ROOT / "families/families.inc").read_text(), re.M)
    for c, bound in zip(("A50", "A53"), both)}
measured = (ROOT / "docs/accuracy.md").read_text()
listed, rows = set(), set()
for export, results, proven, observed, at in re.findall(
        r'^QELVM_ERROR\((\w+), (\w+), ([\d.-]+), ([\d.]+), "(.*)"\)$', (ROOT / "families/errors.inc").read_text(), re.M):
    label = f"{export} {results}"
    listed.add(export)
    rows.add(label)
    expect(f"families/errors.inc: {label} has no proof", (proven == "-") == (label not in bounds))
    expect(f"docs/accuracy.md: {label}, {observed} at {at}",
           re.search(rf"^\| `{export}` .*\| {re.escape(observed)} \| `{re.escape(at)}`", measured, re.M))
    if proven != "-" and label in bounds:
        exact = bounds[label]
        expect(f"families/errors.inc: {label} is {proven}, shown is {exact}",
               exact <= float(proven) < exact + 0.0002)
        expect(f"{label}: {observed} was observed, beyond what is proven", float(observed) <= exact + 0.00005)
        if results == "normal":
            expect(f"families/families.inc: {export} {published[export]} is below what is proven, {proven}",
                   float(proven) <= published[export])
expect(f"families/errors.inc lacks {sorted(set(published) - listed)}", set(published) == listed)
expect(f"families/errors.inc lacks what is proven: {sorted(set(bounds) - rows)}", set(bounds) <= rows)
expect("proofs/record.txt: a worst script for every bound", set(worst) == set(bounds))
print(f"{len(names)} scripts as recorded, {len(bounds)} bounds" if failed == 0 else f"{failed} failed")
sys.exit(failed != 0)
