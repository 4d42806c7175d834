# shellcheck shell=bash
# Shared by the tests of the examples.

# EXAMPLES_EMULATOR runs programs that are built for Windows.
program=(${EXAMPLES_EMULATOR:+"$EXAMPLES_EMULATOR"} "$1")
database=examples_$$
# shellcheck source=tests/program.sh
. "$(dirname "${BASH_SOURCE[0]}")/../program.sh"
