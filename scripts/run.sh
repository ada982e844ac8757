#!/usr/bin/env bash
# The main job on the bundled samples: installs what is missing, builds, and
# converts samples/ into out/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
ferrox="${FERROX_BUILD_DIR:-$root/build}/cli/ferrox"

# The samples are made by the project's own generator; the run uses the
# built-in settings, so a user's stored settings do not change the result.
python3 "$root/tools/make_samples.py" "$root/samples"
config=$(mktemp -d)
trap 'rm -rf "$config"' EXIT
export FERROX_CONFIG_DIR="$config"

rm -rf "$root/out"
echo "== ferrox convert samples out" >&2
(cd "$root" && "$ferrox" convert samples out)
mac_name=$("$ferrox" name "打ち合わせメモ" TEXT ttxt)
echo "== ferrox convert samples/mac/memo.bin \"out/mac/$mac_name\"" >&2
(cd "$root" && "$ferrox" convert samples/mac/memo.bin "out/mac/$mac_name")

(cd "$root" && find samples -type f | LC_ALL=C sort) | while read -r sample; do
  echo
  echo "== ferrox survey $sample"
  (cd "$root" && "$ferrox" survey "$sample")
done
echo
echo "== ferrox survey --flags of each converted file (result code, survey flag word)"
(cd "$root" && find out -type f | LC_ALL=C sort) | while read -r converted; do
  printf '%-40s %s\n' "$converted" "$(cd "$root" && "$ferrox" survey --flags "$converted")"
done
echo
echo "Converted files are in $root/out"
