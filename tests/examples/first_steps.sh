#!/usr/bin/env bash
# The program of the README in a fresh database: first_steps.sh FIRST_STEPS
set -euo pipefail
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"

fresh_database
for case in 'the first time' 'once more'; do
  run "$PGHOST" "$PGPORT" "$database" "$PGUSER" "$PGPASSWORD"
  expect_status 0
  [ "$out" = '1700000000.123 s: 21.500
1700000001.123 s: 21.700' ] || fail "said $out"
  [ -z "$err" ] || fail "said $err"
done
found=$(sql 'select extract(epoch from time), tag_name, value from datalog order by time')
[ "$found" = '1700000000.123000|PUMP.SPEED|21.5
1700000001.123000|PUMP.SPEED|21.7' ] || fail "stored $found"

case='no server'
run 127.0.0.1 1 "$database" "$PGUSER" "$PGPASSWORD"
expect_status 1
[[ $err == *'(0x0000274D/10061)'* ]] || fail "said $err"

case='no arguments'
run
expect_status 2

finish 'first_steps does what the README says'
