#!/bin/sh
# Checks that the shared object exports exactly the names of the interface:
# nothing that is not listed in the version script, and (with --all) every
# name listed there.
set -eu
lib=$1
map=$2
mode=${3:-}

listed=$(sed -n 's/^ *\([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' "$map" | sort -u)
exported=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | sort -u)

extra=$(printf '%s\n' "$exported" | comm -23 - "$(printf '%s\n' "$listed" > "$lib.listed"; echo "$lib.listed")")
missing=$(printf '%s\n' "$listed" | comm -23 - "$(printf '%s\n' "$exported" > "$lib.exported"; echo "$lib.exported")")
rm -f "$lib.listed" "$lib.exported"

status=0
if [ -n "$extra" ]; then
    echo "exported but not in the interface:"; printf '  %s\n' $extra; status=1
fi
if [ -n "$missing" ]; then
    echo "in the interface but not exported:"; printf '  %s\n' $missing
    if [ "$mode" = "--all" ]; then status=1; fi
fi
[ $status -eq 0 ] && echo "exports: $(printf '%s\n' "$exported" | wc -l) names, all in the interface"
exit $status
