#!/usr/bin/env python3
"""What is said of bounds and of what they rest on, in include/qelvm.h, README.md and docs/proofs.md.

usage: tools/bounds.py [--write]

From families/families.inc, families/errors.inc and the floats that docs/every-float.md has tried it makes
the comment above each prototype, the bounds in the table of families, and the tables of errors and of floats. Tells
which of them are others than those that stand there; with --write they are put right.
"""

import argparse
import re
import sys
import textwrap
from fractions import Fraction
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FLOATS, DOUBLES = ("32f_A11", "32f_A21", "32f_A24"), ("64f_A50", "64f_A53")


def read(name):
    return (ROOT / name).read_text()


class Row:
    """What is known of some results of an export."""

    def __init__(self, results, proven, observed, at):
        self.results, self.observed, self.at = results, observed, at
        self.proven = None if proven == "-" else proven

    def is_proof_of(self, bound):
        return self.proven is not None and Fraction(self.proven) <= Fraction(bound)


LIST, ERRORS = read("families/families.inc"), read("families/errors.inc")
FAMILIES = {name: dict(zip(FLOATS + DOUBLES, (single, single, single, a50, a53))) for name, single, a50, a53 in
            re.findall(r"^QELVM_FAMILY\((\w+),.* ([\d.]+), ([\d.]+), ([\d.]+)\)$", LIST, re.M)}
NOTES = dict(re.findall(r'^QELVM_NOTE\((\w+), "(.*)"\)$', LIST, re.M))
WHERE = dict(re.findall(r'^QELVM_RESULTS\((\w+), "(.*)"\)$', ERRORS, re.M))
ROWS = {}
for export, *row in re.findall(r'^QELVM_ERROR\((\w+), (\w+), (\S+), ([\d.]+), "(.*)"\)$', ERRORS, re.M):
    ROWS.setdefault(export, []).append(Row(*row))
TRIED = set(re.findall(r"^\| (\w+) \| 4294967296 \|", read("docs/every-float.md"), re.M))


def note_of(family, kind):
    """Of a family's note what is said of one class: another bound, and where it holds."""
    bound = re.search(rf"64f(?:_{kind[4:]})?: ([\d.]+)", NOTES.get(family, ""))
    return bound and (bound[1], NOTES[family].split(" ulp where ")[1])


def words(bound, rows):
    """A bound of some results, and what it rests on."""
    proven = [row for row in rows if row.is_proof_of(bound)]
    number = max((row.proven for row in proven), key=Fraction, default=bound)
    shown = "" if number == bound else f" ({number})"
    if rows and len(proven) == len(rows):
        return f"proven{shown}"
    seen = max((row.observed for row in rows), key=Fraction, default=None)
    text = f"observed ({seen})" if seen else "observed"
    return text + "".join(f"; proven ({row.proven}) where {WHERE[row.results]}" for row in proven)


def basis(family, kind):
    """proven, partly, tried or observed: as `qelvm list` has it."""
    if kind in FLOATS and family in TRIED:
        return "tried"
    of = "64f_A53" if kind in FLOATS else kind
    proofs = [row.is_proof_of(FAMILIES[family][of]) for row in ROWS[f"{family}_{of}"]]
    if kind in FLOATS:
        return "proven" if all(proofs) else "observed"
    return "proven" if all(proofs) else "partly" if any(proofs) else "observed"


def statement(family, kind):
    """The bound of an export, with what it rests on."""
    bound = FAMILIES[family][kind]
    if kind in FLOATS:
        return f"{bound} ulp, " + {"tried": "every float tried"}.get(basis(family, kind), basis(family, kind))
    rows, note = ROWS[f"{family}_{kind}"], note_of(family, kind)
    apart = [row for row in rows if note and WHERE[row.results] == note[1]]
    text = f"{bound} ulp, " + words(bound, [row for row in rows if row not in apart])
    return text + (f"; {note[0]} ulp where {note[1]}, {words(note[0], apart)}" if note else "")


def header(text):
    for family in FAMILIES:
        for kind in FLOATS + DOUBLES:
            comment = "\n * ".join(textwrap.wrap(f"/** {statement(family, kind)} */", 97))
            text, found = re.subn(rf"(?<=\n)/\*\*(?:(?!\*/)[^@])*\*/\n(?=QELVM_API QelStatus QELVM_CALL qels{family}_{kind}\()",
                                  comment.replace("\\", r"\\") + "\n", text)
            expect(f"include/qelvm.h: a prototype of qels{family}_{kind} below a comment", found == 1)
    return text


def readme(text):
    marks = {"proven": "**", "tried": "**", "partly": "*", "observed": ""}
    for family, bounds in FAMILIES.items():
        cells = " | ".join(f"{m}{bounds[kind]}{m}" for kind in ("32f_A24",) + DOUBLES
                           for m in [marks[basis(family, kind)]])
        text, found = re.subn(rf"(?m)^(\| `{family}` \|.*?)(?: \| \**[\d.]+\**){{3}} \|$", rf"\1 | {cells} |", text)
        expect(f"README.md: one row of {family} in the table of families", found == 1)
    return text


def proofs(text):
    """A row for all classes of a family that are alike."""
    lines = ["| export | where | bound, ulp | proven, at most | largest observed | at |", "|---|---|--:|--:|--:|---|"]
    for family, bounds in FAMILIES.items():
        alike = {}
        for kind in DOUBLES:
            for row in ROWS[f"{family}_{kind}"]:
                note = note_of(family, kind)
                bound = note[0] if note and WHERE[row.results] == note[1] else bounds[kind]
                where = WHERE[row.results].replace("|", "\\|")
                alike.setdefault(f"{where} | {bound} | {row.proven or '-'} | {row.observed} | `{row.at}` |", []).append(kind)
        for rest, kinds in sorted(alike.items(), key=lambda item: item[1]):
            lines.append(f"| `{family}_{kinds[0]}`{', `_A53`' if len(kinds) > 1 else ''} | {rest}")
    text = with_table(text, "| export | where |", lines)
    # Floats that have not all been tried: half an ulp, and the bound of the double, in ulps of floats.
    lines = ["| floats | b | rests on | error of a float, at most | S within, of a middle |", "|---|--:|---|--:|--:|"]
    for family, bounds in FAMILIES.items():
        expect(f"docs/proofs.md: 3. of Floats holds for bounds below 1 ulp, not {bounds['64f_A53']} of {family}",
               Fraction(bounds["64f_A53"]) < 1)
        if family not in TRIED and bounds["32f_A24"] != "0.5":
            added = -(Fraction(bounds["64f_A53"]) * 10**11 // -2**29)  # rounded up
            lines.append(f"| `{family}_32f` | {bounds['64f_A53']} | {basis(family, '32f_A24')} | "
                         f"{0.5 + added / 1e11:.11f} ulp | {added / 100:.2f} 10^-9 ulp |")
            expect(f"families/families.inc: {family} of floats is off by up to {0.5 + added / 1e11:.11f} ulp",
                   Fraction(1, 2) + Fraction(added, 10**11) <= Fraction(bounds["32f_A24"]))
    return with_table(text, "| floats | b |", lines)


def with_table(text, beginning, lines):
    """The text with these lines for the table that begins so."""
    table = "".join(line + "\n" for line in lines)
    text, found = re.subn(rf"(?m)^{re.escape(beginning)}.*\n(?:\|.*\n)+", table.replace("\\", r"\\"), text)
    expect(f"docs/proofs.md: a table {beginning}", found == 1)
    return text


failed = 0


def expect(what, holds):
    global failed
    if not holds:
        failed += 1
        print("FAILED", what)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--write", action="store_true")
    write = parser.parse_args().write
    kinds = {f"{family}_{kind}" for family in FAMILIES for kind in DOUBLES}
    expect(f"families/errors.inc: rows of each double export, not of {sorted(kinds ^ set(ROWS))}", kinds == set(ROWS))
    for row in sum(ROWS.values(), []):
        expect(f"families/errors.inc: QELVM_RESULTS({row.results}, ...)", row.results in WHERE)
    if not failed:
        for name, made in (("include/qelvm.h", header), ("README.md", readme), ("docs/proofs.md", proofs)):
            old, new = read(name), made(read(name))
            if write:
                (ROOT / name).write_text(new)
            else:
                different = [line for line in new.splitlines() if line not in old.splitlines()]
                expect(f"{name}: tools/bounds.py --write, which makes such as\n  {(different or ['(deleted)'])[0]}", new == old)
    print("as the lists have it" if not failed else f"{failed} failed")
    sys.exit(failed != 0)


main()
