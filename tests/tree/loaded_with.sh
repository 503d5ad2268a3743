#!/usr/bin/env bash
# What the library asks of the machine that loads it: the C library and nothing else, and no newer one than
# docs/user-guide.md states; that it can be hardened by the loader; the name that programs find it by.
#     loaded_with.sh LIBRARY GUIDE
set -euo pipefail
fail() { echo "$1"; exit 1; }
dynamic=$(readelf -dW "$1")
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" | grep -vE '^(libc\.so\.6|libm\.so\.6|ld-linux.*)$' || true)
[ -z "$needed" ] || fail "The library needs more than the C library: $needed"
grep -q 'SONAME.*\[libtessarune\.so\.2\]' <<<"$dynamic" || fail "The SONAME isn't libtessarune.so.2."
grep -q 'FLAGS.*BIND_NOW' <<<"$dynamic" || fail "The library isn't linked with -z now."
! grep -qE 'TEXTREL|RPATH|RUNPATH' <<<"$dynamic" || fail "The library has text relocations or a path of its own."
segments=$(readelf -lW "$1")
grep -q 'GNU_RELRO' <<<"$segments" || fail "The library isn't linked with -z relro."
! grep 'GNU_STACK' <<<"$segments" | grep -q 'RWE' || fail "The library asks for an executable stack."
calls=$(nm -D --undefined-only "$1")
grep -q '_chk@' <<<"$calls" || fail "The library calls nothing in its fortified form."
grep -q '__stack_chk_fail@' <<<"$calls" || fail "The library doesn't guard its stack."
newest=$(sed -n 's/.*@GLIBC_//p' <<<"$calls" | sort -V | tail -1)
stated=$(sed -n 's/.*GNU C library \([0-9.]*[0-9]\) or newer.*/\1/p' "$2")
[ "$newest" = "$stated" ] || fail "The library needs GLIBC_$newest, and the guide states '$stated'."
