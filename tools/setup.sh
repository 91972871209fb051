# Sourced by run.sh and test.sh: the packages that they need, and the build.
# shellcheck shell=bash

build_packages=(g++ cmake ninja-build libfmt-dev libcli11-dev)
test_packages=(libgtest-dev libmpfr-dev pkg-config binutils python3 mandoc)
fit_packages=(sollya)
proof_packages=(gappa)
figure_packages=(libsleef-dev) # its functions are measured too, where they are there
python_packages=(python3-dev python3-numpy python3-pip python3-setuptools python3-wheel)
windows_packages=(g++-mingw-w64-i686-win32 g++-mingw-w64-x86-64-win32 llvm clang lld python3)
wine_packages=(wine wine64)
wine32_packages=(wine32:i386)
clang_packages=(clang)
wasm_packages=(clang lld llvm wasi-libc libc++-14-dev-wasm32 libclang-rt-14-dev-wasm32)
node_packages=(nodejs)
emulator_packages=(qemu-user)
machine_packages=(bochs bochsbios vgabios isolinux syslinux-common xorriso busybox-static cpio) # a whole PC
fortran_packages=(gfortran)
fortran_windows_packages=(gfortran-mingw-w64-i686-win32)
mpi_packages=(libopenmpi-dev openmpi-bin python3)
dask_packages=(python3-dask python3-distributed python3-zarr python3-pandas python3-xarray python3-psutil)
instrumentation_packages=(clang llvm libclang-rt-14-dev)

# Where everything is built: a folder that can be written, below the sources unless told otherwise.
build_root=${QELVM_BUILD_DIR:-$PWD/build}
case $build_root in /*) ;; *) build_root=$caller/$build_root ;; esac

say() { printf '== %s\n' "$*"; }

missing_packages() {
  local package
  for package in "$@"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2> /dev/null)" = installed ] ||
      printf '%s\n' "$package"
  done
}

apt_update() { # an index can fail to download while a mirror changes: try again
  local try output
  for try in 1 2 3 4 5; do
    # Without an error, apt goes on with old indexes; those it names as failed count as failures.
    if output=$(apt-get update 2>&1) && ! grep -q '^[EW]: ' <<< "$output"; then
      return
    fi
    say "package index incomplete, attempt $try"
    sleep 5
  done
  return 1
}

apt_install() {
  local install=(apt-get -o DPkg::Lock::Timeout=600 install -y --no-install-recommends)
  "${install[@]}" "$@" > /dev/null 2>&1 ||
    { apt_update > /dev/null || true; "${install[@]}" "$@" > /dev/null; } ||
    "${install[@]}" -t bookworm --allow-downgrades "$@" > /dev/null
}

# require_packages PACKAGE...: installs what is missing, or says what to install.
require_packages() {
  local missing
  mapfile -t missing < <(missing_packages "$@")
  [ ${#missing[@]} -eq 0 ] && return
  if [ "$(id -u)" -ne 0 ]; then
    printf 'These packages are missing; install them as root and try again:\n  apt-get install %s\n' \
      "${missing[*]}" >&2
    return 1
  fi
  say "installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  case "${missing[*]}" in
  *:i386*)
    dpkg --add-architecture i386
    # (Without its packages, its index would only be in the way.)
    apt_install "${missing[@]}" || { dpkg --remove-architecture i386 2> /dev/null; return 1; }
    ;;
  *) apt_install "${missing[@]}" ;;
  esac
}

# Node, and npm, which some packages of Node bring.
require_npm() {
  command -v node > /dev/null || require_packages "${node_packages[@]}" || return 1
  command -v npm > /dev/null || require_packages npm
}

# The file in DIRECTORY that only one build at a time holds open: two scripts may run at once.
lock_build() {
  local directory=$1
  if ! mkdir -p "$directory" 2> /dev/null || ! { exec {build_lock}> "$directory/.lock"; } 2> /dev/null; then
    printf 'cannot write in %s: QELVM_BUILD_DIR=FOLDER %s builds in another place\n' "$directory" "$0" >&2
    return 1
  fi
  flock -n "$build_lock" || { say "waiting for another build in $directory" && flock "$build_lock"; }
}

# CMake options for a folder that is not configured yet; one that is keeps what it has.
first_options=()

# build DIRECTORY [--target NAME...] CMAKE_OPTIONS...: configures and builds, quietly but for a line
# every 15 seconds; shows the log if that fails.
build() {
  local directory=$1 log=$1/build.log build_lock target=() fresh=() status=0 seconds=0
  shift
  while [ "${1:-}" = --target ]; do
    target+=(--target "$2")
    shift 2
  done
  lock_build "$directory" || return 1
  # A cache names the places that it was made for: after a move it is made anew.
  if [ -e "$directory/CMakeCache.txt" ] &&
    ! { grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$directory/CMakeCache.txt" &&
      grep -qxF "CMAKE_CACHEFILE_DIR:INTERNAL=$directory" "$directory/CMakeCache.txt"; }; then
    say "$directory was made for another place: configured anew"
    fresh=(--fresh)
  fi
  if [ ${#fresh[@]} -gt 0 ] || ! [ -e "$directory/CMakeCache.txt" ]; then
    set -- "${first_options[@]}" "$@"
  fi
  if ! : > "$log"; then
    exec {build_lock}>&-
    return 1
  fi
  {
    cmake -G Ninja -S . -B "$directory" "${fresh[@]}" "$@" &&
      cmake --build "$directory" "${target[@]}"
  } > "$log" 2>&1 {build_lock}>&- &
  local job=$!
  while kill -0 "$job" 2> /dev/null; do
    sleep 0.2
    seconds=$((seconds + 1))
    if [ $((seconds % 75)) -eq 0 ]; then printf '   %s\n' "$(tail -n 1 "$log" | cut -c 1-100)"; fi
  done
  wait "$job" || status=$?
  exec {build_lock}>&-
  [ "$status" -eq 0 ] || cat "$log" >&2
  return "$status"
}
