#!/usr/bin/env bash
# Saves a PNG of every window of the desktop program (main window, progress,
# options dialogs, gaiji dialog, suffix editor, report, about box, help, the
# summary after a run, the report with its preview, the file dialog) into
# a folder, drawn on a virtual X display with a Japanese font from Debian.
#   scripts/screenshots.sh [OUTPUT_FOLDER]   (default: build/screenshots)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${FERROX_BUILD_DIR:-$root/build}
out=$(realpath -m "${1:-$build/screenshots}")

for p in xvfb fonts-ipafont-gothic qt6-translations-l10n; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || "$root/scripts/install-deps.sh"
done
[ -x "$build/ui/ferrox-gui-screenshots" ] || cmake --build "$build" --target ferrox-gui-screenshots

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$out" "$scratch/config" "$scratch/runtime"
chmod 700 "$scratch/runtime"

# A display number nobody uses.
display=99
while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do display=$((display + 1)); done
Xvfb ":$display" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true; rm -rf "$scratch"' EXIT
for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$display" ] && break; sleep 0.1; done

DISPLAY=":$display" QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR="$scratch/runtime" \
  FERROX_CONFIG_DIR="$scratch/config" FERROX_HELP_DIR="$root/help" LANG=ja_JP.UTF-8 \
  QT_FONT_DPI=96 "$build/ui/ferrox-gui-screenshots" "$out" "$scratch/samples"
echo "screenshots in $out"
