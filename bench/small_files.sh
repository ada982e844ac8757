#!/usr/bin/env bash
# Files per second of `ferrox convert DIR OUT` on a folder of small files (1 to
# 4 KB of real EUC-JP text each, cut from the benchmark's real-text input), every
# file flushed to disk before it is renamed into place, pinned to one processor.
# In the same run, the floor of the disk: bench/durable_floor copying the same
# files with only write, fsync and rename per file, one file after another and
# 16 at once.
# Needs the Release build and the real-text input of bench/cli_speed.sh.
# Usage: bench/small_files.sh [work folder] [files] [runs]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-/tmp/ferrox-bench}
count=${2:-4000}
runs=${3:-3}
ferrox=$root/build-bench/cli/ferrox
source=$work/real_euc_lf.txt
[ -x "$ferrox" ] && [ -f "$source" ] || { echo "small_files: run bench/cli_speed.sh first" >&2; exit 1; }
dir=$work/small_in
if [ ! -d "$dir" ] || [ "$(find "$dir" -type f | wc -l)" -ne "$count" ]; then
  rm -rf "$dir"
  mkdir -p "$dir"
  python3 - "$source" "$dir" "$count" <<'PY'
import random, sys
text = open(sys.argv[1], "rb").read()
rng = random.Random(13)
for n in range(int(sys.argv[3])):
    size = rng.randint(1024, 4096)
    start = text.index(b"\n", rng.randrange(len(text) - 2 * size)) + 1
    open(f"{sys.argv[2]}/f{n:05d}.txt", "wb").write(text[start:start + size])
PY
fi
config=$(mktemp -d)
trap 'rm -rf "$config" "$work/small_out"' EXIT
export FERROX_CONFIG_DIR=$config TMP=$work
# best_files_per_second COMMAND: the best of the runs, OUT emptied before each.
best_files_per_second() {
  local best=0 t start
  for _ in $(seq "$runs"); do
    rm -rf "$work/small_out"
    mkdir "$work/small_out"
    sync
    start=$(date +%s%N)
    "$@" >/dev/null
    t=$(( $(date +%s%N) - start ))
    if [ "$best" -eq 0 ] || [ "$t" -lt "$best" ]; then best=$t; fi
  done
  awk -v n="$count" -v ns="$best" 'BEGIN { printf "%.0f", n / (ns / 1e9) }'
}
floor=$root/build-bench/bench/durable_floor
echo "$count files of 1 to 4 KB, files per second (best of $runs runs):"
echo "  ferrox convert DIR OUT:                   $(best_files_per_second taskset -c 0 "$ferrox" convert "$dir" "$work/small_out")"
echo "  floor, write+fsync+rename, one at a time: $(best_files_per_second taskset -c 0 "$floor" "$dir" "$work/small_out" 1)"
echo "  floor, write+fsync+rename, 16 at once:    $(best_files_per_second taskset -c 0 "$floor" "$dir" "$work/small_out" 16)"
