#!/usr/bin/env bash
# Builds Ferrox for speed (Release, in build-bench/), generates the ~100 MB
# inputs in a work folder and prints MB/s of Ferrox, nkf and iconv | unix2dos.
# Usage: bench/run.sh [work folder] [size in MiB] [runs]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
FERROX_BUILD_DIR=$root/build-bench FERROX_BUILD_TYPE=Release \
  "$root/scripts/build.sh" -DFERROX_BENCH=ON -DFERROX_TESTS=OFF -DFERROX_GUI=OFF
exec "$root/build-bench/bench/ferrox_bench" "${1:-/tmp/ferrox-bench}" "${2:-100}" "${3:-3}"
