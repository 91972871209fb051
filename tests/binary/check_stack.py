#!/usr/bin/env python3
"""Compares the stack that each function of a build needs, as GCC noted it, with the limit.

usage: check_stack.py BUILD_DIRECTORY LIMIT [LEVEL]

A call stays within a few hundred bytes, so that it can run on any thread's stack: 256 bytes on x86-64
Linux. Frames of other processors hold more registers, those of 64-bit Windows the ten that a callee
saves: 512 bytes. A level (v3, v4) keeps elements of mixed kinds in queues: 4096 bytes.
"""
import argparse
import sys
from pathlib import Path

parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
parser.add_argument("build", type=Path)
parser.add_argument("limit", type=int)
parser.add_argument("level", nargs="?")
arguments = parser.parse_args()
limit = arguments.limit
objects = "qelvm_objects" + (f"_{arguments.level}" if arguments.level else "")

notes = sorted(arguments.build.glob(f"src/CMakeFiles/{objects}.dir/**/*.su"))
needs = []
for note in notes:
    for line in note.read_text().splitlines():
        function, size, _ = line.rsplit("\t", 2)
        needs.append((int(size), function))
over = [need for need in needs if need[0] > limit]
for size, function in over:
    print(f"FAILED {function}: {size} bytes of stack, the limit is {limit}")
if not needs:
    print(f"FAILED no notes of stack usage in {arguments.build}: built with tests, by GCC?")
else:
    print(f"{len(needs) - len(over)} passed, {len(over)} failed; the largest frame has "
          f"{max(needs)[0]} bytes")
sys.exit(1 if over or not needs else 0)
