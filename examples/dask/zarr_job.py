"""A function of every element of a Zarr array that may be larger than memory, by Dask.

    python3 zarr_job.py make x.zarr --elements 100e6
    python3 zarr_job.py run x.zarr y.zarr --workers 4 --memory 300MiB

The SHA-256 that a run prints is that of the elements of the result. It does not depend on the number of
workers, on the chunks, on the processors, or on what was interrupted: change `model` to your own
function, of qelvm's ufuncs and of +, -, *, / and sqrt, and that stays so.

A run that was ended goes on where it stopped when it is started again: until it is complete, the result
is y.zarr.partial, where a chunk is written in one step and is done when it is there.
"""
import argparse
import collections
import hashlib
import inspect
import itertools
import os
import pathlib
import sys

import dask
import dask.array as da
import distributed
import numpy as np
import qelvm
import zarr


def model(x):
    """A damped oscillation; x: a dask array of any shape, float32 or float64."""
    return qelvm.exp(-0.125 * x) * qelvm.cos(3 * x)


class JobError(Exception):
    pass


def elements(text):
    return int(float(text))


def make(store, count, chunk):
    """Uniform numbers in [0, 100), every chunk from a seed of its own."""
    if os.path.exists(store):
        raise JobError(f"{store} is already there")
    x = zarr.open(store, "w", shape=count, chunks=chunk, dtype="f8", compressor=None)
    for i, first in enumerate(range(0, count, chunk)):
        x[first:first + chunk] = np.random.default_rng(i).uniform(0, 100, min(chunk, count - first))


def open_input(store):
    try:
        x = zarr.open(store, "r")
    except Exception as error:  # Zarr has several
        raise JobError(f"{store}: {error}")
    if not isinstance(x, zarr.Array) or x.dtype.kind != "f" or x.dtype.itemsize not in (4, 8) or not x.ndim:
        raise JobError(f"{store}: not an array of float32 or float64")
    return x


def open_result(store, source, chunks):
    """The unfinished result, new or of a run of this same job before."""
    chunks = tuple(chunks or source.chunks)
    job = {"model": hashlib.sha256(inspect.getsource(model).encode()).hexdigest(),
           "input": os.path.abspath(source.store.path), "shape": list(source.shape), "chunks": list(chunks)}
    if os.path.exists(store):
        result = zarr.open(store, "r+")
        if result.attrs.get("job") != job:
            raise JobError(f"{store} is of another job, or with other chunks: finish that, or remove it")
        return result
    # The job is noted before the array can be seen.
    unseen = store + ".new"
    result = zarr.open(unseen, "w", shape=source.shape, chunks=chunks, dtype=source.dtype, fill_value=None,
                       compressor=None, write_empty_chunks=True)
    result.attrs["job"] = job
    os.rename(unseen, store)
    return zarr.open(store, "r+", write_empty_chunks=True)


def write(store, region, values):
    """Of a whole chunk: Zarr writes another file and gives it the chunk's name in one step."""
    zarr.open(store, "r+", write_empty_chunks=True)[region] = values


def missing_regions(result):
    """The slices of the chunks that are not there yet, and the number of all chunks."""
    def slices(indices):
        return tuple(slice(i * c, min((i + 1) * c, n)) for i, c, n in zip(indices, result.chunks, result.shape))
    all_indices = list(itertools.product(*map(range, result.cdata_shape)))
    done = set(result.store.keys())
    separator = result._dimension_separator
    return [slices(i) for i in all_indices if separator.join(map(str, i)) not in done], len(all_indices)


def compute(client, source, result, workers):
    y = model(da.from_zarr(source.store.path))
    regions, total = missing_regions(result)
    if len(regions) < total:
        print(f"resumed: {total - len(regions)} of {total} chunks were done", file=sys.stderr)
    path = result.store.path

    def submit(region):
        return client.compute(dask.delayed(write)(path, region, y[region]), retries=3)

    # A few at a time for each worker, whatever the number of chunks: so many are in memory.
    waiting = collections.deque(regions)
    running = distributed.as_completed([submit(waiting.popleft()) for _ in range(min(3 * workers, len(regions)))])
    for done, future in enumerate(running, total - len(regions) + 1):
        future.result()
        future.release()
        if waiting:
            running.add(submit(waiting.popleft()))
        show_progress(done, total)


def show_progress(done, total):
    if sys.stderr.isatty():
        bar = "#" * (40 * done // total)
        print(f"\r[{bar:40}] {done} of {total} chunks", end="\n" if done == total else "", file=sys.stderr)
    elif 10 * done // total != 10 * (done - 1) // total:
        print(f"{done} of {total} chunks", file=sys.stderr)


def sha256(array):
    """Of the elements in C order, as little-endian bytes; a row of chunks at a time in memory."""
    digest = hashlib.sha256()
    for first in range(0, array.shape[0], array.chunks[0]):
        rows = array[first:first + array.chunks[0]]
        digest.update(np.ascontiguousarray(rows, rows.dtype.newbyteorder("<")).tobytes())
    return digest.hexdigest()


def run(source_store, result_store, workers, memory, chunks):
    if os.path.exists(result_store):
        raise JobError(f"{result_store} is already there")
    partial = result_store + ".partial"
    source = open_input(source_store)
    if chunks and len(chunks) != source.ndim:
        raise JobError(f"--chunks: {source_store} has {source.ndim} dimensions")
    result = open_result(partial, source, chunks)
    print(f"{source.nbytes / 2**20:.0f} MiB in, {workers} workers of {memory}", file=sys.stderr)
    cluster = distributed.LocalCluster(
        n_workers=workers, threads_per_worker=1, processes=True, memory_limit=memory, host="127.0.0.1",
        dashboard_address=None)
    with cluster, distributed.Client(cluster) as client:
        builds = client.run(lambda: qelvm.library().cpu)
        print("builds of the library:", *sorted(set(builds.values())), file=sys.stderr)
        compute(client, source, result, workers)
    for rest in pathlib.Path(partial).glob("*.partial"):  # of writers that were ended
        rest.unlink()
    os.rename(partial, result_store)
    print(sha256(zarr.open(result_store, "r")))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    commands = parser.add_subparsers(dest="command", required=True)
    command = commands.add_parser("make", help="make an input")
    command.add_argument("store")
    command.add_argument("--elements", type=elements, default=100_000_000)
    command.add_argument("--chunk", type=elements, default=1_000_000)
    command = commands.add_parser("run", help="compute model(input), or go on with it")
    command.add_argument("input")
    command.add_argument("output")
    command.add_argument("--workers", type=int, default=2)
    command.add_argument("--memory", default="300MiB", help="limit of each worker")
    command.add_argument("--chunks", type=elements, nargs="+", help="of the output, for each dimension")
    options = parser.parse_args()
    if options.command == "make":
        make(options.store, options.elements, options.chunk)
    else:
        run(options.input, options.output, options.workers, options.memory, options.chunks)


if __name__ == "__main__":
    try:
        main()
    except (JobError, distributed.KilledWorker) as error:
        sys.exit(f"zarr_job.py: {error}")
