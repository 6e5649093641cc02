#!/bin/sh
# Builds for the gateway's 32-bit MIPS and runs the tests under qemu-user:
#  1. mipsel: the whole suite, against Debian's mipsel packages (sysroot made
#     by scripts/mips-sysroot.sh), run by ctest under qemu-mipsel; then the
#     install as the firmware recipes do it, a C program built against the
#     installed headers and pkg-config file, and the stripped library's size,
#     which must stay at or under 160 KiB.
#  2. mips (big-endian, the gateway's own order): every library source
#     compiled, and the static test program of the card layer and the records
#     (tests/target/big-endian) run under qemu-mips.
# Installs what is missing (cross compilers, qemu-user) first.
set -eu
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
./scripts/install-deps.sh g++-mipsel-linux-gnu g++-mips-linux-gnu qemu-user googletest

jobs=$(nproc 2>/dev/null || echo 2)
top=$(pwd)
started=$(date +%s)
stage_start=$started
lap() {
    now=$(date +%s)
    echo "-- $1: $((now - stage_start)) s"
    stage_start=$now
}

echo "== sysroot (Debian mipsel packages)"
./scripts/mips-sysroot.sh out/sysroot-mipsel >/dev/null
sysroot=$top/out/sysroot-mipsel
export SIMCARD_MIPS_SYSROOT="$sysroot"
lap "sysroot"

echo "== mipsel: build"
# -Os, as firmware builds usually are.
cmake -S . -B build-mipsel -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/mipsel-linux-gnu.cmake \
    -DCMAKE_BUILD_TYPE=MinSizeRel -DSIMCARD_BUILD_BENCH=OFF >/dev/null
cmake --build build-mipsel -j"$jobs"
lap "mipsel build"

echo "== mipsel: tests under qemu-mipsel"
# The tests of simcardctl, of the example program and the power-loss sweep
# start programs with fork and exec; qemu-user follows an exec into a MIPS
# program only where the kernel knows MIPS programs (binfmt_misc), which CI
# lacks. They run in the host builds.
skip=""
if [ ! -e /proc/sys/fs/binfmt_misc/qemu-mipsel ]; then
    skip='^(tool\.|example\.|sweep\..*/PowerLoss\.)'
fi
(cd build-mipsel && ctest --output-on-failure -j"$jobs" ${skip:+-E "$skip"})
lap "mipsel tests"

echo "== mipsel: install and a C program against it"
# Installed over a copy of the dependencies' sysroot, so that one pkg-config
# sysroot answers for libsimcard and for what it requires.
stage=$top/out/stage-mipsel
rm -rf "$stage"
cp -a "$sysroot" "$stage"
cmake -S . -B build-mipsel-pkg -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/mipsel-linux-gnu.cmake \
    -DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR=lib \
    -DBUILD_TESTING=OFF >/dev/null
cmake --build build-mipsel-pkg -j"$jobs" >/dev/null
DESTDIR=$stage cmake --install build-mipsel-pkg >/dev/null
for f in usr/lib/libsimcard.so usr/include/simcard.h usr/lib/pkgconfig/libsimcard.pc; do
    [ -e "$stage/$f" ] || { echo "not installed: $f"; exit 1; }
done
soname=$(mipsel-linux-gnu-readelf -d "$stage/usr/lib/libsimcard.so" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
[ -e "$stage/usr/lib/$soname" ] || { echo "SONAME $soname not installed"; exit 1; }
pc_flags=$(PKG_CONFIG_SYSROOT_DIR=$stage \
    PKG_CONFIG_LIBDIR=$stage/usr/lib/pkgconfig:$stage/usr/lib/mipsel-linux-gnu/pkgconfig \
    pkg-config --cflags --libs libsimcard)
consumer=build-mipsel-pkg/c_consumer
# shellcheck disable=SC2086
mipsel-linux-gnu-gcc -std=c99 -pedantic -Werror tests/outside/c_header_test.c -o "$consumer" \
    $pc_flags -Wl,-rpath-link,"$stage/usr/lib/mipsel-linux-gnu"
qemu-mipsel -L /usr/mipsel-linux-gnu \
    -E LD_LIBRARY_PATH="$stage/usr/lib:$stage/usr/lib/mipsel-linux-gnu" "$consumer"
echo "installed: $soname, headers, libsimcard.pc; a C99 program built with pkg-config runs"
lap "mipsel install"

echo "== mipsel figures"
lib=$(readlink -f build-mipsel-pkg/libsimcard.so)
mipsel-linux-gnu-strip -o build-mipsel-pkg/libsimcard.stripped "$lib"
# The gateway's image keeps the library at or under 160 KiB.
size_limit=163840
size=$(wc -c < build-mipsel-pkg/libsimcard.stripped)
echo "libsimcard.so (mipsel, -Os, stripped): $size bytes (at most $size_limit)"
if [ "$size" -gt "$size_limit" ]; then
    echo "libsimcard.so has grown past $size_limit bytes" >&2
    exit 1
fi
echo "needs: $(mipsel-linux-gnu-readelf -d "$lib" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | tr '\n' ' ')"

echo "== mips (big-endian): every source, and the card layer's tests under qemu-mips"
cmake -S tests/target/big-endian -B build-mips \
    -DCMAKE_TOOLCHAIN_FILE="$top/cmake/toolchains/mips-linux-gnu.cmake" \
    -DCMAKE_BUILD_TYPE=MinSizeRel >/dev/null
cmake --build build-mips -j"$jobs"
# One ctest for the whole program: show its own count of tests.
if ! (cd build-mips && ctest --output-on-failure -V > ctest.log 2>&1); then
    cat build-mips/ctest.log
    exit 1
fi
grep -E '\[==========\] .* ran|\[  PASSED  \]' build-mips/ctest.log | sed 's/^[0-9]*: //'
lap "mips build and tests"

echo "-- MIPS total: $(( $(date +%s) - started )) s"
