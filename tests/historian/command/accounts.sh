#!/usr/bin/env bash
# historian import as the accounts of docs/grants.sql: accounts.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"
grants=$(dirname "$0")/../../../docs/grants.sql

grant() { sql "$(sed "s/plant_/${database}_/g" "$grants")"; }
clear_up_accounts() {
  for account in owner writer reader; do
    sql "drop owned by ${database}_$account cascade; drop role ${database}_$account" || true
  done
  clear_up
}
# run_as ACCOUNT ARGUMENT...
run_as() { PGUSER=${database}_$1 PGPASSWORD=secret-of-$1 run "${@:2}"; }

fresh_database
trap clear_up_accounts EXIT
grant
for account in owner writer reader; do
  sql "alter role ${database}_$account password 'secret-of-$account'"
done

case='the owner makes the tables'
run_as owner init
expect_status 0
run_as owner import "$data/boiler.csv"
expect_status 0
grant

case='the writer imports'
printf 'time,BOILER.TEMP\n2026-03-20T00:00:00Z,1\n' >"$work/new.csv"
run_as writer import "$work/new.csv"
expect_status 0
expect_equal "$(sql "select count(*) from datalog where time = '2026-03-20T00:00:00Z'")" 1 'samples stored'
expect_equal "$(sql 'select count(*) from historian_backfill')" 0 'imports to be continued'

case='the reader does not'
run_as reader import "$work/new.csv"
expect_status 1
expect_err 'permission denied'

finish 'the accounts import as far as their rights go'
