#!/usr/bin/env bash
# Builds the libFuzzer targets with clang 14 and runs each for a bounded time.
#   scripts/fuzz.sh [SECONDS_PER_TARGET] [TARGET...]
# Seeds come from tools/make_fuzz_seeds.py; findings land in build-fuzz/findings/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-30}; shift || true
"$root/scripts/install-deps.sh"
build=${FERROX_FUZZ_BUILD_DIR:-$root/build-fuzz}
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
CXX=clang++-14 CC=clang-14 cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DFERROX_FUZZ=ON -DFERROX_TESTS=OFF -DFERROX_GUI=OFF "${launcher[@]}" >/dev/null
cmake --build "$build" -j"$(nproc)"
python3 "$root/tools/make_fuzz_seeds.py" "$build/seeds"
mkdir -p "$build/findings" "$build/corpus"
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for t in "$build"/fuzz/fuzz_*; do [ -x "$t" ] && targets+=("$(basename "$t")"); done
fi
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
status=0
for t in "${targets[@]}"; do
  corpus="$build/corpus/$t"; mkdir -p "$corpus"
  seeds="$build/seeds/$t"; [ -d "$seeds" ] || seeds=""
  echo "fuzz: $t for ${seconds}s"
  if ! "$build/fuzz/$t" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
       -artifact_prefix="$build/findings/$t-" -print_final_stats=1 "$corpus" $seeds \
       >"$build/findings/$t.log" 2>&1; then
    echo "fuzz: $t FOUND A FAULT; see $build/findings/$t.log" >&2
    tail -n 40 "$build/findings/$t.log" >&2
    status=1
  else
    grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$build/findings/$t.log" | tail -n 2 || true
  fi
done
exit $status
