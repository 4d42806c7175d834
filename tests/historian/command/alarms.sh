#!/usr/bin/env bash
# historian alarms and chunks: alarms.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

fresh_database
run alarms
expect_status 2
expect_err 'has no table alarm; create it with: historian init'
run init
case='none'
run alarms
expect_status 0
expect_equal "$out" 'no alarms match' 'what is written'

sql "insert into alarm values
  ('2026-03-02 06:00:00Z', 'PUMP.FLOW', 1.5, 'too low', 1, 2, 3, 4, '2026-03-02 06:00:00Z', null),
  ('2026-03-02 07:00:00Z', 'PUMP.FLOW', 9, 'good again', 2, 2, 3, 4, '2026-03-02 06:00:00Z', '2026-03-02 07:00:00Z'),
  ('2026-03-02 08:00:00Z', 'PU_MP''S', 70, E'two\nlines 😀', 1, 5, 6, 7, '2026-03-02 08:00:00Z', null)"

tags() { json '[.[] | .tag + " " + (.status | tostring)] | join(";")'; }
case='all of them'
run alarms --json
expect_equal "$(tags)" "PU_MP'S 1;PUMP.FLOW 2;PUMP.FLOW 1" 'the alarms'
expect_equal "$(json '.[1] | [.time, .value, .label, .type, .level, .zone, .occurred, .cleared] | @csv')" \
  '"2026-03-02T07:00:00Z",9,"good again",2,3,4,"2026-03-02T06:00:00Z","2026-03-02T07:00:00Z"' 'an alarm'
expect_equal "$(json '.[0].cleared')" null 'the time at which it cleared'

expect_tags() {
  case=${*:2}
  run alarms --json "${@:2}"
  expect_status 0
  expect_equal "$(tags)" "$1" 'the alarms'
}
expect_tags 'PUMP.FLOW 2;PUMP.FLOW 1' --tag PUMP
expect_tags "PU_MP'S 1" --tag "PU_MP'"
expect_tags 'PUMP.FLOW 1' --from 2026-03-02T06:00Z --to 2026-03-02T06:30Z
expect_tags "PU_MP'S 1" --from '2026-03-02 02:30' --zone -05:00 --to now --limit 1
expect_tags 'PUMP.FLOW 2' --status 2
expect_tags "PU_MP'S 1" --type 5
expect_tags "PU_MP'S 1" --level 6
expect_tags 'PUMP.FLOW 2;PUMP.FLOW 1' --alarm-zone 4
expect_tags "PU_MP'S 1;PUMP.FLOW 1" --open
expect_tags "PU_MP'S 1" --limit 1

case='a table'
run alarms --zone +01:00
expect_out '2026-03-02 09:00:00'
expect_out 'two lines 😀'
expect_out '3 state changes, newest first, times in +01:00'
[[ $out != *$'\x1b'* ]] || fail 'colours in a file'

case='misuse'
run alarms --status 4
expect_status 2
run alarms --from tomorrow
expect_status 2

case='chunks of a plain server'
run chunks
expect_refused "the database $database has no TimescaleDB, so it has no chunks"

finish 'alarms are listed and filtered'
