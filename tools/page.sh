# Sourced, after setup.sh, where the page of web/ is needed.
# shellcheck shell=bash

# build_page BUILD [--omit=dev]: builds the page in $build_root/web, with the exact results of a build of
# the library with its tests; and $build_root/npm, where its server and what tests it find the packages
# of npm that they use.
build_page() {
  local library=$1 npm=$build_root/npm log=$build_root/npm.log
  shift
  require_packages "${wasm_packages[@]}" && require_npm || return 1
  build "$build_root/wasm" --target npm_package --toolchain cmake/wasm32.cmake -DQELVM_TESTS=OFF || return 1
  build "$library" --target exact -DQELVM_TESTS=ON || return 1
  mkdir -p "$npm" && cp web/package.json web/serve.mjs tests/web/*.* "$npm" || return 1
  (cd "$npm" && npm install --no-package-lock --no-audit --no-fund "$@") > "$log" 2>&1 ||
    { cat "$log" >&2 && return 1; }
  node web/build.mjs "$build_root/web" "$npm/node_modules" "$build_root/wasm/npm" "$library/tests/exact"
}
