#!/usr/bin/env bash
# The program in the README is the example that is built and run, character for character:
# readme_program.sh README.md first_steps.cpp
set -euo pipefail
readme=$1
example=$2
block=$(mktemp)
trap 'rm -f "$block"' EXIT

blocks=$(grep -c '^```cpp$' "$readme" || true)
[ "$blocks" -eq 1 ] || {
  echo "$readme has $blocks C++ blocks, expected 1"
  exit 1
}
sed -n '/^```cpp$/,/^```$/p' "$readme" | sed '1d;$d' >"$block"
[ -s "$block" ] || {
  echo "the C++ block of $readme is empty"
  exit 1
}
diff --unified --label "$readme" --label "$example" "$block" "$example"
