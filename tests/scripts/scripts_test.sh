#!/usr/bin/env bash
# run.sh and test.sh never tell of a build or a test that did not happen. Builds are stood in for by
# programs of the same names in front of the real ones.
# usage: scripts_test.sh SOURCE_DIRECTORY
set -euo pipefail
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0 failed=0

# expect NAME STATUS TEXT COMMAND...: the command ends with that status and prints that text.
expect() {
  local name=$1 status=$2 text=$3 ended=0
  shift 3
  "$@" > "$work/output" 2>&1 || ended=$?
  if [ "$ended" -eq "$status" ] && grep -qF -e "$text" "$work/output"; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'FAILED %s: status %s for %s; no "%s" in:\n' "$name" "$ended" "$status" "$text"
    cat "$work/output"
  fi
}

# fake PROGRAM TEXT: what PROGRAM does from now on, in $work/bin.
mkdir "$work/bin" "$work/build" "$work/build/linux"
export PATH=$work/bin:$PATH QELVM_BUILD_DIR=$work/build
fake() {
  printf '#!/bin/sh\n%s\n' "$2" > "$work/bin/$1"
  chmod +x "$work/bin/$1"
}
# fake_ctest TESTS FAILURES STATUS: a ctest that reports so many.
fake_ctest() {
  fake ctest "while [ \"\$1\" != --output-junit ]; do shift; done
printf '<testsuite\\ttests=\"$1\"\\n\\tfailures=\"$2\"\\n\\tdisabled=\"0\"\\n\\tskipped=\"0\">' > \"\$2\"
exit $3"
}
test_sh=$source/test.sh run_sh=$source/run.sh

expect "unknown option" 2 "unknown option --nonsense" "$test_sh" --nonsense
expect "option without its value" 2 "needs a value" "$test_sh" -L
expect "help" 0 "--platforms" "$test_sh" --help
QELVM_BUILD_DIR=/dev/null/build expect "no place to build" 1 "QELVM_BUILD_DIR=" "$test_sh"
QELVM_BUILD_DIR=/dev/null/build expect "no place to build" 1 "QELVM_BUILD_DIR=" "$run_sh"

# A build that fails, with an old program lying around.
mkdir -p "$work/build/linux/apps/qelvm"
fake ../build/linux/apps/qelvm/qelvm 'echo stale'
fake cmake 'echo broken source; exit 1'
fake ctest 'exit 0'
expect "failed build" 1 "0 passed, 1 failed" "$test_sh"
expect "failed build is shown" 1 "broken source" "$test_sh"
expect "failed build, stale program" 1 "broken source" "$run_sh" list

# Tests that do not run, or not all.
fake cmake 'echo "$@" >> "$QELVM_BUILD_DIR/cmake_calls"'
expect "no report" 1 "no test ran" "$test_sh"
fake_ctest 0 0 0
expect "no tests" 1 "no test ran" "$test_sh" -L nosuchlabel
fake_ctest 3 0 8
expect "ctest fails, the report knows nothing of it" 1 "2 passed, 1 failed" "$test_sh"
fake_ctest 3 0 0
expect "all passed" 0 "3 passed, 0 failed, 0 skipped" "$test_sh"
fake_ctest 3 1 8
expect "a failure" 1 "2 passed, 1 failed" "$test_sh"

# A build folder keeps what it was configured with, but not when it was made for another place.
calls=$work/build/cmake_calls cache=$work/build/linux/CMakeCache.txt
configure() { # configure SOURCE_DIRECTORY: run.sh with a folder that was configured for these sources
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\nCMAKE_CACHEFILE_DIR:INTERNAL=%s\n' "$1" \
    "$work/build/linux" > "$cache"
  rm -f "$calls"
  "$run_sh" list
}
expect "in its place" 0 "" configure "$(realpath "$source")"
expect "in its place, not configured anew" 1 "0" grep -c -e --fresh -e QELVM_TESTS "$calls"
expect "moved" 0 "configured anew" configure /elsewhere
expect "moved, configured anew without tests" 0 "--fresh -DQELVM_TESTS=OFF" cat "$calls"

printf '%d passed, %d failed\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
