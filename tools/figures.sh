#!/usr/bin/env bash
# Measures accuracy and speed of the build in build/linux and writes docs/accuracy.md, the pictures in
# docs/accuracy/ and docs/performance.md. Takes a quarter of an hour; the machine should be idle.
# usage: tools/figures.sh [INPUTS]    (inputs for each family and type, default one million)
set -euo pipefail
cd "$(dirname "$0")/.."
inputs=${1:-1000000}
build=build/linux
accuracy=$build/tests/accuracy
library=$build/src/libqelvmpx.so.5
compiler=$(c++ --version | sed -n 1p)
processor=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | sed -n 1p)
c_library=$(ldd --version | sed -n '1s/^ldd //p')

mkdir -p docs/accuracy
"$accuracy" "$library" --exports 64f --plots docs/accuracy
measurement=(--count "$inputs" --climb $((inputs / 5)) --peers --markdown)
{
  cat << EOF
# Accuracy

Largest error in ulps of the exact result, measured with MPFR by

    $accuracy $library ${measurement[*]}

Half of the inputs are random over the family's range, uniform in value and in bit patterns, half lie
at the places where its kernel is most likely to be worst; then a search climbs from the worst of them.
A bound of 0.5 means that every result is the correctly rounded one; with 0.5000001 a few floats are
not, see [every-float.md](every-float.md). Each test run repeats the measurement with fewer inputs and
fails beyond a bound.

The last two columns are the same search for the function of the C library ($c_library) in the
export's place. Pictures of the error over each family's main range are in [accuracy/](accuracy/).

EOF
  "$accuracy" "$library" "${measurement[@]}"
} > docs/accuracy.md.new
mv docs/accuracy.md.new docs/accuracy.md

{
  cat << EOF
# Performance

Nanoseconds per element over 4096 elements of the main range, beside a loop of the C library's scalar
function (or of the plain operation) in the same process, neither of them vectorised; the fastest of
15 interleaved repetitions. \`build/linux/bench/qelvm_bench\` prints this table.

Measured on: ${processor:-unknown processor}, $compiler, $c_library.

EOF
  "$build/bench/qelvm_bench"
  # What is said about the figures stays as it is.
  printf '\n'
  sed -n '/^## Where the time goes/,$p' docs/performance.md
} > docs/performance.md.new
mv docs/performance.md.new docs/performance.md
