# shellcheck shell=bash
# Runs a program against a fresh database of the test server, and checks what it wrote. For tests to source, after
# they have set `program`, the command to run, and `database`, the name of the database.

: "${DBMSAPI_TEST_HOST:?names no test server; tools/server.sh starts one}"
# libpq's environment, with which psql finds the server, and so does a program without connection arguments.
export PGHOST=$DBMSAPI_TEST_HOST PGPORT=$DBMSAPI_TEST_PORT PGUSER=$DBMSAPI_TEST_USER
export PGPASSWORD=$DBMSAPI_TEST_PASSWORD PGOPTIONS=--client-min-messages=warning
unset PGDATABASE

# shellcheck source=tests/check.sh
. "$(dirname "${BASH_SOURCE[0]}")/check.sh"

sql() {
  psql --no-psqlrc --quiet --tuples-only --no-align --set ON_ERROR_STOP=1 --dbname "${PGDATABASE:-$database}" --command "$1"
}

drop_database() {
  psql --no-psqlrc --quiet --dbname postgres --command "drop database if exists $database with (force)" "$@"
}

fresh_database() { drop_database --command "create database $database"; }

clear_up() {
  drop_database || true
  rm -rf "$work"
}
trap clear_up EXIT

# run ARGUMENT...: runs the program. Its exit status and what it wrote are in $status, $out and $err.
run() {
  status=0
  "${program[@]}" "$@" >"$work/out" 2>"$work/err" || status=$?
  out=$(cat "$work/out")
  err=$(cat "$work/err")
  if grep -qF -- "$PGPASSWORD" "$work/out" "$work/err"; then fail 'the output holds the password'; fi
}

expect_status() { [ "$status" -eq "$1" ] || fail "exit status $status, expected $1; it said: $err"; }
