#!/usr/bin/env bash
# A command succeeds and prints the texts: says.sh TEXT... -- COMMAND [ARGUMENT]...
set -euo pipefail
texts=()
while [ "$1" != -- ]; do
  texts+=("$1")
  shift
done
shift
out=$("$@") || {
  status=$?
  printf '%s\n' "$out"
  exit "$status"
}
printf '%s\n' "$out"
status=0
for text in "${texts[@]}"; do
  if [[ $out != *"$text"* ]]; then
    echo "did not say: $text"
    status=1
  fi
done
exit "$status"
