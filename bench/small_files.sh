#!/usr/bin/env bash
# Files per second of `ferrox convert DIR OUT` on a folder of small files (1 to
# 4 KB of real EUC-JP text each, cut from the benchmark's real-text input), every
# file flushed to disk before it is renamed into place, pinned to one processor.
# In the same run, the floor of the disk: bench/durable_floor copying the same
# files with only write, fsync and rename per file, one file after another and
# 16 at once.
# Needs the Release build and the real-text input of bench/cli_speed.sh.
# Usage: bench/small_files.sh [work folder] [files] [runs]
# With FERROX_BEFORE set to another ferrox program (an older build), that one
# takes its turns too, for a before-and-after in the same run.
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
outs=$work/small_out
rm -rf "$outs"
trap 'rm -rf "$config" "$outs"' EXIT
export FERROX_CONFIG_DIR=$config TMP=$work
# Every run writes into a folder of its own, and the outputs go only at the
# end: ext4 passes over inodes freed in the last minutes when it creates files,
# so a run right after deleting many files measures that search (its cost grows
# with the number freed) rather than the program. For the same reason the three
# commands take turns, round after round, and a second benchmark should wait
# five minutes after the first.
floor=$root/build-bench/bench/durable_floor
# run_command K OUT: the K-th command, writing into OUT.
run_command() {
  case $1 in
    0) taskset -c 0 "$ferrox" convert "$dir" "$2" ;;
    1) taskset -c 0 "$floor" 1 "$dir" "$2" ;;
    2) taskset -c 0 "$floor" 16 "$dir" "$2" ;;
    3) taskset -c 0 "$FERROX_BEFORE" convert "$dir" "$2" ;;
  esac
}
best=(0 0 0 0)
turns=(0 1 2)
[ -n "${FERROX_BEFORE:-}" ] && turns+=(3)
for round in $(seq "$runs"); do
  for k in "${turns[@]}"; do
    out=$outs/$round.$k
    mkdir -p "$out"
    sync
    start=$(date +%s%N)
    run_command "$k" "$out" >/dev/null
    t=$(( $(date +%s%N) - start ))
    if [ "${best[$k]}" -eq 0 ] || [ "$t" -lt "${best[$k]}" ]; then best[k]=$t; fi
  done
done
rate() { awk -v n="$count" -v ns="$1" 'BEGIN { printf "%.0f", n / (ns / 1e9) }'; }
echo "$count files of 1 to 4 KB, files per second (best of $runs rounds):"
echo "  ferrox convert DIR OUT:                   $(rate "${best[0]}")"
echo "  floor, write+fsync+rename, one at a time: $(rate "${best[1]}")"
echo "  floor, write+fsync+rename, 16 at once:    $(rate "${best[2]}")"
[ -n "${FERROX_BEFORE:-}" ] && echo "  FERROX_BEFORE convert DIR OUT:            $(rate "${best[3]}")"
exit 0
