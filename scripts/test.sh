#!/usr/bin/env bash
# The whole test suite: installs what is missing, builds, runs every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
cd "${FERROX_BUILD_DIR:-$root/build}"
ctest --output-on-failure -j"$(nproc)" --timeout 600
