#!/usr/bin/env bash
# The README's program of the recorder: keep_recording.sh KEEP_RECORDING
set -euo pipefail
program_path=$(realpath "$1")
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"
program=("$program_path")

fresh_database
sql 'create table datalog (time timestamptz not null, tag_name text not null, value float8, primary key (time, tag_name))'
cd "$work"

case='no server'
run 127.0.0.1 1 "$database" "$PGUSER" "$PGPASSWORD"
expect_status 3
[ "$(sqlite3 plant.spool 'select accepted, stored from spool')" = '1|0' ] || fail "the sample is not in the spool"

# The sample of the first run is stored; that of the second is a duplicate.
case='the server is back'
run "$PGHOST" "$PGPORT" "$database" "$PGUSER" "$PGPASSWORD"
expect_status 0
found=$(sql 'select extract(epoch from time), tag_name, value from datalog')
[ "$found" = '1700000000.123000|PUMP.SPEED|21.5' ] || fail "stored $found"
[ "$(sqlite3 plant.spool 'select accepted, stored, duplicates from spool')" = '2|1|1' ] || fail "counted wrong"

case='no arguments'
run
expect_status 2

finish 'keep_recording does what the README says'
