#!/usr/bin/env bash
# Makes import libraries from qelvmpx.def with the tools that there are, links a program with each and
# runs it under Wine (with the DLL in WINEPATH).
# usage: import_libraries.sh BUILD_DIRECTORY PROCESSOR MACHINE (llvm-dlltool's name of the processor)
set -euo pipefail
source=$(dirname "$(readlink -f "$0")")
definition=$1/src/qelvmpx.def compiler=$2-w64-mingw32-gcc-win32
temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT

"$2-w64-mingw32-dlltool" --input-def "$definition" --output-lib "$temporary/gnu.a"
llvm-dlltool -m "$3" -D qelvmpx.dll -d "$definition" -l "$temporary/llvm.a"
for library in gnu llvm; do
  "$compiler" -I "$source/../../include" "$source/caller.c" "$temporary/$library.a" \
    -o "$temporary/$library.exe"
  wine "$temporary/$library.exe" || { echo "$library: status $?" && exit 1; }
done
echo "2 import libraries"
