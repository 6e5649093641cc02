#!/bin/sh
# Builds libsimcard and runs its tests against the IXML of a libupnp source
# tree instead of the system's: for the libixml SONAMEs that gateway images
# carry and the build machine does not.
set -eu

usage() {
    cat <<USAGE
Usage: scripts/test-libupnp.sh SRCDIR

Builds libupnp from the source tree SRCDIR (a release tarball or a checkout;
its own autotools build, bootstrapped when it has no configure script) into
out/libupnp/prefix, libsimcard and its tests against that IXML in
build-libupnp/, checks that libsimcard.so and every program built need the
libixml just built (its SONAME) and find it there, and runs ctest.
The whole of libupnp is built because its pkg-config file, which
libsimcard.pc requires, links both of its libraries.

Installs what is missing (the build's packages, autoconf, automake, libtool).
CC and CMAKE_C_COMPILER_LAUNCHER apply to libupnp's build too.

Exit status: 0 when everything was built and every test passed, 1 on a
failed build, check or test, 2 for wrong arguments.
USAGE
}

die_usage() {
    echo "test-libupnp.sh: $1" >&2
    echo "Try 'scripts/test-libupnp.sh --help'." >&2
    exit 2
}

fail() {
    echo "test-libupnp.sh: $1" >&2
    exit 1
}

src=""
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        usage
        exit 0
        ;;
    -*) die_usage "unknown option: $1" ;;
    *)
        [ -z "$src" ] || die_usage "too many arguments"
        src=$1
        ;;
    esac
    shift
done
[ -n "$src" ] || die_usage "no libupnp source tree given"
if [ ! -f "$src/ixml/inc/ixml.h" ] || [ ! -f "$src/configure.ac" ]; then
    die_usage "not a libupnp source tree: $src"
fi
src=$(cd "$src" && pwd)

cd "$(dirname "$0")/.."
work=$(pwd)/out/libupnp
case $src/ in
"$work"/*) die_usage "the source tree must not lie in $work, which is made anew" ;;
esac
./scripts/install-deps.sh
./scripts/install-deps.sh autoconf automake libtool

jobs=$(nproc 2>/dev/null || echo 2)
prefix=$work/prefix
build="build-libupnp"

echo "== libupnp: build and install into $prefix"
rm -rf "$work" "$build"
mkdir -p "$work"
# A copy: bootstrapping and building write into the tree.
cp -R "$src" "$work/src"
(
    cd "$work/src"
    [ -x configure ] || ./bootstrap >"$work/bootstrap.log" 2>&1 ||
        fail "bootstrap failed, see $work/bootstrap.log"
    CC="${CMAKE_C_COMPILER_LAUNCHER:+$CMAKE_C_COMPILER_LAUNCHER }${CC:-cc}" \
        ./configure --prefix="$prefix" --libdir="$prefix/lib" --disable-samples \
        --disable-static >"$work/configure.log" 2>&1 ||
        fail "configure failed, see $work/configure.log"
    { make -j"$jobs" && make install; } >"$work/make.log" 2>&1 ||
        fail "make failed, see $work/make.log"
)
ixml=$prefix/lib/libixml.so
for f in "$ixml" "$prefix/include/upnp/ixml.h" "$prefix/lib/pkgconfig/libupnp.pc"; do
    [ -e "$f" ] || fail "libupnp did not install $f"
done
version=$(sed -n 's/^Version: *//p' "$prefix/lib/pkgconfig/libupnp.pc")
soname=$(readelf -d "$ixml" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ -n "$soname" ] || fail "$ixml has no SONAME"
echo "libupnp $version: $soname"

echo "== libsimcard against it: $build"
# The library's location given outright: the system's IXML is never a fallback.
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug \
    -DIXML_INCLUDE_DIR="$prefix/include/upnp" -DIXML_LIBRARY="$ixml" >/dev/null
cmake --build "$build" -j"$jobs"

echo "== libixml that the build needs"
needs=$(readelf -d "$build/libsimcard.so" | sed -n 's/.*(NEEDED).*\[\(libixml[^]]*\)\]/\1/p')
[ "$needs" = "$soname" ] || fail "libsimcard.so needs ${needs:-no libixml}, not $soname"
found=$(ldd "$build/libsimcard.so" | sed -n "s/^[[:space:]]*$soname => \([^ ]*\).*/\1/p")
if [ -z "$found" ] ||
    [ "$(cd "$(dirname "$found")" && pwd -P)" != "$(cd "$prefix/lib" && pwd -P)" ]; then
    fail "libsimcard.so loads $soname from ${found:-nowhere}, not from $prefix/lib"
fi
# Every program and library of the build: none may bring another libixml.
count=0
find "$build" -type f -perm -u+x >"$work/built"
while read -r f; do
    other=$(readelf -d "$f" 2>/dev/null |
        sed -n 's/.*(NEEDED).*\[\(libixml[^]]*\)\]/\1/p')
    [ -n "$other" ] || continue
    [ "$other" = "$soname" ] || fail "$f needs $other, not $soname"
    count=$((count + 1))
done <"$work/built"
echo "$count programs and libraries of the build need $soname; libsimcard.so finds it in $prefix/lib"

echo "== tests"
(cd "$build" && ctest --output-on-failure --no-tests=error -j"$jobs")
echo "libupnp $version ($soname): every test passed"
