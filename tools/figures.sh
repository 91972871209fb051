#!/usr/bin/env bash
# Measures the build in build/linux and writes the tables of docs/.
#   tools/figures.sh accuracy [INPUTS]   docs/accuracy.md and the pictures in docs/accuracy/, with that
#                                        many inputs for each family and type; half an hour for the
#                                        default, one million
#   tools/figures.sh performance         docs/performance.md, in some minutes; on an idle machine
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/linux
c_library=$(ldd --version | sed -n '1s/.*(\(.*\)).*/\1/p')

accuracy() {
  local inputs=$1 program=$build/tests/accuracy library=$build/src/libqelvmpx.so.5
  local measurement=(--count "$inputs" --climb $((inputs / 5)) --peers --markdown)
  mkdir -p docs/accuracy
  "$program" "$library" --exports 64f --plots docs/accuracy
  cat << EOF
# Accuracy

Largest error in ulps of the exact result, measured with MPFR by

    $program $library ${measurement[*]}

Half of the inputs are random over the family's range, uniform in value and in bit patterns, half lie
at the places where its kernel is most likely to be worst; then a search climbs from the worst of them.
A bound of 0.5 means that every result is the correctly rounded one; with 0.5000001 a few floats are
not, see [every-float.md](every-float.md). Each test run repeats the measurement with fewer inputs and
fails beyond a bound.

The last two columns are the same search for the function of the C library ($c_library) in the
export's place. Pictures of the error over each family's main range are in [accuracy/](accuracy/).

EOF
  "$program" "$library" "${measurement[@]}"
}

performance() {
  local compiler processor
  compiler=$(c++ --version | sed -n 1p)
  processor=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | sed -n 1p)
  cat << EOF
# Performance

Nanoseconds per element over 4096 elements of the main range, beside a loop of the C library's scalar
function (or of the plain operation) in the same process, neither of them vectorised; the fastest of
15 interleaved repetitions. \`$build/bench/qelvm_bench\` prints this table.

Measured on: ${processor:-unknown processor}, $compiler, $c_library.

EOF
  "$build/bench/qelvm_bench"
  # What is said about the figures stays as it is.
  printf '\n'
  sed -n '/^## Where the time goes/,$p' docs/performance.md
}

case ${1:-} in
accuracy | performance)
  "$1" "${2:-1000000}" > "docs/$1.md.new"
  mv "docs/$1.md.new" "docs/$1.md"
  ;;
*)
  sed -n '2,/^set/s/^# *//p' "$0"
  exit 2
  ;;
esac
