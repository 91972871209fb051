#!/usr/bin/env bash
# Builds and runs the tests. The last line is 'N passed, N failed, N skipped'.
#   ./test.sh                what this machine can run, in about two minutes
#   ./test.sh -L values      one layer (any option of ctest)
#   ./test.sh --platforms    also other compilers and levels, the Windows library under Wine, and
#                            other processors under QEMU; ends with a table of the platforms
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
    rm -f "$log"
  else
    failed=$((failed + 1))
    printf 'FAILED  %s\n' "$name"
    tail -n 60 "$log"
    rm -f "$log"
    return 1
  fi
}

# What became of every layer on every platform, for the table at the end.
layers=(build binary frame values golden)
rows=()
declare -A outcome

# layer PLATFORM LAYER COMMAND...: one layer's check on one platform.
layer() {
  local platform=$1 layer=$2
  shift 2
  [ "$layer" != build ] || rows+=("$platform")
  outcome[$platform $layer]=FAILED
  check "$platform $layer" "$@" && outcome[$platform $layer]=passed
}

skip_platform() {
  rows+=("$1")
  outcome[$1 build]="skipped: $2"
  skip "$1" "$2"
}

print_table() {
  local platform layer
  printf '%-16s' platform "${layers[@]}"
  printf '\n'
  for platform in "${rows[@]}"; do
    printf '%-16s' "$platform"
    for layer in "${layers[@]}"; do
      printf '%-16s' "${outcome[$platform $layer]-}"
    done
    printf '\n'
  done
}

# A platform: built, taken apart, and run through the exports alone. RUNNER is a command prefix, such
# as wine.
# check_platform PLATFORM DIRECTORY LIBRARY CHECKS TOOL_PREFIX [RUNNER...] -- CMAKE_OPTIONS...
check_platform() {
  local platform=$1 directory=$2 library=$2/$3 checks=$2/$4 prefix=$5 runner=()
  shift 5
  while [ "$1" != -- ]; do
    runner+=("$1")
    shift
  done
  shift
  layer "$platform" build build "$directory" -DQELVM_EXPORTS_TESTS_ONLY=ON -DQELVM_TOOL=OFF \
    -DQELVM_BENCH=OFF -DQELVM_EXAMPLES=OFF "$@" || return 0
  layer "$platform" binary python3 tests/binary/check_binary.py "$library" . "$prefix" || true
  layer "$platform" frame "${runner[@]}" "$checks" "$library" frame || true
  layer "$platform" values "${runner[@]}" "$checks" "$library" values tests/values || true
  layer "$platform" golden "${runner[@]}" "$checks" "$library" golden tests/golden/hashes.txt || true
}

base_tests() {
  require_packages "${build_packages[@]}" "${test_packages[@]}"
  require_packages "${fit_packages[@]}" || say "no Sollya"
  if $platforms; then
    set -- -C Fits "$@" # also what takes minutes: the fits of the tables
  fi
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
  local compiler level
  for compiler in g++ clang++; do
    if ! command -v "$compiler" > /dev/null && ! require_packages "${clang_packages[@]}"; then
      skip_platform "$compiler" "cannot be installed"
      continue
    fi
    for level in -O0 -O1 -O2 -O3; do
      check_platform "$compiler $level" "build/$compiler$level" src/libqelvmpx.so.5 \
        tests/library_checks "" -- -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=None \
        -DCMAKE_CXX_FLAGS="$level"
    done
  done
}

windows_tests() {
  if ! require_packages "${build_packages[@]}" "${windows_packages[@]}"; then
    skip_platform Windows "no cross compiler"
    return
  fi
  if ! require_packages "${wine_packages[@]}"; then
    skip_platform Windows "no Wine"
    return
  fi
  local directory=build/windows
  export WINEPREFIX=$PWD/build/wine WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  check Wine wineboot --init || true
  check_platform Windows "$directory" src/qelvmpx.dll tests/library_checks.exe i686-w64-mingw32- \
    wine -- --toolchain cmake/mingw-i686.cmake -DQELVM_EXAMPLES=ON
  export WINEPATH=$PWD/$directory/src # where programs find the DLL
  check "Windows example" wine "$directory/examples/misra1a/misra1a.exe" \
    examples/misra1a/misra1a.dat || true
}

# foreign_tests PROCESSOR TRIPLE PACKAGE RUNNER...: Linux on another processor.
foreign_tests() {
  local processor=$1 triple=$2 package=$3
  shift 3
  if ! require_packages "${build_packages[@]}" "$package" "${emulator_packages[@]}"; then
    skip_platform "$processor" "no cross compiler or emulator"
    return
  fi
  check_platform "$processor" "build/$processor" src/libqelvmpx.so.5 tests/library_checks \
    "$triple-" "$@" -- -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR="$processor" \
    -DCMAKE_C_COMPILER="$triple-gcc" -DCMAKE_CXX_COMPILER="$triple-g++"
}

processor_tests() {
  local i686=/usr/i686-linux-gnu/lib
  foreign_tests i686 i686-linux-gnu g++-i686-linux-gnu $i686/ld-linux.so.2 --library-path $i686
  local processor triple
  while read -r processor triple; do
    foreign_tests "$processor" "$triple" "g++-$triple" \
      "qemu-$processor" -L "/usr/$triple"
  done << 'END'
aarch64 aarch64-linux-gnu
riscv64 riscv64-linux-gnu
ppc64le powerpc64le-linux-gnu
s390x s390x-linux-gnu
END
}

# The whole suite once more with the address and undefined-behaviour sanitizers, but for what is about
# the binary itself; the paths that the golden sequence takes; the reference without a warning; the
# format of the sources.
quality_tests() {
  local directory=build/sanitized
  if require_packages "${instrumentation_packages[@]}"; then
    # (g++ takes minutes for every kernel here.)
    check "sanitizers build" build $directory -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O1 -DCMAKE_C_FLAGS=-O1 -DQELVM_BENCH=OFF \
      -DQELVM_EXAMPLES=OFF -DQELVM_INSTRUMENTATION="-fsanitize=address,undefined \
        -fno-sanitize=function -fno-sanitize-recover=undefined" &&
      check "sanitizers" ctest --test-dir $directory -j "$(nproc)" --output-on-failure \
        -LE 'binary|install|tables|accuracy' -E BytesOfStack || true
    check coverage tools/coverage.py || true
  else
    skip "sanitizers and coverage" "no clang with its runtime library"
  fi
  if require_packages doxygen; then
    check documentation doxygen docs/Doxyfile || true
  else
    skip documentation "no doxygen"
  fi
  if require_packages clang-format; then
    check format bash -c \
      "git ls-files '*.[ch]' '*.[ch]pp' | xargs clang-format --dry-run -Werror && echo as in .clang-format" || true
  else
    skip format "no clang-format"
  fi
}

base_tests "$@"
if $platforms; then
  compiler_tests
  windows_tests
  processor_tests
  quality_tests
  print_table
fi
printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
[ "$failed" -eq 0 ]
