#!/bin/sh
# Builds the fuzz targets with clang (address and undefined-behaviour
# sanitizers) and runs one or all of them: first once over the seed corpus in
# the tree as a regression run, then fuzzing for the seconds given.
set -eu

usage() {
    cat <<USAGE
Usage: scripts/fuzz.sh [TARGET|all] [SECONDS] [-- LIBFUZZER-OPTION...]

Builds the fuzz targets in build-fuzz/ and runs TARGET (default: all of them)
over its corpus in fuzz/corpus/TARGET, then fuzzes it for SECONDS (default 60)
with the dictionary fuzz/TARGET.dict. New inputs go to out/fuzz/corpus/TARGET,
crashing inputs to out/fuzz/artifacts/, libFuzzer's output to out/fuzz/TARGET.log.
Options after -- go to libFuzzer (for instance -jobs=1 or -max_len=20000).

Targets: $TARGETS

Exit status: 0 when every run ended without a finding, 1 on a finding or a
failed build, 2 for wrong arguments.
USAGE
}

TARGETS="records vlan mapping pattern document hostile_card repair"

die_usage() {
    echo "fuzz.sh: $1" >&2
    echo "Try 'scripts/fuzz.sh --help'." >&2
    exit 2
}

target=all
seconds=60
positional=0
while [ $# -gt 0 ]; do
    case $1 in
    -h | --help)
        usage
        exit 0
        ;;
    --)
        shift
        break
        ;;
    -*) die_usage "unknown option: $1" ;;
    *)
        positional=$((positional + 1))
        case $positional in
        1) target=$1 ;;
        2) seconds=$1 ;;
        *) die_usage "too many arguments" ;;
        esac
        ;;
    esac
    shift
done

case $seconds in
'' | *[!0-9]*) die_usage "SECONDS must be a whole number: $seconds" ;;
esac
if [ "$target" = all ]; then
    selected=$TARGETS
else
    case " $TARGETS " in
    *" $target "*) selected=$target ;;
    *) die_usage "no such target: $target" ;;
    esac
fi

cd "$(dirname "$0")/.."
./scripts/install-deps.sh
./scripts/install-deps.sh clang libclang-rt-dev

CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DSIMCARD_FUZZ=ON -DBUILD_TESTING=OFF \
    -DSIMCARD_BUILD_TOOLS=OFF >/dev/null
cmake --build build-fuzz -j"$(nproc 2>/dev/null || echo 2)" --target fuzz

out=out/fuzz
mkdir -p "$out/artifacts"
# A smaller quarantine and no fill of new blocks: the document and card
# targets allocate much per input, and run a third faster so.
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:quarantine_size_mb=32:max_malloc_fill_size=0}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"

# libFuzzer's last status line ("#N DONE cov: C ft: F ...") as one line.
summary() {
    grep -E '^#[0-9]+[[:space:]]+(DONE|INITED)' "$1" | tail -n 1 |
        sed -E 's/^#([0-9]+)[[:space:]]+[A-Z]+[[:space:]]+cov: ([0-9]+) ft: ([0-9]+).*/\1 executions, cov \2, ft \3/'
}

# Runs one target; a non-zero exit from libFuzzer is a finding.
run() {
    name=$1
    shift
    bin=build-fuzz/fuzz/fuzz_$name
    log=$out/$name.log
    work=$out/corpus/$name
    mkdir -p "$work"
    if ! nice "$bin" -runs=0 -timeout=25 "fuzz/corpus/$name" >"$log" 2>&1; then
        echo "fuzz.sh: $name: the regression run over fuzz/corpus/$name failed:" >&2
        tail -n 40 "$log" >&2
        return 1
    fi
    echo "$name: corpus: $(summary "$log")"
    if [ "$seconds" -eq 0 ]; then
        return 0
    fi
    # A card session takes some hundred answers, one input byte or more each:
    # long inputs from the start, so that hostile answers reach its later steps.
    extra=
    if [ "$name" = hostile_card ]; then
        extra="-max_len=2048 -len_control=0"
    fi
    # shellcheck disable=SC2086
    if ! nice "$bin" -max_total_time="$seconds" -timeout=25 -print_final_stats=1 \
        -dict="fuzz/$name.dict" -artifact_prefix="$out/artifacts/$name-" $extra "$@" \
        "$work" "fuzz/corpus/$name" >"$log" 2>&1; then
        echo "fuzz.sh: $name: finding (input in $out/artifacts/):" >&2
        tail -n 40 "$log" >&2
        return 1
    fi
    echo "$name: ${seconds}s: $(summary "$log")"
}

status=0
for name in $selected; do
    run "$name" "$@" || status=1
done
exit $status
