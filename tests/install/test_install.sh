#!/usr/bin/env bash
# Installs the build into an empty place and uses it from outside: CMake package, the build tree as a
# package, add_subdirectory, pkg-config, shared and static, every level of processors; then uninstalls.
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
with_pkg_config() { # with_pkg_config FOLDER [LINKER_OPTION...]: by the .pc file below the folder
  export PKG_CONFIG_PATH=$(dirname "$(find "$1" -name qelvmpx.pc)")
  shift
  local flags
  flags=$(pkg-config --cflags --libs qelvmpx)
  # shellcheck disable=SC2086
  cc -std=c99 -Wall -Wextra -pedantic -Werror "$source/tests/install/consumer/consumer.c" "$@" $flags \
    -Wl,-Bdynamic -Wl,-rpath,"$(pkg-config --variable=libdir qelvmpx)" -o "$work/consumer" &&
    "$work/consumer"
}
needs_library() { readelf -d "$1" | grep -q 'NEEDED.*libqelvmpx'; }
static_package() {
  consume "$1" -DCMAKE_PREFIX_PATH="$2" -DQELVM_TARGET="$3" && ! needs_library "$work/$1/consumer_c"
}
# Of the builds for levels of processors the dynamic loader takes the best that the processor has and
# the user does not mask: told by the loader itself, and level by level from there.
best_level() {
  local code loader
  loader=$(readelf -l "$work/package/consumer_c" | sed -n 's/.*interpreter: \(.*\)]/\1/p')
  for code in v4 v3; do
    grep -qE '^QELVM_WIDE:[A-Z]*=(ON|1)$' "$build/CMakeCache.txt" &&
      "$loader" --help | grep "x86-64-$code (supported" > /dev/null && echo $code && return
  done
  echo px
}
takes() { # takes CODE MASK COMMAND...: what it prints ends with the code of the level
  local code=$1 mask=$2 got
  shift 2
  got=$(GLIBC_TUNABLES=glibc.cpu.hwcaps=$mask "$@" | tail -n 1)
  [ "$got" = "$code" ] || { echo "$got instead of $code with the mask \"$mask\": $*" && false; }
}
tool() { "$@" --version | sed -n 's/compiled for: \([^,]*\),.*/\1/p'; }
levels() { # levels PREFIX: a program and the tool there
  local best names level folder
  folder=$(dirname "$1"/lib*/libqelvmpx.so.5)
  best=$(best_level)
  local program=(env LD_LIBRARY_PATH="$folder" "$work/package/consumer_c")
  for user in "${program[*]}" "tool $1/bin/qelvm"; do
    # shellcheck disable=SC2086
    takes "$best" "" $user && takes "${best/v4/v3}" -AVX512F $user && takes px -AVX2 $user || return 1
  done
  # A file that is named by its path is that file.
  takes px "" tool "$1/bin/qelvm" --library "$folder/libqelvmpx.so.5" || return 1
  # Nothing links a level: it has the names that the loader looks for, and no other.
  for level in "$folder"/glibc-hwcaps/*/; do
    [ -e "$level" ] || continue
    names=$(cd "$level" && echo *)
    [ "$names" = "$(cd "$folder" && echo libqelvmpx.so.*)" ] || { echo "$level: $names" && return 1; }
  done
}
moved() {
  cp -a "$prefix" "$work/moved" && levels "$work/moved" &&
    "$work/moved/bin/qelvm" --version | grep "^library: $work/moved/"
}
# Without the shared library, from the sources: the header's folder and the library's given as absolute
# paths outside the prefix.
static_only() {
  local tree=$work/static_build
  cmake -G Ninja -S "$source" -B "$tree" -DBUILD_SHARED_LIBS=OFF -DCMAKE_INSTALL_PREFIX="$work/alone" \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O0 -DCMAKE_INSTALL_LIBDIR="$work/apart/lib" \
    -DCMAKE_INSTALL_INCLUDEDIR="$work/apart/include" && cmake --build "$tree" &&
    cmake --install "$tree" &&
    ! find "$work/alone" "$work/apart" -name '*.so*' -o -name glibc-hwcaps | grep . &&
    with_pkg_config "$work/apart" && static_package only "$work/apart" qelvm::qelvmpx &&
    cmake --build "$tree" --target uninstall && [ ! -e "$work/apart" ] && [ ! -e "$work/alone" ]
}
# Nothing of another library is needed, and no other name is offered than by the shared library.
archive_alone() {
  local all=$work/all.o
  ld -r --whole-archive "$prefix"/lib*/libqelvmpx.a -o "$all" &&
    ! nm -u "$all" | grep -v _GLOBAL_OFFSET_TABLE_ &&
    diff <(readelf -sW "$all" | awk '$5 == "GLOBAL" && $6 == "DEFAULT" && $7 != "UND" { print $8 }' | sort) \
      <(nm -D --defined-only "$prefix"/lib*/libqelvmpx.so | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)
}
documents() { # their links lead somewhere
  local document link missing=0 folder=$prefix/share/doc/qelvm
  for document in "$folder"/*.md; do
    while read -r link; do
      [ -e "$folder/$link" ] || { echo "${document##*/} links $link" && missing=1; }
    done < <(grep -o '](\([^)#]*\)' "$document" | sed 's/^](//' | grep -v : | grep .)
  done
  [ -e "$folder/LICENSE" ] && [ -e "$folder/using.md" ] && [ "$missing" -eq 0 ] &&
    { ! command -v doxygen > /dev/null || [ -e "$folder/reference/index.html" ]; }
}
tool_works() { "$prefix/bin/qelvm" eval Exp_64f_A53 1 | grep -q 2.718281828459045; }
python_package() { # its library is the installed one
  grep -q '^QELVM_PYTHON:BOOL=ON' "$build/CMakeCache.txt" || return 0
  local interpreter folder
  interpreter=$(sed -n 's/^QELVM_PYTHON_INTERPRETER:[A-Z]*=//p' "$build/CMakeCache.txt")
  folder=$(sed -n 's/^QELVM_PYTHON_DIR:[A-Z]*=//p' "$build/CMakeCache.txt")
  PYTHONPATH=$prefix/$folder "$interpreter" -B -c 'import qelvm; print(qelvm.library().path)' |
    grep "^$prefix/lib.*/libqelvmpx.so"
}
nothing_left() {
  cmake --build "$build" --target uninstall
  local left
  left=$(find "$prefix" -mindepth 1)
  [ "$left" = "$prefix/share
$prefix/share/somebody" ] || { echo "left behind: $left"; false; }
}

mkdir -p "$prefix/share/somebody" # not ours: stays
step "install" cmake --install "$build" --prefix "$prefix"
step "CMake package" consume package -DCMAKE_PREFIX_PATH="$prefix"
step "build tree" consume tree -Dqelvm_DIR="$build"
step "add_subdirectory" consume subdirectory -DQELVM_SOURCE="$source" \
  -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O0
step "levels" levels "$prefix"
step "levels, moved" moved
step "pkg-config" with_pkg_config "$prefix"
step "pkg-config, static" with_pkg_config "$prefix" -Wl,-Bstatic
step "CMake package, static" static_package static "$prefix" qelvm::static
step "static only" static_only
step "archive" archive_alone
step "documents" documents
step "installed tool" tool_works
step "manual and completion" ls "$prefix/share/man/man1/qelvm.1" \
  "$prefix/share/bash-completion/completions/qelvm"
step "Python package" python_package
step "example by itself" cmake -G Ninja -S "$source/examples/misra1a" -B "$work/example" \
  -DCMAKE_PREFIX_PATH="$prefix"
step "uninstall" nothing_left
printf '%d passed, %d failed\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
