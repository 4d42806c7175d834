#!/usr/bin/env bash
# historian spool: spool.sh PROGRAM MAKE_SPOOL
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"
spool=$work/plant.spool

case='what is no spool'
run spool "$work/no-such.spool"
expect_refused "$work/no-such.spool: there is no such file"
echo 'time,A' >"$work/text.csv"
run spool "$work/text.csv" --replay
expect_status 2
expect_err "$work/text.csv: is not the spool of a recorder: "
expect_equal "$(cat "$work/text.csv")" 'time,A' 'the file'

case='what waits'
${COMMAND_EMULATOR:+"$COMMAND_EMULATOR"} "$2" "$spool"
run spool "$spool" --json
expect_status 0
expect_equal "$(json '[.accepted, .stored, .duplicates, .set_aside, .dropped, .waiting] | @csv')" '1001,0,0,0,0,1001' 'the counts'
run spool "$spool"
expect_out 'accepted   1,001 records: 0 stored'
expect_out 'waiting    1,001 records of '

case='no server'
PGPORT=1 run spool "$spool" --replay
expect_status 1
expect_err 'cannot store, 1,001 records still waiting in the spool: '

case='replayed'
fresh_database
run init
sql "insert into datalog values (to_timestamp(1772431200), 'BOILER.TEMP', 0)"
run spool "$spool" --replay --json
expect_status 0
expect_equal "$(json '[.accepted, .stored, .duplicates, .set_aside, .dropped, .waiting] | @csv')" '1001,1000,1,0,0,0' 'the counts'
expect_equal "$(sql 'select count(*), sum(value) from datalog')" '1000|62437.5' 'what is stored'
expect_equal "$(sql 'select tag_name, label from alarm')" 'BOILER.TEMP|too hot' 'the alarms'
run spool "$spool"
expect_out 'waiting    none'

finish 'a spool is shown and replayed'
