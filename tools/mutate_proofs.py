#!/usr/bin/env python3
"""Changes the kernels in ways that no test of a few million arguments needs to see, and shows that the
proofs do: one fails, or its bound moves.

usage: tools/mutate_proofs.py [--build build/linux] [--only power]

Works on copies of src/; takes some of a proof's scripts for each change. Exit status 1 if a change was
not noticed.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "proofs"))
import prove  # noqa: E402

# (what, program, scripts, file, text, its replacement)
CHANGES = [
    ("the last hexadecimal digit of a coefficient", "exp", "A53 row 61 ", "stages/exp_reduction.hpp",
     "0x1.55555555548f8p-3", "0x1.5555555555555p-3"),
    ("half of a coefficient's digits", "exp", "A50 row 60 ", "stages/exp_reduction.hpp",
     "0x1.5555555557676p-3", "0x1.5555555p-3"),
    ("the order of the sum with the table's low word", "exp", "A53 row 61 ", "explog/exp.cpp",
     "((r + tail) + lookUp(expPowerPairs<Export>, reduced.j, &PowerPair::lo)) * power",
     "(r + (tail + lookUp(expPowerPairs<Export>, reduced.j, &PowerPair::lo))) * power"),
    ("the table's low word dropped", "exp", "A53 row 61 ", "explog/exp.cpp",
     "((r + tail) + lookUp(expPowerPairs<Export>, reduced.j, &PowerPair::lo)) * power", "(r + tail) * power"),
    ("the trailing part of ln2/64 less precise", "exp", "A53 row 61 ", "stages/exp_reduction.hpp",
     "0x1.cf79abc9e3b3ap-46", "0x1.cf79abcp-46"),
    ("the leading part of ln2/64 with more bits", "exp", "reduction .0x1p.[78]", "stages/exp_reduction.hpp",
     "0x1.62e42fefap-7", "0x1.62e42fefa39p-7"),
    ("another order in the Horner step of the tail", "exp", "A53 row 61 ", "stages/exp_reduction.hpp",
     "(horner(Polynomial::c, r) * r) * r", "horner(Polynomial::c, r) * (r * r)"),
    ("the leading bit cut of a subnormal sum", "exp", "A53 2.-102[3-9]", "explog/exp.cpp",
     "keepLeadingBits(sum.hi, 0x1.8p32)", "keepLeadingBits(sum.hi, 0x1.8p3)"),
    ("a table's low word in its last digits", "logarithms", "Ln_64f_A53 row 5 k 0", "stages/ln_rows.inc",
     "-0x1.692b6a81b8848p-49", "-0x1.692b6a8p-49"),
    ("a split with too many bits", "logarithms", "Ln_64f_A53 row 5 ", "stages/table_logarithm.hpp",
     "splitShifter = 0x1p21", "splitShifter = 0x1p12"),
    ("a coefficient of the logarithm", "logarithms", "Ln_64f_A53 d .0x1.[01]", "stages/table_logarithm.hpp",
     "0x1.5555555555613p-2", "0x1.55555555p-2"),
    ("a sum of the logarithm in another order", "logarithms", "Log10_64f_A53 row 1 k 0", "explog/log10.cpp",
     "q * hi + (lo + (rest + q * lo))", "(q * hi + lo) + (rest + q * lo)"),
    ("a coefficient of the series in its last digits", "logarithm_series", "^Log10_64f_A50 k 0 .0x1.3f0",
     "explog/logarithm.hpp", "0x1.5555555555558p-1", "0x1.5555555p-1"),
    ("the product of the series in another order", "logarithm_series", "^Ln_64f_A50 k -3 .0x1.3e",
     "explog/logarithm.hpp", "f - s * (f - series)", "(f - s * f) + s * series"),
    ("the last piece of pi/32 less precise", "trig", "^arguments .0x1p.16", "trig/sine_cosine.hpp",
     "0x1.3198a2e037073p-73", "0x1.3198a2ep-73"),
    ("the low word of the argument times the cosine alone", "trig", "^row 5 ", "trig/sine_cosine.hpp",
     "lo_ * (cosine - sine * r_)", "lo_ * cosine"),
    ("the last piece of pi/4 less precise", "trig_reduction", "^subtraction 2.29 near", "trig/reduce_trig_argument.cpp",
     "0x1.45c06e0e68948p-87", "0x1.45c06e0p-87"),
    ("a low word of the hyperbolic cosine's table dropped", "sinh_cosh", "^Cosh_64f_A53 N 128 ", "hyperbolic/cosh.cpp",
     "a.lo + (b.lo + (a.lo - b.lo) * r)", "a.lo + b.lo"),
    ("a term of the hyperbolic sine's product dropped", "sinh_cosh", "^Sinh_64f_A53 N [45] ", "hyperbolic/sinh.cpp",
     "(low + second.lo) + rHi.lo * sumHi.lo", "low + second.lo"),
    ("the rest of pi/4 less precise", "trig_reduction", "times pi/4", "trig/reduce_trig_argument.cpp",
     "0x1.4442d18469899p-25", "0x1.4442d18p-25"),
    ("a word of 4/pi in its last bit", "trig_reduction", "leading 1$", "trig/four_over_pi_bits.inc",
     "0x1.04e8c9p-150", "0x1.04e8c8p-150"),
    ("the distance to the pole times another inverse", "tan", "^row 15 .*1.924p-5.$", "trig/tan.cpp",
     "gLo * v;", "gLo * inverse;"),
    ("a row's low word in its last digits", "quarter_binades", "Tanh_64f_A53 row 0 ", "hyperbolic/tanh_rows.inc",
     "0x1.6170649f62403p-56", "0x1.6p-56"),
    ("2/sqrt(pi) less precise, where results are subnormal", "quarter_binades", "Erf_64f_A53 subnormal .0x0.001p",
     "errfunc/erf.cpp", "0x1.0a6db446b8ea4p-30", "0x1.0a6p-30"),
    ("a power's low word in its last digits", "erfc", "Erfc_64f_A53 power 4 to 7", "errfunc/erfc_powers.inc",
     "0x1.69e8d10103a17p-27", "0x1.69e8d1p-27"),
    ("a low word of a row with the Gaussian", "erfc", "Erfc_64f_A53 row 6 ", "errfunc/erfc_rows.inc",
     "-0x1.919b8eddc1342p-59", "-0x1.919b8eddc1342p-58"),
    ("the correction of a reciprocal without its second term", "atan", "A53 row 5 .0x1p-1,", "stages/reciprocal.hpp",
     "((1.0 + e) * e) * seed", "e * seed"),
    ("a low word of the arctangent dropped", "atan", "A53 row 5 .0x1p-1,", "invtrig/atan.cpp",
     "(q.lo + tail) + lookUp(arctanTable<Export>, row, &PairRow::lo)", "q.lo + tail"),
    ("the last digits of the cube root of four", "cube_roots", "^Cbrt_64f_A53 2.*2/3. row 4$", "algebraic/cbrt.cpp",
     "0x1.4f5b8f20ac166p-26", "0x1.4f5b8f20acp-26"),
    ("the rounded rest of a third for the fitted one", "cube_roots", "^InvCbrt_64f_A53 2.0 row 3$",
     "algebraic/inv_cbrt.cpp", "-0x1.555555556eeb1p-19", "-0x1.5555555555555p-19"),
    ("the correction of the square root by its first factor", "correctly_rounded", "^Sqrt_64f_A53 [01] 4$",
     "algebraic/sqrt.cpp", "g + residual * h, half", "g + residual * (0.5 * seed), half"),
    ("the residual of the square root from a wider leading part", "correctly_rounded", "^Sqrt_64f_A53 [01] 4$",
     "algebraic/sqrt.cpp", "splitHiLo(g, split26Bits)", "splitHiLo(g, 0x1p16 + 1)"),
    ("the first coefficient of log2 in its last digits", "power", "log2 rows 0 0 1 ", "explog/power.hpp",
     "0x1.9c3a6966457e8p-24", "0x1.9c3a6966p-24"),
    ("the low word of log2 dropped from the product with y", "power", "exponent 0x1.0001p.10 .0x1p.8,", "explog/power.hpp",
     " + log.lo * exponent.y", ""),
    ("a coefficient of the root", "arcsine", "^root .0x1.1080", "stages/seeded_root.hpp", "-0x1.4p-2", "-0x1.40001p-2"),
    ("a trailing part of the cube dropped", "arcsine", "Asin_64f_A53 series .0x1p-2,", "invtrig/arcsine.hpp",
     "(rest3 * c3.hi + lo)", "lo"),
    ("the low word of pi dropped", "atan2", "negative", "invtrig/atan2.cpp",
     "whereNegative(pi.lo, x) + (flipSign(angle.lo, x) + sum.lo)", "flipSign(angle.lo, x) + sum.lo"),
    ("a coefficient of the arctangent", "atan2", "^row 0 .0x1.ep-4", "invtrig/arctangent.hpp",
     "0x1.99999999991bbp-3", "0x1.999999999p-3"),
    ("a row's low word in its last digits", "atan2", "^rows 2.-3 .0x", "invtrig/atan_rows.inc",
     "0x1.8cc4d8b0d1d86p-32", "0x1.8cc4d8p-32"),
]


def outcome(program, only):
    """Bounds by label; or a text, where a script fails or cannot be made."""
    try:
        scripts = [s for s in prove.scripts_of(program) if re.search(only, s.name)]
    except subprocess.CalledProcessError:
        return "the proof does not fit the kernel"
    bounds = {}
    for script in scripts:
        found, message = prove.run(script, None)
        if found is None:
            return f"{script.name}: " + message.splitlines()[-1].strip()
        for label, bound in found.items():
            bounds[label] = max(bounds.get(label, 0), bound)
    return {label: prove.upwards(b) for label, b in bounds.items()}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--build", type=Path, default=ROOT / "build/linux")
    parser.add_argument("--only", default="", help="changes of the programs whose names match a regular expression")
    arguments = parser.parse_args()
    build = arguments.build
    changes = [change for change in CHANGES if re.search(arguments.only, change[1])]
    programs = build / "proofs/programs"
    os.environ.setdefault("QELVM_PROOF_CACHE", str((programs / "cache").resolve()))
    os.nice(10)
    unnoticed = 0
    for what, name, only, file, text, replacement in changes:
        before = outcome(programs / name, only)
        with tempfile.TemporaryDirectory() as work:
            for folder in ("src", "families"):  # (kernels include both)
                shutil.copytree(ROOT / folder, Path(work) / folder)
            path = Path(work) / "src" / file
            source = path.read_text()
            if text not in source:
                sys.exit(f"{file} has no {text}")
            path.write_text(source.replace(text, replacement))
            program = Path(work) / name
            subprocess.run(["g++", "-std=c++20", "-O1", "-w", "-ffp-contract=off", f"-I{work}/src", f"-I{ROOT}",
                            f"-I{ROOT}/proofs", f"-I{ROOT}/include", str(ROOT / f"proofs/{name}.cpp"), "-o", program,
                            str(build / "src/libqelvmpx.so"), "-lmpfr",
                            f"-Wl,-rpath,{(build / 'src').resolve()}"], check=True)
            after = outcome(program, only)
        noticed = after != before
        unnoticed += not noticed
        print(f"{'noticed' if noticed else 'MISSED '} {file}: {what}\n    {before} -> {after}", flush=True)
    print(f"{len(changes) - unnoticed} of {len(changes)} changes noticed")
    sys.exit(unnoticed != 0)


main()
