# shellcheck shell=bash
# What the tests of the program share: a fresh database on the test server, and what a run said and stored.

# COMMAND_EMULATOR runs what is built for Windows.
program=(${COMMAND_EMULATOR:+"$COMMAND_EMULATOR"} "$1")
data=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/data
: "${DBMSAPI_TEST_HOST:?names no test server; tools/server.sh starts one}"
database=historian_command_$$
# The program finds the server as every libpq program does; psql as well.
export PGHOST=$DBMSAPI_TEST_HOST PGPORT=$DBMSAPI_TEST_PORT PGUSER=$DBMSAPI_TEST_USER
export PGPASSWORD=$DBMSAPI_TEST_PASSWORD PGDATABASE=$database PGOPTIONS=--client-min-messages=warning

work=$(mktemp -d)
case=
failures=0

sql() { psql --no-psqlrc --quiet --tuples-only --no-align --set ON_ERROR_STOP=1 --command "$1"; }

fresh_database() {
  psql --no-psqlrc --quiet --dbname postgres --command "drop database if exists $database with (force)" \
    --command "create database $database"
}

clear_up() {
  psql --no-psqlrc --quiet --dbname postgres --command "drop database if exists $database with (force)" || true
  rm -rf "$work"
}
trap clear_up EXIT

fail() {
  echo "FAILED: $case: $*"
  failures=$((failures + 1))
}

# Runs the program with the arguments given; its exit status, and what it wrote, are in $status, $out and $err.
run() {
  status=0
  "${program[@]}" "$@" >"$work/out" 2>"$work/err" || status=$?
  out=$(cat "$work/out")
  err=$(cat "$work/err")
}

expect_status() { [ "$status" -eq "$1" ] || fail "exit status $status, expected $1; it said: $err"; }
expect_out() { [[ $out == *"$1"* ]] || fail "expected '$1' in: $out"; }
expect_err() { [[ $err == *"$1"* ]] || fail "expected '$1' in: $err"; }

# A refusal: status 2, one line, nothing on standard output.
expect_refused() {
  expect_status 2
  [ "$err" = "historian: $1" ] || fail "said '$err', expected 'historian: $1'"
  [ -z "$out" ] || fail "wrote: $out"
}

expect_equal() { [ "$1" = "$2" ] || fail "$3 is '$1', expected '$2'"; }

# A value of the JSON that the program wrote: json PATH, as jq takes it.
json() { jq --raw-output "$1" <"$work/out"; }

# Every sample in the store: count and digest.
stored() { sql "select count(*), md5(string_agg(extract(epoch from time) || tag_name || coalesce(value::text, 'null'), ',' order by time, tag_name)) from datalog"; }

finish() {
  [ "$failures" -eq 0 ] || exit 1
  echo "$1"
}
