#!/usr/bin/env bash
# Configures and builds Ferrox into build/ (or $FERROX_BUILD_DIR). Extra
# arguments go to the CMake configure step.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${FERROX_BUILD_DIR:-$root/build}
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
werror=OFF; [ "${CI:-}" = "true" ] && werror=ON
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=${FERROX_BUILD_TYPE:-RelWithDebInfo} \
  -DFERROX_WERROR=$werror "${launcher[@]}" "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"
