#!/usr/bin/env bash
# The whole test suite built with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
export FERROX_BUILD_DIR=${FERROX_ASAN_BUILD_DIR:-$root/build-asan}
FERROX_BUILD_TYPE=Debug "$root/scripts/build.sh" -DFERROX_SANITIZE=ON
# The fault shim is preloaded into sanitized programs in some tests; ASan then
# is not first in the library list, which is harmless for our shim.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:verify_asan_link_order=0:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
cd "$FERROX_BUILD_DIR"
ctest --output-on-failure -j"$(nproc)" --timeout 900
