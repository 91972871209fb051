"""The program for MPI beside the tool, with 1 to 4 processes, and what it does with bad input.

usage: mpi_test.py BUILD_DIRECTORY (configured with QELVM_MPI=ON)
"""
import ctypes
import hashlib
import os
import pathlib
import random
import struct
import subprocess
import sys
import tempfile

build = pathlib.Path(sys.argv[1]).resolve()
program = build / "examples/mpi/qelvm_mpi"
plain = build / "src/libqelvmpx.so.5"
environment = dict(os.environ, OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1")
count = 50_021  # no multiple of blocks or processes
failures = 0


def expect(condition, what):
    global failures
    if not condition:
        failures += 1
        print("FAILED", what)


def run(*arguments):
    """mpirun with these arguments."""
    return subprocess.run(["mpirun", "--oversubscribe", *map(str, arguments)], text=True,
                          capture_output=True, env=environment, timeout=60)


def sha256(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def write_inputs(folder):
    """Numbers that a few exports report; the last reported one is a pole of Ln, far from the end."""
    generator = random.Random(1)
    for name, code in ("x.f64", "d"), ("x2.f64", "d"), ("x.f32", "f"), ("x2.f32", "f"):
        values = [generator.uniform(0.01, 700) for _ in range(count)]
        values[5], values[20_000] = -1.0, 0.0
        (folder / name).write_bytes(struct.pack(f"<{count}{code}", *values))


def status_of_one_call(export, code, path):
    array = (ctypes.c_double if code == "d" else ctypes.c_float) * count
    source = array.from_buffer_copy(path.read_bytes())
    return getattr(ctypes.CDLL(str(plain)), "qels" + export)(source, array(), count)


def check_results(folder):
    cases = [  # export, operands, how many processes
        ("Ln_64f_A53", [], (1, 2, 3, 4)),
        ("SinCos_32f_A24", [], (1, 4)),
        ("Pow_64f_A53", ["--second-input", folder / "x2.f64"], (3,)),
        ("Div_32f_A11", ["--second", "0x1.8p1"], (2,)),
        ("Powx_64f_A50", ["--scalar", "-2.5"], (3,)),
    ]
    for export, operands, processes in cases:
        kind = "f32" if "_32f" in export else "f64"
        source, wanted, got = folder / f"x.{kind}", folder / "wanted", folder / "got"
        subprocess.run([build / "apps/qelvm/qelvm", "apply", export, "--format", "raw", "--input", source,
                        "--output", wanted, *operands], check=True, stderr=subprocess.DEVNULL)
        for n in processes:
            done = run("-n", n, program, export, "--input", source, "--output", got, "--block", 1000, *operands)
            expect(done.returncode == 0 and sha256(got) == sha256(wanted), f"{export}, {n} processes: {done}")
            if export.startswith("Ln"):
                status = status_of_one_call(export, "d", source)
                expect(status == 18 and done.stdout == f"{export} of {count} elements by {n} processes: "
                       "qelStatusSingularity\n", f"{export}, {n} processes: {done.stdout}")
            got.unlink()
    # Processes with other builds of the library.
    source, wanted, got = folder / "x.f64", folder / "wanted", folder / "got"
    subprocess.run([build / "apps/qelvm/qelvm", "apply", "Exp_64f_A53", "--format", "raw", "--input", source,
                    "--output", wanted], check=True, stderr=subprocess.DEVNULL)
    arguments = [program, "Exp_64f_A53", "--input", source, "--output", got]
    done = run("-n", 1, *arguments, "--library", plain, ":", "-n", 1, *arguments)
    expect(done.returncode == 0 and sha256(got) == sha256(wanted), f"two builds: {done}")
    got.unlink()
    # Fewer elements than processes: none, and one.
    for elements in 0, 1:
        (folder / "few").write_bytes(bytes(8 * elements))
        done = run("-n", 3, program, "Exp_64f_A53", "--input", folder / "few", "--output", got)
        expect(done.returncode == 0 and got.read_bytes() == struct.pack("<d", 1) * elements,
               f"{elements} elements: {done}")


def check_errors(folder):
    good = ["--input", folder / "x.f64", "--output", folder / "old"]
    (folder / "odd").write_bytes(bytes(20))
    cases = [
        (["Exq_64f_A53", *good], 'unknown export "Exq_64f_A53"'),
        (["Exp_64f_A53", "--input", folder / "none", "--output", folder / "old"], "none: cannot read"),
        (["Exp_64f_A53", "--input", folder / "odd", "--output", folder / "old"], "20 bytes are no whole number"),
        (["Pow_64f_A53", *good], "takes two sources"),
        (["Pow_64f_A53", *good, "--second-input", folder / "few"], "do not have as many elements"),
        (["Powx_64f_A53", *good, "--scalar", "2,5"], '"2,5" is not a number'),
        (["Exp_64f_A53", *good[:3], folder / "none" / "y"], "cannot write"),
        (["Exp_64f_A53", *good[:3], folder / "x.f64"], "is the input, too"),
        (["Exp_64f_A53", *good[:3], "/dev/null"], "is not a regular file"),
        (["Exp_64f_A53", *good, "--library", folder / "odd"], "cannot load the library"),
        (["Exp_64f_A53", *good, "--block", "0"], "--block"),
    ]
    (folder / "old").write_text("as it was")
    inputs = sha256(folder / "x.f64")
    before = sorted(folder.iterdir())
    for arguments, message in cases:
        done = run("-n", 3, program, *arguments)
        lines = [line for line in done.stderr.splitlines() if line.startswith("qelvm_mpi: ")]
        expect(done.returncode != 0 and len(lines) == 1 and message in lines[0], f"{message}: {done}")
    expect((folder / "old").read_text() == "as it was" and sorted(folder.iterdir()) == before and
           sha256(folder / "x.f64") == inputs, f"a file is another one: {sorted(folder.iterdir())}")
    # One process alone fails: before the files are open, and while its part is written. (Its memory that
    # it shares with others would be files, too.)
    arguments = [program, "Exp_64f_A53", *good]
    small = ["bash", "-c", 'ulimit -f 300 && trap "" XFSZ && exec "$@"', "-"]
    for message, failing in ("cannot load the library", [*arguments, "--library", folder / "odd"]), (
            "cannot write", [*small, *arguments]):
        done = run("--mca", "btl", "self,tcp", "-n", 1, *arguments, ":", "-n", 1, *failing)
        expect(done.returncode != 0 and done.stderr.count("qelvm_mpi: ") == 1 and message in done.stderr,
               f"one process: {message}: {done}")
    expect((folder / "old").read_text() == "as it was" and sorted(folder.iterdir()) == before,
           f"a file is another one: {sorted(folder.iterdir())}")


with tempfile.TemporaryDirectory() as name:
    write_inputs(pathlib.Path(name))
    check_results(pathlib.Path(name))
    check_errors(pathlib.Path(name))
if failures:
    sys.exit(f"{failures} cases failed")
print("the tool's bits by 1 to 4 processes, and clear errors")
