#!/usr/bin/env bash
# Writes docs/reliability.md from the names of the tests and from tests/chaos/outcomes.txt, which says what each test
# shows:
#
#   tools/reliability.sh BUILD_FOLDER >docs/reliability.md
#
# Fails when a test that the table names is not among those of the built programs, and when the table leaves out
# a test or a family of operations.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"

[ $# -eq 1 ] || die 'usage: reliability.sh BUILD_FOLDER'
build=$1

# The tests of a program, one per line: SUITE.TEST, or SUITE.TEST/FAMILY, a tab and the text that gtest prints for the
# family.
tests_of() {
  "$@" --gtest_list_tests |
    awk '/^[^ ]+\.( |$)/ { suite = $1; next }
         /^  / { test = $1; sub(/^.*# GetParam\(\) = |^[^#]*$/, ""); print suite test "\t" $0 }'
}

tests=$(
  tests_of "$build/tests/chaos/chaos_tests"
  tests_of "$build/tests/chaos/private_server_tests"
  tests_of "$build/tests/memory/memory_tests" --gtest_filter='FailingAllocation.*'
) || die "the tests have not been built in $build"
awk -f "$here/lib/reliability.awk" <(printf '%s\n' "$tests") "$here/../tests/chaos/outcomes.txt"
