#!/usr/bin/env bash
# Whole runs of plant_history, and how they end: runs.sh PLANT_HISTORY RECORD_MACHINE
set -euo pipefail
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"
recorder=${2:-}
zone=America/New_York
[ -z "${EXAMPLES_EMULATOR:-}" ] || zone=-04:00
file=$work/plant.csv

case='a file with all that a file may have'
fresh_database
printf '\xEF\xBB\xBFtime,PUMP.SPEED,"TANK, LEVEL",Förderhöhe\r\n' >"$file"
printf '%s\r\n' '2024-05-01 12:00:00,21.5,,1e-3' '2024-05-01T12:00:01.250,"21.75",2,nan' \
  '2024-05-01T12:00:02+02:00,1.23456789012345,2,3' '1969-07-20T20:17:40Z,1,2,3' >>"$file"
run "$file" --zone "$zone"
expect_status 0
expect_out '4 rows, 8 samples in'
expect_out '4 left out: before 1970, or not finite'
expect_out 'every sample is in the database as in the file'
expect_out 'first 2024-05-01 06:00:02   last 2024-05-01 12:00:01.250   '"$zone"
[ -z "$err" ] || fail "$case: said $err"
[[ $out != *$'\x1b'* && $out != *$'\r'* ]] || fail "$case: draws where nobody looks"
expect_stored 8
found=$(sql "select extract(epoch from time), tag_name, value from datalog order by tag_name, time")
expected='1714557602.000000|Förderhöhe|3
1714579200.000000|Förderhöhe|0.001
1714557602.000000|PUMP.SPEED|1.23456789
1714579200.000000|PUMP.SPEED|21.5
1714579201.250000|PUMP.SPEED|21.75
1714557602.000000|TANK, LEVEL|2
1714579200.000000|TANK, LEVEL|
1714579201.250000|TANK, LEVEL|2'
[ "$(LC_ALL=C sort <<<"$found")" = "$(LC_ALL=C sort <<<"$expected")" ] || fail "$case: stored $found"
[ "$(sql "select message from system_log")" = 'loading plant.csv' ] || fail "$case: no record in the system log"

case='the same file again'
run "$file" --zone "$zone"
expect_status 0
expect_stored 8

case='another value in the database'
sql "update datalog set value = 5 where tag_name = 'PUMP.SPEED' and value = 21.5"
run "$file" --zone "$zone"
expect_status 1
expected="plant_history: $file: line 2, column 2 (PUMP.SPEED): the file has 21.5, the database 5
plant_history: hour of PUMP.SPEED from 2024-05-01 12:00:00: sum was 26.75, the database has 43.25"
[ "$err" = "$expected" ] || fail "$case: said $err"
expect_out '1 sample is not as in the file'
expect_out '1 hour is not as it was reported'

case='two values for one time: the first stays'
fresh_database
printf 'time,a\n2024-05-01 00:00,1\n2024-05-01 00:00,2\n' >"$file"
run "$file"
expect_status 1
expect_error "$file: line 3, column 2 (a): the file has 2, the database 1"
expect_stored 1

case='samples that do not arrive'
sql "truncate datalog, report_data_analog_hour;
     create function lose() returns trigger language plpgsql as 'begin return null; end';
     create trigger lose before insert on datalog for each row when (new.tag_name = 'b') execute function lose()"
printf 'time,a,b\n2024-05-01 00:00,1,\n2024-05-01 00:01,2,3\n' >"$file"
run "$file"
expect_status 1
expect_out '2 samples are not as in the file'
expected="plant_history: $file: line 2, column 3 (b): the file has no value, the database no such sample
plant_history: $file: line 3, column 3 (b): the file has 3, the database no such sample"
[ "$err" = "$expected" ] || fail "$case: said $err"

case='a header and no rows'
fresh_database
echo 'time,a' >"$file"
run "$file"
expect_status 0
expect_out 'tag history holds no sample'
expect_stored 0

case='no server'
status=0
"${program[@]}" --host 127.0.0.1 --port 1 "$file" >"$work/out" 2>"$work/err" || status=$?
err=$(cat "$work/err")
expect_status 1
[ "$(wc -l <"$work/err")" -eq 1 ] || fail "$case: not one line: $err"
[[ $err == 'plant_history: cannot reach the server at 127.0.0.1:1: '* ]] || fail "$case: said $err"

# The first batch waits for a lock while the signal comes: it is completed, the next is not begun.
case='an interrupt between batches'
{
  echo time,a
  seq 1 20000 | awk '{ printf "2024-05-01 %02d:%02d:%02d,%d\n", $1 / 3600, $1 / 60 % 60, $1 % 60, $1 }'
} >"$file"
coproc locker { psql --no-psqlrc --quiet --tuples-only --no-align --dbname "$database"; }
# shellcheck disable=SC2154 # the coprocess sets it
locker_process=$locker_PID
echo 'begin; lock table datalog in exclusive mode; select 1;' >&"${locker[1]}"
read -r _ <&"${locker[0]}"
env --default-signal=INT "${program[@]}" "${server[@]}" "$file" >"$work/out" 2>"$work/err" &
waiting=$!
until [ "$(sql "select count(*) from pg_stat_activity where wait_event_type = 'Lock'")" = 1 ]; do sleep 0.05; done
kill -INT "$waiting"
echo 'commit; select 2;' >&"${locker[1]}"
echo '\q' >&"${locker[1]}"
wait "$locker_process" || true
status=0
wait "$waiting" || status=$?
err=$(cat "$work/err")
expect_status 130
expect_error 'interrupted (the first 10,000 rows are stored)'
expect_stored 10000

case='what the recorder writes'
if [ -n "$recorder" ]; then
  fresh_database
  "$recorder" "$file" 2
  run "$file"
  expect_status 0
  expect_out 'every sample is in the database as in the file'
  expect_out 'cpu.user_percent'
fi

finish 'plant_history runs to each of its ends'
