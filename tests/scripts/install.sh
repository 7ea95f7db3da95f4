#!/bin/sh
# Installs into an empty prefix and uses what came: headers as C99 and C++ without a warning, through pkg-config and through
# the CMake package; then builds and runs every example. Catches a header that needs C++, a file left out of the
# installation, a flag missing from tavstoch.pc, and an example that no longer runs.
# Usage: install.sh SOURCE_DIR BUILD_DIR; CC and CFLAGS from the environment.
set -eu
source=$1
build=$2
cc=${CC:-cc}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" > "$work/log" || { cat "$work/log"; exit 1; }
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name tavstoch.pc)")
LD_LIBRARY_PATH=${PKG_CONFIG_PATH%/pkgconfig}
export PKG_CONFIG_PATH LD_LIBRARY_PATH
strict="-std=c99 -pedantic -Wall -Wextra -Wstrict-prototypes -Werror ${CFLAGS:-}"
flags=$(pkg-config --cflags --libs tavstoch)

# Each interface header by itself, then the program.
for header in "$work"/prefix/include/*_c_api.h "$work"/prefix/include/qrt_classic.h; do
  echo "#include <$(basename "$header")>" > "$work/one.c"
  $cc $strict -fsyntax-only "$work/one.c" $flags
  $cc -x c++ -std=c++17 -pedantic -Wall -Wextra -Werror -fsyntax-only "$work/one.c" $flags
done
$cc $strict "$source/tests/consumer/consumer.c" $flags -o "$work/consumer"
"$work/consumer"

cmake -S "$source/tests/consumer" -B "$work/consumer-build" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_C_FLAGS="${CFLAGS:-}" > "$work/log" 2>&1 || { cat "$work/log"; exit 1; }
cmake --build "$work/consumer-build" > "$work/log" 2>&1 || { cat "$work/log"; exit 1; }
"$work/consumer-build/consumer"

# The example that the README shows is the one that is built here.
sed -n '/^```c$/,/^```$/p' "$source/README.md" | sed '1d;$d' | diff - "$source/examples/power.c" || {
  echo "README.md shows another examples/power.c"; exit 1; }

# judge SOURCE NAME: an example says what it prints in its last comment line "/* prints: TEXT */" or "! prints: TEXT".
judge() {
  expected=$(sed -n 's|^/\* prints: \(.*\) \*/$|\1|p; s|^! prints: ||p' "$1")
  [ -z "$expected" ] || grep -qF "$expected" "$work/$2.out" || {
    echo "example $2 does not print \"$expected\" but:"; cat "$work/$2.out"; exit 1; }
}

for example in "$source"/examples/*.c; do
  [ -e "$example" ] || continue
  name=$(basename "$example" .c)
  $cc $strict "$example" $flags -lm -o "$work/$name"
  (cd "$source/examples" && "$work/$name" > "$work/$name.out") || { echo "example $name failed:"; cat "$work/$name.out"; exit 1; }
  judge "$example" "$name"
done

# Fortran, where there is a compiler for it. Its run-time and a sanitizer's may be those of two compilers.
if [ -z "${CFLAGS:-}" ] && command -v gfortran > /dev/null; then
  gfortran "$source/examples/classic.f90" $flags -o "$work/classic_fortran"
  (cd "$source/examples" && "$work/classic_fortran" > "$work/classic_fortran.out") || { cat "$work/classic_fortran.out"; exit 1; }
  judge "$source/examples/classic.f90" classic_fortran
fi
