#!/usr/bin/env bash
# Builds the Debian package (Release, prefix /usr) into build-package/ (or
# $FERROX_PACKAGE_DIR), checks it with lintian (no errors allowed), and, as
# root or through sudo, installs it with dpkg -i, runs the installed ferrox
# (--version, a conversion, the pipe form, the manual page, the completion)
# and removes it again, checking that nothing is left.
# FERROX_SKIP_PACKAGE=1 skips it all.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${FERROX_PACKAGE_DIR:-$root/build-package}
[ "${FERROX_SKIP_PACKAGE:-0}" = 1 ] && { echo "package: skipped" >&2; exit 0; }

buildlog=$(mktemp)
FERROX_BUILD_DIR=$build FERROX_BUILD_TYPE=Release "$root/scripts/build.sh" \
  -DCMAKE_INSTALL_PREFIX=/usr -DFERROX_TESTS=OFF >"$buildlog" 2>&1 ||
  { tail -n 40 "$buildlog" >&2; rm -f "$buildlog"; echo "package: the Release build failed" >&2; exit 1; }
rm -f "$buildlog"
rm -f "$build"/ferrox_*.deb
(cd "$build" && cpack -G DEB >/dev/null)
deb=$(ls "$build"/ferrox_*.deb)
echo "package: $deb" >&2
lintian_rc=0
lintian --fail-on error "$deb" > "$build/lintian.txt" 2>&1 || lintian_rc=$?
grep -v 'root privileges' "$build/lintian.txt" >&2 || true
[ "$lintian_rc" = 0 ] || { echo "package: lintian found errors" >&2; exit 1; }

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null && sudo -n true 2>/dev/null || {
    echo "package: built and checked; installing it needs root or sudo, skipped" >&2; exit 0; }
  SUDO="sudo -n"
fi
if dpkg-query -W -f='${Status}' ferrox 2>/dev/null | grep -q "install ok installed"; then
  echo "package: a ferrox package is installed already; leaving it alone, install test skipped" >&2
  exit 0
fi

work=$(mktemp -d)
trap '$SUDO dpkg --purge ferrox >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
$SUDO dpkg -i "$deb" >/dev/null
fail() { echo "package: $*" >&2; exit 1; }

[ "$(/usr/bin/ferrox --version)" = "ferrox $(sed -nE 's/^project\(Ferrox VERSION ([0-9]+\.[0-9]+).*/\1/p' "$root/CMakeLists.txt")" ] ||
  fail "the installed ferrox --version says $(/usr/bin/ferrox --version)"
# One conversion from the installed path, as a file and through a pipe, against the bytes nkf makes.
export FERROX_CONFIG_DIR=$work/config TMP=$work
expected=$(nkf -s -Lw < "$root/samples/euc-lf.txt" | od -An -tx1)
/usr/bin/ferrox convert "$root/samples/euc-lf.txt" "$work/out.txt"
[ "$(od -An -tx1 < "$work/out.txt")" = "$expected" ] || fail "the installed ferrox converted wrongly"
/usr/bin/ferrox convert - - < "$root/samples/euc-lf.txt" > "$work/piped.txt"
cmp -s "$work/out.txt" "$work/piped.txt" || fail "the pipe form differs from the file form"
# The manual pages are in the package; a machine whose dpkg leaves out
# /usr/share/man (as minimal images do) does not install them.
# (The listing is taken whole first: grep -q ending the pipe early would make
# dpkg-deb die of SIGPIPE, which pipefail reports as a failure.)
contents=$(dpkg-deb -c "$deb")
for page in /usr/share/man/man1/ferrox.1.gz /usr/share/man/ja/man1/ferrox.1.gz /usr/share/man/man1/ferrox-gui.1.gz; do
  grep -q " \.$page\$" <<<"$contents" || fail "$page is not in the package"
done
if [ -f /usr/share/man/man1/ferrox.1.gz ]; then
  [ "$(man -w ferrox)" = /usr/share/man/man1/ferrox.1.gz ] || fail "man -w ferrox: $(man -w ferrox)"
  [ "$(man -w -L ja_JP.UTF-8 ferrox)" = /usr/share/man/ja/man1/ferrox.1.gz ] || fail "no Japanese manual page"
fi
for file in /usr/bin/ferrox-gui /usr/share/ferrox/MacGaiji.txt /usr/share/ferrox/help/ferrox.html \
  /usr/share/applications/ferrox-gui.desktop /usr/share/bash-completion/completions/ferrox; do
  [ -f "$file" ] || fail "$file is not installed"
done
[ "$(bash -c 'source /usr/share/bash-completion/completions/ferrox
  COMP_WORDS=(ferrox convert --no-wa); COMP_CWORD=2; _ferrox; echo "${COMPREPLY[*]}"')" = --no-walk ] ||
  fail "the completion does not complete --no-walk"

files=$(dpkg -L ferrox)
$SUDO dpkg --purge ferrox >/dev/null
dpkg-query -W -f='${Status}' ferrox 2>/dev/null | grep -q "installed" && fail "ferrox still installed after removal"
while read -r path; do
  [ -f "$path" ] && fail "$path left after removal"
done <<< "$files"
echo "package: built, lintian clean of errors, installed, run and removed" >&2
