#!/bin/sh
# Builds Debug and Release and runs every test of both. Other arguments go to ctest.
set -eu
cd "$(dirname "$0")"
sh tools/install_packages.sh check
jobs=$(nproc)
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for type in Debug Release; do
  case $type in Debug) build=build-debug ;; *) build=build ;; esac
  echo "== $type"
  { cmake -S . -B $build -DCMAKE_BUILD_TYPE=$type -DTAVSTOCH_TESTS=ON ${TAVSTOCH_DATA_DIR:+-DTAVSTOCH_DATA_DIR="$TAVSTOCH_DATA_DIR"} &&
    cmake --build $build -j "$jobs"; } > "$log" 2>&1 || { tail -n 60 "$log"; exit 1; }
  (cd $build && ctest -j "$jobs" --output-on-failure "$@") > "$log" 2>&1 || { tail -n 200 "$log"; exit 1; }
  grep -a "tests passed" "$log"
  skipped=$(grep -ac "(Skipped)$" "$log" || true)
  [ "$skipped" = 0 ] || echo "$skipped skipped: they need published models or other things that this machine does not have"
done
