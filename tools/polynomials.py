#!/usr/bin/env python3
"""Bounds the error of every polynomial of the library, from the very numbers that src/ compiles.

Above the numbers of each polynomial stands a comment

    // Polynomial NAME: ORIGIN; off by BOUND (absolute) for |r| <= LIMIT
    // (tools/polynomials/SCRIPT.sollya).

The Sollya script finds origin and bounds; a comment that says anything else, an array of numbers
without a comment, a script or table that nobody names is a fault. So is a constant offBy below the
numbers that is not the bound, for code that computes with it. Prints one line for each. With --write
the comments are put right.
"""

import argparse
import math
import re
import subprocess
import sys
import textwrap
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SCRIPTS = ROOT / "tools/polynomials"
COMMON = [ROOT / "tools/tables/power_of_two.sollya", SCRIPTS / "common.sollya"]
SKIPPED = 77

COMMENT = re.compile(
    r"^([ \t]*)// (Polynomial|Constants) (\w+):((?:.|\n[ \t]*//)*?)"
    r"\((tools/[\w/]+\.sollya)\)\.$", re.M)
BEGINNING = re.compile(r"^[ \t]*// (?:Polynomial|Constants) \w+:", re.M)
TYPE = r"(?:double|DoubleDouble|Step)"
DECLARATION = re.compile(
    rf"\s*(?:static |inline )*constexpr {TYPE} (\w+)(?:\[\d*\])? = ([^;]*);")
TABLE = re.compile(rf"\s*(?:template <class Export>\s*)?QELVM_TABLE \w+ (\w+)\[[^\]]*\] = ([^;]*);")
# What has to have a comment: lists of numbers, and constants in two words.
LIST = re.compile(r"\b(\w+)(?:\[[^\]]*\] = | = |)(\{[^;]*?\});")
HEXADECIMAL = re.compile(r"-?0x[01]\.?[0-9a-f]*p[+-]?\d+")
NUMBER = re.compile(HEXADECIMAL.pattern + r"|-?\d+\.0")
# Names of constants that mean something to Sollya.
RESERVED = {"pi"}

faults = []


def fault(path, line, text):
    faults.append(f"{path.relative_to(ROOT)}:{line}: {text}")


def line_of(text, position):
    return text.count("\n", 0, position) + 1


def without_comments(text):
    """The code at the same positions, comments blank."""
    return re.sub(r"//[^\n]*", lambda match: " " * len(match[0]), text)


class Malformed(Exception):
    pass


def sollya_value(text, known):
    """A C++ initialiser as Sollya's: a list, a sum for a constant in two words, or a number."""
    items = re.findall(r"[{}]|[^\s{},]+", text)

    def value():
        item = items.pop(0)
        if item == "{":
            inner = []
            while items[0] != "}":
                inner.append(value())
            items.pop(0)
            return inner
        element = re.fullmatch(r"(\w+)\[(\d+)\]", item)
        if element and element[1] in known:
            return known[element[1]][int(element[2])]
        if not NUMBER.fullmatch(item):
            raise Malformed(f"{item} is not a hexadecimal constant")
        return item

    return value()


def as_sollya(value, is_sum):
    """Constants in several words are sums, in lists, too."""
    if isinstance(value, str):
        return value
    if is_sum:
        return "(" + " + ".join(value) + ")"
    return "[|" + ", ".join(as_sollya(v, isinstance(v, list)) for v in value) + "|]"


def table_rows(body):
    """The file that a table's initialiser includes, and its rows as lists."""
    included = re.search(r'#include "([\w/]+\.inc)"', body)
    path = ROOT / "src" / included[1]
    rows = re.findall(r"^QELVM_\w+\(([^)]*)\)", without_comments(path.read_text()), re.M)
    return path, "[|" + ",\n".join("[|" + row + "|]" for row in rows) + "|]"


class Source:
    def __init__(self, path):
        self.path = path
        self.text = path.read_text()
        self.code = without_comments(self.text)
        self.claimed = []  # positions of the declarations that a comment names
        self.comments = list(COMMENT.finditer(self.text))
        starts = {match.start() for match in self.comments}
        for match in BEGINNING.finditer(self.text):
            if match.start() not in starts:
                fault(path, line_of(self.text, match.start()),
                      "the comment does not end with '(tools/...sollya).'")

    def below(self, comment):
        """The declarations right below a comment: (name, initialiser)."""
        found, position = [], comment.end()
        end = min((other.start() for other in self.comments if other.start() > position),
                  default=len(self.code))
        while match := (DECLARATION.match(self.code, position, end)
                        or TABLE.match(self.code, position, end)):
            found.append((match[1], match[2]))
            self.claimed.append(match.span())
            position = match.end()
        return found

    def numbers(self, comment, script):
        """What the comment is about, and the file's other constants that the script uses."""
        declared = self.below(comment)
        if not declared:
            raise Malformed("no numbers stand below the comment")
        words = set(re.findall(r"\w+", script))
        names = {name for name, _ in declared}
        for name in sorted(words - names):
            others = [match for match in DECLARATION.finditer(self.code) if match[1] == name]
            if len(others) > 1:
                raise Malformed(f"{name} is declared {len(others)} times")
            declared += [(name, other[2]) for other in others]
            self.claimed += [other.span() for other in others]
        prelude, known = "", {}
        for name, body in declared:
            if "#include" in body:
                path, rows = table_rows(body)
                prelude += f"{path.stem} = {rows};\n"
                continue
            sollya_name = name + "_" if name in RESERVED else name
            if sollya_name not in words:
                if "{" in body:
                    raise Malformed(f"the script does not use {name}")
                continue
            if name in known:
                raise Malformed(f"{name} is declared twice")
            known[name] = sollya_value(body, known)
            is_sum = re.search(rf"(DoubleDouble|Step) {name} = ", self.code) is not None
            prelude += f"{sollya_name} = {as_sollya(known[name], is_sum)};\n"
        return prelude

    def unclaimed(self):
        """Lists of full-length numbers without a comment."""
        for match in LIST.finditer(self.code):
            if len(HEXADECIMAL.findall(match[2])) < 2:
                continue
            if not any(start <= match.start() < end for start, end in self.claimed):
                yield line_of(self.text, match.start(1)), match[1]


def run(prelude, script):
    common = "".join(path.read_text() for path in COMMON)
    done = subprocess.run(
        ["sollya"], input=prelude + common + script + "quit;\n", capture_output=True,
        text=True, timeout=600, check=False)
    origin, bounds = "given", []
    for line in (done.stdout + done.stderr).splitlines():
        if line.startswith("origin: "):
            origin = line.removeprefix("origin: ")
        elif line.startswith("bound: "):
            bounds.append(line.removeprefix("bound: "))
        elif line.strip():
            raise Malformed(f"Sollya says: {line}")
    if not bounds:
        raise Malformed("the script bounds nothing")
    return f"{origin}; off by {' and '.join(bounds)}"


def fitted(source, comment):
    """The worst of the bounds that the generator wrote beside the rows."""
    (_, body), = source.below(comment)[:1]
    path, _ = table_rows(body)
    bounds = re.findall(r"// (\d+): 2\^(-[\d.]+)$", path.read_text(), re.M)
    row, bound = max(bounds, key=lambda pair: float(pair[1]))
    return f"fit; off by 2^{bound} (relative), worst in row {row}"


def check_constant(source, comment, found):
    """The constant offBy, where it stands: the bound, rounded up."""
    for name, body in source.below(comment):
        if name == "offBy":
            bound = 2.0 ** float(re.search(r"2\^(-[\d.]+) \(relative\)", found)[1])
            if not bound <= float.fromhex(body) <= bound * (1 + 2**-7):
                scale = math.floor(math.log2(bound))
                wanted = math.ceil(math.ldexp(bound, 8 - scale))
                raise Malformed(f"offBy = {math.ldexp(wanted, scale - 8).hex()}")


def check(source, comment, write):
    indent, kind, name, _, script = comment.groups()
    line = line_of(source.text, comment.start())
    try:
        if not (ROOT / script).exists():
            raise Malformed(f"{script} does not exist")
        if script.startswith("tools/tables/"):
            found = fitted(source, comment)
        else:
            text = (ROOT / script).read_text()
            found = run(source.numbers(comment, text), text)
            check_constant(source, comment, found)
    except Malformed as error:
        fault(source.path, line, f"{name}: {error}")
        return comment[0]
    print(f"{name:12} {source.path.relative_to(ROOT)}: {found}")
    wanted = f"{kind} {name}: {found} ({script})."
    if " ".join(re.sub(r"^\s*//", "", comment[0], flags=re.M).split()) != wanted:
        prefix = indent + "// "
        wanted = "\n".join(textwrap.wrap(wanted, 100, initial_indent=prefix,
                                         subsequent_indent=prefix, break_on_hyphens=False))
        if write:
            return wanted
        fault(source.path, line, f"write\n{wanted}")
    return comment[0]


def check_generators(named):
    """Every table that is included says which generator made it."""
    for path in sorted(ROOT.glob("src/**/*.inc")):
        text = path.read_text()
        if not HEXADECIMAL.search(without_comments(text)):
            continue
        made_by = re.search(r"Generated by\s(?://\s)?(tools/tables/\w+\.(?:cpp|sollya))", text)
        if not made_by or not (ROOT / made_by[1]).exists():
            fault(path, 1, "no generator")
        elif made_by[1].endswith("_rows.sollya") and made_by[1] not in named:
            fault(path, 1, f"rows of fitted polynomials, but no comment names {made_by[1]}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--write", action="store_true", help="put the comments in src/ right")
    write = parser.parse_args().write
    try:
        subprocess.run(["sollya", "--help"], capture_output=True, check=False)
    except FileNotFoundError:
        print("no Sollya")
        return SKIPPED

    names, named = {}, set()  # of the comments, and the scripts in them
    for path in sorted([*ROOT.glob("src/**/*.hpp"), *ROOT.glob("src/**/*.cpp")]):
        source = Source(path)
        text, position = "", 0
        for comment in source.comments:
            if comment[3] in names:
                fault(path, line_of(source.text, comment.start()),
                      f"{comment[3]} is already in {names[comment[3]]}")
            names[comment[3]] = path.relative_to(ROOT)
            named.add(comment[5])
            text += source.text[position:comment.start()] + check(source, comment, write)
            position = comment.end()
        for line, name in source.unclaimed():
            fault(path, line, f"nothing tells where the numbers of {name} come from")
        text += source.text[position:]
        if text != source.text:
            path.write_text(text)
    for script in sorted(SCRIPTS.glob("*.sollya")):
        if script.name != "common.sollya" and str(script.relative_to(ROOT)) not in named:
            fault(script, 1, "no comment names this script")
    check_generators(named)
    for text in faults:
        print(text, file=sys.stderr)
    print(f"{len(names)} polynomials and sets of constants, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
