#!/usr/bin/env bash
# Writes the real-text inputs of the benchmark into a work folder: the Japanese
# manual pages of Debian's manpages-ja package, control bytes removed, as
# EUC-JP with LF, ISO-2022-JP with LF and Shift JIS with CR, repeated up to the
# size asked for, and the Shift JIS CR LF text each must become.
# Characters outside JIS X 0208 are left out on the way (iconv -c), so that
# iconv, nkf and Ferrox all have one right answer.
# Usage: bench/real_text.sh [work folder] [size in MiB]
set -euo pipefail
work=${1:-/tmp/ferrox-bench}
size=${2:-100}
pages=/usr/share/man/ja
[ -d "$pages" ] || { echo "real_text: $pages missing (apt-get install manpages-ja)" >&2; exit 1; }
mkdir -p "$work"
stamp=$work/real_text.$size
[ -f "$stamp" ] && exit 0

one=$(mktemp -d)
trap 'rm -rf "$one"' EXIT
find "$pages" -name '*.gz' -print0 | LC_ALL=C sort -z | xargs -0 zcat |
  tr -d '\000-\010\013-\037\177' | iconv -c -f UTF-8 -t ISO-2022-JP >"$one/jis"
iconv -f ISO-2022-JP -t EUC-JP "$one/jis" >"$one/euc"
iconv -f ISO-2022-JP -t SHIFT_JIS "$one/jis" >"$one/sjis"

# Whole copies of the pages until the EUC-JP text reaches the size.
copies=$(( (size * 1048576 + $(stat -c %s "$one/euc") - 1) / $(stat -c %s "$one/euc") ))
repeat() { for _ in $(seq "$copies"); do cat "$1"; done; }
repeat "$one/euc" >"$work/real_euc_lf.txt"
repeat "$one/jis" >"$work/real_jis_lf.txt"
repeat "$one/sjis" | tr '\n' '\r' >"$work/real_sjis_cr.txt"
repeat "$one/sjis" | LC_ALL=C sed 's/$/\r/' >"$work/expected_real.txt"
touch "$stamp"
