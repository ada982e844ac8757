#!/usr/bin/env bash
# Installs what Ferrox needs to build and test on Debian bookworm, only what is
# missing. Safe to run again; waits for another apt/dpkg to finish first.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  qt6-base-dev qt6-base-dev-tools libgtest-dev libgmock-dev libbenchmark-dev
  clang-14 libclang-rt-14-dev
  nkf dos2unix xvfb xauth fonts-ipafont-gothic python3
  valgrind time manpages-ja
  qt6-translations-l10n
  file lintian man-db macutils hfsutils
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install-deps: need root or sudo to install: ${missing[*]}" >&2; exit 1; }
  SUDO="sudo"
fi

wait_for_dpkg() {
  local tries=0
  while fuser /var/lib/dpkg/lock-frontend /var/lib/dpkg/lock /var/lib/apt/lists/lock >/dev/null 2>&1; do
    [ $tries -eq 0 ] && echo "install-deps: waiting for another package manager to finish..." >&2
    tries=$((tries + 1)); [ $tries -gt 600 ] && { echo "install-deps: dpkg lock held too long" >&2; exit 1; }
    sleep 1
  done
}

echo "install-deps: installing ${missing[*]}" >&2
wait_for_dpkg
$SUDO env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 update -qq
wait_for_dpkg
$SUDO env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
