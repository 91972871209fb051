#!/usr/bin/env bash
# Measures the build in build/linux and writes the tables of docs/.
#   tools/figures.sh accuracy [INPUTS]     docs/accuracy.md and the pictures in docs/accuracy/, with that
#                                          many inputs for each family and type; half an hour for the
#                                          default, one million
#   tools/figures.sh performance           docs/performance.md, in some minutes; on an idle machine
#   tools/figures.sh accuracy|performance FAMILY [INPUTS]
#                                          the rows of that family alone, and its picture
set -euo pipefail
cd "$(dirname "$0")/.."
build=${QELVM_BUILD_DIR:-build}/linux
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

# rows TABLE FAMILY: that family's rows, measured again; what a failure says on standard error.
rows() {
  if [ "$1" = accuracy ]; then
    "$build/tests/accuracy" "$build/src/libqelvmpx.so.5" --exports "$2_64f" --plots docs/accuracy
    "$build/tests/accuracy" "$build/src/libqelvmpx.so.5" --exports "$2_" --count "$inputs" \
      --climb $((inputs / 5)) --peers --markdown
  else
    "$build/bench/qelvm_bench" --benchmark_filter="^$2_"
  fi | awk -v row="| \`$2_" 'index($0, row) == 1 { print; next } /^FAILED/ { print > "/dev/stderr" }'
}

# replace TABLE FAMILY: the document with these rows in the place of the old ones; new ones last in
# their table.
replace() {
  local new
  new=$(rows "$1" "$2")
  awk -v family="| \`$2_" '
    function print_new() { for (i = 1; i <= count; i++) print new[i]; count = 0 }
    NR == FNR { new[++count] = $0; next }
    index($0, family) == 1 { print_new(); next }
    /^$/ && in_table && !known { print_new() }
    { in_table = /^\|/; print }
    END { print_new() }
  ' known="$(grep -cF "| \`$2_" "docs/$1.md")" - "docs/$1.md" <<< "$new"
}

table=${1:-} family=
case ${2:-} in [A-Z]*) family=$2 && shift ;; esac
inputs=${2:-1000000}
case $table in
accuracy | performance)
  trap 'rm -f "docs/$table.md.new"' EXIT
  if [ -n "$family" ]; then replace "$table" "$family"; else "$table" "$inputs"; fi > "docs/$table.md.new"
  mv "docs/$table.md.new" "docs/$table.md"
  ;;
*)
  sed -n '2,/^set/s/^# *//p' "$0" | grep -v '^set'
  exit 2
  ;;
esac
