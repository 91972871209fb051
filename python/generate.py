#!/usr/bin/env python3
"""Writes what the package derives from the list of families, their names and the public header.

usage: generate.py SOURCE_DIRECTORY ufuncs.inc      rows QELVM_UFUNC(family, documentation of the more
                                                    accurate class, of the faster one, names...)
       generate.py SOURCE_DIRECTORY __init__.pyi    type stubs; also a50.pyi
"""
import pathlib
import re
import sys
import textwrap

SHAPES = {"OneSource": (1, 1), "TwoSources": (2, 1), "TwoDestinations": (1, 2)}
# What a status of the library is for NumPy, see numpy.errstate.
FLAGS = {"Overflow": "over", "Underflow": "under", "Singularity": "divide", "Domain": "invalid"}


def read_names(path):
    """Families and their names, in the order of the file."""
    rows = (line.split() for line in path.read_text().splitlines() if line and line[0] != "#")
    return {family: names for family, *names in rows}


def read_families(path):
    """Of each family: shape, statuses."""
    rows = re.findall(r"^QELVM_FAMILY\((\w+), (\w+), (.*), [\d.]+, [\d.]+, [\d.]+\)", path.read_text(), re.M)
    return {name: (shape, re.findall(r"\w+", statuses)) for name, shape, statuses in rows}


def read_bounds(path):
    """What the header says of the bound of each export."""
    comments = re.findall(r"^/\*\* ((?:(?!\*/)[^@])*) \*/\n.*QELVM_CALL qels(\w+)\(", path.read_text(), re.M)
    return {export: re.sub(r"\s+(\* )?", " ", text) for text, export in comments}


def read_groups(path):
    """What the header says of each family: title and text, as written there."""
    groups = re.findall(r"@defgroup \w+ (\w+): (.*)\n \*\n((?: \*.*\n)*?) \* @", path.read_text())
    return {name: (title, re.sub(r"^ \* ?", "", text, flags=re.M).strip()) for name, title, text in groups}


# The header's words about arrays, statuses and types, and NumPy's.
WORDS = [
    (r"Never reports:[^.]*#qelStatusOk\.\s*", ""),
    (r"Either destination may be the source\.\s*", ""),
    (r"#qelStatus(\w+)", lambda m: "`%s`" % FLAGS[m[1]]),
    (r"The limits themselves are not reported", "The limits themselves raise nothing"),
    (r"raises?( the)? underflow( flag)? without a status", "raise `under`"),
    (r"\s+without a status", ""),
    (r"and, by its report, invalid", "and `invalid`"),
    (r"\bdivide-by-zero\b", "`divide`"),
    (r"raises the invalid flag \(the division\) and `divide` \(the report\)", "raises `invalid` and `divide`"),
    (r"Overflow and underflow only raise their flags", "Overflow raises `over`, underflow `under`"),
    (r", unreported\b", ""),
    (r"\breports\b", "raises"), (r"\bReports\b", "Raises"), (r"\| reported \|", "| raised |"),
    (r"\bdstSin\b", "out1"), (r"\bdstCos\b", "out2"), (r"\bdst\b", "out"), (r"\bsrc(\d?)\b", r"x\1"),
    (r"A50 and A53|\b64f\b", "float64"), (r"\b32f\b", "float32"), (r"\bfive classes\b", "classes"),
    (r"\bfloat64_A5\d\b", "float64"),
]


def in_python(text, names):
    paragraphs = [p for p in text.split("\n\n") if not re.search(r"\bin place\b", p, re.I)]
    for index, paragraph in enumerate(paragraphs):
        for pattern, python in WORDS:
            paragraph = re.sub(pattern.replace(" ", r"\s+"), python, paragraph)
        for family, known in names.items():
            if known:
                paragraph = re.sub(rf"`{family}`", f"`{known[0]}`", paragraph)
        prose, *rows = re.split(r"^(?=\|)", paragraph, maxsplit=1, flags=re.M)
        paragraphs[index] = "\n".join(textwrap.wrap(" ".join(prose.split()), 88) + rows)
    return "\n\n".join(p for p in paragraphs if p)


def documentation(family, names, row, group, bounds, double):
    shape, statuses = row
    sources, destinations = SHAPES[shape]
    title, text = group
    inputs = ", ".join(f"x{i + 1}" if sources > 1 else "x" for i in range(sources))
    outputs = ", ".join(f"out{i + 1}" if destinations > 1 else "out" for i in range(destinations))
    flags = ", ".join(f"`{FLAGS[s]}`" for s in statuses if s in FLAGS)
    bound32, bound64 = (in_python(bounds[f"{family}_{kind}"], {}) for kind in ("32f_A24", f"64f_{double}"))
    broadcast = "; shapes that broadcast together" if sources > 1 else ""
    return f"""{title[0].upper()}{title[1:]}, element by element.

Parameters
----------
{inputs} : array_like
    float32 or float64{broadcast}.
    float16, bool and integers of 8 and 16 bits become float32, other integers float64;
    anything else is a TypeError.

Returns
-------
{outputs} : ndarray or scalar
    Of the shape of the arguments, float32 or float64.

Notes
-----
{in_python(text, names)}

Error bounds in ulps of the exact result:
float32: {bound32}.
float64: {bound64}.
Proven is what a proof from the kernel's text shows; observed, the largest error that a search has found.
Exceptions that it reports, see numpy.errstate: {flags or "none of its own"}.
The bits are the same on every platform and processor; these are
qels{family}_32f_A24 and qels{family}_64f_{double}.
"""


def c_string(text):
    escaped = text.replace("\\", "\\\\").replace('"', '\\"')
    return "\n".join(f'    "{line}\\n"' for line in escaped.splitlines())


def ufunc_rows(names, families, groups, bounds):
    for family, known in names.items():
        if known:
            texts = [c_string(documentation(family, names, families[family], groups[family], bounds, double))
                     for double in ("A53", "A50")]
            quoted = ", ".join(f'"{name}"' for name in known)
            yield f"QELVM_UFUNC({family},\n{texts[0]},\n{texts[1]},\n    {quoted})\n"


def stubs(names, package):
    yield "import numpy\n"
    if package:
        yield textwrap.dedent("""\
            from typing import NamedTuple, Tuple
            from . import a50 as a50

            class Library(NamedTuple):
                version: Tuple[int, int, int, int]
                cpu: str
                path: str

            def library() -> Library: ...
            __version__: str
            """)
    yield "\n"
    for known in names.values():
        for name in known:
            yield f"{name}: numpy.ufunc\n"


def main():
    source, output = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    names = read_names(source / "python/names.txt")
    families = read_families(source / "families/families.inc")
    if names.keys() != families.keys():
        different = ", ".join(sorted(names.keys() ^ families.keys()))
        sys.exit(f"python/names.txt and families/families.inc differ in {different}")
    if output.suffix == ".inc":
        header = source / "include/qelvm.h"
        output.write_text("".join(ufunc_rows(names, families, read_groups(header), read_bounds(header))))
    else:
        output.write_text("".join(stubs(names, True)))
        output.with_name("a50.pyi").write_text("".join(stubs(names, False)))


if __name__ == "__main__":
    main()
