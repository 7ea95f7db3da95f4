#!/bin/sh
# What docs/command.md shows is what the command does: each "    $ tavstoch ..." is run among the examples, and every line
# under it must be a line of the output, or the beginning of one. Catches a guide that tells what was true once.
# Usage: guide.sh COMMAND SOURCE_DIR
set -u
command=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
source=$(cd "$2" && pwd)
guide=$source/docs/command.md
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
cp "$source"/examples/*.cor "$source"/examples/*.tim "$source"/examples/*.sto "$source"/examples/*.mps "$work" && cd "$work" || exit 2
bad=0 runs=0 shown=""
while IFS= read -r line; do
  case $line in
    '    $ tavstoch '*)
      shown=${line#'    $ tavstoch '}
      # shellcheck disable=SC2086  # the words of the line are the arguments
      "$command" $shown > out 2>&1
      runs=$((runs + 1)) ;;
    '    '*)
      [ -z "$shown" ] && continue
      awk -v want="${line#'    '}" 'index($0, want) == 1 { found = 1 } END { exit !found }' out || {
        echo "tavstoch $shown does not say: ${line#'    '}"; sed 's/^/    /' out; bad=1; } ;;
    *) shown="" ;;
  esac
done < "$guide"
[ $runs -ge 10 ] || { echo "only $runs runs found in $guide"; bad=1; }
exit $bad
