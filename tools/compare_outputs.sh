#!/usr/bin/env bash
# Records what a ferrox binary prints and writes for the project's samples and
# fuzz seed corpora, so two builds can be compared byte for byte.
#
#   tools/compare_outputs.sh record  FERROX OUTDIR   writes the outputs to OUTDIR
#   tools/compare_outputs.sh compare FERROX REFDIR   records again and diffs
#
# Every case runs with a fresh empty config folder (built-in settings) from a
# fixed scratch folder, so absolute paths in the reports do not differ.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
action=${1:?record or compare}
ferrox=$(realpath "${2:?path of ferrox}")
dest=${3:?output folder}

scratch=${TMPDIR:-/tmp}/ferrox-compare
rm -rf "$scratch"
mkdir -p "$scratch/in"
cp -r "$root/samples" "$scratch/in/samples"
python3 "$root/tools/make_fuzz_seeds.py" "$scratch/in/seeds" >/dev/null
# Fixed times; the creation time cannot be set, so reports show it as "*".
find "$scratch/in" -exec touch -h -d '2001-02-03 04:05:06' {} +
# Each fuzz target's folder gets the same cases; one copy of each seed is enough.
inputs=()
while IFS= read -r f; do inputs+=("${f#"$scratch/"}"); done < <(
  find "$scratch/in" -type f | sort)

record() {
  local out=$1
  rm -rf "$out"
  mkdir -p "$out"
  cd "$scratch"
  run() {  # run NAME ARGS...: stdout, stderr and status of one call
    local name=$1; shift
    local cfg="$scratch/cfg"
    rm -rf "$cfg"; mkdir -p "$cfg"
    set +e
    FERROX_CONFIG_DIR=$cfg LC_ALL=C.UTF-8 "$ferrox" "$@" >"$out/$name.out" 2>"$out/$name.err"
    echo $? >"$out/$name.rc"
    sed -i 's/^作成日時:.*/作成日時:*/' "$out/$name.out"
    set -e
  }
  local i=0 f modes
  for f in "${inputs[@]}"; do
    i=$((i + 1))
    local key
    key=$(printf '%03d' $i)
    echo "$f" >"$out/$key.name"
    run "$key.survey" survey "$f"
    run "$key.flags" survey --flags "$f"
    for modes in "" "--conv-mode=0" "--conv-mode=2" "--conv-mode=8" "--conv-mode=36" \
        "--conv-mode=76" "--file-mode=0" "--file-mode=1" "--text" "--cut --line-size=20"; do
      local tag=${modes//[ =-]/_}
      rm -rf "$scratch/o"; mkdir -p "$scratch/o"
      # shellcheck disable=SC2086
      run "$key.conv$tag" convert $modes "$f" "o/x.out"
      (cd "$scratch/o" && find . -type f -print0 | sort -z | xargs -0r sha256sum) >"$out/$key.conv$tag.files"
    done
  done
  # Whole-folder and wildcard runs.
  for modes in "" "--file-mode=0" "--file-mode=117" "--file-mode=16"; do
    local tag=${modes//[ =-]/_}
    rm -rf "$scratch/o"; mkdir -p "$scratch/o"
    # shellcheck disable=SC2086
    run "folder$tag" convert $modes in/samples o
    (cd "$scratch/o" && find . -type f -print0 | sort -z | xargs -0r sha256sum) >"$out/folder$tag.files"
    rm -rf "$scratch/o"; mkdir -p "$scratch/o"
    # shellcheck disable=SC2086
    run "wild$tag" convert $modes 'in/samples/*.txt' o
    (cd "$scratch/o" && find . -type f -print0 | sort -z | xargs -0r sha256sum) >"$out/wild$tag.files"
  done
  run "survey_folder" survey in/samples
  run "survey_wild" survey 'in/samples/*.txt'
  run "survey_list" survey '"in/samples/euc-lf.txt", "in/samples/jis-lf.txt"'
}

case $action in
  record) record "$dest"; echo "recorded $(ls "$dest" | wc -l) files in $dest" ;;
  compare)
    record "$scratch/now"
    if diff -r "$dest" "$scratch/now" >"$scratch/diff.txt"; then
      echo "outputs identical ($(ls "$dest" | wc -l) files)"
    else
      echo "outputs differ:"; head -60 "$scratch/diff.txt"; exit 1
    fi ;;
  *) echo "usage: $0 record|compare FERROX DIR" >&2; exit 2 ;;
esac
