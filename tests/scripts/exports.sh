#!/bin/sh
# Every name that leaves the shared object is declared in a public header, and every declared function is there.
# Catches a helper that escaped, and a function promised without a body.
# Usage: exports.sh LIBRARY INCLUDE_DIR
set -u
library=$1
include=$(cd "$2" && pwd) || exit 2
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
nm -D --defined-only "$library" | awk '$2 ~ /^[A-Z]$/ && $3 !~ /^_(init|fini|edata|end)$|^__bss_start$/ { sub(/@.*/, "", $3); print $3 }' | sort -u > "$work/exported"
for header in "$include"/*.h; do
  echo "#include \"$header\""
done > "$work/all.c"
# Expanded, because controls are declared through a macro; a declaration that carries the visibility mark is public.
${CC:-cc} -E -P -I"$include" "$work/all.c" | tr '\n' ' ' | sed 's/;/;\n/g' |
  grep -F 'visibility("default")' | sed 's/__attribute__ *((\([^()]\|([^()]*)\)*))//g' |
  grep -oE '[A-Za-z_][A-Za-z0-9_]* *(\(|;|\[)' | sed 's/ *[([;]$//' > "$work/words"
# Of each declaration's words before a bracket only qrt.../QRT.../TAV... can be names of ours.
grep -E '^(qrt|QRT|TAV)' "$work/words" | sort -u > "$work/declared"
undeclared=$(comm -23 "$work/exported" "$work/declared")
bodiless=$(comm -13 "$work/exported" "$work/declared")
status=0
[ -n "$undeclared" ] && { echo "exported but in no public header:"; echo "$undeclared"; status=1; }
[ -n "$bodiless" ] && { echo "declared but not exported:"; echo "$bodiless"; status=1; }
[ -s "$work/exported" ] || { echo "nothing is exported"; status=1; }
exit $status
