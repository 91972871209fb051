#!/usr/bin/env bash
# Compares every single-precision export of one source with the correctly rounded results for all 2^32
# arguments, then the levels of the processor with the plain library, and writes docs/every-float.md.
# Takes two hours on two processors; interrupted, the first part goes on where it stopped (remove
# build/every-float.txt to begin anew). With the argument `levels` only their part is done again.
set -euo pipefail
cd "$(dirname "$0")/.."
command="build/linux/tests/exhaustive build/linux/src/libqelvmpx.so.5 --notes build/every-float.txt"
document=docs/every-float.md
trap 'rm -f "$document.new"' EXIT

# Each level beside the plain library: all floats of the families of one source, then pairs.
levels() {
  local compare=build/linux/tests/compare_libraries plain=build/linux/src/libqelvmpx.so.5 level library
  cat << END
## Levels

The libraries for levels of processors compute floats by [short roads](short-roads.md). Beside the plain
library: of the families of one source all 2^32 arguments, their results and statuses, the flags of each 4096
together and of one in 64 alone; of the others 10^9 pairs of each, a quarter of them from some 500 that are
next to a middle between two floats.

| level | one source, 2^32 arguments | two sources, 10^9 pairs | |
|---|---|---|---|
END
  for level in v3 v4; do
    library=build/linux/src/glibc-hwcaps/x86-64-$level/libqelvmpx.so.5
    if grep -q "this processor is not one" <(build/linux/tests/library_checks "$library" frame $level 2>&1); then
      printf '| %s | - | - | not tried: no such processor (%s) |\n' $level \
        "golden hashes in an emulated one: [short-roads.md](short-roads.md#what-has-been-tried)"
      continue
    fi
    printf '| %s | %s | %s | %s |\n' $level \
      "$("$compare" "$plain" "$library" --only _32f_A24 --every-float 1 | tail -1)" \
      "$("$compare" "$plain" "$library" --only '(Atan2|Div|Pow|Powx)_32f_A24' --count 1000000000 | tail -1)" \
      "tried on $(date +%Y-%m-%d)"
  done
}

if [ "${1:-}" = levels ]; then
  { sed '/^## Levels/,$d' "$document" && levels; } > "$document.new"
  mv "$document.new" "$document"
  exit
fi
table=$(mktemp)
outcome=0
$command > "$table" || outcome=$?
[ "$outcome" -le 1 ] # 1: some results are not the correctly rounded ones; the table names them
{
  cat << EOF
# Every float

All 2^32 arguments of the single-precision families of one source, each of the three classes, against
the correctly rounded result. The C library's double function decides where both ends of an interval
of 16 ulps or more around its value round to the same float; MPFR decides the rest.

A result is the double result rounded once more. Where the exact result lies so close to the middle
between two floats that the double result is that middle, the tie goes to the float with the even
significand, which may be the other one: the error is then 0.5 ulp and less than 2^-28 ulp more. The
arguments where this happens are in the second table; that it can happen nowhere else is proven from the
bounds of the doubles (\`docs/proofs.md\` of the sources), which also tells how far off such a result of two
sources is at most: these families cannot be tried out. Quotients are correctly rounded by argument
(\`families/Div.txt\`); \`Atan2\`, \`Pow\` and \`Powx\` have such arguments, for instance
0x1.49039ep-1 to the power of 0x1.360d62p+1.

Written on $(date +%Y-%m-%d) by \`tools/every_float.sh\`, which runs
\`$command\`.

EOF
  cat "$table"
  printf '\n'
  levels
} > "$document.new"
mv "$document.new" "$document"
rm "$table"
