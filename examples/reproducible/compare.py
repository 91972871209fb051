"""Runs islands.py and islands.c in every way there is here, and compares the last states.

    PYTHONPATH=build/linux/python python3 compare.py build/linux --build32 build/i686 --figure islands.svg

A way is: NumPy's functions or qelvm's; with all that the processor has, or with some of it masked; by 1
or 2 processes; a 32-bit program. Ends with exit status 1 where qelvm's differ. The figure shows how the
runs part (it needs matplotlib).
"""
import argparse
import hashlib
import os
import pathlib
import subprocess
import sys
import tempfile

import numpy as np
from numpy.core._multiarray_umath import __cpu_features__ as features

folder = pathlib.Path(__file__).resolve().parent
# What is masked for NumPy and, by the dynamic loader, for qelvm: it takes the library for every processor.
masked = {"NPY_DISABLE_CPU_FEATURES": " ".join(
    name for name in features if features[name] and name.startswith(("AVX2", "FMA3", "AVX512"))),
    "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2"}
settings = {"all of the processor": {}, "without AVX2 and FMA": masked}


def islands(*arguments, setting):
    done = subprocess.run([sys.executable, folder / "islands.py", *map(str, arguments)], check=True, text=True,
                          stdout=subprocess.PIPE, env=dict(os.environ, **settings[setting]))
    return done.stdout.strip()


def c_program(build, compiler, dtype, steps, work, runner=()):
    """The hash of the last state of islands.c, compiled with the library of that build."""
    single = dtype == "float32"
    library = pathlib.Path(build).resolve() / "src"
    program = work / f"islands-{compiler}-{dtype}"
    subprocess.run([compiler, "-std=c99", "-O2", "-ffp-contract=off", "-Wall", "-Wextra", "-Wconversion", "-Wshadow",
                    *(["-msse2", "-mfpmath=sse"] if runner else []),
                    f"-DREAL={'float' if single else 'double'}", f"-DTYPE={'32f_A24' if single else '64f_A53'}",
                    f"-I{folder.parents[1] / 'include'}", folder / "islands.c", library / "libqelvmpx.so.5",
                    f"-Wl,-rpath,{library}", "-o", program], check=True)
    # (A 32-bit program starts from the loader of its own C library, which the system may not have.)
    path = [f"{runner[1]}:{library}", program] if runner else [program]
    done = subprocess.run([*runner[:1], *(["--library-path"] if runner else []), *path, str(steps)], check=True,
                          stdout=subprocess.PIPE)
    return hashlib.sha256(done.stdout).hexdigest()


def compare(options, dtype, work):
    """Prints a row for every way; returns whether qelvm's states are one, and how many are NumPy's."""
    found = {"numpy": set(), "qelvm": set()}

    def row(functions, way, digest):
        found[functions].add(digest)
        print(f"{dtype}  {functions:6}  {way:38}  {digest[:16]}", flush=True)

    for functions in found:
        for setting in settings:
            for processes in 1, 2:
                digest = islands("--functions", functions, "--type", dtype, "--steps", options.steps, "--processes",
                                 processes, setting=setting)
                row(functions, f"{setting}, {processes} process{'es' * (processes > 1)}", digest)
    row("qelvm", "C", c_program(options.build, "cc", dtype, options.steps, work))
    if options.build32:
        cross = "/usr/i686-linux-gnu/lib"
        row("qelvm", "C, a 32-bit program", c_program(options.build32, "i686-linux-gnu-gcc", dtype, options.steps, work,
                                                      (f"{cross}/ld-linux.so.2", cross)))
    return len(found["qelvm"]), len(found["numpy"])


def draw(path, work, steps=400):
    """The largest distance of two runs, year by year, of all the processor and of some of it masked."""
    import matplotlib
    matplotlib.use("Agg")
    matplotlib.rcParams["svg.hashsalt"] = "islands"
    import matplotlib.pyplot as plt
    figure, axes = plt.subplots(figsize=(7, 3.6), layout="constrained")
    for functions, dtype, style in [("numpy", "float32", "C1-"), ("numpy", "float64", "C3-"),
                                    ("qelvm", "float32", "C0-"), ("qelvm", "float64", "C2--")]:
        states = []
        for i, setting in enumerate(settings):
            file = work / f"states{i}.npy"
            islands("--functions", functions, "--type", dtype, "--steps", steps, "--states", file, setting=setting)
            states.append(np.load(file).astype(float))
        distance = np.abs(states[0] - states[1]).max(axis=(1, 2))
        label = f"{functions}, {dtype}" + ("" if distance.any() else ": 0 in every year")
        # (A logarithmic axis has no zero: it is drawn at the bottom.)
        axes.semilogy(np.maximum(distance, 1e-18), style, linewidth=1.5 if functions == "numpy" else 3, label=label)
    axes.set(xlabel="year", ylabel="largest distance of the two runs", ylim=(5e-19, 100), xlim=(0, steps))
    axes.set_title("With and without AVX2 and FMA, on one computer", fontsize="medium")
    axes.legend(loc="center right")
    figure.savefig(path, metadata={"Date": None} if str(path).endswith("svg") else None)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", help="build directory of the library")
    parser.add_argument("--build32", help="the same for 32-bit x86, with the compiler of g++-i686-linux-gnu")
    parser.add_argument("--steps", type=int, default=1_000_000)
    parser.add_argument("--figure", type=pathlib.Path)
    options = parser.parse_args()
    good = True
    with tempfile.TemporaryDirectory() as name:
        work = pathlib.Path(name)
        for dtype in "float32", "float64":
            ours, theirs = compare(options, dtype, work)
            good &= ours == 1
            print(f"{dtype}: of NumPy's functions {theirs} different states, of qelvm's {ours}")
        if options.figure:
            draw(options.figure, work)
    sys.exit(0 if good else "qelvm's states differ")


if __name__ == "__main__":
    main()
