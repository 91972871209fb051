#!/usr/bin/env bash
# Measures the build in build/linux and writes the tables of docs/.
#   tools/figures.sh accuracy [INPUTS]     docs/accuracy.md and the pictures in docs/accuracy/, with that
#                                          many inputs for each family and type; half an hour for the
#                                          default, one million
#   tools/figures.sh accuracy FAMILY [INPUTS]
#                                          the rows of that family alone, and its picture
#   tools/figures.sh performance           docs/performance.md, in two minutes; on an idle machine
#   tools/figures.sh python [COUNT]        its last part, on the Python package beside NumPy and SciPy
#                                          (python3-scipy); a quarter of an hour for the default, one
#                                          million arguments
#   tools/figures.sh engines               docs/engines.md, of the results that ./test.sh --platforms has left
#                                          in build/engines/
set -euo pipefail
caller=$PWD # for setup.sh
cd "$(dirname "$0")/.."
# shellcheck source=tools/setup.sh
. tools/setup.sh
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
The worst inputs that any search has found, `tools/search_proofs.py` among them, are tried, too
(`families/errors.inc`).
A bound of 0.5 means that every result is the correctly rounded one; with 0.5000001 a few floats are
not, see [every-float.md](every-float.md). Each test run repeats the measurement with fewer inputs and
fails beyond a bound.

The last two columns are the same search for the function of the C library ($c_library) in the
export's place. Pictures of the error over each family's main range are in [accuracy/](accuracy/).

EOF
  "$program" "$library" "${measurement[@]}"
}

performance() {
  local compiler processor sleef
  compiler=$(c++ --version | sed -n 1p)
  processor=$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | sed -n 1p)
  sleef=$(dpkg-query -W -f 'SLEEF ${Version}' libsleef3 2> /dev/null) || sleef='no SLEEF'
  cat << EOF
# Performance

\`$build/bench/qelvm_bench\` prints these tables. What stands in one row was measured in one process,
in turn, half a millisecond at a time; the fastest of 150 times counts.

| column | |
|---|---|
| plain | the library that every processor can run |
| v3, v4 | the same for [levels of processors](using.md#levels-of-processors): four doubles at once (AVX2), eight (AVX-512); the same bits |
| C scalar | a loop over the C library's scalar functions, in the variants that it has for this processor, with fused multiply-add; not vectorised |
| C vectors v3, v4 | a loop over the C library's vector functions for that level (libmvec), which may be some ulps off |
| 1 ulp v3, v4 | a loop over SLEEF's vector functions for that level with bounds of 1 ulp (\`Erfc\` 1.5, square roots 0.5) |
| A / B | how many times as fast B is as A: below 1, A is the faster one |
| A, times | how many times as long A takes with these arguments as with the usual ones |

Figures of different rows, or of different runs, do not compare so well. What the other libraries give
depends on the processor, and they report nothing; this one has a status and exact flags, and is within
hundredths of an ulp of correct rounding in nearly all families.

Measured on: ${processor:-unknown processor}, $compiler, $c_library, $sleef.

EOF
  "$build/bench/qelvm_bench"
  # What is said about the figures stays as it is.
  printf '\n'
  sed -n '/^## Where the time goes/,$p' docs/performance.md
}

# The document with another last part.
python() {
  local interpreter
  interpreter=$(sed -n 's/^QELVM_PYTHON_INTERPRETER:[A-Z]*=//p' "$build/CMakeCache.txt")
  printf '%s\n\n' "$(sed '/^## Python$/,$d' docs/performance.md)"
  "$interpreter" tools/python_figures.py "$build" "$1" | sed '$d'
}

engines() {
  node tests/web/table.mjs "${QELVM_BUILD_DIR:-build}/engines" "${QELVM_BUILD_DIR:-build}/web"
}

# rows FAMILY: its rows of the accuracy, measured again; what a failure says on standard error.
rows() {
  "$build/tests/accuracy" "$build/src/libqelvmpx.so.5" --exports "$1_64f" --plots docs/accuracy
  "$build/tests/accuracy" "$build/src/libqelvmpx.so.5" --exports "$1_" --count "$inputs" \
    --climb $((inputs / 5)) --peers --markdown |
    awk -v row="| \`$1_" 'index($0, row) == 1 { print; next } /^FAILED/ { print > "/dev/stderr" }'
}

# replace FAMILY: the document with these rows in the place of the old ones; new ones last in their
# table.
replace() {
  local new
  new=$(rows "$1")
  awk -v family="| \`$1_" '
    function print_new() { for (i = 1; i <= count; i++) print new[i]; count = 0 }
    NR == FNR { new[++count] = $0; next }
    index($0, family) == 1 { print_new(); next }
    /^$/ && in_table && !known { print_new() }
    { in_table = /^\|/; print }
    END { print_new() }
  ' known="$(grep -cF "| \`$1_" docs/accuracy.md)" - docs/accuracy.md <<< "$new"
}

table=${1:-} family=
case $table,${2:-} in accuracy,[A-Z]*) family=$2 && shift ;; esac
inputs=${2:-1000000}
if [ "$table" = performance ]; then
  if [ $# -gt 1 ]; then
    printf 'figures.sh: all families are measured in one run; leave %s out\n' "$2" >&2
    exit 2
  fi
  require_packages "${figure_packages[@]}" || say "measuring without them"
fi
case $table in
accuracy | performance | python | engines)
  document=docs/${table/python/performance}.md
  trap 'rm -f "$document.new"' EXIT
  if [ -n "$family" ]; then replace "$family"; else "$table" "$inputs"; fi > "$document.new"
  mv "$document.new" "$document"
  ;;
*)
  sed -n '2,/^set/s/^# *//p' "$0" | grep -v '^set'
  exit 2
  ;;
esac
