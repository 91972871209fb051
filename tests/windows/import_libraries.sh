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
done
# As Microsoft's tools do: objects of their kind, linked by lld-link, which has their options.
{
  cat "$source/caller.c"
  echo 'int _fltused = 1; /* from their runtime library */'
} > "$temporary/caller.c"
clang -target "$2-pc-windows-msvc" -ffreestanding -I "$source/../../include" \
  -isystem "/usr/$2-w64-mingw32/include" -c "$temporary/caller.c" -o "$temporary/caller.obj"
lld-link /entry:main /subsystem:console /nodefaultlib /safeseh:no "/out:$temporary/lld.exe" \
  "$temporary/caller.obj" "$temporary/llvm.a"
for linked in gnu llvm lld; do
  wine "$temporary/$linked.exe" || { echo "$linked: status $?" && exit 1; }
done
echo "linked by three linkers against two import libraries"
