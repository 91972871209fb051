# Sourced by test.sh: the parts of --platforms, a function NAME_tests for each.
# shellcheck shell=bash disable=SC2154

# In this order: what is built for one is used by a later one where it is there.
platform_parts=(compilers options levels windows processors neon fortran mpi wasm web quality python dask
  reproducible emulated)

# What became of every layer on every platform, for the table at the end.
layers=(build binary frame values golden)
rows=()
declare -A outcome

# layer PLATFORM LAYER COMMAND...: one layer's check on one platform.
layer() {
  local platform=$1 layer=$2
  shift 2
  if [ "$layer" = build ]; then
    say "building $platform"
    rows+=("$platform")
  fi
  outcome[$platform $layer]=FAILED
  check "$platform $layer" "$@" && outcome[$platform $layer]=passed
}

# The binary, and where GCC optimised and noted it, the stack.
check_library() {
  grep -qx 'CMAKE_BUILD_TYPE:[A-Z]*=Release' "$1/CMakeCache.txt" &&
    { python3 tests/binary/check_stack.py "$1" 512 || return 1; }
  python3 tests/binary/check_binary.py "$2" . "$3"
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
    -DQELVM_BENCH=OFF -DQELVM_EXAMPLES=OFF -DQELVM_WIDE=OFF "$@" || return 0
  layer "$platform" binary check_library "$directory" "$library" "$prefix" || true
  layer "$platform" frame "${runner[@]}" "$checks" "$library" frame || true
  layer "$platform" values "${runner[@]}" "$checks" "$library" values families || true
  layer "$platform" golden "${runner[@]}" "$checks" "$library" golden families || true
}

# Other compilers and optimisation levels: the same hashes, and no warnings. (Cross compilers, older ones
# among them, warn of their own headers.)
compilers_tests() {
  local compiler level
  for compiler in g++ clang++; do
    if ! command -v "$compiler" > /dev/null && ! require_packages "${clang_packages[@]}"; then
      skip_platform "$compiler" "cannot be installed"
      continue
    fi
    for level in -O0 -O1 -O2 -O3; do
      check_platform "$compiler $level" "$build_root/$compiler$level" src/libqelvmpx.so.5 \
        tests/library_checks "" -- -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=None \
        -DCMAKE_CXX_FLAGS="$level" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON
    done
  done
}

# A library that was built with options of the user's: no other results, no other instructions.
check_options() {
  local library=$1/src/libqelvmpx.so.5 checks=$build_root/linux/tests/library_checks
  check_library "$1" "$library" "" && "$checks" "$library" frame &&
    "$checks" "$library" values families && "$checks" "$library" golden families
}

# The tool of such a build prints what the ordinary one prints: subnormals, and what is not a number.
check_tool_options() {
  local arguments=(apps/qelvm/qelvm eval Exp_64f_A53 -740 -0 nan inf 0x1p-1074)
  build "$1" --target qelvm -DQELVM_TOOL=ON &&
    diff <("$build_root/linux/${arguments[0]}" "${arguments[@]:1}") <("$1/${arguments[0]}" "${arguments[@]:1}") &&
    echo "the same results"
}

# Options of the user's that would change results: the library does not heed them, nor does the tool.
options_tests() {
  local compiler options directory
  while read -r compiler options; do
    command -v "$compiler" > /dev/null || require_packages "${clang_packages[@]}" || {
      skip "$compiler $options" "no compiler"
      continue
    }
    directory=$build_root/options/$compiler${options// /}
    check "$compiler $options build" build "$directory" --target qelvmpx -DQELVM_TOOL=OFF \
      -DQELVM_WIDE=OFF -DQELVM_BENCH=OFF -DQELVM_EXAMPLES=OFF -DQELVM_TESTS=OFF -DCMAKE_BUILD_TYPE=None \
      -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="-O2 $options" &&
      check "$compiler $options" check_options "$directory" || continue
    case $options in -Ofast* | -ffast-math*) ;; *) continue ;; esac # the tool takes longer
    check "$compiler $options tool" check_tool_options "$directory" || true
  done << 'END'
g++ -ffast-math -mfma
g++ -Ofast -march=native
g++ -ffinite-math-only -funsafe-math-optimizations -mfpmath=387
g++ -fassociative-math -freciprocal-math -fno-signed-zeros -fno-trapping-math
g++ -frounding-math -fexcess-precision=fast -fsingle-precision-constant -flto -ffp-contract=fast -mfma
clang++ -Ofast -march=x86-64-v3
clang++ -ffinite-math-only -fassociative-math -freciprocal-math -fno-signed-zeros -fno-trapping-math
clang++ -funsafe-math-optimizations -fdenormal-fp-math=positive-zero -fapprox-func -frounding-math
clang++ -ffp-model=fast -flto
END
}

# check_level LIBRARY LEVEL CODE [RUNNER...]: taken apart, and run through the exports.
check_level() {
  local library=$1 level=$2 code=$3 checks=$build_root/linux/tests
  python3 tests/binary/check_binary.py "$library" . "" "$level" &&
    "$checks/library_checks" "$library" frame "$code" &&
    "$checks/library_checks" "$library" values families &&
    "$checks/library_checks" "$library" golden families &&
    "$checks/compare_libraries" "$build_root/linux/src/libqelvmpx.so.5" "$library"
}

# level_runs LEVEL: this processor can. (Of a pipe the status would be that of the program, which refuses.)
level_runs() {
  ! grep -q "this processor is not one" <("$build_root/linux/tests/library_checks" \
    "$build_root/linux/src/glibc-hwcaps/x86-64-$1/libqelvmpx.so.5" frame "$1" 2>&1)
}

# compare_with_plain LIBRARY OPTIONS...: floats and doubles, each on a processor of its own.
compare_with_plain() {
  local library=$1 half status=0
  shift
  local compare=("$build_root/linux/tests/compare_libraries" "$build_root/linux/src/libqelvmpx.so.5" "$library" "$@")
  "${compare[@]}" --only _32f_ > "$temporary/half" 2>&1 &
  half=$!
  "${compare[@]}" --only _64f_ || status=$?
  wait "$half" || status=$?
  cat "$temporary/half"
  return $status
}

# The libraries over SIMD registers: ten million elements through each export beside the plain one;
# made by other compilers, and with options that would bring other instructions or other results.
levels_tests() {
  local level compiler options directory library
  if [ "$(uname -m)" != x86_64 ]; then
    skip "levels" "this processor is another one"
    return
  fi
  level_runs v4 || start_emulation
  for level in v3 v4; do
    library=glibc-hwcaps/x86-64-$level/libqelvmpx.so.5
    if ! level_runs $level; then
      skip "level $level" "this processor cannot run it"
      continue
    fi
    check "$level comparison" compare_with_plain "$build_root/linux/src/$library" --count 10000000 --seed 2 || true
    while read -r compiler options; do
      command -v "$compiler" > /dev/null || require_packages "${clang_packages[@]}" || {
        skip "$level $compiler $options" "no compiler"
        continue
      }
      directory=$build_root/levels/$compiler${options// /}
      check "$level $compiler $options build" build "$directory" --target "qelvmpx_$level" \
        -DQELVM_WIDE=ON -DQELVM_TOOL=OFF -DQELVM_BENCH=OFF -DQELVM_EXAMPLES=OFF -DQELVM_TESTS=OFF \
        -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$options" &&
        check "$level $compiler $options" check_level "$directory/src/$library" $level $level || true
    done << 'END'
g++ -O1
g++ -Ofast -march=native
clang++ -O3
clang++ -O1 -ffast-math -mfma
END
  done
}

# v4 in an emulated processor, where this one cannot run it: with what the other parts leave of the time,
# since `levels` begins it and the last part awaits it.
emulation=
start_emulation() {
  case " ${parts[*]} " in *" emulated "*) ;; *) return ;; esac
  [ -z "$emulation" ] && require_packages "${machine_packages[@]}" || return 0
  nice -n 19 tests/v4_emulated.sh "$build_root/linux" > "$temporary/emulation" 2>&1 &
  emulation=$!
}
emulated_tests() {
  local status=77
  if [ "$(uname -m)" != x86_64 ] || level_runs v4; then
    return
  fi
  start_emulation
  [ -z "$emulation" ] || { wait "$emulation" && status=0 || status=$?; }
  if [ $status = 77 ]; then
    skip "v4 in an emulated processor" "no emulator, or no kernel for it"
  else
    check "v4 in an emulated processor" bash -c 'cat "$1"; exit "$2"' bash "$temporary/emulation" $status || true
  fi
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
  local processors=(x86_64)
  if require_packages "${wine32_packages[@]}"; then
    processors+=(i686)
  else
    skip_platform windows "no Wine for 32 bits"
  fi
  # One prefix runs both; programs find the DLL in WINEPATH.
  export WINEPREFIX=$build_root/wine64 WINEARCH=win64 WINEDEBUG=-all
  export WINEDLLOVERRIDES="mscoree,mshtml=" WINEPATH
  check Wine wineboot --init || true
  # Wine's own services begin and end with its programs, and now and then one falls as it ends. While a
  # program waits, they stay.
  local session
  exec {session}> >(exec wine cmd.exe > "$temporary/session" 2>&1)
  local platform processor machine directory
  while read -r platform processor machine; do
    case " ${processors[*]} " in *" $processor "*) ;; *) continue ;; esac
    directory=$build_root/$platform
    check_platform "$platform" "$directory" src/qelvmpx.dll tests/library_checks.exe \
      "$processor-w64-mingw32-" wine -- --toolchain "cmake/mingw-$processor.cmake" \
      -DQELVM_EXAMPLES=ON -DQELVM_TOOL=ON
    check "$platform tool" python3 tests/cli/cli_test.py "$directory/src/qelvm.exe" \
      "$directory/tests/cli/cli_stand_in.dll" wine || true
    WINEPATH=$directory/src
    check "$platform example" wine "$directory/examples/misra1a/misra1a.exe" \
      examples/misra1a/misra1a.dat || true
    check "$platform import libraries" tests/windows/import_libraries.sh "$directory" \
      "$processor" "$machine" || true
  done << 'END'
windows i686 i386
windows64 x86_64 i386:x86-64
END
  exec {session}>&-
}

# foreign_tests PROCESSOR TRIPLE PACKAGE RUNNER...: Linux on another processor.
foreign_tests() {
  local processor=$1 triple=$2 package=$3
  shift 3
  if ! require_packages "${build_packages[@]}" "$package" "${emulator_packages[@]}"; then
    skip_platform "$processor" "no cross compiler or emulator"
    return
  fi
  check_platform "$processor" "$build_root/$processor" src/libqelvmpx.so.5 tests/library_checks \
    "$triple-" "$@" -- -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR="$processor" \
    -DCMAKE_C_COMPILER="$triple-gcc" -DCMAKE_CXX_COMPILER="$triple-g++"
}

processors_tests() {
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

# Advanced SIMD: a library of its own. (A platform's table has no column for it.)
neon_tests() {
  local directory=$build_root/neon runner=(qemu-aarch64 -L /usr/aarch64-linux-gnu) library layer
  library=$directory/src/qelvm/neon/libqelvmpx.so.5
  if ! require_packages "${build_packages[@]}" g++-aarch64-linux-gnu "${emulator_packages[@]}"; then
    skip neon "no cross compiler or emulator"
    return
  fi
  check "neon build" build "$directory" -DQELVM_WIDE=neon -DQELVM_EXPORTS_TESTS_ONLY=ON \
    -DQELVM_TOOL=OFF -DQELVM_BENCH=OFF -DQELVM_EXAMPLES=OFF -DCMAKE_SYSTEM_NAME=Linux \
    -DCMAKE_SYSTEM_PROCESSOR=aarch64 -DCMAKE_C_COMPILER=aarch64-linux-gnu-gcc \
    -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++ || return 0
  check "neon binary" python3 tests/binary/check_binary.py "$library" . aarch64-linux-gnu- neon || true
  for layer in "frame asd" "values families" "golden families"; do
    # shellcheck disable=SC2086
    check "neon $layer" "${runner[@]}" "$directory/tests/library_checks" "$library" $layer || true
  done
  check "neon comparison" "${runner[@]}" "$directory/tests/compare_libraries" \
    "$directory/src/libqelvmpx.so.5" "$library" --count 50000 || true
}

# The module for Fortran: here, and where its calls are of another convention.
fortran_tests() {
  local linux=$build_root/linux windows=$build_root/windows
  if ! require_packages "${fortran_packages[@]}"; then
    skip Fortran "no gfortran"
    return
  fi
  check "Fortran build" build "$linux" -DQELVM_FORTRAN=ON &&
    check Fortran tests/fortran/test_fortran.sh "$linux" "$PWD" || true
  if ! [ -e "$windows/src/qelvmpx.dll" ] || ! require_packages "${fortran_windows_packages[@]}"; then
    skip "Fortran on 32-bit Windows" "no cross compiler or no Wine"
    return
  fi
  check "Fortran on 32-bit Windows, build" build "$windows" --target fortran_test -DQELVM_FORTRAN=ON &&
    WINEPATH=$windows/src check "Fortran on 32-bit Windows" wine \
      "$windows/tests/fortran/fortran_test.exe" || true
}

mpi_tests() {
  if ! require_packages "${mpi_packages[@]}"; then
    skip MPI "no Open MPI"
    return
  fi
  check "MPI build" build "$build_root/linux" -DQELVM_MPI=ON &&
    check MPI python3 tests/mpi/mpi_test.py "$build_root/linux" || true
}

# (Distributions have Dask for their own interpreter.)
dask_tests() {
  if [ $python = OFF ] || ! require_packages "${dask_packages[@]}"; then
    skip Dask "no NumPy or no Dask"
    return
  fi
  PYTHONPATH=$build_root/linux/python check Dask /usr/bin/python3 tests/dask/dask_test.py || true
}

# The worked problem, by Python and by C, also of 32 bits where such a library was built.
reproducible_tests() {
  if [ $python = OFF ]; then
    skip "worked problem" "no NumPy"
    return
  fi
  local more=()
  if [ -e "$build_root/i686/src/libqelvmpx.so.5" ]; then more=("$build_root/i686"); fi
  PYTHONPATH=$build_root/linux/python check "worked problem" tests/reproducible/reproducible_test.sh \
    "$build_root/linux" "${more[@]}" || true
}

# WebAssembly: the library in both its modules, and the package for JavaScript in Node.
wasm_tests() {
  local directory=$build_root/wasm program code platform run
  if ! require_packages "${build_packages[@]}" "${wasm_packages[@]}"; then
    skip_platform wasm "no compiler for it"
    return
  fi
  if ! require_npm; then
    skip_platform wasm "no Node, or no npm"
    return
  fi
  layer wasm build build "$directory" --toolchain cmake/wasm32.cmake -DQELVM_TESTS=ON || return 0
  layer wasm binary node tests/binary/check_module.mjs "$directory/js/qelvm.wasm" \
    "$directory/js/qelvm-simd.wasm" || true
  rows+=("wasm simd")
  while read -r program code platform; do
    run=(node tests/library/run_wasi.mjs "$directory/tests/$program.wasm" "$platform")
    layer "$platform" frame "${run[@]}" frame "$code" || true
    layer "$platform" values "${run[@]}" values families || true
    layer "$platform" golden "${run[@]}" golden families || true
  done << 'END'
library_checks px wasm
library_checks_simd wsd wasm simd
END
  check "package for JavaScript" js/test/run.sh "$directory/npm" || true
}

# The page of web/ with real clicks, and the package in engines of JavaScript, each where it can be had.
web_tests() {
  # shellcheck source=tools/page.sh
  . tools/page.sh
  if ! require_packages "${wasm_packages[@]}" || ! require_npm; then
    skip "page and engines" "no compiler for WebAssembly, or no npm"
    return
  fi
  check "page build" build_page "$build_root/linux" || return 0
  local engine packages
  while read -r engine packages; do
    # shellcheck disable=SC2086
    require_packages $packages || { skip "engine $engine" "cannot be installed" && continue; }
    check "engine $engine" node "$build_root/npm/engines.mjs" "$engine" "$build_root/engines" \
      "$build_root/web" "$build_root/linux" || true
    case $engine in
    chromium | firefox)
      check "page in $engine" node "$build_root/npm/page_test.mjs" "$engine" "$build_root/web" || true
      ;;
    esac
  done << 'END'
node
chromium chromium
firefox firefox-esr
webkit webkit2gtk-driver xvfb xauth
END
}

build_reference() {
  { cat docs/Doxyfile && echo "OUTPUT_DIRECTORY = \"$build_root\""; } | doxygen -
}

# The whole suite once more with the address and undefined-behaviour sanitizers, but for what is about
# the binary itself; the paths that the golden sequence takes; the reference without a warning; the
# format of the sources.
quality_tests() {
  local directory=$build_root/sanitized
  if require_packages "${instrumentation_packages[@]}"; then
    # (g++ takes minutes for every kernel here.)
    check "sanitizers build" build "$directory" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O1 -DCMAKE_C_FLAGS=-O1 -DQELVM_BENCH=OFF \
      -DQELVM_EXAMPLES=OFF -DQELVM_PYTHON=$python -DQELVM_INSTRUMENTATION="-fsanitize=address,undefined \
        -fno-sanitize=function -fno-sanitize-recover=undefined" &&
      check "sanitizers" ctest --test-dir "$directory" --no-tests=error -j "$(nproc)" --output-on-failure \
        -LE 'binary|install|tables|accuracy' || true
    check coverage tools/coverage.py "$build_root/coverage" || true
  else
    skip "sanitizers and coverage" "no clang with its runtime library"
  fi
  if require_packages doxygen; then
    check documentation build_reference || true
  else
    skip documentation "no doxygen"
  fi
  if require_packages clang-format; then
    check format bash -c \
      "find . -name '[._]?*' -prune -o -path './build*' -prune -o -name '*.[ch]' -print -o \
        -name '*.[ch]pp' -print | xargs clang-format --dry-run -Werror && echo as in .clang-format" || true
  else
    skip format "no clang-format"
  fi
  if [ -e "$build_root/linux/proofs/programs/cube_roots" ] && command -v gappa > /dev/null && command -v sollya > /dev/null; then
    check "proofs notice changes" tools/mutate_proofs.py --build "$build_root/linux" --only cube_roots || true
  else
    skip "proofs notice changes" "no Gappa or no Sollya"
  fi
}

# The Python package from the sources alone, and with more elements than an int32 counts.
python_tests() {
  if [ $python = OFF ]; then
    skip "wheel from the sources" "no NumPy"
    return
  fi
  local interpreter
  interpreter=$(sed -n 's/^QELVM_PYTHON_INTERPRETER:[A-Z]*=//p' "$build_root/linux/CMakeCache.txt")
  require_packages mypy || say "no mypy"
  QELVM_TEST_THOROUGH=1 check "wheel from the sources" tests/python/package_test.sh "$PWD" "$interpreter" || true
}
