#!/bin/sh
# Fuzzes every reader for some seconds each, starting from the corpus beside this script and from the examples.
# Usage: run.sh SECONDS [BUILD_DIR]. What is found new is kept under BUILD_DIR/corpus, a crash under BUILD_DIR.
set -eu
seconds=${1:-60}
here=$(cd "$(dirname "$0")" && pwd)
source=${here%/tests/fuzz}
build=${2:-$source/build-fuzz}
log=$(mktemp)
trap 'rm -f "$log" /tmp/tavstoch-fuzz-*' EXIT
{ cmake -S "$source" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DTAVSTOCH_FUZZ=ON -DTAVSTOCH_TESTS=OFF -DTAVSTOCH_TOOLS=OFF &&
  cmake --build "$build" -j "$(nproc)" --target fuzz_mps fuzz_core fuzz_time fuzz_stoch fuzz_record; } > "$log" 2>&1 || { tail -n 60 "$log"; exit 1; }
mkdir -p "$build/examples/mps" "$build/examples/core" "$build/examples/time" "$build/examples/stoch" "$build/examples/record"
cp "$source"/examples/*.cor "$source"/examples/*.mps "$build/examples/mps"
cp "$source"/examples/*.cor "$build/examples/core"
cp "$source"/examples/*.tim "$build/examples/time"
cp "$source"/examples/*.sto "$build/examples/stoch"
cd "$build"
for what in mps core time stoch record; do
  mkdir -p "corpus/$what"
  echo "fuzz $what"
  ASAN_OPTIONS=detect_leaks=0 "tests/fuzz/fuzz_$what" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -max_len=20000 \
    -print_final_stats=0 -verbosity=0 "corpus/$what" "$here/corpus/$what" "examples/$what" > "$log" 2>&1 || {
    tail -n 60 "$log"
    exit 1
  }
done
