#!/bin/sh
# The library as a firmware build or a developer installs it, and programs
# built against the installed files alone. One step per call, in this order:
#
#   configure  configure without the tests, with GoogleTest and Google
#              Benchmark out of reach: CMAKE_DISABLE_FIND_PACKAGE_<name> makes
#              find_package(<name>) find nothing (a REQUIRED one fails), as on
#              a machine without them; the project looks for both only
#              through find_package.
#   install    build, and install into WORK/prefix with the virtual card
#   pkgconfig  a C program that walks the tree with IXML, built with
#              `pkg-config --cflags --libs libsimcard` and nothing else
#   cmake      the same program built by a CMake project with find_package
#
# The programs run on a copy of the sample card through the installed
# libsimcard-virtual.so. All of it uses the IXML that the calling build found
# (IXML_INCLUDE_DIR, IXML_LIBRARY; libupnp's pkg-config file beside the
# library), and each program is checked to need the same libixml as the
# installed library: two versions of IXML in one process would pass nodes
# between two allocators.
#
# Usage: install_test.sh STEP SOURCE_DIR WORK_DIR   (CC, CXX, CMAKE, CMAKE_GENERATOR,
#        CMAKE_BUILD_TYPE, IXML_INCLUDE_DIR, IXML_LIBRARY from the environment)
set -eu
step=$1
src=$2
work=$3
cmake=${CMAKE:-cmake}
cc=${CC:-cc}
prefix=$work/prefix
ixml_dir=$(dirname "$IXML_LIBRARY")

# The libixml a file needs (NEEDED), or its own name (SONAME).
dynamic() {
    readelf -d "$2" | sed -n "s/.*($1).*\[\(libixml[^]]*\)\]/\1/p"
}

run_consumer() {
    ixml=$(dynamic SONAME "$IXML_LIBRARY")
    for f in "$prefix/lib/libsimcard.so" "$1"; do
        needs=$(dynamic NEEDED "$f")
        if [ -z "$ixml" ] || [ "$needs" != "$ixml" ]; then
            echo "$f needs ${needs:-no libixml}; the build's IXML is ${ixml:-unnamed}" >&2
            exit 1
        fi
    done
    rm -rf "$work/card"
    mkdir -p "$work/card"
    cp "$src/sample/card.img" "$work/card/card.img"
    out=$(LD_PRELOAD="$prefix/lib/libsimcard-virtual.so" \
        SIMCARD_VIRTUAL_IMAGE="$work/card/card.img" \
        SIMCARD_VIRTUAL_CONFIG="$src/sample/simcardconfig.xml" \
        LD_LIBRARY_PATH="$prefix/lib:$ixml_dir" "$1")
    echo "$out" | grep '^file elements: [1-9]' || {
        echo "$out"
        echo "the installed program did not walk the tree" >&2
        exit 1
    }
}

case $step in
configure)
    rm -rf "$work"
    mkdir -p "$work"
    "$cmake" -S "$src" -B "$work/build" -G "${CMAKE_GENERATOR:-Unix Makefiles}" \
        -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="${CXX:-c++}" \
        -DCMAKE_BUILD_TYPE="${CMAKE_BUILD_TYPE:-}" \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
        -DBUILD_TESTING=OFF -DIXML_INCLUDE_DIR="$IXML_INCLUDE_DIR" -DIXML_LIBRARY="$IXML_LIBRARY" \
        -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON
    ;;
install)
    "$cmake" --build "$work/build" --parallel 2
    "$cmake" --install "$work/build"
    # Firmware images get the virtual card only when asked for.
    if [ -e "$prefix/lib/libsimcard-virtual.so" ]; then
        echo "libsimcard-virtual.so installed without its component" >&2
        exit 1
    fi
    "$cmake" --install "$work/build" --component virtual-card
    for f in lib/libsimcard.so lib/libsimcard.so.1 lib/libsimcard-virtual.so include/simcard.h \
        lib/pkgconfig/libsimcard.pc lib/cmake/libsimcard/libsimcardConfig.cmake bin/simcardctl \
        share/man/man1/simcardctl.1 share/bash-completion/completions/simcardctl; do
        [ -e "$prefix/$f" ] || { echo "not installed: $f" >&2; exit 1; }
    done
    ;;
pkgconfig)
    export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$ixml_dir/pkgconfig"
    # shellcheck disable=SC2046
    "$cc" -std=c99 -pedantic -Werror -o "$work/pkgconfig_consumer" "$src/tests/install/consumer.c" \
        $(pkg-config --cflags --libs libsimcard)
    run_consumer "$work/pkgconfig_consumer"
    ;;
cmake)
    "$cmake" -S "$src/tests/install/cmake_consumer" -B "$work/cmake_consumer" \
        -G "${CMAKE_GENERATOR:-Unix Makefiles}" -DCMAKE_C_COMPILER="$cc" \
        -DCMAKE_PREFIX_PATH="$prefix" -DIXML_INCLUDE_DIR="$IXML_INCLUDE_DIR" \
        -DIXML_LIBRARY="$IXML_LIBRARY"
    "$cmake" --build "$work/cmake_consumer"
    run_consumer "$work/cmake_consumer/consumer"
    ;;
*)
    echo "usage: install_test.sh configure|install|pkgconfig|cmake SOURCE_DIR WORK_DIR" >&2
    exit 2
    ;;
esac
