#!/usr/bin/env bash
# historian import: what is stored, refused and reported: import.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"
original=$data/boiler.csv

case='a dry run needs no server'
PGPORT=1 run import "$original" --dry-run --zone Europe/Berlin
if [ -n "${COMMAND_EMULATOR:-}" ]; then
  expect_refused 'there is no time zone "Europe/Berlin"; zones are UTC or offsets from it (+01:00) here'
else
  expect_status 0
  expect_out '140 in 48 rows'
  expect_out 'from 2026-03-02 06:00:00 to 2026-03-03 05:30:00'
  expect_out '3: BOILER.PRESSURE, BOILER.TEMP, PUMP.FLOW'
fi
PGPORT=1 run import "$original" --dry-run --json --zone +01:00
expect_status 0
expect_equal "$(json '.files[0] | [.layout, .delimiter, .decimal, .time_format, .zone, .tags, .rows, .samples, .without_value, .first, .last, .bad_rows] | @csv')" \
  '"wide","comma","point","iso","+01:00",3,48,140,0,"2026-03-02T05:00:00Z","2026-03-03T04:30:00Z",0' 'what it understood'

fresh_database
case='no tables'
run import "$original"
expect_status 2
expect_err "has no table datalog; create it with: historian init"

run init
case='a file'
run import "$original"
expect_status 0
expect_out '140 samples, in '
expect_equal "$(sql "select extract(epoch from time), value from datalog where tag_name = 'BOILER.TEMP' order by time limit 1")" \
  '1772431200.000000|60.75' 'the first sample'
first=$(stored)

case='the file again'
run import "$original" --json
expect_status 0
expect_equal "$(json '.files[0] | [.stored, .duplicates] | @csv')" '0,140' 'the outcome'
expect_equal "$(stored)" "$first" 'what is stored'

case='ten significant digits'
printf 'time,A\n2026-03-02 06:00,1.23456789012345\n' >"$work/digits.csv"
run import "$work/digits.csv"
expect_equal "$(sql "select value from datalog where tag_name = 'A'")" 1.23456789 'the value'

case='standard input'
sql 'truncate datalog'
run import - <"$original"
expect_status 0
expect_out 'standard input'
expect_equal "$(stored)" "$first" 'what is stored'

case='odd tag names and no values'
sql 'truncate datalog'
printf "time,\"it's 5%%\",\"a,b\",pump \xF0\x9F\x98\x80\n2026-03-02 06:00,1,NA,\n" >"$work/odd.csv"
run import "$work/odd.csv"
expect_status 0
expect_equal "$(sql "select string_agg(tag_name || '=' || coalesce(value::text, 'NULL'), ';' order by tag_name) from datalog")" \
  "a,b=NULL;it's 5%=1" 'what is stored'

case='bad rows'
sql 'truncate datalog'
awk 'NR == 5 { sub(/,.*/, ",x,1,2") } NR == 9 { sub(/^[^,]*/, "noon") } { print }' "$original" >"$work/bad.csv"
run import "$work/bad.csv"
expect_refused "$work/bad.csv:5, column 2 (BOILER.TEMP): \"x\" is not a number (--null WORD for a word that means none, --ignore COLUMN for a column of texts); and 1 bad row more; nothing is stored (--skip-bad leaves bad rows out)"
expect_equal "$(sql 'select count(*) from datalog')" 0 'the number of samples'
run import "$work/bad.csv" --skip-bad
expect_status 0
expect_out "$work/bad.csv:9, column 1 (time): \"noon\" is not a time"
expect_equal "$(sql 'select count(*) from datalog')" 134 'the number of samples'
run import "$work/bad.csv" --skip-bad --json
expect_equal "$(json '.files[0] | [.bad_rows, .bad[0].line, .bad[1].column] | @csv')" '2,5,"1 (time)"' 'the bad rows'

case='a good file before a bad one'
sql 'truncate datalog'
run import "$original" "$work/bad.csv"
expect_status 2
expect_equal "$(sql 'select count(*) from datalog')" 0 'the number of samples'

case='clock changes'
if [ -z "${COMMAND_EMULATOR:-}" ]; then
  printf 'time,A\n2026-03-29 01:00,1\n2026-03-29 02:00,2\n2026-03-29 03:00,3\n' >"$work/clock.csv"
  run import "$work/clock.csv" --zone Europe/Berlin
  expect_refused "$work/clock.csv:3, column 1 (time): \"2026-03-29 02:00\" does not exist in Europe/Berlin, whose clocks are set forward there; if the file keeps one time all year, name it by its offset (--zone +01:00); nothing is stored (--skip-bad leaves bad rows out)"
  expect_equal "$(sql 'select count(*) from datalog')" 0 'the number of samples'
fi
printf 'time,A\n2026-03-29 02:00,2\n' >"$work/clock.csv"
run import "$work/clock.csv" --zone +01:00
expect_equal "$(sql "select time at time zone 'UTC' from datalog")" '2026-03-29 01:00:00' 'the time'

case='verified'
sql 'truncate datalog'
run import "$original" --verify --json
expect_status 0
expect_equal "$(json '.files[0] | [.stored, .duplicates, .loaded_before, .differing] | @csv')" '140,0,0,0' 'the outcome'
sql "update datalog set value = value + 1e-6 where tag_name = 'BOILER.TEMP' and time = '2026-03-02 06:00Z'"
sql "delete from datalog where tag_name = 'PUMP.FLOW' and time = '2026-03-02 06:00Z'"
sql "update datalog set value = null where tag_name = 'PUMP.FLOW' and time = '2026-03-02 06:30Z'"
awk 'NR > 1 && NR < 4' "$original" | cat <(head -n 1 "$original") - >"$work/two.csv"
run import "$work/two.csv" --verify
expect_status 1
expect_out '1 samples, 5 were stored already'
expect_out '2 samples of the file differ from the database'

case='interrupted and continued'
sql 'truncate datalog'
awk 'BEGIN { print "time,A,B,C"; for (i = 0; i < 120000; ++i) print 1772431200 + i "," i "," i / 8 "," (-i) }' >"$work/large.csv"
mkfifo "$work/locker"
psql --no-psqlrc --quiet <"$work/locker" &
locker=$!
exec 4>"$work/locker"
echo 'begin; lock table datalog in share row exclusive mode;' >&4
until [ "$(sql "select count(*) from pg_locks where relation = 'datalog'::regclass and mode = 'ShareRowExclusiveLock' and granted")" = 1 ]; do sleep 0.05; done
# A shell starts background commands with SIGINT ignored.
env --default-signal=INT "${program[@]}" import "$work/large.csv" >"$work/out" 2>"$work/err" 4>&- &
import=$!
until [ "$(sql "select count(*) from pg_locks where relation = 'datalog'::regclass and not granted")" = 1 ]; do sleep 0.05; done
kill -INT $import
echo 'commit;' >&4
exec 4>&-
status=0
wait $import || status=$?
wait $locker
err=$(cat "$work/err")
expect_status 130
expect_equal "$err" 'historian: interrupted: 100,002 samples of 360,000 were loaded; the same command continues there' 'what it said'
expect_equal "$(sql 'select count(*) from datalog')" 100002 'the number of samples'
run import "$work/large.csv" --verify --json
expect_status 0
expect_equal "$(json '.files[0] | [.stored, .duplicates, .loaded_before, .differing] | @csv')" '259998,0,100002,0' 'the outcome'
expect_equal "$(sql 'select count(*) from historian_backfill')" 0 'what is left to be continued'

case='several connections'
sql 'truncate datalog'
run import "$work/large.csv" --connections 3 --verify
expect_status 0
expect_out '360,000 samples, in '
expect_out 'every sample is in the database as in the file, to ten significant digits'

case='misuse'
run import
expect_refused 'FILE is required (historian import --help shows how)'
run import "$work/no-such.csv"
expect_refused "$work/no-such.csv: there is no such file"
run import "$original" --zone Mars
expect_status 2
expect_err 'there is no time zone "Mars"'
run import "$original" --delimiter ten
expect_refused '--delimiter: "ten" is neither comma, semicolon, tab nor one character'

finish 'files are stored whole or refused in one line'
