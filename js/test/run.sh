#!/usr/bin/env bash
# The tests of the package for JavaScript: js/test/run.sh PACKAGE. The last line is the count.
set -euo pipefail
cd "$(dirname "$0")/../.."
QELVM_PACKAGE=$(readlink -f "$1")
export QELVM_PACKAGE
output=$(node --test js/test/*.test.mjs 2>&1) || { printf '%s\n' "$output" && exit 1; }
printf '%s\n' "$output"
count() { sed -n "s/^[#ℹ] $1 //p" <<< "$output"; }
[ "$(count pass)" -gt 0 ]
echo "$(count pass) passed, $(count fail) failed, $(count skipped) skipped"
