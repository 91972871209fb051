#!/usr/bin/env bash
# Builds and runs the tests. The last line is 'N passed, N failed, N skipped'.
#   ./test.sh                what this machine can run, in about two minutes
#   ./test.sh -L values      one layer (any option of ctest)
#   ./test.sh --platforms    also other compilers and levels, and the Windows library under Wine
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")"
. tools/setup.sh

platforms=false
if [ "${1:-}" = --platforms ]; then
  platforms=true
  shift
fi
passed=0 failed=0 skipped=0

skip() {
  say "SKIPPED $1: $2"
  skipped=$((skipped + 1))
}

# check NAME COMMAND...: one case; its output is shown if it fails.
check() {
  local name=$1 log
  shift
  log=$(mktemp)
  if "$@" > "$log" 2>&1; then
    passed=$((passed + 1))
    printf 'passed  %s: %s\n' "$name" "$(tail -n 1 "$log" | tr -d '\r')"
  else
    failed=$((failed + 1))
    printf 'FAILED  %s\n' "$name"
    tail -n 60 "$log"
  fi
  rm -f "$log"
}

# The three layers that go through the exports alone. RUNNER is a command prefix, such as wine.
# check_exports PLATFORM LIBRARY CHECKS [RUNNER...]
check_exports() {
  local platform=$1 library=$2 checks=$3
  shift 3
  check "$platform frame" "$@" "$checks" "$library" frame
  check "$platform values" "$@" "$checks" "$library" values tests/values
  check "$platform golden" "$@" "$checks" "$library" golden tests/golden/hashes.txt
}

base_tests() {
  require_packages "${build_packages[@]}" "${test_packages[@]}"
  say "building"
  build build/linux -DQELVM_TOOL=ON -DQELVM_EXAMPLES=ON -DQELVM_TESTS=ON -DQELVM_BENCH=ON
  say "testing"
  local report=$PWD/build/linux/report.xml value
  ctest --test-dir build/linux --output-on-failure -j "$(nproc)" --output-junit "$report" "$@" |
    tail -n +4 || true
  count() { sed -n "s/.*[[:space:]]$1=\"\([0-9]*\)\".*/\1/p" "$report" | head -1; }
  value=$(($(count failures) + 0))
  failed=$((failed + value))
  skipped=$((skipped + $(count skipped) + $(count disabled)))
  passed=$((passed + $(count tests) - value - $(count skipped) - $(count disabled)))
}

# Other compilers and optimisation levels: the same hashes.
compiler_tests() {
  local compiler level directory
  for compiler in g++ clang++; do
    if ! command -v "$compiler" > /dev/null && ! require_packages "${clang_packages[@]}"; then
      skip "$compiler" "cannot be installed"
      continue
    fi
    for level in -O0 -O1 -O2 -O3; do
      directory=build/$compiler$level
      check "$compiler $level build" build "$directory" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="$level" -DQELVM_EXPORTS_TESTS_ONLY=ON \
        -DQELVM_TOOL=OFF -DQELVM_BENCH=OFF -DQELVM_EXAMPLES=OFF
      check "$compiler $level binary" python3 tests/binary/check_binary.py \
        "$directory/src/libqelvmpx.so.5" .
      check_exports "$compiler $level" "$directory/src/libqelvmpx.so.5" \
        "$directory/tests/library_checks"
    done
  done
}

windows_tests() {
  if ! require_packages "${build_packages[@]}" "${windows_packages[@]}"; then
    skip "Windows" "no cross compiler"
    return
  fi
  local directory=build/windows
  check "Windows build" build "$directory" --toolchain cmake/mingw-i686.cmake
  check "Windows binary" python3 tests/binary/check_binary.py "$directory/src/qelvmpx.dll" . \
    i686-w64-mingw32-
  if ! require_packages "${wine_packages[@]}"; then
    skip "Windows library" "no Wine"
    return
  fi
  export WINEPREFIX=$PWD/build/wine WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  check "Wine" wineboot --init
  check_exports "Windows" "$directory/src/qelvmpx.dll" "$directory/tests/library_checks.exe" wine
  export WINEPATH=$PWD/$directory/src # where programs find the DLL
  check "Windows example" wine "$directory/examples/misra1a/misra1a.exe" \
    examples/misra1a/misra1a.dat
}

base_tests "$@"
if $platforms; then
  compiler_tests
  windows_tests
fi
printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
[ "$failed" -eq 0 ]
