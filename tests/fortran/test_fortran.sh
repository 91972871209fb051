#!/usr/bin/env bash
# The module for Fortran: the test of its procedures, and an installation of it used from outside, as a
# CMake target and as a source.
# usage: test_fortran.sh BUILD_DIRECTORY (configured with QELVM_FORTRAN=ON) SOURCE_DIRECTORY
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
manifest=$build/install_manifest.txt # of an installation that the user may have made
[ ! -e "$manifest" ] || cp "$manifest" "$work/manifest"
restore() {
  [ ! -e "$work/manifest" ] || cp "$work/manifest" "$manifest"
  rm -rf "$work"
}
trap restore EXIT

"$build/tests/fortran/fortran_test"
DESTDIR=$work/root cmake --install "$build" --prefix /opt > /dev/null
prefix=$work/root/opt

cmake -G Ninja -S "$source/examples/fortran" -B "$work/target" -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
cmake --build "$work/target" > /dev/null
"$work/target/decay" > "$work/from_target"

flags=$(PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name qelvmpx.pc)") pkg-config --libs qelvmpx)
libraries=$(dirname "$(find "$prefix" -name libqelvmpx.so)")
# shellcheck disable=SC2086
gfortran -std=f2018 -J "$work" "$prefix/include/qelvm.f90" "$source/examples/fortran/decay.f90" $flags \
  -Wl,-rpath,"$libraries" -o "$work/decay"
"$work/decay" > "$work/from_source"
cmp "$work/from_target" "$work/from_source"
cat "$work/from_source"
grep -q 'bits 3FFD0E3298979AF9' "$work/from_source" && grep -q 'bits 3FE2040FEA1F529D' "$work/from_source" ||
  { echo "the sums have other bits" && exit 1; }
# An error in the shapes that nobody asked the status of ends the program.
printf 'use qelvm\nreal(8) :: x(3) = 1, y(4)\ncall qelvm_exp(x, y)\nend\n' > "$work/shapes.f90"
# shellcheck disable=SC2086
gfortran -I "$work" "$work/shapes.f90" "$prefix"/lib*/libqelvm_fortran.a $flags -Wl,-rpath,"$libraries" \
  -o "$work/shapes"
if "$work/shapes" 2> "$work/message" || ! grep -q 'qelvm_exp: the arrays do not have one shape' "$work/message"; then
  echo "arrays of two shapes: no error" && exit 1
fi
echo "the module for Fortran: every export, an installation as a target and as a source"
