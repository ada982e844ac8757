#!/usr/bin/env bash
# The main job on the bundled samples: installs what is missing, builds, and
# converts samples/ into out/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
echo "run.sh: nothing to run yet" >&2
