#!/usr/bin/env bash
# The programs in the README are exactly the examples that are built and run, in this order:
# readme_program.sh README.md EXAMPLE.cpp...
set -euo pipefail
readme=$1
shift
block=$(mktemp)
trap 'rm -f "$block"' EXIT

blocks=$(grep -c '^```cpp$' "$readme" || true)
[ "$blocks" -eq $# ] || {
  echo "$readme has $blocks C++ blocks, expected $#"
  exit 1
}
number=0
for example in "$@"; do
  number=$((number + 1))
  awk -v number="$number" '/^```cpp$/ { inside = ++count == number; next } /^```$/ { inside = 0 } inside' "$readme" >"$block"
  [ -s "$block" ] || {
    echo "C++ block $number of $readme is empty"
    exit 1
  }
  diff --unified --label "$readme" --label "$example" "$block" "$example"
done
