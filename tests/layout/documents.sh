#!/usr/bin/env bash
# Checks that the tests and files that the documents name exist.
set -euo pipefail
cd "$(dirname "$0")/../.."
missing=0

miss() {
  echo "$1: $2 is named and not there"
  missing=1
}

# shellcheck disable=SC2016  # the backquotes are the documents' own
for test in $(grep -ohE '`[A-Z][A-Za-z]+\.[A-Z][A-Za-z0-9]+`' README.md docs/*.md | tr -d '`' | sort -u); do
  grep -rqE "TEST(_F|_P)?\(${test%%.*}, ${test##*.}\)" tests || miss docs "$test"
done
# shellcheck disable=SC2016
for file in $(grep -oE '`(frame|history|reports|records|config)/[A-Za-z]+\.(cpp|h)`' docs/*.md | cut -d: -f2 | tr -d '`' | sort -u); do
  [ -e "DbmsAPI/$file" ] || [ -e "tests/unit/$file" ] || miss docs "$file"
done
[ "$(grep -cE '^\| [0-9]+ \| `' docs/source-files.md)" -eq 69 ] || miss docs/source-files.md "one of the 69 operations"
exit "$missing"
