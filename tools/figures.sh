#!/usr/bin/env bash
# Measures accuracy and speed of the build in build/linux and writes docs/accuracy.md and
# docs/performance.md. Takes some minutes; the machine should be idle.
# usage: tools/figures.sh [INPUTS]    (inputs for each family and type, default one million)
set -euo pipefail
cd "$(dirname "$0")/.."
inputs=${1:-1000000}
build=build/linux
compiler=$(c++ --version | head -1)
processor=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1)

{
  cat << EOF
# Accuracy

Largest error in ulps of the exact result, measured with MPFR by
\`build/linux/tests/accuracy build/linux/src/libqelvmpx.so.5 --count $inputs --markdown\`: half of the
inputs at random over the family's range, uniform in value and in bit patterns, half at the places
where its kernel is most likely to be worst. A bound of 0.5 means that every result was the correctly
rounded one. Each test run repeats the measurement with fewer inputs and fails beyond a bound.

EOF
  "$build/tests/accuracy" "$build/src/libqelvmpx.so.5" --count "$inputs" --markdown
} > docs/accuracy.md.new
mv docs/accuracy.md.new docs/accuracy.md

{
  cat << EOF
# Performance

Nanoseconds per element over 4096 elements of the main range, beside a loop of the C library's scalar
function (or of the plain operation) in the same process, neither of them vectorised; the fastest of
15 interleaved repetitions. \`build/linux/bench/qelvm_bench\` prints this table.

Measured on: ${processor:-unknown processor}, $compiler, $(ldd --version | head -1).

EOF
  "$build/bench/qelvm_bench"
  # What is said about the figures stays as it is.
  printf '\n'
  sed -n '/^## Where the time goes/,$p' docs/performance.md
} > docs/performance.md.new
mv docs/performance.md.new docs/performance.md
