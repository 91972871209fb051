#!/usr/bin/env python3
"""The Python package, bit for bit against the exports of the library that it has loaded.

usage: python_test.py SOURCE_DIRECTORY [UNITTEST_ARGUMENT...]
"""
import ast
import copy
import ctypes
import itertools
import mmap
import os
import pathlib
import pickle
import re
import shutil
import subprocess
import sys
import threading
import time
import types
import unittest
import warnings

import numpy as np
import qelvm
import qelvm.a50

SOURCE = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else pathlib.Path(__file__).parents[2]
FAMILIES = {name: shape for name, shape in re.findall(
    r"^QELVM_FAMILY\((\w+), (\w+),", (SOURCE / "families/families.inc").read_text(), re.M)}
NAMES = {family: names for family, *names in map(str.split, filter(
    lambda line: line[:1] not in ("#", ""), (SOURCE / "python/names.txt").read_text().splitlines()))}
PACKAGES = {"A53": qelvm, "A50": qelvm.a50}
TYPES = {np.float32: "32f_A24", np.float64: "64f"}
THOROUGH = "QELVM_TEST_THOROUGH" in os.environ  # also what takes seconds
EXPORTS = ctypes.CDLL(qelvm.library().path)


def export(family, dtype, double, *inputs):
    """The results of the export for these arguments, made contiguous; no NumPy arithmetic."""
    name = TYPES[dtype] + (f"_{double}" if dtype is np.float64 else "")
    arrays = [np.array(np.broadcast_to(a, np.broadcast(*inputs).shape), dtype, order="C") for a in inputs]
    outputs = [np.empty_like(arrays[0]) for _ in range(2 if FAMILIES[family] == "TwoDestinations" else 1)]
    if arrays[0].size:
        pointers = [a.ctypes.data_as(ctypes.c_void_p) for a in arrays + outputs]
        status = getattr(EXPORTS, f"qels{family}_{name}")(*pointers, ctypes.c_int32(arrays[0].size))
        assert status >= 0, status
    return outputs


def arguments(dtype, count, seed=0):
    """Values of every kind: any bits, and in the ranges where functions are neither 0 nor infinite."""
    random = np.random.default_rng(seed)
    bits = random.integers(0, 256, count * np.dtype(dtype).itemsize, np.uint8).view(dtype)
    with np.errstate(all="ignore"):
        near = random.uniform(-3, 3, count).astype(dtype)
    special = np.array([0.0, -0.0, 1, -1, np.inf, -np.inf, np.nan, 709.79, -750, 0.5, 2, 3], dtype)
    values = np.where(random.integers(0, 3, count) == 0, bits, near)
    values[: min(count, special.size)] = special[:count]
    return values


def bits(array):
    return np.ascontiguousarray(array).tobytes()


def quiet(ufunc, *inputs, **options):
    with np.errstate(all="ignore"):
        results = ufunc(*inputs, **options)
    return list(results) if isinstance(results, tuple) else [results]


class Case(unittest.TestCase):
    def same(self, results, expected, *what):
        self.assertEqual(len(results), len(expected), what)
        for result, right in zip(results, expected):
            self.assertEqual(np.shape(result), right.shape, what)
            self.assertEqual(np.asarray(result).dtype.newbyteorder("="), right.dtype, what)
            self.assertEqual(bits(np.asarray(result).astype(right.dtype, copy=False)), bits(right), what)


# One family for each shape of call, and the one with a variant for one exponent.
SHAPES = ("Exp", "Acos", "Div", "Atan2", "Pow", "SinCos")


def ufunc_of(family, double="A53"):
    return getattr(PACKAGES[double], NAMES[family][0])


class Families(Case):
    def test_all_of_them(self):
        self.assertEqual(NAMES.keys(), FAMILIES.keys())
        for (family, names), (double, package), dtype in itertools.product(
                NAMES.items(), PACKAGES.items(), TYPES):
            if not names:
                continue
            ufunc = getattr(package, names[0])
            self.assertIs(type(ufunc), np.ufunc)
            self.assertEqual(ufunc.__name__, names[0])
            for alias in names:
                self.assertIs(getattr(package, alias), ufunc)
                self.assertIn(alias, package.__all__)
            inputs = [arguments(dtype, 3001, seed) for seed in range(ufunc.nin)]
            if family == "Pow":
                inputs[1][::3] = np.round(inputs[1][::3])
            self.same(quiet(ufunc, *inputs), export(family, dtype, double, *inputs), names[0], double)

    def test_both_accuracies_differ_where_they_should(self):
        x = np.random.default_rng(1).uniform(0.5, 40, 20000)
        different = {family for family, names in NAMES.items() if names and ufunc_of(family).nin == 1
                     and bits(quiet(ufunc_of(family), x)) != bits(quiet(ufunc_of(family, "A50"), x))}
        self.assertEqual(different, {"Exp", "Ln", "Log10", "Sinh", "Cosh"})

    def test_one_exponent(self):
        for dtype, (double, package) in itertools.product(TYPES, PACKAGES.items()):
            x = arguments(dtype, 2000)
            for exponent in arguments(dtype, 30, 5):
                self.same(quiet(package.power, x, exponent), export("Pow", dtype, double, x, exponent))


def views(a):
    """The same kind of array in other places: (name, array); a is of 2400 elements."""
    yield "0-d", a[5:6].reshape(())
    yield "empty", a[:0]
    yield "empty table", a[:0].reshape(0, 3)
    for n in (1, 2, 7, 511, 512, 513, 1025):
        yield f"{n}", a[:n].copy()
    yield "every second", a[::2]
    yield "every third backwards", a[::-3]
    yield "table", a.reshape(48, 50)
    yield "transposed", a.reshape(48, 50).T
    yield "columns", a.reshape(400, 6)[:, 1:4]
    yield "three axes", a.reshape(10, 8, 30).transpose(1, 2, 0)[:, ::2, ::-1]
    yield "constant", np.broadcast_to(a[3], 600)
    yield "other byte order", a.astype(a.dtype.newbyteorder())
    unaligned = np.empty(a.nbytes + 1, np.uint8)[1:].view(a.dtype)
    unaligned[:] = a
    yield "unaligned", unaligned
    yield "list", a[:9].tolist() if a.dtype == np.float64 else a[:9]


class Arrays(Case):
    def test_views(self):
        for family, dtype in itertools.product(SHAPES, TYPES):
            ufunc = ufunc_of(family)
            for kinds in itertools.product(*[list(views(arguments(dtype, 2400, s)))
                                             for s in range(ufunc.nin)]):
                names, inputs = zip(*kinds)
                try:
                    np.broadcast(*inputs)
                except ValueError:
                    with self.assertRaises(ValueError):
                        ufunc(*inputs)
                    continue
                self.same(quiet(ufunc, *inputs), export(family, dtype, "A53", *inputs), family, names)

    def test_outputs(self):
        for family, dtype in itertools.product(SHAPES, TYPES):
            ufunc = ufunc_of(family)
            inputs = [arguments(dtype, 2400, s) for s in range(ufunc.nin)]
            expected = export(family, dtype, "A53", *inputs)
            places = {
                "apart": lambda: np.empty(2400, dtype),
                "strided": lambda: np.empty(7200, dtype)[1::3],
                "backwards": lambda: np.empty(2400, dtype)[::-1],
                "other byte order": lambda: np.empty(2400, np.dtype(dtype).newbyteorder()),
                "unaligned": lambda: np.empty(2400 * np.dtype(dtype).itemsize + 1, np.uint8)[1:].view(dtype),
            }
            for name, place in places.items():
                outs = tuple(place() for _ in range(ufunc.nout))
                self.same(quiet(ufunc, *inputs, out=outs), expected, family, name)
            # In place of either source, and where some elements are left alone.
            for k in range(ufunc.nin):
                own = [a.copy() for a in inputs]
                outs = (own[k],) + tuple(np.empty(2400, dtype) for _ in range(ufunc.nout - 1))
                self.same(quiet(ufunc, *own, out=outs), expected, family, "in place of", k)
            chosen = np.arange(2400) % 7 < 3
            outs = tuple(np.full(2400, 0.25, dtype) for _ in range(ufunc.nout))
            self.same(quiet(ufunc, *inputs, out=outs, where=chosen),
                      [np.where(chosen, e, dtype(0.25)) for e in expected], family, "where")

    def test_overlap(self):
        """Sources and destinations that share memory: as if the sources had been copied before."""
        cuts = [slice(None, -1), slice(1, None), slice(None, None, -1), slice(0, None, 2), slice(1, None, 2),
                slice(None, 1500), slice(-1500, None)]
        for family, dtype, cut in itertools.product(SHAPES, TYPES, itertools.product(cuts, cuts)):
            ufunc = ufunc_of(family)
            own = arguments(dtype, 2400)
            source, destination = own[cut[0]], own[cut[1]]
            if source.shape == destination.shape:
                inputs = [source, source[::-1]][: ufunc.nin]
                expected = export(family, dtype, "A53", *inputs)[:1]
                outs = (destination,) + (None,) * (ufunc.nout - 1)
                self.same(quiet(ufunc, *inputs, out=outs)[:1], expected, family, cut)
                self.assertEqual(bits(destination), bits(expected[0]))

    def test_casting(self):
        float32s = [np.bool_, np.int8, np.uint8, np.int16, np.uint16, np.float16, np.float32]
        float64s = [np.int32, np.uint32, np.int64, np.uint64, np.float64]
        refused = [np.longdouble, np.complex64, np.complex128, object, "U3", "M8[s]", "m8[s]"]
        for ufunc in map(ufunc_of, SHAPES):
            for dtype in float32s + float64s:
                result = quiet(ufunc, *[np.ones(3, dtype)] * ufunc.nin)[0]
                self.assertEqual(result.dtype, np.float32 if dtype in float32s else np.float64, dtype)
            for dtype in refused:
                # (of some kinds NumPy cannot make ones)
                with self.assertRaises(TypeError, msg=f"{ufunc} {dtype}"):
                    ufunc(*[np.zeros(3, dtype)] * ufunc.nin)
        self.assertEqual(qelvm.power(np.ones(3, np.float32), 2.5).dtype, np.float32)
        self.assertEqual(qelvm.power(np.ones(3, np.float32), np.ones(3)).dtype, np.float64)
        self.assertEqual(qelvm.exp(np.ones(3), dtype=np.float32, casting="same_kind").dtype, np.float32)
        self.assertIs(type(qelvm.exp(1)), np.float64)
        self.assertIs(type(qelvm.exp(np.float32(1))), np.float32)
        with self.assertRaises(TypeError):
            qelvm.exp(np.ones(3), out=np.empty(3, np.int64))
        with self.assertRaises(ValueError):
            qelvm.exp(np.ones(3), out=np.empty(4))

    def test_longest_axis(self):
        """Tables with a short axis: the same bits and the layout that NumPy gives."""
        for dtype in TYPES:
            self.check_longest_axis(dtype)

    def check_longest_axis(self, dtype):
        a, b = arguments(dtype, 30000), arguments(dtype, 30000, 1)
        tables = [
            (a[:10000].reshape(-1, 1), b[:3].reshape(1, 3)),
            (b[:3].reshape(1, 3), a[:10000].reshape(-1, 1)),
            (a[:3].reshape(3, 1), b[:10000]),
            (a.reshape(-1, 3), b[:3]),
            (a.reshape(-1, 3), b.reshape(3, -1).T),
            (a.reshape(2, 5000, 3), b[:2].reshape(2, 1, 1)),
            (a.reshape(3, 5000, 2).T, b[:3]),
            (a.reshape(5000, 2, 3), np.linspace(-2, 2, 5000, dtype=np.float32).reshape(5000, 1, 1)),
            (a.reshape(-1, 3).astype(a.dtype.newbyteorder()), b[:3]),
            (a.reshape(-1, 6)[:, 1:4], b.reshape(-1, 6)[:, :3]),
        ]
        for family, inputs in itertools.product(SHAPES, tables):
            ufunc = ufunc_of(family)
            inputs = inputs[: ufunc.nin]
            results = quiet(ufunc, *inputs)
            widest = np.result_type(*inputs).type
            self.same(results, export(family, widest, "A53", *inputs), family)
            like = quiet(np.add if ufunc.nin == 2 else np.positive, *inputs)[0]
            self.assertEqual([r.strides for r in results], [like.strides] * ufunc.nout)
            for place in (np.empty(like.shape, widest), np.empty(like.shape[::-1], like.dtype.newbyteorder()).T,
                          np.empty((2,) + like.shape, widest)[:, ..., ::-1]):
                outs = (place,) + (None,) * (ufunc.nout - 1)
                answers = quiet(ufunc, *inputs, out=outs if ufunc.nout > 1 else place)
                self.assertIs(answers[0], place)
                shape = place.shape
                self.same(answers, [np.broadcast_to(r, shape) for r in results], family, shape)
        table = a.reshape(-1, 3).copy()
        expected = export("Pow", dtype, "A53", table, table[:, ::-1])
        self.same(quiet(qelvm.power, table, table[:, ::-1], out=table), expected)
        with self.assertRaises(ValueError):
            qelvm.power(np.ones((5000, 3)), np.ones((5000, 2)))
        with self.assertRaises(ValueError):
            qelvm.power(np.ones((5000, 1)), np.ones(3), out=np.empty((5000, 4)))
        with self.assertRaises(TypeError):
            qelvm.power(np.ones((5000, 1)), np.ones((1, 3), complex))
        with self.assertRaises(TypeError):
            qelvm.power(np.ones((5000, 1)), np.ones((1, 3)), out=np.empty((5000, 3), int))

    @unittest.skipIf("LD_PRELOAD" in os.environ, "not with sanitizers")
    def test_longest_axis_is_faster(self):
        column, row = np.full((100000, 1), 3.0), np.array([[2.5, -0.5, 3.25]])

        def seconds(**options):  # those with an order are called as NumPy would
            start = time.perf_counter()
            qelvm.divide(column, row, **options)
            return time.perf_counter() - start
        pairs = [(seconds(), seconds(order="K")) for _ in range(9)]
        longest, numpys = map(min, zip(*pairs))
        self.assertLess(longest, 0.75 * numpys)

    @unittest.skipUnless(THOROUGH, "QELVM_TEST_THOROUGH is not set")
    def test_more_than_an_int32(self):
        """2^31 + 70000 floats in memory for a few: the same pages over and over, but for the last results."""
        count, chunk = 2**31 + 70000, 1 << 22
        chunks = (4 * count + chunk - 1) // chunk
        libc = ctypes.CDLL(None, use_errno=True)
        libc.mmap.restype = ctypes.c_void_p
        libc.mmap.argtypes = [ctypes.c_void_p, ctypes.c_size_t] + [ctypes.c_int] * 3 + [ctypes.c_long]
        protection, no_reserve, fixed, populate = mmap.PROT_READ | mmap.PROT_WRITE, 0x4000, 0x10, 0x8000

        def repeated(*memories):
            for memory in memories:
                os.truncate(memory, chunk)
            start = libc.mmap(None, chunks * chunk, protection,
                              mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS | no_reserve, -1, 0)
            for i in range(chunks):
                memory = memories[-1] if i == chunks - 1 else memories[0]
                libc.mmap(start + i * chunk, chunk, protection, mmap.MAP_SHARED | fixed | populate, memory, 0)
            return start, np.ctypeslib.as_array(ctypes.cast(start, ctypes.POINTER(ctypes.c_float)), (count,))
        memories = [os.memfd_create(name) for name in ("source", "results", "last results")]
        (source, x), (result, y) = repeated(memories[0]), repeated(*memories[1:])
        x[: chunk // 4] = 4
        qelvm.reciprocal(x, out=y)
        self.assertEqual(set(y[-(count % (chunk // 4)):]), {0.25})
        for p in (source, result):
            libc.munmap(ctypes.c_void_p(p), ctypes.c_size_t(chunks * chunk))
        for memory in memories:
            os.close(memory)


class Methods(Case):
    def test_reductions(self):
        """Element after element, however the array lies."""
        random = np.random.default_rng(3)
        for family, dtype in itertools.product(("Div", "Atan2", "Pow"), TYPES):
            ufunc = ufunc_of(family)
            own = random.uniform(0.5, 1.5, (6, 7, 600)).astype(dtype)
            tables = [own[0, 0], own[0, 0, ::-3], own[0], own[0].T, own, own[:, :, ::2].transpose(2, 0, 1),
                      own.astype(np.dtype(dtype).newbyteorder())[1], own[0, :1]]
            for a in tables:
                for axis in range(a.ndim):
                    lines = np.moveaxis(a, axis, 0)
                    sums = [np.array(lines[0], dtype)]
                    for line in lines[1:]:
                        sums.append(export(family, dtype, "A53", sums[-1], line)[0])
                    what = family, a.shape, axis
                    self.same([ufunc.reduce(a, axis)], [np.asarray(sums[-1])], *what)
                    expected = np.moveaxis(np.array(sums), 0, axis)
                    self.same([ufunc.accumulate(a, axis)], [expected], *what)
                    inside = np.array(a, dtype)
                    ufunc.accumulate(inside, axis, out=inside)
                    self.same([inside], [expected], *what, "in place")
            a = own[0, 0]
            self.same([ufunc.reduceat(a, [0, 50, 20])],
                      [np.array([ufunc.reduce(a[:50]), a[50], ufunc.reduce(a[20:])], dtype)])
            self.same([ufunc.outer(a[:40], a[:30])], export(family, dtype, "A53", a[:40, None], a[:30]))
            at = a.copy()
            ufunc.at(at, [3, 3, 5], dtype(1.25))
            for i in (3, 3, 5):
                a[i] = ufunc(a[i], dtype(1.25))
            self.same([at], [a])
            with self.assertRaises(ValueError):
                ufunc.reduce(np.empty(0, dtype))
        x = arguments(np.float64, 50)
        at = x.copy()
        quiet(lambda: qelvm.cbrt.at(at, slice(None, None, 2)))
        self.same([at[::2]], export("Cbrt", np.float64, "A53", x[::2]))

    def test_overriding(self):
        class Own(np.ndarray):
            pass

        class Lazy:
            def __array_ufunc__(self, ufunc, method, *inputs, **options):
                return ufunc, method, options
        self.assertIs(type(qelvm.exp(np.ones((5000, 3))[:, :2].view(Own))), Own)
        self.assertEqual(qelvm.exp(Lazy(), where=True)[:2], (qelvm.exp, "__call__"))
        self.assertEqual(qelvm.power(np.ones((5000, 3)), Lazy())[:2], (qelvm.power, "__call__"))

    def test_pickling(self):
        every = {f"{package.__name__}.{name}": getattr(package, name)
                 for package in PACKAGES.values() for names in NAMES.values() for name in names}
        # A module that has one of them as its own, and is found first, is not what a reader needs.
        other = sys.modules["other"] = types.ModuleType("other")
        other.exp = qelvm.exp
        sys.modules["qelvm"] = sys.modules.pop("qelvm")
        for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
            pickled = pickle.dumps([every, np.exp], protocol)
            restored, numpys = pickle.loads(pickled)
            self.assertTrue(numpys is np.exp and all(restored[n] is f for n, f in every.items()))
            self.assertNotIn(b"other", pickled)
        self.assertIs(copy.deepcopy(qelvm.a50.exp), qelvm.a50.exp)
        script = ("import pickle, sys; f = pickle.load(sys.stdin.buffer)[0]; import qelvm\n"
                  "assert f['qelvm.a50.log'] is qelvm.a50.log and f['qelvm.log'] is qelvm.log")
        subprocess.run([sys.executable, "-c", script], input=pickled, check=True)


class Flags(Case):
    # ufunc, arguments, what NumPy calls the flag; None: no warning.
    ROWS = [
        ("exp", [1000], "over"), ("exp", [-1000], "under"), ("exp", [1], None), ("exp", [np.nan], None),
        ("log", [0], "divide"), ("log", [-1], "invalid"), ("sqrt", [-1], "invalid"), ("sqrt", [2], None),
        ("reciprocal", [0], "divide"), ("rsqrt", [0], "divide"), ("sin", [np.inf], "invalid"),
        ("sincos", [-np.inf], "invalid"), ("cosh", [-800], "over"), ("arctanh", [1], "divide"),
        ("arccos", [2], "invalid"), ("arccos", [np.inf], "invalid"), ("arcsin", [-np.inf], "invalid"),
        ("divide", [1, 0], "divide"), ("divide", [0, 5], None), ("power", [-8, 0.5], "invalid"), ("power", [10, 400], "over"),
        ("arctan2", [0, 0], None), ("erf", [np.inf], None), ("erfc", [40], "under"),
    ]

    def test_flags(self):
        for (name, values, flag), dtype in itertools.product(self.ROWS, TYPES):
            ufunc = getattr(qelvm, name)
            inputs = [np.array([1, 1, v], dtype) for v in values]
            spread = [np.ones((3, 40), dtype)[:, ::-7] for _ in values]
            for table, v in zip(spread, values):
                table[2, 3] = v
            for arguments in (inputs, spread, inputs[:-1] + [dtype(values[-1])]):
                for wanted in ("over", "under", "invalid", "divide"):
                    errstate = {**dict.fromkeys(("over", "under", "invalid", "divide"), "ignore"),
                                wanted: "raise"}
                    own = [np.array(a) for a in arguments]
                    for out in [None] + [a for a in own if a.shape == own[0].shape]:
                        outs = {} if out is None or out.ndim == 0 else {"out": (out,) + (None,) * (ufunc.nout - 1)}
                        with np.errstate(**errstate):
                            if wanted == flag:
                                with self.assertRaises(FloatingPointError, msg=(name, dtype, bool(outs))):
                                    ufunc(*own, **outs)
                            else:
                                ufunc(*own, **outs)
                        own = [np.array(a) for a in arguments]

    def test_flags_of_a_recurrence_in_place(self):
        x = np.array([0.0, 5.0, 7.0])
        with np.errstate(all="raise"):
            qelvm.divide.accumulate(x, out=x)

    def test_warnings(self):
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            qelvm.log(np.array([0.0, 1.0]))
            qelvm.exp(np.linspace(-1, 1, 1000))
            qelvm.exp(-1000.0)  # NumPy does not warn of underflow by itself
        self.assertEqual([str(w.message) for w in caught], ["divide by zero encountered in log"])


class Package(Case):
    def test_library(self):
        library = qelvm.library()
        header = (SOURCE / "include/qelvm.h").read_text()
        numbers = re.findall(r"#define QELVM_(?:VERSION|BUILD)_(?:MAJOR|MINOR|NUMBER) +(\d+)", header)
        self.assertEqual(library.version, tuple(map(int, numbers)))
        self.assertEqual(qelvm.__version__, ".".join(numbers))
        self.assertTrue(os.path.samefile(library.path, ctypes.CDLL(library.path)._name))

    @unittest.skipIf("LD_PRELOAD" in os.environ, "not with a runtime library that takes features too")
    def test_levels(self):
        """Whatever the processor shows to the loader, the results are the same."""
        script = ("import sys, hashlib, numpy as np, qelvm; np.seterr(all='ignore')\n"
                  "x = np.random.default_rng(0).uniform(-40, 40, 20001); digest = hashlib.sha256()\n"
                  "for dtype in 'fd':\n"
                  "  for name in qelvm._ufuncs.a53:\n"
                  "    f = getattr(qelvm, name); digest.update(np.array(f(*[x.astype(dtype)] * f.nin)))\n"
                  "print(qelvm.library().cpu, digest.hexdigest())")
        answers = {}
        for mask in ("", "-AVX512F", "-AVX2"):
            environment = {**os.environ, "GLIBC_TUNABLES": f"glibc.cpu.hwcaps={mask}"}
            cpu, digest = subprocess.run([sys.executable, "-c", script], env=environment, check=True,
                                         capture_output=True, text=True).stdout.split()
            answers[cpu] = digest
        self.assertIn("px", answers)
        self.assertIn(qelvm.library().cpu, answers)
        self.assertEqual(len(set(answers.values())), 1, answers)

    def test_threads(self):
        x = arguments(np.float64, 100000)
        expected = export("Sin", np.float64, "A53", x)
        results = [None] * 4

        def work(k):
            with np.errstate(all="ignore"):
                results[k] = [qelvm.sin(x) for _ in range(3)]
        threads = [threading.Thread(target=work, args=(k,)) for k in range(4)]
        for t in threads:
            t.start()
        for t in threads:
            t.join()
        for result in itertools.chain(*results):
            self.same([result], expected)

    def test_lock_is_released(self):
        x = np.full(3_000_000, 1.5)

        def others_ran():
            times = []

            def work():
                times.append(time.perf_counter())
                qelvm.power(x, x, out=x.copy())
                times.append(time.perf_counter())
            thread, moments = threading.Thread(target=work), []
            thread.start()
            while thread.is_alive():
                moments.append(time.perf_counter())
                time.sleep(0.0005)
            start, end = times
            return any(0.4 < (m - start) / (end - start) < 0.95 for m in moments)
        self.assertTrue(any(others_ran() for _ in range(5)))

    def test_documentation(self):
        bounds = dict(re.findall(r"^QELVM_FAMILY\((\w+), .*, ([\d.]+, [\d.]+, [\d.]+)\)",
                                 (SOURCE / "families/families.inc").read_text(), re.M))
        proven = {export for export, _ in re.findall(r"^QELVM_ERROR\((\w+), \w+, ([\d.]+),",
                                                     (SOURCE / "families/errors.inc").read_text(), re.M)}
        for family, (double, package) in itertools.product(NAMES, PACKAGES.items()):
            if NAMES[family]:
                text = ufunc_of(family, double).__doc__
                single, *doubles = bounds[family].split(", ")
                bound = doubles[double == "A53"]
                self.assertRegex(text, rf"(?m)^float32: {single} ulp, (every float tried|proven|observed).*\n"
                                       rf"float64: {bound} ulp, (proven|observed)")
                # (A proof of a larger bound is not told.)
                if re.search(r"(?m)^float64: .*\n*.*proven", text):
                    self.assertIn(f"{family}_64f_{double}", proven)
                self.assertIn(f"qels{family}_64f_{double}", text)
                self.assertNotRegex(text, r"qelStatus|\bdst|\bsrc|\b[63][42]f\b|\bstatus")
        for name in ("A50", "A53"):
            self.assertIn("ulp", PACKAGES[name].exp.__doc__)

    def test_stubs(self):
        folder = pathlib.Path(qelvm.__file__).parent
        self.assertTrue((folder / "py.typed").exists())
        for package, file in ((qelvm, "__init__.pyi"), (qelvm.a50, "a50.pyi")):
            tree = ast.parse((folder / file).read_text())
            typed = {node.target.id for node in tree.body if isinstance(node, ast.AnnAssign)}
            self.assertEqual(typed - {"__version__"}, set(package.__all__) - {"a50", "library"})

    @unittest.skipUnless(THOROUGH and shutil.which("mypy"), "QELVM_TEST_THOROUGH is not set, or no mypy")
    def test_stubs_for_a_type_checker(self):
        script = ("import numpy as np, qelvm, qelvm.a50\nx: np.ufunc = qelvm.a50.exp\n"
                  "cpu: str = qelvm.library().cpu\nreveal_type(qelvm.power)\ncpu = qelvm.exp\nqelvm.none\n")
        answer = subprocess.run(["mypy", "--strict", "--cache-dir", os.devnull, "-c", script], text=True,
                                env={**os.environ, "MYPYPATH": str(pathlib.Path(qelvm.__file__).parents[1])},
                                capture_output=True).stdout
        self.assertIn('note: Revealed type is "numpy.ufunc"', answer)
        self.assertEqual(re.findall(r"^<string>:(\d+): error", answer, re.M), ["5", "6"], answer)

    def test_guides(self):
        """The five lines that docs/python.md begins with, its other examples, and that of ctypes."""
        blocks = [re.findall(r"^```python\n(.*?)^```", (SOURCE / "docs" / name).read_text(), re.M | re.S)
                  for name in ("python.md", "using.md")]
        self.assertEqual(len(blocks[0][0].splitlines()), 5)
        names = {"print": lambda *_: None}
        for block in itertools.chain(*blocks):
            exec(block.replace("libqelvmpx.so.5", qelvm.library().path), names)
        self.same([np.array(names["y"])], export("Exp", np.float64, "A53", np.array(names["x"])))


if __name__ == "__main__":
    unittest.main()
