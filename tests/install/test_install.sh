#!/usr/bin/env bash
# Installs the build into an empty place and uses it from outside: CMake package, the build tree as a
# package, add_subdirectory, pkg-config; then uninstalls.
# usage: test_install.sh BUILD_DIRECTORY SOURCE_DIRECTORY
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
manifest=$build/install_manifest.txt # of an installation that the user may have made
[ -e "$manifest" ] && cp "$manifest" "$work/manifest"
restore() {
  [ -e "$work/manifest" ] && cp "$work/manifest" "$manifest"
  rm -rf "$work"
}
trap restore EXIT
prefix=$work/prefix

step() { # step NAME COMMAND...: one case, counted
  local name=$1
  shift
  if "$@" > "$work/log" 2>&1; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'FAILED %s\n' "$name"
    cat "$work/log"
  fi
}
passed=0 failed=0

consume() { # consume NAME CMAKE_OPTIONS...
  local tree=$work/$1
  shift
  cmake -G Ninja -S "$source/tests/install/consumer" -B "$tree" "$@" &&
    cmake --build "$tree" && "$tree/consumer_c" && "$tree/consumer_cpp"
}
with_pkg_config() {
  export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name qelvmpx.pc)")
  local flags
  flags=$(pkg-config --cflags --libs qelvmpx)
  # shellcheck disable=SC2086
  cc -std=c99 -Wall -Wextra -pedantic -Werror "$source/tests/install/consumer/consumer.c" $flags \
    -Wl,-rpath,"$(pkg-config --variable=libdir qelvmpx)" -o "$work/consumer" && "$work/consumer"
}
tool_works() { "$prefix/bin/qelvm" eval Exp_64f_A53 1 | grep -q 2.718281828459045; }
nothing_left() {
  cmake --build "$build" --target uninstall
  local left
  left=$(find "$prefix" ! -type d)
  [ -z "$left" ] || { echo "left behind: $left"; false; }
}

step "install" cmake --install "$build" --prefix "$prefix"
step "CMake package" consume package -DCMAKE_PREFIX_PATH="$prefix"
step "build tree" consume tree -Dqelvm_DIR="$build"
step "add_subdirectory" consume subdirectory -DQELVM_SOURCE="$source" \
  -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O0
step "pkg-config" with_pkg_config
step "installed tool" tool_works
step "example by itself" cmake -G Ninja -S "$source/examples/misra1a" -B "$work/example" \
  -DCMAKE_PREFIX_PATH="$prefix"
step "uninstall" nothing_left
printf '%d passed, %d failed\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
