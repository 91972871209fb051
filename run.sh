#!/usr/bin/env bash
# Builds the library and the command-line tool, and runs the Misra1a calculation.
# ./run.sh web [PORT] builds the page of web/, serves it on 127.0.0.1 and says at which address.
# ./run.sh ARGS... passes ARGS to the tool `qelvm`: ./run.sh eval Exp_64f_A53 1
set -euo pipefail
# QELVM_BUILD_DIR=FOLDER builds there instead of in build/.
caller=$PWD
cd "$(dirname "$(readlink -f "$0")")"
. tools/setup.sh

require_packages "${build_packages[@]}" >&2
if [ "${1:-}" = web ]; then
  # shellcheck source=tools/page.sh
  . tools/page.sh
  require_packages "${test_packages[@]}"
  first_options=(-DQELVM_TOOL=OFF -DQELVM_BENCH=OFF -DQELVM_EXAMPLES=OFF -DQELVM_WIDE=OFF)
  say "building the page in $build_root/web"
  build_page "$build_root/page" --omit=dev
  exec node "$build_root/npm/serve.mjs" "$build_root/web" "${@:2}"
fi
# The folder is shared with test.sh; what that has switched on stays on.
first_options=(-DQELVM_TESTS=OFF -DQELVM_BENCH=OFF)
build "$build_root/linux" -DQELVM_TOOL=ON -DQELVM_EXAMPLES=ON >&2
qelvm=$build_root/linux/apps/qelvm/qelvm

if [ $# -gt 0 ]; then
  cd "$caller" # files that ARGS name
  exec "$qelvm" "$@"
fi

say "Misra1a: a certified nonlinear regression, its exponentials by one call of qelsExp_64f_A53"
"$build_root/linux/examples/misra1a/misra1a" examples/misra1a/misra1a.dat

cat << 'EOF'

== The same with the command-line tool: exp(-b2 x), for the first pressures
$ awk '!/^#/ { printf "%.17g\n", -5.5015643181e-04 * $2 }' examples/misra1a/misra1a.dat | head -3 |
    ./run.sh apply Exp_64f_A53 --input - --output - |
    awk '{ printf "fitted %.10f\n", 238.94212918 * (1 - $1) }'
EOF
awk '!/^#/ { printf "%.17g\n", -5.5015643181e-04 * $2 }' examples/misra1a/misra1a.dat | head -3 |
  "$qelvm" apply Exp_64f_A53 --input - --output - |
  awk '{ printf "fitted %.10f\n", 238.94212918 * (1 - $1) }'

cat << 'EOF'

== More: ./run.sh list    ./run.sh eval Exp_64f_A53 1 -800 0x1p-3 nan    ./run.sh --help
EOF
