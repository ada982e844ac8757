#!/usr/bin/env bash
# The speed of the whole `ferrox convert` command (settings, survey, work file,
# durable write, rename, times) on real and generated Japanese text, next to
# nkf -s -Lw, iconv | unix2dos and the copy floor (dd conv=fsync of the same
# input to the same disk), measured in the same run, single-threaded.
#
# For each input it prints the best wall-clock MB/s of the runs, the ratios,
# the peak memory (/usr/bin/time) and the instructions per input byte of the
# whole process (valgrind's callgrind: steady on a noisy machine).
# Runs bench/run.sh first (Release build, generated inputs, engine MB/s).
#
# Usage: bench/cli_speed.sh [work folder] [size in MiB] [runs] [callgrind: yes|no]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-/tmp/ferrox-bench}
size=${2:-100}
runs=${3:-3}
callgrind=${4:-yes}
"$root/bench/run.sh" "$work" "$size" "$runs"
"$root/bench/real_text.sh" "$work" "$size"

ferrox=$root/build-bench/cli/ferrox
config=$(mktemp -d)
trap 'rm -rf "$config"' EXIT
export FERROX_CONFIG_DIR=$config TMP=$work
out=$work/cli_out.txt

source "$root/bench/best_of.sh"
best() { best_of "$runs" "$out" "$1"; }

convert="taskset -c 0 '$ferrox' convert --text --no-cut --file-mode 116"
echo
echo "Whole command into Shift JIS CR LF, best of $runs runs; x peer = peer time / ferrox time;"
echo "x floor = ferrox time / time of dd conv=fsync (1.0 is the copy floor)."
printf '%-22s %6s %8s %7s %7s %7s %8s %7s\n' input MB 'MB/s' 'x nkf' 'x iconv' 'x floor' 'RSS KiB' 'instr/B'
for item in real_euc_lf:EUC-JP:expected_real real_jis_lf:ISO-2022-JP:expected_real \
            real_sjis_cr:CP932:expected_real euc_lf:EUC-JP:expected_euc_lf \
            jis_lf:ISO-2022-JP:expected_jis_lf sjis_cr:CP932:expected_sjis_cr; do
  IFS=: read -r name code expected <<<"$item"
  in=$work/$name.txt
  ns=$(best "$convert '$in' '$out'")
  cmp -s "$out" "$work/$expected.txt" || { echo "cli_speed: $name: output differs from $expected.txt" >&2; exit 1; }
  rss=$( { rm -f "$out"; /usr/bin/time -f %M bash -c "$convert '$in' '$out'"; } 2>&1 | tail -n 1)
  nkf=$(best "nkf -s -Lw < '$in' > '$out'")
  iconv=$(best "iconv -f $code -t CP932 '$in' | unix2dos -q > '$out'")
  floor=$(best "dd if='$in' of='$out' bs=1M conv=fsync status=none")
  ir=0
  if [ "$callgrind" = yes ]; then
    rm -f "$out"
    ir=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null "$ferrox" convert --text --no-cut \
           --file-mode 116 "$in" "$out" 2>&1 | awk '/refs:/ { gsub(",", "", $NF); print $NF }')
  fi
  rm -f "$out"
  awk -v n="$name" -v b="$(stat -c %s "$in")" -v f="$ns" -v k="$nkf" -v i="$iconv" -v d="$floor" \
      -v r="$rss" -v ir="$ir" 'BEGIN {
        printf "%-22s %6.1f %8.1f %7.1f %7.1f %7.2f %8d %7.2f\n", n, b / 1e6, b / 1e6 / (f / 1e9),
               k / f, i / f, f / d, r, ir / b }'
done
