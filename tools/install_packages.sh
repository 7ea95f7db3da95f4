#!/bin/sh
# Installs the Debian packages that are missing, and says nothing when there are none.
# Usage: install_packages.sh build | check | ci
set -eu
packages="g++ cmake make pkg-config libcli11-dev libfmt-dev nlohmann-json3-dev"
case ${1:-build} in
  build) ;;
  check) packages="$packages libgtest-dev binutils" ;;
  ci) packages="$packages libgtest-dev binutils clang libclang-rt-14-dev doxygen" ;;
  *) echo "usage: $0 build | check | ci" >&2; exit 64 ;;
esac
missing=
for package in $packages; do
  dpkg-query -W -f '${Status}' "$package" 2> /dev/null | grep -q 'install ok installed' || missing="$missing $package"
done
[ -n "$missing" ] || exit 0
as_root=
[ "$(id -u)" = 0 ] || as_root=sudo
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
trap 'rm -f "$log"' EXIT
{ $as_root apt-get update -qq && $as_root apt-get install -y -qq --no-install-recommends $missing; } > "$log" 2>&1 || {
  cat "$log" >&2
  echo "could not install:$missing" >&2
  exit 1
}
