#!/usr/bin/env bash
# Installs the Debian packages the project builds and tests with, when missing.
# Usage: tools/install-deps.sh PACKAGE...
set -euo pipefail
missing=()
for pkg in "$@"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  echo "not root: install these packages first: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -y -q --no-install-recommends "${missing[@]}"
