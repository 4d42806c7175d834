#!/usr/bin/env bash
# A command succeeds and says a text: says.sh TEXT COMMAND [ARGUMENT]...
set -euo pipefail
text=$1
shift
out=$("$@") || {
  status=$?
  printf '%s\n' "$out"
  exit "$status"
}
printf '%s\n' "$out"
[[ $out == *"$text"* ]] || {
  echo "did not say: $text"
  exit 1
}
