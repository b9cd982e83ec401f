#!/usr/bin/env bash
# Installs what is missing of packaging/debian-packages.txt (and of the packages named as arguments).
# Does nothing, and needs no rights, when all is there.
set -eu
list=$(dirname "$0")/debian-packages.txt
wanted=$(grep -v '^#' "$list"; printf '%s\n' "$@")
missing=
for package in $wanted; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
done
[ -n "$missing" ] || exit 0
echo "Installing:$missing"
run=
[ "$(id -u)" = 0 ] || run=sudo
export DEBIAN_FRONTEND=noninteractive
$run apt-get update -qq
# shellcheck disable=SC2086
$run apt-get install -y -qq --no-install-recommends $missing >/dev/null
