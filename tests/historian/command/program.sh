# shellcheck shell=bash
# Shared by the tests of the program historian.

# COMMAND_EMULATOR runs a program that is built for Windows.
program=(${COMMAND_EMULATOR:+"$COMMAND_EMULATOR"} "$1")
database=historian_command_$$
# shellcheck source=tests/program.sh
. "$(dirname "${BASH_SOURCE[0]}")/../../program.sh"
export PGDATABASE=$database  # for the program
data=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/data

expect_out() { [[ $out == *"$1"* ]] || fail "expected '$1' in: $out"; }
expect_err() { [[ $err == *"$1"* ]] || fail "expected '$1' in: $err"; }

# Expects a refusal: status 2, one line, nothing on standard output.
expect_refused() {
  expect_status 2
  [ "$err" = "historian: $1" ] || fail "said '$err', expected 'historian: $1'"
  [ -z "$out" ] || fail "wrote: $out"
}

expect_equal() { [ "$1" = "$2" ] || fail "$3 is '$1', expected '$2'"; }

# json PATH: a value of the JSON that the program wrote; PATH as for jq.
json() { jq --raw-output "$1" <"$work/out"; }

# Count and digest of all samples in the store.
stored() { sql "select count(*), md5(string_agg(extract(epoch from time) || tag_name || coalesce(value::text, 'null'), ',' order by time, tag_name)) from datalog"; }
