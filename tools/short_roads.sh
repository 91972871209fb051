#!/usr/bin/env bash
# Measures how far the short roads of floats are from the full kernels and writes the table of
# docs/short-roads.md: short_roads.sh [COUNT], three million arguments a family unless told.
set -euo pipefail
caller=$PWD # for setup.sh
cd "$(dirname "$(readlink -f "$0")")/.."
# shellcheck source=tools/setup.sh
. tools/setup.sh
require_packages "${build_packages[@]}" "${test_packages[@]}"
build "$build_root/linux" --target tests/short_roads/all -DQELVM_TESTS=ON
document=docs/short-roads.md
trap 'rm -f "$document.new"' EXIT
{
  sed '/^| family | domain | distance/,$d' "$document"
  printf '| family | domain | distance | farthest seen | left to the full kernel |\n|---|---|---|---|---|\n'
  for program in "$build_root"/linux/tests/short_roads/*_road; do
    "$program" "$@"
  done
} > "$document.new"
mv "$document.new" "$document"
