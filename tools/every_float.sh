#!/usr/bin/env bash
# Compares every single-precision export of one source with the correctly rounded results for all 2^32
# arguments and writes docs/every-float.md. Takes an hour on two processors; interrupted, it goes on
# where it stopped (remove build/every-float.txt to begin anew).
set -euo pipefail
cd "$(dirname "$0")/.."
command="build/linux/tests/exhaustive build/linux/src/libqelvmpx.so.5 --notes build/every-float.txt"
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
bounds of the doubles ([proofs.md](proofs.md#floats)), which also tells how far off such a result of two
sources is at most: these families cannot be tried out. Quotients are correctly rounded by argument
(\`families/Div.txt\`); \`Atan2\`, \`Pow\` and \`Powx\` have such arguments, for instance
0x1.49039ep-1 to the power of 0x1.360d62p+1.

Written on $(date +%Y-%m-%d) by \`tools/every_float.sh\`, which runs
\`$command\`.

EOF
  cat "$table"
} > docs/every-float.md
rm "$table"
