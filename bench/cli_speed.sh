#!/usr/bin/env bash
# The conversion speed through the whole `ferrox convert` command (settings,
# survey, work file, rename, times) next to the engine's own figures.
# Runs bench/run.sh first (Release build, inputs, engine MB/s), then times the
# command on the same inputs.
# Usage: bench/cli_speed.sh [work folder] [size in MiB] [runs]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-/tmp/ferrox-bench}
size=${2:-100}
runs=${3:-3}
"$root/bench/run.sh" "$work" "$size" "$runs"

ferrox=$root/build-bench/cli/ferrox
config=$(mktemp -d)
trap 'rm -rf "$config"' EXIT
export FERROX_CONFIG_DIR=$config TMP=$work

echo
printf '%-16s %9s %16s\n' "input" "MB" "ferrox convert MB/s"
for name in sjis_cr euc_lf jis_lf; do
  in=$work/$name.txt
  out=$work/cli_out.txt
  best=0
  for _ in $(seq "$runs"); do
    rm -f "$out"
    start=$(date +%s%N)
    "$ferrox" convert --text --no-cut --file-mode 116 "$in" "$out"
    t=$(( $(date +%s%N) - start ))
    if [ "$best" -eq 0 ] || [ "$t" -lt "$best" ]; then best=$t; fi
  done
  rm -f "$out"
  awk -v name="$name" -v bytes="$(stat -c %s "$in")" -v ns="$best" \
    'BEGIN { mb = bytes / 1e6; printf "%-16s %9.1f %16.1f\n", name, mb, mb / (ns / 1e9) }'
done
