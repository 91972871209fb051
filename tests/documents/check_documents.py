#!/usr/bin/env python3
"""Compares the numbers that documents and the heads of sources repeat with the place they come from.

usage: check_documents.py SOURCE_DIRECTORY

A line that begins with FAILED says in which file which text is missing or wrong.
"""
import argparse
import re
import sys
from pathlib import Path

parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
parser.add_argument("source", type=Path)
root = parser.parse_args().source
passed = failed = 0


def read(name):
    return (root / name).read_text()


def expect(what, holds):
    global passed, failed
    passed, failed = passed + bool(holds), failed + (not holds)
    if not holds:
        print("FAILED", what)


bounds = {family: (of32f, a50, a53) for family, of32f, a50, a53 in re.findall(
    r"^QELVM_FAMILY\((\w+),.* ([\d.]+), ([\d.]+), ([\d.]+)\)", read("families/families.inc"), re.M)}
readme = read("README.md")

# The list in its order; header, README and facts know every family. (Their bounds: tools/bounds.py.)
header = read("include/qelvm.h")
classes = ("32f_A11", "32f_A21", "32f_A24", "64f_A50", "64f_A53")
names = [f"qels{family}_{c}" for family in bounds for c in classes]
expect("families/families.inc: the rows are not in the order of the exports' names",
       names == sorted(names))
listed = set(re.findall(r"^\| `([A-Z]\w+)` \|(?:.*\|){6}$", readme, re.M)) - set(bounds)
for family in bounds:
    expect(f"families/{family}.txt is missing: families/README.md tells what it holds",
           (root / f"families/{family}.txt").exists())
    expect(f"include/qelvm.h: a group '@defgroup {family.lower()} {family}: ...' is missing",
           re.search(rf"@defgroup \w+ {family}: ", header))
for family, note in re.findall(r'^QELVM_NOTE\((\w+), "(.*)"\)$', read("families/families.inc"), re.M):
    for number in re.findall(r"\d+\.\d+", note):
        expect(f"README.md: the bound {number} of the note on {family} in families/families.inc",
               number in readme)
expect(f"README.md: rows of families that families/families.inc lacks: {sorted(listed)}", not listed)
expect("include/qelvm.h: prototypes that families/families.inc lacks",
       set(re.findall(r"QELVM_CALL qels(\w+)\(", header)) == {name[4:] for name in names})

# Every bound of doubles stands, with its reasons, at the head of the family's source, or of the
# header beside it that holds the kernel; and no other.
for family, (_, a50, a53) in bounds.items():
    snake = re.sub(r"(?<!^)(?=[A-Z])", "_", family).lower()
    source = next((root / "src").glob(f"*/{snake}.cpp"))
    head = re.match(r"(//.*\n)*", source.read_text())[0]
    text = re.sub(r"\s*\n// ?", " ", head)
    for bound in {a50, a53} - {"0.5"}:
        expect(f"{source.relative_to(root)}: its head lacks 'below {bound} ulp' or 'the bound is "
               f"{bound} ulp', the bound in families/families.inc",
               family in ("Powx", "SinCos")  # whose heads refer to another
               or re.search(rf"(?i)(below|bound is) {re.escape(bound)} ulp", text))

# Accuracy: measured against the bounds of the list, none beyond it.
seen = set()
for name, bound, largest in re.findall(
        r"^\| `(\w+)` \| ([\d.]+) \| ([\d.]+) \|", read("docs/accuracy.md"), re.M):
    family, kind = name.split("_", 1)
    seen.add(name)
    of = bounds[family]["32f 64f_A50 64f_A53".split().index(kind if kind[0] == "6" else "32f")]
    expect(f"docs/accuracy.md: the bound of {name} is {of} (tools/figures.sh accuracy)",
           float(bound) == float(of))
    expect(f"docs/accuracy.md: {name} was off by {largest}, beyond its bound {of}",
           float(largest) <= max(float(of), 0.50005))
# Performance: the times of A53, by family and column.
section = re.search(r"^## 64f_A53\n(.*?)^## ", read("docs/performance.md"), re.M | re.S)[1]
titles, *rows = [line.strip("| ").split(" | ") for line in re.findall(r"^\| .*", section, re.M)]
times = {row[0].strip("`"): dict(zip(titles, row)) for row in rows if row[0].startswith("`")}
for table, found, arguments in (("accuracy", {name.split("_")[0] for name in seen}, " FAMILY"),
                                ("performance", set(times), "")):
    expect(f"docs/{table}.md: the rows of {sorted(set(bounds) ^ found)} "
           f"(tools/figures.sh {table}{arguments})", set(bounds) == found)

# Every float: the counts, the arguments, and what the README says of them.
every = read("docs/every-float.md")
counts = {family: int(wrong) for family, wrong in re.findall(
    r"^\| (\w+) \| 4294967296 \| \d+ \| (\d+) \|$", every, re.M)}
arguments = re.findall(r"^\| (\w+) \| (-?0x\S+) \|", every, re.M)
for family, count in counts.items():
    listed = sum(of == family for of, _ in arguments)
    expect(f"docs/every-float.md: {family} has the count {count} and {listed} arguments",
           listed == count)
for family, (of32f, _, _) in bounds.items():
    proof = re.search(r"^float-proof (.+)", read(f"families/{family}.txt"), re.M)
    expect(f"families/families.inc: {family} has the bound 0.5 for floats, but docs/every-float.md has "
           "no run over all of them that found every one correctly rounded (tools/every_float.sh, an "
           f"hour): write 0.5000001, or name a proof in families/{family}.txt (float-proof ...)",
           of32f != "0.5" or counts.get(family) == 0 or proof)
total = sum(counts.values())
expect(f"README.md: '{total} of the' arguments, as counted in docs/every-float.md",
       f"\n{total} of the" in readme or f" {total} of the" in readme)

# Speed: the families that the README calls slower than the C library are those that were measured so.
slower = {family for family, row in times.items()
          if float(row["C scalar"]) < 0.95 * float(row["plain"])}
said = re.search(r"is faster than `64f_A53` in\s((?:`\w+`(?:, |,\n| and |\n)?)+)", readme)
told = set(re.findall(r"`(\w+)`", said[1])) if said else set()
expect("README.md: the sentence 'A loop ... is faster than `64f_A53` in ...' should name "
       f"{', '.join(sorted(slower))}: C scalar below 0.95 times plain in docs/performance.md",
       told == slower)

# Python: what is told of the measurement stands in it.
measured = set(re.findall(r"\d+", read("docs/performance.md").split("\n## Python\n")[1]))
python = re.search(r"^\*\*Python\.\*\*(.*?)^$", readme, re.M | re.S)[1].replace(",", "")
python += "".join(line for line in read("docs/python.md").splitlines() if line.startswith("| `"))
told = set(re.findall(r"(?<![.\d])\d{3,}(?![.\d])", python))
expect(f"README.md and docs/python.md: {sorted(told - measured)} are of docs/performance.md",
       len(told) > 10 and told <= measured)

# Engines: what the README shows of the table.
engines = read("docs/engines.md").splitlines()
shown = [line for line in re.search(r"^## In browsers\n(.*?)^## ", readme, re.M | re.S)[1].splitlines()
         if line.startswith("|")]
expect("README.md: the table of engines has rows of docs/engines.md",
       len(shown) > 2 and all(line in engines for line in shown))

# Places that the table of mutations names by their text.
for file, texts in re.findall(r"`([\w/]+\.[ch]pp)`: ([^|;]*(?:;`[^|;]*)?)", read("docs/mutations.md")):
    for text in re.findall(r"`([^`]+)`", texts):
        expect(f"docs/mutations.md: src/{file} has no '{text}' any more", text in read(f"src/{file}"))

print(f"{passed} passed, {failed} failed")
sys.exit(failed != 0)
