"""Populations on rings of islands, a chaotic map: with NumPy's functions, and with qelvm's.

    python3 islands.py --functions qelvm --type float64 --steps 1000000 --processes 2

prints the SHA-256 of the last state: float32 or float64, 2 rings of 16 islands. A step is a year:

    y = x exp(r - x - tanh(x) / 2),  r = 3.25 + sin(year / 64 + place) / 4      growth, in its climate
    m = y^1.5 / 128                                                            who leaves
    x = y - m + half of m of each of the two neighbours

A difference in a last bit is one in the first digit 150 years later. All operations but the four
functions are of IEEE arithmetic, one after another; a ring does not depend on others, so that processes
share them. islands.c does the same in C.
"""
import argparse
import hashlib
import multiprocessing

import numpy as np


def first_state(dtype):
    """Exact numbers from 0.5 to 2.4375, shape (rings, islands)."""
    return ((np.arange(32) * 37 % 32 + 8) / 16).reshape(2, 16).astype(dtype)


def simulate(functions, x, steps, every=0):
    """The state after so many steps, and the states on the way, one of `every`."""
    f = np if functions == "numpy" else __import__(functions)
    real = x.dtype.type
    place = np.arange(x.shape[1]).astype(x.dtype)
    states = []
    for k in range(steps):
        r = real(3.25) + real(0.25) * f.sin(real(k) * real(1 / 64) + place)
        y = x * f.exp((r - x) - real(0.5) * f.tanh(x))
        leave = f.power(y, real(1.5)) * real(1 / 128)
        half = leave * real(0.5)
        x = y - leave
        x[:, 1:] += half[:, :-1]
        x[:, 0] += half[:, -1]
        x[:, :-1] += half[:, 1:]
        x[:, -1] += half[:, 0]
        if every and k % every == 0:
            states.append(x.copy())
    return x, np.array(states)


def run(functions, dtype, steps, processes):
    """The last state, by so many processes."""
    parts = np.array_split(first_state(dtype), processes)
    with multiprocessing.get_context("spawn").Pool(processes) as pool:
        results = pool.starmap(simulate, [(functions, part, steps) for part in parts])
    return np.concatenate([x for x, states in results])


def sha256(state):
    return hashlib.sha256(state.astype(state.dtype.newbyteorder("<")).tobytes()).hexdigest()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--functions", choices=["numpy", "qelvm"], default="qelvm")
    parser.add_argument("--type", choices=["float32", "float64"], default="float64")
    parser.add_argument("--steps", type=int, default=1_000_000)
    parser.add_argument("--processes", type=int, choices=[1, 2], default=1)
    parser.add_argument("--states", help="write all states to this .npy file, in one process")
    options = parser.parse_args()
    if options.states:
        x, states = simulate(options.functions, first_state(options.type), options.steps, 1)
        np.save(options.states, states)
    else:
        x = run(options.functions, options.type, options.steps, options.processes)
    print(sha256(x))


if __name__ == "__main__":
    main()
