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
database=plant_history_$$
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

server=(--host "$PGHOST" --port "$PGPORT" --user "$PGUSER" --database "$database")

# Runs the program with the arguments given; its exit status, and what it wrote, are in $status, $out and $err.
start() {
  status=0
  "${program[@]}" "$@" >"$work/out" 2>"$work/err" || status=$?
  out=$(cat "$work/out")
  err=$(cat "$work/err")
}

# The same, with options that name the server before them.
run() { start "${server[@]}" "$@"; }

expect_status() { [ "$status" -eq "$1" ] || fail "$case: exit status $status, expected $1; it said: $err"; }
expect_out() { [[ $out == *"$1"* ]] || fail "$case: expected '$1' in: $out"; }

expect_error() {
  [ "$(wc -l <"$work/err")" -eq 1 ] || fail "$case: not one line: $err"
  [ "$err" = "plant_history: $1" ] || fail "$case: said '$err', expected 'plant_history: $1'"
}

# The number of samples in tag history, "none" while there is no table.
stored() {
  if [ "$(sql "select to_regclass('datalog') is null")" = t ]; then
    echo none
  else
    sql 'select count(*) from datalog'
  fi
}
expect_stored() {
  local count
  count=$(stored)
  [ "$count" = "$1" ] || fail "$case: $count samples are stored, expected $1"
}

finish() {
  [ "$failures" -eq 0 ] || exit 1
  echo "$1"
}
