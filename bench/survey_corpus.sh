#!/usr/bin/env bash
# How the survey calls real Japanese text: the manual pages of Debian's
# manpages-ja and manpages-ja-dev, in UTF-8, EUC-JP, Shift JIS (also with
# half-width katakana) and ISO-2022-JP, short texts cut from them and
# kana-only EUC-JP lines (bench/make_survey_corpus.py builds them). Prints the
# counts for the built-in ConvMode 12, with the old Shift JIS/EUC tie rule
# (268), without UTF-8 recognition (44) and with both (300).
# Usage: bench/survey_corpus.sh [work folder]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-/tmp/ferrox-survey-corpus}
mkdir -p "$work"
if [ ! -d "$work/corpus" ]; then
  (cd "$work" && apt-get download manpages-ja manpages-ja-dev >/dev/null)
  for deb in "$work"/*.deb; do dpkg-deb -x "$deb" "$work/tree"; done
  python3 "$root/bench/make_survey_corpus.py" "$work/tree" "$work/corpus"
fi
FERROX_BUILD_DIR=$root/build-bench FERROX_BUILD_TYPE=Release \
  "$root/scripts/build.sh" -DFERROX_BENCH=ON -DFERROX_TESTS=OFF -DFERROX_GUI=OFF
"$root/build-bench/bench/survey_corpus" "$work/corpus" 12 268 44 300
