#!/usr/bin/env bash
# Checks that programs and libraries are hardened like those of Debian: hardened.sh FILE...
set -euo pipefail
[ $# -gt 0 ] || {
  echo 'names no file'
  exit 1
}

status=0
all_symbols=
# expect FILE WHAT FOUND PATTERN
expect() {
  grep -qE "$4" <<<"$3" && return
  echo "$1: has no $2"
  status=1
}

for file in "$@"; do
  headers=$(readelf --wide --program-headers --dynamic "$file")
  symbols=$(nm --dynamic --undefined-only "$file")
  expect "$file" 'read-only relocations (-z relro)' "$headers" 'GNU_RELRO'
  expect "$file" 'binding at start (-z now)' "$headers" '\(FLAGS(_1)?\).*NOW'
  expect "$file" 'stack protector' "$symbols" '__stack_chk_fail'
  all_symbols+=$symbols$'\n'
  # Flags of a segment are the column before the last one.
  expect "$file" 'stack that holds no code' "$headers" 'GNU_STACK.* RW +0x'
done
# A small library may call no function that has a checked variant, so it is enough that one file calls some: all are
# built with the same flags.
expect "$*" 'checked functions (_FORTIFY_SOURCE)' "$all_symbols" ' __[a-z]+_chk(@|$)'
exit "$status"
