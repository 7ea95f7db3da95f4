#!/bin/sh
# The rooms know each other one way only: frame <- model <- simplex <- prep, barrier, mip, qpnet <- stoch <- decomp.
# Catches an include that opens a door backwards, or a tool that looks inside the library.
# Usage: doors.sh SOURCE_DIR
set -u
cd "$1" || exit 2
rooms="frame model simplex prep barrier mip qpnet stoch decomp"
solvers="frame model simplex prep barrier mip qpnet"
bad=0
allowed() {
  case $1 in
    frame) echo frame ;;
    model) echo frame model ;;
    simplex) echo frame model simplex ;;
    prep | barrier | mip | qpnet) echo frame model simplex "$1" ;;
    stoch) echo $solvers stoch ;;
    decomp) echo $solvers stoch decomp ;;
    tools | examples) echo support ;;
  esac
}
for room in $rooms tools examples; do
  [ -d "$room" ] || continue
  may=" $(allowed "$room") "
  for line in $(grep -rnoE '^[[:space:]]*#[[:space:]]*include[[:space:]]+"[^"]+/[^"]*"' "$room" \
                  --include='*.h' --include='*.cpp' --include='*.c' --include='*.def' | tr -d ' \t'); do
    target=${line#*\"}
    first=${target%%/*}
    case $first in include | . | ..) [ "$first" = .. ] && { echo "$line: leaves its folder"; bad=1; }; continue ;; esac
    case " $rooms " in *" $first "*) ;; *) continue ;; esac
    case "$may" in *" $first "*) ;; *) echo "$line: $room may not know $first"; bad=1 ;; esac
  done
done
exit $bad
