#!/usr/bin/env bash
# The whole test suite: installs what is missing, builds, runs every test;
# then the same suite under AddressSanitizer and UBSan, and each fuzz target
# for a short, bounded time (FERROX_FUZZ_SECONDS, default 20; 0 skips), and
# the Debian package (scripts/package.sh; FERROX_SKIP_PACKAGE=1 skips).
# Ends with one line counting everything that ran.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
(cd "${FERROX_BUILD_DIR:-$root/build}" && ctest --output-on-failure -j"$(nproc)" --timeout 600) | tee "$logs/suite"
if [ "${FERROX_SKIP_SANITIZE:-0}" != 1 ]; then
  echo "test.sh: the suite under AddressSanitizer and UBSan" >&2
  FERROX_BUILD_DIR= "$root/scripts/sanitize.sh" | tee "$logs/sanitized"
fi
# The Debian package: built, checked by lintian, installed, run and removed.
package=pass
"$root/scripts/package.sh" || package=fail
seconds=${FERROX_FUZZ_SECONDS:-20}
if [ "$seconds" != 0 ]; then
  echo "test.sh: fuzz targets, ${seconds}s each" >&2
  "$root/scripts/fuzz.sh" "$seconds" | tee "$logs/fuzz"
fi

# ctest closes with "N% tests passed, F tests failed out of T"; a fuzz target
# that ends without a finding counts as one passed test.
passed=0
failed=0
for log in "$logs"/suite "$logs"/sanitized; do
  [ -f "$log" ] || continue
  read -r f t < <(sed -nE 's/.* ([0-9]+) tests? failed out of ([0-9]+).*/\1 \2/p' "$log" | tail -n 1)
  passed=$((passed + t - f))
  failed=$((failed + f))
done
[ -f "$logs/fuzz" ] && passed=$((passed + $(grep -c '^fuzz: .* for ' "$logs/fuzz")))
if [ "$package" = pass ]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
echo "test.sh: ${passed} passed, ${failed} failed"
[ "$failed" -eq 0 ]
