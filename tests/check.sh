# shellcheck shell=bash
# Counts the failures of a test. For tests to source.

work=$(mktemp -d)  # for the files of the test
trap 'rm -rf "$work"' EXIT
case=  # the current case, for messages
failures=0

fail() {
  echo "FAILED: ${case:+$case: }$*"
  failures=$((failures + 1))
}

# finish TEXT: ends the test, with the text if all went well.
finish() {
  [ "$failures" -eq 0 ] || exit 1
  echo "$1"
}
