#!/bin/sh
# Installs what is missing, builds, and runs every test: once in the normal
# build and once under AddressSanitizer and UndefinedBehaviorSanitizer.
set -eu
cd "$(dirname "$0")/.."

./scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)

run() {
    dir=$1
    shift
    cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Debug "$@" >/dev/null
    cmake --build "$dir" -j"$jobs"
    (cd "$dir" && ctest --output-on-failure -j"$jobs")
}

echo "== normal build"
run build
echo "== sanitized build (address, undefined)"
export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run build-asan -DSIMCARD_SANITIZE=ON
