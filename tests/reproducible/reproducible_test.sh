#!/usr/bin/env bash
# The worked problem, 2000 of its steps: one state of qelvm's in every way of running it, the one that is
# noted here; and several of NumPy's, where its functions are those of a processor with AVX2.
# usage: PYTHONPATH=BUILD/python reproducible_test.sh BUILD_DIRECTORY [BUILD_DIRECTORY of i686]
set -euo pipefail
compare=$(dirname "$(readlink -f "$0")")/../../examples/reproducible/compare.py
output=$(/usr/bin/python3 "$compare" "$1" ${2:+--build32 "$2"} --steps 2000)
printf '%s\n' "$output"
for state in 'float32 .* 10f1cb84e343a81b' 'float64 .* 9b307ae3a88eead5'; do
  grep -q "^$state" <<< "$output" || { echo "not the noted state: $state" && exit 1; }
done
numpy=$(/usr/bin/python3 -c 'import numpy; print(numpy.__version__)')
if grep -qw avx2 /proc/cpuinfo && [[ $numpy = 1.24.* ]]; then
  grep -q "^float32: of NumPy's functions 2 different states" <<< "$output" ||
    { echo "NumPy's functions give one state: does the mask reach them?" && exit 1; }
fi
echo "one state of qelvm's functions, with ${2:+32-bit and }other processors"
