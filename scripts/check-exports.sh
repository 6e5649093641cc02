#!/bin/sh
# Checks that the shared object exports exactly the names of the interface:
# nothing that is not listed in the version script, and (with --all) every
# name listed there.
#
# Usage: check-exports.sh LIB MAP [--all]
# NM names the nm to use (a cross build passes its own; default nm).
set -eu
lib=$1
map=$2
mode=${3:-}
nm=${NM:-nm}

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

sed -n 's/^ *\([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' "$map" | sort -u > "$tmp/listed"
# Global and weak definitions only: MIPS keeps the names the version script
# made local in the dynamic symbol table too, with a lower-case type ("u",
# a unique global, is the one lower-case type that is exported).
"$nm" -D --defined-only "$lib" | awk '$2 ~ /^[A-Zu]$/ {print $3}' | sed 's/@.*//' \
    | sort -u > "$tmp/exported"

extra=$(comm -23 "$tmp/exported" "$tmp/listed")
missing=$(comm -13 "$tmp/exported" "$tmp/listed")

status=0
if [ -n "$extra" ]; then
    echo "exported but not in the interface:"; printf '  %s\n' $extra; status=1
fi
if [ -n "$missing" ]; then
    echo "in the interface but not exported:"; printf '  %s\n' $missing
    if [ "$mode" = "--all" ]; then status=1; fi
fi
if [ $status -eq 0 ]; then
    echo "exports: $(wc -l < "$tmp/exported") names, all in the interface"
fi
exit $status
