#!/usr/bin/env bash
# Builds and runs the tests: usage() says how.
set -euo pipefail
caller=$PWD
cd "$(dirname "$(readlink -f "$0")")"
. tools/setup.sh
. tests/platforms.sh

usage() {
  sed "s/PARTS/${platform_parts[*]}/" << 'END'
Builds and runs the tests. The last line is 'N passed, N failed, N skipped'.
  ./test.sh                what this machine can run, in about two minutes
  ./test.sh -L values      one layer: these options of ctest choose tests: -L -LE -R -E REGEX;
                           -V shows what they print, -j N runs N at once
  ./test.sh --platforms    also other compilers and options, Windows under Wine, other processors under
                           QEMU, browsers, other languages; ends with a table of the platforms
  ./test.sh --platform web one part of that alone: PARTS
QELVM_BUILD_DIR=FOLDER builds there instead of in build/.
END
}

platforms=false parts=() chosen=()
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help)
      usage
      exit
      ;;
    --platforms) platforms=true ;;
    --platform)
      case " ${platform_parts[*]} " in
      *" ${2:-?} "*) platforms=true && parts+=("$2") ;;
      *) echo "--platform needs one of: ${platform_parts[*]}" >&2 && exit 2 ;;
      esac
      shift
      ;;
    -V | -VV) chosen+=("$1") ;;
    -L | -LE | -R | -E | -j)
      [ $# -gt 1 ] || { echo "$1 needs a value" >&2 && usage >&2 && exit 2; }
      chosen+=("$1" "$2")
      shift
      ;;
    *)
      echo "unknown option $1" >&2
      usage >&2
      exit 2
      ;;
  esac
  shift
done
passed=0 failed=0 skipped=0
python=OFF # whether the Python package can be built
temporary=$(mktemp -d)
trap '[ -z "$emulation" ] || kill "$emulation" 2> /dev/null || true; rm -rf "$temporary"' EXIT

skip() {
  say "SKIPPED $1: $2"
  skipped=$((skipped + 1))
}

# check NAME COMMAND...: one case, with its seconds; its output is shown if it fails.
check() {
  local name=$1 log=$temporary/log begin=$SECONDS
  shift
  if "$@" > "$log" 2>&1 < /dev/null; then
    passed=$((passed + 1))
    printf 'passed  %s (%d s): %s\n' "$name" $((SECONDS - begin)) "$(tail -n 1 "$log" | tr -d '\r')"
  else
    failed=$((failed + 1))
    printf 'FAILED  %s (%d s)\n' "$name" $((SECONDS - begin))
    tail -n 60 "$log"
    return 1
  fi
}

base_build() {
  require_packages "${build_packages[@]}" "${test_packages[@]}"
  require_packages "${python_packages[@]}" && python=ON || skip "Python package" "no NumPy"
  say "building"
  if ! build "$build_root/linux" -DQELVM_PYTHON=$python -DQELVM_TOOL=ON -DQELVM_EXAMPLES=ON \
    -DQELVM_TESTS=ON -DQELVM_BENCH=ON; then
    failed=$((failed + 1))
    return 1
  fi
}

base_tests() {
  require_packages "${fit_packages[@]}" || say "no Sollya"
  require_packages "${proof_packages[@]}" || say "no Gappa"
  if $platforms; then
    set -- -C Fits "$@" # also what takes minutes: the fits of the tables
  fi
  say "testing"
  local report=$temporary/report.xml status=0 tests failures
  ctest --test-dir "$build_root/linux" --no-tests=error --output-on-failure -j "$(nproc)" \
    --output-junit "$report" "$@" | tail -n +4 || status=$?
  touch "$report" # there is none if ctest could not begin
  count() {
    local number
    number=$(sed -n "s/.*[[:space:]]$1=\"\([0-9]*\)\".*/\1/p" "$report" | head -n 1)
    echo "${number:-0}"
  }
  tests=$(count tests)
  if [ "$tests" -eq 0 ]; then
    say "no test ran"
    failed=$((failed + 1))
    return
  fi
  failures=$(count failures)
  [ "$status" -eq 0 ] || [ "$failures" -gt 0 ] || failures=1 # of ctest itself
  failed=$((failed + failures))
  skipped=$((skipped + $(count skipped) + $(count disabled)))
  passed=$((passed + tests - failures - $(count skipped) - $(count disabled)))
}

if base_build && [ ${#parts[@]} -eq 0 ]; then base_tests "${chosen[@]}"; fi
if $platforms; then
  [ ${#parts[@]} -gt 0 ] || parts=("${platform_parts[@]}")
  for part in "${parts[@]}"; do "${part}_tests"; done
  print_table
fi
if [ $((passed + failed)) -eq 0 ]; then
  say "no test ran"
  failed=1
fi
printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
[ "$failed" -eq 0 ]
