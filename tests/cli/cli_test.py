"""Tests of the command-line tool, as its users see it: cli_test.py TOOL STAND_IN_LIBRARY [RUNNER...]

RUNNER is a command prefix, such as wine. What a Windows program cannot be tested for is skipped."""

import contextlib
import json
import math
import os
import random
import re
import select
import shutil
import signal
import stat
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock

SOURCE = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
TOOL, STAND_IN = map(os.path.abspath, sys.argv[1:3])
COMMAND = [*sys.argv[3:], TOOL]
WINDOWS = TOOL.endswith(".exe")
LIBRARY = "qelvmpx.dll" if WINDOWS else "libqelvmpx.so.5"
# By the code in their version record: how the tool calls their processor, where they are beside the
# plain library, and what of /proc/cpuinfo a processor must have to run them.
LEVELS = {
    "px": ("every", ".", set()),
    "v3": ("x86-64-v3", "glibc-hwcaps/x86-64-v3", {"avx2", "bmi2"}),
    "v4": ("x86-64-v4", "glibc-hwcaps/x86-64-v4", {"avx2", "bmi2", "avx512bw", "avx512vl"}),
    "asd": ("aarch64", "qelvm/neon", {"asimd"}),
}
ADD = ["SinCos_32f_A11", "--library", STAND_IN]  # x + 1 and x - 1
TIMES = ["Powx_64f_A50", "--library", STAND_IN]  # x times the scalar
SAME = ["Exp_64f_A50", "--library", STAND_IN]  # x, with the status of number x
EXP, DIV, INV = "Exp_64f_A53", "Div_64f_A50", "Inv_64f_A50"


def posix(what):
    return unittest.skipIf(WINDOWS, f"Windows has no {what}")


def qelvm(*arguments, stdin=b"", stdout=subprocess.PIPE, stderr=subprocess.PIPE):
    done = subprocess.run([*COMMAND, *arguments], input=stdin, stdout=stdout, stderr=stderr,
                          timeout=60)
    return done.returncode, done.stdout, (done.stderr or b"").decode()


def shell(command, *arguments):
    """What a shell makes of `command`, in which "$@" is the tool with these arguments."""
    done = subprocess.run(["sh", "-c", command, "sh", *COMMAND, *arguments], timeout=20,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    return done.returncode, done.stdout, done.stderr.decode()


@contextlib.contextmanager
def running(*arguments, **pipes):
    """The tool while the test talks to it; killed if that takes too long."""
    with subprocess.Popen([*COMMAND, *arguments], bufsize=0, **pipes) as tool:
        limit = threading.Timer(20, tool.kill)
        limit.start()
        yield tool
        tool.wait()
        limit.cancel()


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def write(self, name, content):
        with open(name, "wb") as file:
            file.write(content)
        return name

    def read(self, name):
        with open(name, "rb") as file:
            return file.read()

    def succeed(self, *arguments, stdin=b"", errors=""):
        status, out, err = qelvm(*arguments, stdin=stdin)
        self.assertEqual((status, err), (0, errors), arguments)
        return out

    def same(self, got, expected):
        """For much data, of which assertEqual would make a difference for minutes."""
        self.assertTrue(got == expected, f"{len(got)} bytes: {got[:200]}...")

    def refuse(self, message, *arguments, stdin=b""):
        """One line on standard error, exit status 2, and no file made or changed."""
        self.write("old", b"old\n")
        before = sorted(os.listdir())
        for output in ([], ["--output", "old"], ["--output", "new"]):
            if output and ("apply" not in arguments or "--output" in arguments):
                continue
            status, _, err = qelvm(*arguments, *output, stdin=stdin)
            self.assertEqual(status, 2, arguments)
            self.assertEqual(err.count("\n"), 1, err)
            self.assertIn("qelvm: " + message, err)
            self.assertEqual(sorted(os.listdir()), before)
            self.assertEqual(self.read("old"), b"old\n")

    def rows(self, *arguments):
        """The table of `eval` and what stands below it."""
        table, call = self.succeed("eval", *arguments).decode().split("\n\n")
        return [row.split() for row in table.splitlines()[1:]], call


class Help(ToolTest):
    def test_help_everywhere(self):
        for command in ([], ["list"], ["eval"], ["apply"]):
            for option in ("--help", "-h"):
                self.assertIn(b"Examples:\n  qelvm ", self.succeed(*command, option))

    def test_version(self):
        first, library, level, record, date = self.succeed("--version").decode().splitlines()
        self.assertEqual(first, "qelvm 5.0.11.35")
        code, processor = re.fullmatch(r"compiled for: (\w+), (.+)", level).groups()
        self.assertEqual(processor.split()[0], LEVELS[code][0])
        self.assertEqual(record, "its version record: qelvmpx.dll v5.0, version 5.0, build 11.35, "
                                 f"{code}, Sep  7 2005")
        self.assertIn("fixed part of the record", date)
        path = library.removeprefix("library: ")
        self.assertTrue(path.endswith("\\qelvmpx.dll") if WINDOWS else os.path.isfile(path), path)

    @posix("symbolic links here")
    def test_version_tells_the_file_that_was_loaded(self):
        path = self.succeed("--version").decode().splitlines()[1].removeprefix("library: ")
        os.mkdir("a\x1bb")
        shutil.copy(path, "a\x1bb/copy.so")
        os.symlink("a\x1bb/copy.so", "link.so")
        out = self.succeed("--version", "--library", "link.so").decode()
        self.assertIn(f"library: {os.path.realpath('.')}/a\\x1bb/copy.so\n", out)

    @posix("levels of processors")
    def test_levels(self):
        """By itself the best that the processor has and the loader may take; by its path any that it has."""
        def loaded(*arguments, mask=""):
            with unittest.mock.patch.dict(os.environ, GLIBC_TUNABLES=f"glibc.cpu.hwcaps={mask}"):
                lines = self.succeed(*arguments, "--version").decode().splitlines()
            return lines[1].removeprefix("library: "), lines[2].split()[2].rstrip(",")

        file = loaded()[0]
        folder, name = re.sub("/glibc-hwcaps/[^/]+", "", os.path.dirname(file)), os.path.basename(file)
        with open("/proc/cpuinfo") as info:
            features = set(info.read().split())
        there = []
        for code, (_, below, needed) in LEVELS.items():
            path = os.path.join(folder, below, name)
            if not os.path.exists(path):
                continue
            if needed <= features:
                there.append(code)
                self.assertEqual(loaded("--library", path), (os.path.realpath(path), code))
            else:
                self.refuse(f"{path} is compiled for x86-64-{code} (", "--library", path, "list")
            # (An address sanitizer does not start under the emulator.)
            if needed and shutil.which("qemu-x86_64") and b"__asan_init" not in self.read(TOOL):
                done = subprocess.run(["qemu-x86_64", "-cpu", "qemu64", TOOL, "--library", path, "list"],
                                      capture_output=True, text=True, timeout=60)
                self.assertEqual(done.returncode, 2)
                self.assertIn(f"qelvm: {path} is compiled for x86-64-{code} (", done.stderr)
        for mask, masked in ("", ()), ("-AVX512F", ["v4"]), ("-AVX2", ["v3", "v4"]):
            self.assertEqual(loaded(mask=mask)[1], [c for c in there if c not in masked and c != "asd"][-1])

    def test_a_library_that_happens_to_be_here_is_not_loaded(self):
        self.write(LIBRARY, b"none")
        self.succeed("list")
        self.refuse("cannot load", "--library", LIBRARY, "list")

    def test_wrong_usage(self):
        for message, *arguments in (
            ["a command is missing"],
            ["The following argument was not expected: frob", "frob"],
            ["EXPORT is required", "apply"],
            ["VALUES is required (see qelvm eval --help)", "eval", EXP],
            ['unknown export "Expp"', "eval", "Expp", "1"],
            ["cannot load ", "--library", "./none", "list"],
            ["./plain.dll does not have qelvmGetLibVersion", "--library", "plain.dll", "--version"],
            [f"{STAND_IN} does not have qelsTan_64f_A50", "eval", "--library", STAND_IN,
             "Tan_64f_A50", "1"],
        ):
            shutil.copy(STAND_IN, "plain.dll")
            self.refuse(message, *arguments)


class List(ToolTest):
    def names(self, *arguments):
        return [row.split()[0] for row in self.table(*arguments)]

    def table(self, *arguments):  # notes about bounds follow it after an empty line
        return self.succeed("list", *arguments).decode().split("\n\n")[0].splitlines()[1:]

    def test_shows_what_the_library_has(self):
        own = ["Exp_64f_A50", "Powx_64f_A50", "SinCos_32f_A11"]
        self.assertEqual(self.names("--library", STAND_IN), own)
        self.assertEqual(self.names("--library", STAND_IN, "64F"), own[:2])
        self.assertEqual(self.names("--library", STAND_IN, "o*a?1"), own[2:])
        self.assertEqual(self.names("--library", STAND_IN, "s?*x*_6*5"), own[:2])
        self.assertEqual(self.names("qelsdiv"), ["Div_32f_A11", "Div_32f_A21", "Div_32f_A24",
                                                 "Div_64f_A50", "Div_64f_A53"])
        self.refuse(f'{LIBRARY} has no export that matches "nope"', "list", "nope")
        with open(os.path.join(SOURCE, "include/qelvm.h")) as header:
            declared = re.findall(r"QELVM_CALL qels(\w+)\(", header.read())
        self.assertEqual(sorted(self.names()), sorted(declared))

    def test_rows(self):
        out = self.succeed("list", EXP).decode().splitlines()[1]
        self.assertRegex(out, r"Exp_64f_A53 +70 +src, dst +0\.5\d* +(partly|0\.5\d*) +qelStatusOk "
                              r"qelStatusOverflow qelStatusUnderflow$")
        self.refuse("--errors excludes --json", "list", "--errors", "--json")

    def test_json_says_what_the_table_says(self):
        table = self.table()
        objects = json.loads(self.succeed("list", "--json"))
        self.assertEqual([o["ordinal"] for o in objects], list(range(1, 136)))
        for o, row in zip(objects, table, strict=True):
            proven = f"{max([e['proven'] for e in o['errors']] or [o['bound']])}" \
                if o["basis"] == "proven" else {"observed": "-"}.get(o["basis"], o["basis"])
            self.assertEqual(re.split("  +", row), [
                o["name"].removeprefix("qels"), str(o["ordinal"]), ", ".join(o["arguments"]),
                f"{o['bound']:.8g}", proven, " ".join(o["statuses"])])
            family, kind, _ = row.split()[0].split("_")
            self.assertEqual((o["family"], o["type"]), (family, {"32f": "float", "64f": "double"}[kind]))

    def test_errors_are_those_that_are_recorded(self):
        with open(os.path.join(SOURCE, "families/errors.inc")) as file:
            text = file.read()
        where = dict(re.findall(r'^QELVM_RESULTS\((\w+), "(.*)"\)', text, re.M))
        rows = re.findall(r'^QELVM_ERROR\((\w+), (\w+), (\S+), (\S+), "(.*)"\)', text, re.M)
        table = [re.split("  +", row) for row in self.succeed("list", "--errors").decode().splitlines()[1:]]
        self.assertEqual(sorted([row[0], *row[2:]] for row in table if "_64f_" in row[0]),
                         sorted([e, p if p == "-" else f"{float(p)}", seen, at, where[w]]
                                for e, w, p, seen, at in rows))
        for o in json.loads(self.succeed("list", "--json")):
            kinds = [e["proven"] is not None and e["proven"] <= o["bound"] for e in o["errors"]]
            self.assertEqual(o["errors"], [
                {"results": w, "proven": None if p == "-" else float(p), "observed": float(seen), "at": at.split(", ")}
                for e, w, p, seen, at in rows if o["name"] == "qels" + e])
            if o["type"] == "double":
                self.assertEqual(o["basis"], "proven" if all(kinds) else "partly" if any(kinds) else "observed")
            elif len(o["arguments"]) == 2 or o["family"] == "SinCos":
                self.assertEqual(o["basis"], "tried")


class Eval(ToolTest):
    def test_statuses_and_flags(self):
        rows, call = self.rows(EXP, "1", "-800", "0x1p-3", "nan")
        self.assertEqual(rows[0], ["1", "2.718281828459045", "0x1.5bf0a8b145769p+1", "qelStatusOk"])
        self.assertEqual(rows[1], ["-800", "0", "0x0p+0", "qelStatusUnderflow"])
        self.assertEqual(rows[2][::3], ["0.125", "qelStatusOk"])
        self.assertEqual(rows[3], ["nan", "nan", "nan", "qelStatusOk"])
        self.assertEqual(call, "status of the call: qelStatusUnderflow\n"
                               "exception flags: underflow inexact\n")
        for x, y, status, flags in (("0", "0", "Singularity", "invalid divide-by-zero"),
                                    ("1", "0", "Singularity", "divide-by-zero"),
                                    ("1e308", "1e-9", "Ok", "overflow inexact"),
                                    ("4", "2", "Ok", "none"), ("1", "3", "Ok", "inexact"),
                                    ("1e-400", "1", "Ok", "none")):  # not what reading it raised
            self.assertEqual(self.rows(DIV, x, "--second", y)[1],
                             f"status of the call: qelStatus{status}\nexception flags: {flags}\n")
        self.assertEqual(self.rows(DIV, "2,4", "--second", "0,4")[0],
                         [["2", "0", "inf", "inf", "qelStatusSingularity"],
                          ["4", "4", "1", "0x1p+0", "qelStatusOk"]])

    def test_every_shape(self):
        self.assertEqual([row[2] for row in self.rows(DIV, "1", "2,3", "--second", "2")[0]],
                         ["0.5", "1", "1.5"])
        self.assertEqual([row[1] for row in self.rows(*TIMES, "1", "-3", "--scalar", "-0.5")[0]],
                         ["-0.5", "1.5"])
        self.assertEqual(self.rows(*ADD, "0.5")[0],
                         [["0.5", "1.5", "0x1.8p+0", "-0.5", "-0x1p-1", "qelStatusOk"]])

    def test_operands_that_do_not_fit(self):
        self.refuse(f"{DIV} takes two sources", "eval", DIV, "1")
        self.refuse("--second: 2 values for 3 elements", "eval", DIV, "1,2,3", "--second", "1,2")
        self.refuse(f"{EXP} does not take a second", "eval", EXP, "1", "--second", "1")
        self.refuse(f"{EXP} does not take a scalar", "apply", EXP, "--scalar", "1")
        self.refuse("Powx_64f_A50 takes a scalar", "eval", *TIMES, "1")
        self.refuse("the library refused a call: qelStatusSizeError", "eval", *SAME, "-1")

    def test_numbers(self):
        for text, value in (
            ("+1.5e3", 1500.0), ("-.5", -0.5), ("5.", 5.0), ("-0x1.8P4", -24.0), ("0x.8", 0.5),
            ("0XAp-1", 5.0), ("-inf", -math.inf), ("INFINITY", math.inf), ("-8e-1", -0.8),
            ("1e-400", 0.0), ("-0x1p-1080", -0.0), ("4.9e-324", 5e-324), ("2.4e-324", 0.0),
            ("1.7976931348623158e308", sys.float_info.max),
            ("0.1000000000000000055511151231257827021181583404541015625000001", 0.1),
        ):
            with self.subTest(text):
                row = self.rows(DIV, text, "--second", "1")[0][0]
                self.assertEqual((row[0], float.fromhex(row[3]).hex()), (row[2], value.hex()))
        for text in ("", "x", "1x", "0x", "0x-1", "0xinf", "0xnan", "--1", "+-1", "-+1", "1 2", "1,,2",
                     "1d3", "0x1p", "1e", "infinit", "1,"):
            self.refuse("VALUES: ", "eval", EXP, " " + text)
        for text in ("1e400", "-0x1p1024", "1.7976931348623159e308"):
            self.refuse(f'VALUES: "{text}" is beyond the range of double', "eval", EXP, text)
        self.refuse('VALUES: "1e39" is beyond the range of float', "eval", "Inv_32f_A11", "1e39")

    def test_numbers_round_once_and_trip_round(self):
        numbers = [x for x, in struct.iter_unpack("<d", random.Random(1).randbytes(8000))
                   if math.isfinite(x)]
        for row, x in zip(self.rows(DIV, *map(repr, numbers), "--second", "1")[0], numbers):
            self.assertEqual(row[2:4], [row[0], row[3]])
            self.assertEqual([float(row[2]), float.fromhex(row[3])], [x, x])
            self.assertLessEqual(len(row[2]), len(repr(x)))
        # By way of double this would round to even, one unit lower.
        row = self.rows("Div_32f_A24", "1.000000059604644776", "--second", "1")[0][0]
        self.assertEqual(row[2:4], ["1.0000001", "0x1.000002p+0"])


class Text(ToolTest):
    def test_lines(self):
        for text, result in ((b"", b""), (b"4", b"0.25\n"), (b" 4\t\r\n-2\r\n8\r\n", b"0.25\n-0.5\n0.125\n"),
                             (b"\xef\xbb\xbf4\n", b"0.25\n"), (b"-nan\ninf\n", b"nan\n0\n")):
            with self.subTest(text):
                self.assertEqual(self.succeed("apply", INV, stdin=text), result)
        self.assertEqual(self.succeed("apply", *ADD, stdin=b"1\n2\n"), b"2 0\n3 1\n")

    def test_errors(self):
        for text, message in ((b"1\n\n2\n", ':2: "" is'), (b"1\n2\n3 4\n", ':3: "3 4" is'),
                              (b"1\n# c\n", ':2: "# c" is'), (b"1\n2\r\r\n", ":2: a carriage return without"),
                              (b"1\r2\r", ":1: a carriage return without"),
                              (b"1\n2\r", ":2: a carriage return without"),
                              ("\x9b\xe9\u20ac\n".encode(), ':1: "\\xc2\\x9b\xe9\u20ac" is'),
                              (b"\xe9\x1b[1m\n", ':1: "\\xe9\\x1b[1m" is'),
                              (b"x" * 39 + "\u20ac".encode(), ':1: "' + "x" * 39 + '..." is'),
                              (b"1\n" * 30000 + b"1e999", ':30001: "1e999" is beyond'),
                              (b"\0" * 99, r':1: "\x00\x00'),
                              (b"1\n" + b"1" * (17 << 20), ":2: more than 16 MiB without an end")):
            self.refuse("standard input" + message, "apply", EXP, stdin=text)
        self.refuse('t:2: "b" is not a number', "apply", EXP, "--input", self.write("t", b"1\nb\n"))
        self.refuse("none\\x0a: " + ("" if WINDOWS else "No such file"), "apply", EXP, "--input", "none\n")
        self.refuse(".: " + ("Permission denied" if WINDOWS else "Is a directory"), "apply", EXP,
                    "--input", ".")

    def test_second_source(self):
        self.write("x", b"6\n" * 40000)
        self.write("y", b"3\n" * 40000)
        self.same(self.succeed("apply", DIV, "-i", "x", "--second-input", "y"), b"2\n" * 40000)
        self.same(self.succeed("apply", DIV, "-i", "x", "--second", "-3"), b"-2\n" * 40000)
        self.write("y", b"3\n" * 39999)
        self.refuse("y: ends before x", "apply", DIV, "-i", "x", "--second-input", "y")
        self.refuse("x: goes on after the end of y", "apply", DIV, "-i", "y", "--second-input", "x")
        self.refuse("--input and --second-input cannot both", "apply", DIV, "--second-input", "-")
        self.refuse('--second: "1,2" is not', "apply", DIV, "--second", "1,2")
        self.refuse("--second excludes", "apply", DIV, "--second", "1", "--second-input", "y")


class Blocks(ToolTest):
    def test_each_warning_is_counted_and_its_first_element_told(self):
        values = [1] * 100000
        first = {12: 16384, 17: 16383, 18: 0, 19: 99999}
        for status, index in first.items():
            values[index] = status
        for index in (40000, 70000, 70001):
            values[index] = 12
        expected = "".join(
            f"qelvm: {count} of 100000 elements {event} (qelStatus{name}), the first at index "
            f"{first[status]} (t:{first[status] + 1})\n"
            for status, name, event, count in ((12, "Overflow", "overflowed", 4),
                                               (17, "Underflow", "underflowed", 1),
                                               (18, "Singularity", "hit a pole", 1),
                                               (19, "Domain", "left the domain", 1)))
        text = "".join(f"{value}\n" for value in values).encode()
        self.same(self.succeed("apply", *SAME, "-i", self.write("t", text), errors=expected), text)
        status, _, err = qelvm("apply", *SAME, "--strict", "-i", "t", "-o", "out")
        self.assertEqual((status, err), (1, expected))
        self.same(self.read("out"), text)

    @posix("control characters in names")
    def test_names_in_warnings_are_printable(self):
        self.write("a\n\x1b", b"12\n")
        self.assertIn("(a\\x0a\\x1b:1)\n", qelvm("apply", *SAME, "-i", "a\n\x1b")[2])

    def test_strict(self):
        for values, status in ("1", 0), ("12,1", 1):
            self.assertEqual(qelvm("eval", *SAME, values, "--strict")[0], status)
            self.assertEqual(qelvm("eval", *SAME, values)[0], 0)
            self.assertEqual(qelvm("apply", *SAME, "--strict",
                                   stdin=values.replace(",", "\n").encode())[0], status)

    def test_slow_pipe_is_answered_at_once(self):
        """Each part is answered before the next is sent, wherever it ends."""
        csv = ["--column", "x", "--result-column", "r"]
        for options, *exchange in (
            ([], (b"2\n4\n0.", b"0.5\n0.25\n"), (b"5\n", b"2\n")),
            (csv, (b'x\n"2"', b"x,r\n"), (b'\r', b""), (b'\n"', b'"2",0.5\r\n'), (b'4"\n"', b'"4",0.25\n'),
             (b'5"', b""), (b'\n', b'"5",0.2\n')),
            (["--format", "raw"], (struct.pack("<d", 2) + b"\0" * 6, struct.pack("<d", 0.5)),
             (b"\x10\x40", struct.pack("<d", 0.25))),
        ):
            with running("apply", INV, *options, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as tool:
                for part, answer in exchange:
                    tool.stdin.write(part)
                    got = b""
                    while len(got) < len(answer):
                        self.assertTrue(select.select([tool.stdout], [], [], 10)[0], answer)
                        got += tool.stdout.read(100)
                    self.assertEqual(got, answer)
                    time.sleep(0 if answer else 0.05)
                tool.stdin.close()
                self.assertEqual(tool.stdout.read(), b"")


class Csv(ToolTest):
    def test_tables(self):
        quoted = b'\xef\xbb\xbf"x ""q""\n",note\r\n"2","a ""b"", \r\n"\r\n 4 ,""\n8,c'
        for text, options, result in (
            (b"x\n2\n", ["--column", "x"], b"x,Inv_64f_A50(x)\n2,0.5\n"),
            (b"a;x\n1;2\n", ["--column", "x", "--delimiter", ";", "--result-column", "r,1"],
             b"a;x;r,1\n1;2;0.5\n"),
            (b"a\tx\n,\t2\n", ["--column", "x", "--delimiter", "tab"],
             b"a\tx\tInv_64f_A50(x)\n,\t2\t0.5\n"),
            (b"x,y", ["--column", "y", "--result-column", 'r,"1"'], b'x,y,"r,""1"""'),
            (quoted, ["--column", 'x "q"\n', "--result-column", "r"],
             b'\xef\xbb\xbf"x ""q""\n",note,r\r\n"2","a ""b"", \r\n",0.5\r\n 4 ,"",0.25\n8,c,0.125'),
        ):
            with self.subTest(text):
                self.assertEqual(self.succeed("apply", INV, *options, stdin=text), result)

    def test_other_shapes(self):
        both = self.write("both", b"x,y\n6,3\n8,2\n")
        other = self.write("other", b"z\n2\n4\n")
        for options, result in (
            ([DIV, "--second-column", "y"], b'x,y,"Div_64f_A50(x,y)"\n6,3,2\n8,2,4\n'),
            ([DIV, "--second", "2"], b'x,y,"Div_64f_A50(x,2)"\n6,3,3\n8,2,4\n'),
            ([DIV, "--second-column", "z", "--second-input", other],
             b'x,y,"Div_64f_A50(x,z)"\n6,3,3\n8,2,2\n'),
            ([*TIMES, "--scalar", "2"], b'x,y,"Powx_64f_A50(x,2)"\n6,3,12\n8,2,16\n'),
            (ADD, b"x,y,SinCos_32f_A11(x).1,SinCos_32f_A11(x).2\n6,3,7,5\n8,2,9,7\n"),
            ([*ADD, "--result-column", "a", "--result-column", "b"], b"x,y,a,b\n6,3,7,5\n8,2,9,7\n"),
            ([DIV, "--second-column", "2"], b'x,y,"Div_64f_A50(x,2)"\n6,3,2\n8,2,4\n'),
        ):
            with self.subTest(options):
                self.assertEqual(self.succeed("apply", "-i", both, "--column", "x", *options), result)
        self.refuse("SinCos_32f_A11 has 2 results", "apply", *ADD, "-i", both, "--column", "x",
                  "--result-column", "a")
        self.refuse("name the column of --second-input", "apply", DIV, "-i", both, "--column", "x",
                  "--second-input", other)

    def test_columns_by_number(self):
        for text, options, result in (
            (b"a,b\n1,2\n", ["--column", "2"], b"a,b,Inv_64f_A50(2)\n1,2,0.5\n"),
            (b"2,b\n4,8\n", ["--column", "2"], b"2,b,Inv_64f_A50(2)\n4,8,0.25\n"),  # a name first
            (b"1,2\r\n3,4", ["--column", "2", "--no-header"], b"1,2,0.5\r\n3,4,0.25"),
            (b'\xef\xbb\xbf"2"\n', ["--column", "1", "--no-header"], b'\xef\xbb\xbf"2",0.5\n'),
            (b"", ["--column", "9", "--no-header"], b""),
        ):
            with self.subTest(text):
                self.assertEqual(self.succeed("apply", INV, *options, stdin=text), result)
        other = self.write("other", b"0,5\n0,2\n")
        self.assertEqual(self.succeed("apply", DIV, "--no-header", "--column", "1", "--second-column",
                                      "2", "--second-input", other, stdin=b"10\n8\n"), b"10,2\n8,4\n")
        for column, message in (("3", ":1: no column 3"), ("0", None), ("x", None), ("1x", None),
                                ("99999999999999999999", None)):
            self.refuse(f"standard input{message}" if message else f'"{column}": without a header',
                        "apply", INV, "--no-header", "--column", column, stdin=b"1,2\n")
            self.refuse(f'standard input:1: no column "{column}"', "apply", INV, "--column", column,
                        stdin=b"a,b\n")
        self.refuse("standard input:2: 1 fields, but the first record has 2", "apply", INV,
                    "--no-header", "--column", "1", stdin=b"1,2\n3\n")
        self.refuse("--no-header: there is no line for the name", "apply", INV, "--no-header",
                    "--column", "1", "--result-column", "r", stdin=b"1,2\n")

    def test_many_records(self):
        lines = [b'%d,"line\nbreak",%d' % (i, i + 1) for i in range(50000)]
        text = b"i,t,x\n" + b"\n".join(lines)
        result = self.succeed("apply", *SAME, "--column", "x", "--result-column", "r", stdin=text,
                              errors="".join(
                                  f"qelvm: 1 of 50000 elements {event}, the first at index {n - 1} "
                                  f"(standard input:{2 * n})\n" for n, event in
                                  ((12, "overflowed (qelStatusOverflow)"),
                                   (17, "underflowed (qelStatusUnderflow)"),
                                   (18, "hit a pole (qelStatusSingularity)"),
                                   (19, "left the domain (qelStatusDomain)"))))
        self.same(result, b"i,t,x,r\n" + b"\n".join(
            line + b",%d" % (i + 1) for i, line in enumerate(lines)))

    def test_errors(self):
        for text, message in (
            (b"", ":1: no header line"), (b"y\n1\n", ':1: no column "x"'),
            (b"x,x\n1,2\n", ':1: more than one column "x"'),
            (b"x,y\n1,2\n3\n", ":3: 1 fields, but the header has 2"),
            (b"x,y\n1,2,3\n", ":2: 3 fields, but the header has 2"),
            (b'x,y\n1,"a\nb"\nz,2\n', ':4: "z" is not a number'), (b"x\n\n", ':2: "" is not a number'),
            (b'x\n1\n"2\n', ":3: a quote is not closed"), (b'x\n1"2"\n', ":2: a quote inside a field"),
            (b'x\n"1"2\n', ":2: text between a closing quote"),
            (b"x\r1\r2\r", ":1: a carriage return without"),
            (b"x,y\r1,2\r", ":1: a carriage return without"),
            (b"x,y,z\r1,2,3", ":1: a carriage return without"),
            (b"x,y\n1,\r\r\n", ":2: a carriage return without"),
            (b"x,Inv_64f_A50(x)\n1,2\n", ':1: there is a column "Inv_64f_A50(x)" already'),
        ):
            self.refuse("standard input" + message, "apply", INV, "--column", "x", stdin=text)
        self.refuse("name the column of a CSV", "apply", INV, "--format", "csv")
        self.refuse("--column, --second-column, --result-column, --delimiter and --no-header are for", "apply", INV,
                  "--format", "text", "--column", "x")
        for delimiter in (",,", "", "e", "5", "-", ".", '"', "\n"):
            self.refuse("--delimiter: ", "apply", INV, "--column", "x", "--delimiter", delimiter)


class BadRows(ToolTest):
    def test_what_becomes_of_them(self):
        text = b"4\n\nx\n1e999\nnan\n2"
        table = b'n,x\na,4\nb,\nc,"1\n2"\nd,nan\ne,2'
        pairs = b"x,y\n8,2\n8,\n,\n6,3\n"
        for arguments, data, skipped, marked, bad in (
            ([INV], text, b"0.25\nnan\n0.5\n", b"0.25\nnan\nnan\nnan\nnan\n0.5\n", (3, 6, 1, 2)),
            ([INV], b"x\ny", b"", b"nan\nnan\n", (2, 2, 0, 1)),
            (ADD, b"1\nx\n", b"2 0\n", b"2 0\nnan nan\n", (1, 2, 1, 2)),
            ([INV, "--column", "x", "--result-column", "r"], table,
             b"n,x,r\na,4,0.25\nd,nan,nan\ne,2,0.5",
             b'n,x,r\na,4,0.25\nb,,\nc,"1\n2",\nd,nan,nan\ne,2,0.5', (2, 5, 1, 3)),
            ([*ADD, "--column", "2", "--no-header"], b"p,1\nq,-\n", b"p,1,2,0\n",
             b"p,1,2,0\nq,-,,\n", (1, 2, 1, 2)),
            ([DIV, "--column", "x", "--second-column", "y", "--result-column", "r"], pairs,
             b"x,y,r\n8,2,4\n6,3,2\n", b"x,y,r\n8,2,4\n8,,\n,,\n6,3,2\n", (2, 4, 1, 3)),
        ):
            for fate, result in ("skip", skipped), ("mark", marked):
                with self.subTest(data, fate=fate):
                    count, rows, index, line = bad
                    told = (f"qelvm: {count} of {rows} elements {'skipp' if fate == 'skip' else 'mark'}ed "
                            f"(not a number), the first at index {index} (standard input:{line})\n")
                    self.assertEqual(self.succeed("apply", *arguments, "--bad-rows", fate, stdin=data,
                                                  errors=told), result)
                    self.assertEqual(qelvm("apply", *arguments, "--bad-rows", fate, "--strict",
                                           stdin=data), (1, result, told))
            self.refuse("standard input:", "apply", *arguments, "--bad-rows", "stop", stdin=data)

    def test_two_files_stay_side_by_side(self):
        first = self.write("first", b"".join(b"x\n" if i == 20000 else b"%d\n" % i for i in range(40000)))
        # Lines so long that a block of the first file is read in parts from this one.
        second = self.write("second", b"".join((b"?" if i in (9, 20000, 30000) else b"2") + b" " * 30
                                               + b"\n" for i in range(40000)))
        result = self.succeed("apply", DIV, "-i", first, "--second-input", second, "--bad-rows", "skip",
                              errors="qelvm: 3 of 40000 elements skipped (not a number), the first at "
                                     "index 9 (second:10)\n")
        self.same([float(line) for line in result.split()],
                  [i / 2 for i in range(40000) if i not in (9, 20000, 30000)])

    def test_have_no_result_whatever_the_function_makes_of_nan(self):
        self.assertEqual(
            self.succeed("apply", "Pow_64f_A53", "--second", "0", "--bad-rows", "mark", stdin=b"2\nx\n",
                         errors="qelvm: 1 of 2 elements marked (not a number), the first at index 1 "
                                "(standard input:2)\n"), b"1\nnan\n")

    def test_what_is_no_row_still_ends_all(self):
        for text, message in (b"1\r2\n", ":1: a carriage return"), (b"1\nx,\n", ":2: 2 fields, but"):
            self.refuse("standard input" + message, "apply", INV, "--column", "1", "--no-header",
                        "--bad-rows", "skip", stdin=text)
        self.refuse("--bad-rows is for text and CSV", "apply", INV, "--format", "raw", "--bad-rows", "skip")
        self.refuse("--bad-rows: ", "apply", INV, "--bad-rows", "keep")


class Raw(ToolTest):
    def raw(self, kind, *values):
        return struct.pack(f"<{len(values)}{kind}", *values)

    def test_elements(self):
        many = [i + 0.5 for i in range(70000)]
        self.write("second", self.raw("d", *[2 * x for x in many]))
        for kind, arguments, values, results in (
            ("d", [INV], [2.0, -4.0], [0.5, -0.25]), ("f", ["Inv_32f_A21"], [2.0, -4.0], [0.5, -0.25]),
            ("d", [INV], [], []), ("d", [*TIMES, "--scalar", "2"], many, [2 * x for x in many]),
            ("d", [DIV, "--second-input", "second"], many, [0.5] * len(many)),
            ("f", ADD, many, [y for x in many for y in (x + 1, x - 1)]),
        ):
            with self.subTest(arguments):
                out = self.succeed("apply", *arguments, "--format", "raw", stdin=self.raw(kind, *values))
                self.same(out, self.raw(kind, *results))

    def test_truncated(self):
        for kind, export, width in ("d", INV, 8), ("f", "Inv_32f_A11", 4):
            for size in 1, 20000 * width + 3:
                self.refuse(f"standard input: truncated: ends after {size % width} of the {width} bytes "
                          f"of element {size // width}\n", "apply", export, "--format", "raw",
                          stdin=b"\1" * size)


class InPlace(ToolTest):
    RAW = ["apply", INV, "--format", "raw"]

    def content(self, values):
        return struct.pack("<49999d", *values)

    @posix("links that need no rights")
    def test_links(self):
        content = self.content(range(1, 50000))
        self.write("r", content)
        os.symlink("r", "link")
        os.link("r", "hard")
        for name, path in ("r", "./link"), ("link", "r"), ("r", "hard"), ("hard", "link"):
            self.refuse(f"{name}: is input and output; --in-place", *self.RAW, "--input", name,
                        "--output", path)
            self.same(self.read("r"), content)
        self.succeed(*self.RAW, "-i", "r", "-o", "link", "--in-place")
        self.same(self.read("r"), self.content(1 / x for x in range(1, 50000)))
        self.assertTrue(os.path.islink("link"))

    def test_a_file_is_replaced_only_when_that_is_asked_for(self):
        for options, content, result in (
            ([], b"2\n", b"0.5\n"),
            (["--column", "x", "--result-column", "r"], b"x\n2\n", b"x,r\n2,0.5\n"),
            (["--format", "raw"], self.content(range(1, 50000)),
             self.content(1 / x for x in range(1, 50000))),
        ):
            with self.subTest(options):
                self.write("r", content)
                self.refuse("r: is input and output; --in-place", "apply", INV, *options, "-i", "r",
                            "--output", "r")
                self.same(self.read("r"), content)
                self.succeed("apply", INV, *options, "-i", "r", "--in-place")
                self.same(self.read("r"), result)
                self.assertEqual(sorted(os.listdir()), ["old", "r"])

    def test_wrong_usage(self):
        self.write("r", b"")
        self.refuse("--in-place needs an --input file", "apply", INV, "--in-place")
        self.refuse("r: --in-place, but the output is another", "apply", INV, "-i", "r", "--in-place",
                    "--output", "old")
        self.refuse("r: is input and output; --in-place", "apply", DIV, "-i", "old", "--second-input",
                    "r", "--output", "r")
        self.refuse(".: is not a regular file", "apply", INV, "-i", ".", "--in-place")

    @posix("named pipes among files")
    def test_pipe(self):
        os.mkfifo("pipe")
        self.refuse("pipe: is not a regular file", "apply", INV, "-i", "pipe", "--in-place")


class Destination(ToolTest):
    def test_replaces_another_file(self):
        self.write("t", b"a longer text\n")
        self.succeed("apply", INV, "-o", "t", stdin=b"2\n")
        self.assertEqual((self.read("t"), os.listdir()), (b"0.5\n", ["t"]))

    def test_names_in_any_script(self):
        self.write("\u03b2 \u4e2d.txt", b"2\n")
        self.succeed("apply", INV, "-i", "\u03b2 \u4e2d.txt", "-o", "\u00e9\u20ac.txt")
        self.assertEqual(self.read("\u00e9\u20ac.txt"), b"0.5\n")

    @posix("modes and links")
    def test_keeps_mode_and_links(self):
        self.write("t", b"5\n")
        os.chmod("t", 0o640)
        os.symlink("t", "link")
        self.succeed("apply", INV, "-o", "link", stdin=b"2\n")
        self.assertEqual((self.read("t"), os.path.islink("link"), sorted(os.listdir())),
                         (b"0.5\n", True, ["link", "t"]))
        self.assertEqual(stat.S_IMODE(os.stat("t").st_mode), 0o640)
        shell('umask 027; "$@"', "apply", INV, "-i", "t", "-o", "new")
        self.assertEqual((self.read("new"), stat.S_IMODE(os.stat("new").st_mode)), (b"2\n", 0o640))

    @posix("/dev")
    def test_written_directly(self):
        for name in "/dev/stdout", "/dev/fd/1", "-":
            self.assertEqual(self.succeed("apply", INV, "-o", name, stdin=b"2\n"), b"0.5\n")
            with open("log", "wb") as log:
                log.write(b"before\n")
                log.flush()
                qelvm("apply", INV, "-o", name, stdin=b"2\n", stdout=log)
            self.assertEqual(self.read("log"), b"before\n0.5\n")

    def test_null_device(self):
        self.succeed("apply", INV, "-o", "NUL" if WINDOWS else "/dev/null", stdin=b"2\n")
        self.assertEqual(os.listdir(), [])

    def test_cannot_be_written(self):
        self.refuse("none/x: cannot write: No such file", "apply", INV, "--output", "none/x", stdin=b"2\n")
        self.refuse(".: cannot write: Is a directory", "apply", INV, "--output", ".", stdin=b"2\n")

    @posix("/dev/full")
    def test_full(self):
        self.refuse("/dev/full: cannot write: No space", "apply", INV, "--output", "/dev/full", stdin=b"2\n")
        with open("/dev/full", "wb") as full:
            for arguments in (["list"], ["list", "--json"], ["eval", INV, "2"], ["apply", INV], ["--help"],
                              ["apply", "--help"], ["--version"]):
                self.assertEqual(
                    qelvm(*arguments, stdin=b"2\n", stdout=full),
                    (2, None, "qelvm: standard output: cannot write: No space left on device\n"))

    @unittest.skipUnless("QELVM_TEST_DISK" in os.environ, "no disk that notes what is asked of it")
    def test_is_on_the_disk_before_it_has_its_name(self):
        def run(fails):
            environment = {**os.environ, "LD_PRELOAD": os.environ["QELVM_TEST_DISK"],
                           "DISK_LOG": "log", "DISK_FAILS": fails}
            return subprocess.run([TOOL, "apply", INV, "-o", "new"], input=b"2\n", env=environment,
                                  stderr=subprocess.PIPE, timeout=20)

        self.write("new", b"old\n")
        failed = run("file")
        self.assertEqual((failed.returncode, failed.stderr),
                         (2, b"qelvm: new: cannot write: Input/output error\n"))
        self.assertEqual((self.read("log"), self.read("new")), (b"sync file\n", b"old\n"))
        self.write("log", b"")
        self.assertEqual(run("none").returncode, 0)
        self.assertEqual((self.read("log"), self.read("new")),
                         (b"sync file\nrename to new\nsync folder\n", b"0.5\n"))

    @posix("links that need no rights")
    def test_link_to_nothing(self):
        os.symlink("none", "dangling")
        os.symlink("loop", "loop")
        for name in "dangling", "loop":
            self.refuse(f"{name}: is a symbolic link to nothing", "apply", INV, "--output", name,
                        stdin=b"2\n")

    @posix("descriptors that a shell closes")
    def test_closed_streams(self):
        self.write("t", b"2\n")
        self.write("w", b"12\n")
        for arguments in ["--help"], ["list"], ["apply", INV, "-i", "t"]:
            self.assertEqual(shell('"$@" >&-', *arguments),
                             (2, b"", "qelvm: standard output: is not open for writing\n"))
        self.assertEqual(shell('"$@" <&-', "apply", INV),
                         (2, b"", "qelvm: standard input: is not open for reading\n"))
        for full in "2>&-", "2>/dev/full":
            self.assertEqual(shell(f'"$@" {full}', "frob")[0], 2)
            self.assertEqual(shell(f'"$@" {full}', "apply", *SAME, "-i", "w"), (0, b"12\n", ""))
            # The message must not get into the output, whose descriptor could be that of messages.
            self.assertEqual(shell(f'"$@" {full}', "apply", *SAME, "-i", "w", "-o", "new")[0], 0)
            self.assertEqual(self.read("new"), b"12\n")

    @posix("SIGPIPE")
    def test_closed_pipe(self):
        for ignored, status, message in (
            (False, -signal.SIGPIPE, b""),
            (True, 2, b"qelvm: standard output: cannot write: Broken pipe\n"),
        ):
            with running("apply", INV, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE, restore_signals=not ignored) as tool:
                tool.stdout.close()
                tool.stdin.write(b"2\n")
                tool.stdin.close()
                self.assertEqual(tool.stderr.read(), message)
            self.assertEqual(tool.returncode, status)

    @posix("descriptors that append")
    def test_output_that_is_appended_to_the_input(self):
        self.write("t", b"2\n")
        with open("t", "ab") as end:
            done = qelvm("apply", INV, "-i", "t", stdout=end)
        self.assertEqual(done, (2, None, "qelvm: t: is input and output at once\n"))
        self.assertEqual(self.read("t"), b"2\n")

    @posix("signals from outside")
    def test_signal_leaves_nothing(self):
        with running("apply", INV, "-o", "new", stdin=subprocess.PIPE) as tool:
            deadline = time.monotonic() + 10
            while not os.listdir() and time.monotonic() < deadline:
                time.sleep(0.01)
            self.assertEqual(len(os.listdir()), 1)
            tool.send_signal(signal.SIGTERM)
        self.assertEqual((tool.returncode, os.listdir()), (-signal.SIGTERM, []))

    @posix("terminal that a test can make")
    def test_progress_on_a_terminal_once_the_work_is_long(self):
        control, terminal = os.openpty()
        quiet = {"stdin": subprocess.PIPE, "stdout": subprocess.DEVNULL}
        with running("apply", INV, **quiet, stderr=terminal) as tool, \
                running("apply", INV, **quiet, stderr=subprocess.PIPE) as elsewhere:
            for _ in range(14):
                tool.stdin.write(b"2\n")
                elsewhere.stdin.write(b"2\n")
                time.sleep(0.1)
            tool.stdin.close()
            elsewhere.stdin.close()
            self.assertEqual(elsewhere.stderr.read(), b"")
        os.close(terminal)
        shown = b""
        with contextlib.suppress(OSError), open(control, "rb", buffering=0) as screen:
            while chunk := screen.read(1000):
                shown += chunk
        self.assertIn(b"\r0.0 million elements, ", shown)
        self.assertTrue(shown.endswith(b" \r"), shown)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
