# shellcheck shell=bash
# What the tests of the programs share: a fresh database on the test server, and what a run said and stored.

# EXAMPLES_EMULATOR runs what is built for Windows, where time zones have no names.
program=(${EXAMPLES_EMULATOR:+"$EXAMPLES_EMULATOR"} "$1")
: "${DBMSAPI_TEST_HOST:?names no test server; tools/server.sh starts one}"
export PGHOST=$DBMSAPI_TEST_HOST PGPORT=$DBMSAPI_TEST_PORT PGUSER=$DBMSAPI_TEST_USER
export PGPASSWORD=$DBMSAPI_TEST_PASSWORD PGOPTIONS=--client-min-messages=warning
unset PGDATABASE

work=$(mktemp -d)
case=
database=examples_$$
failures=0

sql() { psql --no-psqlrc --quiet --tuples-only --no-align --set ON_ERROR_STOP=1 --dbname "$database" --command "$1"; }

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
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# Runs the program with the arguments given; its exit status, and what it wrote, are in $status, $out and $err.
start() {
  status=0
  "${program[@]}" "$@" >"$work/out" 2>"$work/err" || status=$?
  out=$(cat "$work/out")
  err=$(cat "$work/err")
}

expect_status() { [ "$status" -eq "$1" ] || fail "$case: exit status $status, expected $1; it said: $err"; }

finish() {
  [ "$failures" -eq 0 ] || exit 1
  echo "$1"
}
