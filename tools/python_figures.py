#!/usr/bin/env python3
"""Measures the Python package beside NumPy and SciPy; behind `tools/figures.sh python`.

usage: python_figures.py BUILD_DIRECTORY [COUNT]

Prints the section of docs/performance.md. COUNT arguments (one million) of every function, uniform over its
main range, are judged by MPFR, and computed again by processes that see another processor.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

import numpy as np
import scipy
import scipy.special

SOURCE = pathlib.Path(__file__).resolve().parents[1]
NAMES = {row[0]: (row[1:] or ["power"])[0] for row in (
    line.split() for line in (SOURCE / "python/names.txt").read_text().splitlines() if line[:1] != "#") if row}
TYPES = {"float32": (np.float32, "32f"), "float64": (np.float64, "64f")}


def rsqrt(x, out):
    return np.divide(1, np.sqrt(x, out=out), out=out)


def rcbrt(x, out):
    return np.divide(1, np.cbrt(x, out=out), out=out)


def sincos(x, out):
    np.sin(x, out=out[0])
    np.cos(x, out=out[1])


# What NumPy and SciPy do in more than one call.
COMPOSED = {"rsqrt": (rsqrt, "1 / np.sqrt"), "rcbrt": (rcbrt, "1 / np.cbrt"),
            "sincos": (sincos, "np.sin, np.cos")}


def theirs(name):
    """Their function and what it is called."""
    if name in COMPOSED:
        return COMPOSED[name]
    where, text = (np, "np") if hasattr(np, name) else (scipy.special, "scipy.special")
    return getattr(where, name), f"{text}.{name}"


def label(family):
    return f"`{NAMES[family]}`" + (", one exponent" if family == "Powx" else "")


def arguments(family, interval, dtype, count):
    low, high, second_low, second_high = interval
    random = np.random.default_rng(1)
    x = [random.uniform(low, high, count).astype(dtype)]
    if family == "Powx":
        x.append(dtype(second_low))
    elif second_low != second_high:
        x.append(random.uniform(second_low, second_high, count).astype(dtype))
    return x


def room(name, dtype, count):
    """Where the results go, as out= takes it; and the array that holds all of them."""
    array = np.empty((2, count) if name == "sincos" else count, dtype)
    return (tuple(array) if name == "sincos" else array), array


# ---- other processors -------------------------------------------------------------------------------

def processors():
    """(name, environment): this processor, and with fewer and fewer of its features in sight."""
    from numpy.core._multiarray_umath import __cpu_dispatch__, __cpu_features__
    usable = [f for f in __cpu_dispatch__ if __cpu_features__[f]]
    steps = [("this processor", [], [])]
    hidden, masks = [f for f in usable if f.startswith("AVX512")], ["-AVX512F", "-AVX512VL"]
    if hidden:
        steps.append(("without AVX-512", hidden, masks))
    if "AVX2" in usable:
        steps.append(("without AVX2 and FMA", hidden + [f for f in usable if f in ("AVX2", "FMA3")],
                      masks + ["-AVX2", "-FMA"]))
    for name, features, capabilities in steps:
        yield name, {**os.environ, "NPY_DISABLE_CPU_FEATURES": " ".join(features),
                     "GLIBC_TUNABLES": "glibc.cpu.hwcaps=" + ",".join(capabilities)}


def serve():
    """A process that computes what its input asks for: FAMILY, TYPE, COUNT, the interval, a folder."""
    import qelvm
    np.seterr(all="ignore")
    for line in sys.stdin:
        family, kind, count, *interval, folder = line.split()
        name, dtype, count = NAMES[family], TYPES[kind][0], int(count)
        x = arguments(family, map(float, interval), dtype, count)
        for who, function in (("theirs", theirs(name)[0]), ("A53", getattr(qelvm, name)),
                              ("A50", getattr(qelvm.a50, name))):
            out, array = room(name, dtype, count)
            function(*x, out=out)
            array.tofile(f"{folder}/{who}")
        print("done", qelvm.library().cpu, flush=True)


class Processor:
    def __init__(self, number, name, environment, root):
        self.name, self.folder = name, f"{root}/{number}"
        os.mkdir(self.folder)
        self.process = subprocess.Popen([sys.executable, __file__, "--serve"], env=environment, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def compute(self, *request):
        print(*request, self.folder, file=self.process.stdin, flush=True)
        _, self.level = self.process.stdout.readline().split()

    def bits(self, who, dtype):
        unsigned = np.uint32 if dtype == np.float32 else np.uint64
        return np.fromfile(f"{self.folder}/{who}", unsigned)


def results(build, intervals, kind, count, servers):
    """A row for each family: arguments whose results differ, wrong roundings, largest errors."""
    dtype, short = TYPES[kind]
    for family, interval in intervals.items():
        for server in servers:
            server.compute(family, kind, count, *interval)
        differing = {}
        for who in ("theirs", "A53", "A50"):
            first, *others = (s.bits(who, dtype) for s in servers)
            differing[who] = int(np.any([first != o for o in others], axis=0).sum()) if others else 0
        x = [np.broadcast_to(a, count) for a in arguments(family, interval, dtype, count)]
        path = f"{servers[0].folder}/arguments"
        np.concatenate(x).tofile(path)
        judged = [f"{s.folder}/theirs" for s in servers] + [f"{servers[0].folder}/{c}" for c in ("A53", "A50")]
        lines = subprocess.run([f"{build}/tests/rounding", family, short, path, *judged], check=True,
                               capture_output=True, text=True).stdout.splitlines()
        wrong, errors = zip(*(line.split() for line in lines))
        yield (label(family), f"`{theirs(NAMES[family])[1]}`", differing["theirs"],
               max(differing["A53"], differing["A50"]), *wrong, *errors)


# ---- time -------------------------------------------------------------------------------------------

def fastest(calls, elements):
    """Nanoseconds per element of each call, measured in turn; the fastest of some times."""
    repeat, best = max(1, 20000 // elements), [float("inf")] * len(calls)
    for _ in range(7 if elements > 10**5 else 25):
        for k, call in enumerate(calls):
            start = time.perf_counter()
            for _ in range(repeat):
                call()
            best[k] = min(best[k], time.perf_counter() - start)
    return [1e9 * b / repeat / elements for b in best]


def times(intervals, kind, sizes):
    import qelvm
    dtype = TYPES[kind][0]
    logarithms = []
    for family, interval in intervals.items():
        name, columns = NAMES[family], []
        for size in sizes:
            x, (out, _) = arguments(family, interval, dtype, size), room(name, dtype, size)
            columns.append(fastest([lambda f=f: f(*x, out=out) for f in (
                getattr(qelvm, name), getattr(qelvm.a50, name), theirs(name)[0])], size))
        ours, faster, other = zip(*columns)
        ratios = [b / a for a, b in zip(ours, other)]
        logarithms.append(np.log(ratios))
        cells = [*ours] + ([*faster] if dtype is np.float64 else []) + [*other, *ratios]
        yield (label(family), f"`{theirs(name)[1]}`", *(f"{c:.2f}" for c in cells))
    means = [f"{m:.2f}" for m in np.exp(np.mean(logarithms, axis=0))]
    yield ("geometric mean", "", *[""] * (len(cells) - len(means)), *means)


# ---- the document -----------------------------------------------------------------------------------

def table(head, rows):
    print("|", " | ".join(head), "|")
    print("|" + "---|" * len(head))
    for row in rows:
        print("|", " | ".join(map(str, row)), "|", flush=True)
    print()


def main():
    build, count = os.path.abspath(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 10**6
    os.environ["PYTHONPATH"] = f"{build}/python"
    sys.path.insert(0, f"{build}/python")
    import qelvm
    np.seterr(all="ignore")
    lines = subprocess.run([f"{build}/tests/rounding"], check=True, capture_output=True, text=True).stdout
    intervals = {family: tuple(map(float, bounds))
                 for family, *bounds in map(str.split, lines.splitlines())}
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    with tempfile.TemporaryDirectory() as root:
        servers = [Processor(n, *p, root) for n, p in enumerate(processors())]
        seen = "; ".join(f"{k + 1}: {s.name}" for k, s in enumerate(servers))
        print(f"""## Python

`tools/figures.sh python` measures the package [qelvm](python.md) beside NumPy and SciPy, the same arguments
for both, uniform over the [main ranges](#functions). Measured on: {model[1] if model else "unknown processor"}
(`{qelvm.library().cpu}`), Python {sys.version.split()[0]}, NumPy {np.__version__}, SciPy {scipy.__version__}.

### Results that change with the processor, and wrong roundings

Of {count:,} arguments each (`sincos` has two results for one): how many results get other bits on a
processor with fewer features, as `NPY_DISABLE_CPU_FEATURES` and `GLIBC_TUNABLES` hide them
({seen}); how many are not the correctly rounded ones (by MPFR); and
the largest error among these, in ulps. Theirs are judged once for each of these processors; ours are the
same on all of them, which the run has compared as well.
""")
        numbers = [str(k + 1) for k in range(len(servers))]
        for kind in TYPES:
            print(f"#### {kind}\n")
            table(["function", "theirs", "changing: theirs", "changing: ours",
                   *(f"wrong: theirs {n}" for n in numbers), "wrong: ours", "wrong: a50",
                   *(f"ulps: theirs {n}" for n in numbers), "ulps: ours", "ulps: a50"],
                  results(build, intervals, kind, count, servers))
    sizes = [10**2, 10**4, 10**6]
    print("""### Speed

Nanoseconds per element of a call with `out=` on contiguous arrays, by their length; the calls measured in
turn, the fastest time counts. A ratio above 1: ours is the faster one.
""")
    for kind in TYPES:
        print(f"#### Time, {kind}\n")
        table(["function", "theirs", *(f"ours, {s:,}" for s in sizes),
               *(f"a50, {s:,}" for s in sizes if kind == "float64"), *(f"theirs, {s:,}" for s in sizes),
               *(f"theirs / ours, {s:,}" for s in sizes)], times(intervals, kind, sizes))


if __name__ == "__main__":
    serve() if sys.argv[1:] == ["--serve"] else main()
