#!/usr/bin/env bash
# The speed of `ferrox convert` on UTF-8 real text next to
# iconv -f UTF-8 -t CP932 | unix2dos, measured in the same run.
# The text is the Japanese manual pages of Debian's manpages-ja package,
# control bytes removed and kept to what JIS X 0208 holds (as the other
# real-text inputs of the benchmark), as UTF-8 with LF, repeated to the size
# asked for. Both must write the same Shift JIS CR LF bytes.
# Usage: bench/utf8_speed.sh [work folder] [size in MiB] [runs]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-/tmp/ferrox-bench}
size=${2:-100}
runs=${3:-3}
pages=/usr/share/man/ja
[ -d "$pages" ] || { echo "utf8_speed: $pages missing (apt-get install manpages-ja)" >&2; exit 1; }
"$root/scripts/install-deps.sh"
FERROX_BUILD_DIR=$root/build-bench FERROX_BUILD_TYPE=Release \
  "$root/scripts/build.sh" -DFERROX_BENCH=ON -DFERROX_TESTS=OFF -DFERROX_GUI=OFF
ferrox=$root/build-bench/cli/ferrox

mkdir -p "$work"
in=$work/real_utf8_lf.txt
if [ ! -f "$work/real_utf8.$size" ]; then
  one=$(mktemp -d)
  trap 'rm -rf "$one"' EXIT
  find "$pages" -name '*.gz' -print0 | LC_ALL=C sort -z | xargs -0 zcat |
    tr -d '\000-\010\013-\037\177' | iconv -c -f UTF-8 -t ISO-2022-JP |
    iconv -f ISO-2022-JP -t UTF-8 >"$one/utf8"
  copies=$(( (size * 1048576 + $(stat -c %s "$one/utf8") - 1) / $(stat -c %s "$one/utf8") ))
  for _ in $(seq "$copies"); do cat "$one/utf8"; done >"$in"
  touch "$work/real_utf8.$size"
fi

config=$(mktemp -d)
export FERROX_CONFIG_DIR=$config TMP=$work
out=$work/utf8_out.txt
expected=$work/utf8_expected.txt
source "$root/bench/best_of.sh"
best() { best_of "$runs" "$out" "$1"; }
peer=$(best "iconv -f UTF-8 -t CP932 '$in' | unix2dos -q > '$out'")
mv "$out" "$expected"
ns=$(best "taskset -c 0 '$ferrox' convert --text --no-cut --file-mode 116 '$in' '$out'")
cmp -s "$out" "$expected" || { echo "utf8_speed: ferrox and iconv | unix2dos differ" >&2; exit 1; }
rm -f "$out" "$expected"
rm -rf "$config"
printf '%-22s %6s %8s %9s\n' input MB 'MB/s' 'x iconv'
awk -v b="$(stat -c %s "$in")" -v f="$ns" -v i="$peer" 'BEGIN {
  printf "%-22s %6.1f %8.1f %9.1f\n", "real_utf8_lf", b / 1e6, b / 1e6 / (f / 1e9), i / f }'
