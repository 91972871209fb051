"""The ufuncs on the lazy arrays of Dask and xarray, and the job over a Zarr store.

usage: PYTHONPATH=BUILD_DIRECTORY/python dask_test.py, with an interpreter that has Dask and Zarr
"""
import hashlib
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

import dask
import dask.array as da
import dask.dataframe as dd
import numpy as np
import pandas
import psutil
import qelvm
import zarr

try:
    import xarray
except ImportError:
    xarray = None

job = pathlib.Path(__file__).resolve().parents[2] / "examples/dask/zarr_job.py"
sys.path.insert(0, str(job.parent))
import zarr_job  # noqa: E402

package = str(pathlib.Path(qelvm.__file__).resolve().parents[1])
x = np.random.default_rng(1).uniform(-3, 3, (60, 50))


def same(case, got, wanted):
    case.assertEqual(got.dtype, wanted.dtype)
    case.assertEqual(got.tobytes(), wanted.tobytes())


class Lazy(unittest.TestCase):
    def test_arrays(self):
        lazy = da.from_array(x, chunks=(7, 50))
        for scheduler in "threads", "processes":  # the latter pickles the ufuncs
            with dask.config.set(scheduler=scheduler, num_workers=2):
                for got, wanted in [
                        (qelvm.exp(lazy), qelvm.exp(x)),
                        (qelvm.a50.sinh(lazy.astype("f4")), qelvm.a50.sinh(x.astype("f4"))),
                        (qelvm.power(abs(lazy), 2.5), qelvm.power(abs(x), 2.5)),
                        (qelvm.arctan2(lazy[:, ::2], lazy[:1, :25]), qelvm.arctan2(x[:, ::2], x[:1, :25])),
                        (qelvm.erf(lazy.rechunk((60, 3)).T), qelvm.erf(x.T))]:
                    self.assertIsInstance(got, da.Array)
                    same(self, got.compute(), wanted)

    def test_two_results(self):
        lazy = da.from_array(x, chunks=(7, 50))
        with self.assertRaises(TypeError):
            qelvm.sincos(lazy)
        for got, wanted in zip(da.apply_gufunc(qelvm.sincos, "()->(),()", lazy), qelvm.sincos(x)):
            same(self, got.compute(), wanted)

    def test_dataframes(self):
        frame = pandas.DataFrame(x, columns=[f"c{i}" for i in range(50)])
        lazy = dd.from_pandas(frame, npartitions=4)
        got = qelvm.exp(lazy)
        self.assertIsInstance(got, dd.DataFrame)
        same(self, got.compute().to_numpy(), qelvm.exp(x))
        self.assertIsInstance(qelvm.log(lazy.c3), dd.Series)
        same(self, qelvm.cbrt(lazy.c3).compute().to_numpy(), qelvm.cbrt(np.ascontiguousarray(x[:, 3])))

    @unittest.skipUnless(xarray, "no xarray")
    def test_xarray(self):
        lazy = xarray.DataArray(x, dims=("time", "place")).chunk({"time": 7})
        got = qelvm.exp(lazy)
        self.assertIsInstance(got.data, da.Array)
        same(self, got.to_numpy(), qelvm.exp(x))
        both = xarray.apply_ufunc(qelvm.sincos, lazy, output_core_dims=[[], []], dask="parallelized",
                                  output_dtypes=[float, float])
        for got, wanted in zip(both, qelvm.sincos(x)):
            self.assertIsInstance(got.data, da.Array)
            same(self, got.to_numpy(), wanted)


class Job(unittest.TestCase):
    chunks = 120  # of the small store

    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.run_job("make", "x.zarr", "--elements", 240_000, "--chunk", 240_000 // cls.chunks)
        values = zarr.open(str(cls.folder / "x.zarr"), "r")[:]
        cls.wanted = hashlib.sha256((qelvm.exp(-0.125 * values) * qelvm.cos(3 * values)).tobytes()).hexdigest()

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    @classmethod
    def start(cls, *arguments, **environment):
        return subprocess.Popen([sys.executable, job, *map(str, arguments)], cwd=cls.folder, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                env=dict(os.environ, PYTHONPATH=package, **environment))

    @classmethod
    def finish(cls, process):
        out, errors = process.communicate(timeout=120)
        return process.returncode, out.strip(), errors

    @classmethod
    def run_job(cls, *arguments, **environment):
        return cls.finish(cls.start(*arguments, **environment))

    def expect_result(self, outcome):
        self.assertEqual(outcome[:2], (0, self.wanted), outcome[2])

    def done_chunks(self, name):
        return {file.name: file.stat().st_mtime_ns for file in (self.folder / name).glob("[0-9]*")
                if file.name.isdigit()}

    def await_chunks(self, process, name, count):
        """Waits until so many chunks are done, but not all."""
        for _ in range(3000):
            done = self.done_chunks(name)
            if len(done) >= count or process.poll() is not None:
                break
            time.sleep(0.02)
        self.assertTrue(count <= len(done) < self.chunks, done)

    def test_workers_and_chunks(self):
        plain = "glibc.cpu.hwcaps=-AVX2"  # out of the loader's sight: the plain library
        for workers, chunks, tunables in (1, 2000, ""), (4, 31_000, ""), (2, 2000, plain):
            outcome = self.run_job("run", "x.zarr", f"y{workers}.zarr", "--workers", workers, "--chunks", chunks,
                                   GLIBC_TUNABLES=tunables)
            self.expect_result(outcome)
            if tunables:
                self.assertIn("builds of the library: px\n", outcome[2])

    def test_killed(self):
        """A worker, after which the job goes on; then the job, which goes on when it is started again."""
        process = self.start("run", "x.zarr", "killed.zarr")
        self.await_chunks(process, "killed.zarr.partial", 8)
        workers = [child for child in psutil.Process(process.pid).children()
                   if "spawn_main" in " ".join(child.cmdline())]
        self.assertEqual(len(workers), 2)
        for worker in workers:
            worker.kill()
        done = len(self.done_chunks("killed.zarr.partial"))
        self.await_chunks(process, "killed.zarr.partial", done + 8)
        process.kill()
        self.finish(process)
        self.assertFalse((self.folder / "killed.zarr").exists())
        before = self.done_chunks("killed.zarr.partial")
        outcome = self.run_job("run", "x.zarr", "killed.zarr")
        self.expect_result(outcome)
        self.assertIn(f"resumed: {len(before)} of {self.chunks} chunks were done", outcome[2])
        after = self.done_chunks("killed.zarr")
        self.assertEqual(before, {name: after[name] for name in before})  # and not computed again
        self.assertFalse(list((self.folder / "killed.zarr").glob("*.partial")))

    def test_larger_than_memory(self):
        self.run_job("make", "large.zarr", "--elements", 30e6, "--chunk", 500e3)
        code, out, errors = self.run_job("run", "large.zarr", "largest.zarr", "--memory", "200MiB")
        self.assertEqual((code, len(out)), (0, 64), errors)
        self.assertIn("229 MiB in, 2 workers of 200MiB", errors)
        self.assertIn("60 of 60 chunks", errors)
        large, got = (zarr.open(str(self.folder / name), "r") for name in ("large.zarr", "largest.zarr"))
        part = large[17_000_000:17_000_999]
        same(self, got[17_000_000:17_000_999], qelvm.exp(-0.125 * part) * qelvm.cos(3 * part))

    def test_errors(self):
        at = lambda name: str(self.folder / name)
        zarr.open(at("integers.zarr"), "w", shape=3, dtype="i4")
        zarr.open(at("there.zarr"), "w", shape=3, dtype="f8")
        zarr.open(at("other.zarr.partial"), "w", shape=3, dtype="f8").attrs["job"] = "another"
        for source, result, chunks, message in [
                ("none.zarr", "y.zarr", None, "none.zarr"),
                ("integers.zarr", "y.zarr", None, "not an array of float32 or float64"),
                ("x.zarr", "there.zarr", None, "there.zarr is already there"),
                ("x.zarr", "other.zarr", None, "other.zarr.partial is of another job"),
                ("x.zarr", "y.zarr", [9, 9], "has 1 dimensions")]:
            with self.assertRaisesRegex(zarr_job.JobError, message):
                zarr_job.run(at(source), at(result), 1, "1GiB", chunks)
        self.assertEqual(sorted(file.name for file in self.folder.glob("y.zarr*")), [])
        code, out, errors = self.run_job("run", "none.zarr", "y.zarr")
        self.assertEqual((code, out, errors.count("\n")), (1, "", 1), errors)


if __name__ == "__main__":
    unittest.main()
