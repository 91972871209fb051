# Sourced by run.sh and test.sh: the packages that they need, and the build.
# shellcheck shell=bash

build_packages=(g++ cmake ninja-build libfmt-dev libcli11-dev)
test_packages=(libgtest-dev libbenchmark-dev libmpfr-dev pkg-config binutils python3)
fit_packages=(sollya)
windows_packages=(g++-mingw-w64-i686-win32 g++-mingw-w64-x86-64-win32 llvm python3) # llvm: its dlltool
wine_packages=(wine wine32:i386 wine64)
clang_packages=(clang)
emulator_packages=(qemu-user)
instrumentation_packages=(clang llvm libclang-rt-14-dev)

say() { printf '== %s\n' "$*"; }

missing_packages() {
  local package
  for package in "$@"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2> /dev/null)" = installed ] ||
      printf '%s\n' "$package"
  done
}

apt_update() { # an index can fail to download while a mirror changes: try again
  local try
  for try in 1 2 3 4 5; do
    # Without an error, apt goes on with old indexes; those it names as failed count as failures.
    if apt-get update 2>&1 | tee /tmp/apt-update.$$ && ! grep -q '^[EW]: ' /tmp/apt-update.$$; then
      rm -f /tmp/apt-update.$$
      return
    fi
    say "package index incomplete, attempt $try"
    sleep 5
  done
  rm -f /tmp/apt-update.$$
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
  case "${missing[*]}" in *:i386*) dpkg --add-architecture i386 ;; esac
  apt_update > /dev/null
  apt-get install -y --no-install-recommends "${missing[@]}" > /dev/null ||
    apt-get install -y --no-install-recommends -t bookworm --allow-downgrades "${missing[@]}" > /dev/null
}

# build DIRECTORY CMAKE_OPTIONS...: configures and builds quietly; shows the log if that fails.
build() {
  local directory=$1 log=$1/build.log
  shift
  mkdir -p "$directory"
  if ! { cmake -G Ninja -S . -B "$directory" "$@" && cmake --build "$directory"; } > "$log" 2>&1; then
    cat "$log" >&2
    return 1
  fi
}
