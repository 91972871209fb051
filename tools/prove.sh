#!/usr/bin/env bash
# Runs every proof in full and records what they showed in proofs/record.txt, with the hash of each
# script, and what Sollya answered in proofs/answers.txt. ./test.sh compares the record with the kernels as they are. Options go to proofs/prove.py.
set -euo pipefail
caller=$PWD
cd "$(dirname "$(readlink -f "$0")")/.."
. tools/setup.sh
require_packages "${build_packages[@]}" "${test_packages[@]}" "${fit_packages[@]}" "${proof_packages[@]}"
build "$build_root/linux" --target proofs -DQELVM_TESTS=ON
programs=$build_root/linux/proofs/programs
"$programs/lemmas" 200000
for program in "$programs"/*; do
  [ ! -f "$program" ] || [ "${program##*/}" = lemmas ] || "$program" replay 1000
done
gappa --version
nice proofs/prove.py "$programs" --record proofs/record.txt "$@"
