#!/usr/bin/env bash
# The whole test suite: installs what is missing, builds, runs every test;
# then the same suite under AddressSanitizer and UBSan, and each fuzz target
# for a short, bounded time (FERROX_FUZZ_SECONDS, default 20; 0 skips).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
(cd "${FERROX_BUILD_DIR:-$root/build}" && ctest --output-on-failure -j"$(nproc)" --timeout 600)
if [ "${FERROX_SKIP_SANITIZE:-0}" != 1 ]; then
  echo "test.sh: the suite under AddressSanitizer and UBSan" >&2
  FERROX_BUILD_DIR= "$root/scripts/sanitize.sh"
fi
seconds=${FERROX_FUZZ_SECONDS:-20}
if [ "$seconds" != 0 ]; then
  echo "test.sh: fuzz targets, ${seconds}s each" >&2
  "$root/scripts/fuzz.sh" "$seconds"
fi
