#!/bin/sh
# Installs what is missing, builds, and solves a small stochastic program: what to build before demand is known.
set -eu
cd "$(dirname "$0")"
sh tools/install_packages.sh build
build=${TAVSTOCH_BUILD:-build}
log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Building the library and the command..." >&2
{ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTAVSTOCH_TESTS=OFF &&
  cmake --build "$build" -j "$(nproc)" --target tavstoch_command; } > "$log" 2>&1 || { cat "$log"; exit 1; }
exec "$build/bin/tavstoch" solve examples/power.cor examples/power.tim examples/power.sto --check "$@"
