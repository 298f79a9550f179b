#!/usr/bin/env bash
# Fails unless each built file has what an optimised build is to be hardened with:
#   tests/library/hardening.sh READELF FILE...
set -euo pipefail
readelf=$1
shift

status=0
# Says what FILE lacks when the output of readelf does not match.
expect() {
    grep -qE "$2" <<<"$3" || { echo "$file: $1"; status=1; }
}

for file in "$@"; do
    headers=$("$readelf" -lW "$file")
    dynamic=$("$readelf" -dW "$file")
    symbols=$("$readelf" -W --dyn-syms "$file")
    expect "the linker's tables stay writable" 'GNU_RELRO' "$headers"
    expect "symbols are bound lazily" 'Flags:.* NOW' "$dynamic"
    expect "the stack is executable" 'GNU_STACK .* RW ' "$headers"
    expect "no stack protector" 'UND __stack_chk_fail' "$symbols"
    expect "no checks of the C library" 'UND __[a-z]+_chk' "$symbols"
    [[ $file == *.so* ]] || expect "loads at a fixed address" 'Flags:.* PIE' "$dynamic"
done
exit $status
