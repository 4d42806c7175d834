#!/usr/bin/env bash
# What plant_history derives from tag history, alarms and an hour report, against the same derived by the server:
# derives.sh PLANT_HISTORY
set -euo pipefail
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"
export PGOPTIONS="$PGOPTIONS -c timezone=UTC"

file=$work/plant.csv

# Samples without a value change nothing.
expected_alarms="
  with limits as (
    select tag_name, percentile_disc(0.99) within group (order by value) as top
    from datalog where value is not null group by tag_name),
  states as (
    select *, lag(above, 1, false) over tag as before
    from (select time, tag_name, value, value > top as above from datalog join limits using (tag_name)
          where value is not null) as samples
    window tag as (partition by tag_name order by time)),
  changes as (
    select *, max(time) filter (where above) over (partition by tag_name order by time) as occurred
    from states where above <> before)
  select time, tag_name, value, case when above then 0 else 1 end as status, 1 as type, 1 as level, 0 as zone,
         occurred as occ_time, case when above then null else time end as free_time
  from changes"
stored_alarms='select time, tag_name, value, status, type, level, zone, occ_time, free_time from alarm'

expected_hours="
  with samples as (select * from datalog where value is not null),
  minutes as (
    select tag_name, date_trunc('minute', time) as minute,
           (array_agg(value order by time desc))[1] - (array_agg(value order by time))[1] as diff
    from samples group by 1, 2),
  diffs as (
    select tag_name, date_trunc('hour', minute) as time, sum(diff) as diff_sum, avg(diff) as diff_avg,
           min(diff) as diff_min, (array_agg(minute order by diff, minute))[1] as diff_min_time,
           max(diff) as diff_max, (array_agg(minute order by diff desc, minute))[1] as diff_max_time
    from minutes group by 1, 2),
  hours as (
    select date_trunc('hour', time) as time, tag_name, count(*)::int as count, sum(value) as sum, avg(value) as avg,
           (array_agg(value order by time))[1] as first, (array_agg(value order by time desc))[1] as last,
           min(value) as min, date_trunc('second', (array_agg(time order by value, time))[1]) as min_time,
           max(value) as max, date_trunc('second', (array_agg(time order by value desc, time))[1]) as max_time
    from samples group by 1, 2)
  select time, tag_name, count, sum, round(avg::numeric, 9), last - first, first, last, min, min_time, max, max_time,
         diff_sum, round(diff_avg::numeric, 9), diff_min, diff_min_time, diff_max, diff_max_time
  from hours join diffs using (time, tag_name)"
stored_hours='select time, tag_name, count, sum, round(avg::numeric, 9), diff, first, last, min, min_time, max, max_time,
  diff_sum, round(diff_avg::numeric, 9), diff_min, diff_min_time, diff_max, diff_max_time from report_data_analog_hour'

# expect_same WHAT QUERY QUERY: both give the same rows, and some.
expect_same() {
  local differing
  differing=$(sql "(select 'expected', * from ($2) e except all select 'expected', * from ($3) s) union all
                   (select 'stored', * from ($3) s except all select 'stored', * from ($2) e) limit 4")
  [ -z "$differing" ] || fail "$case: $1 differ: $differing"
  [ "$(sql "select count(*) > 0 from ($3) s")" = t ] || fail "$case: there are no $1"
}

# Berlin, or the offset that it has at first where time zones have no names.
zone=Europe/Berlin zone_in_sql="'Europe/Berlin'" end='2017-10-30 23:00:00'
[ -z "${EXAMPLES_EMULATOR:-}" ] || { zone=+02:00 zone_in_sql="interval '2 hours'" end='2017-10-31 00:00:00'; }
in_zone="at time zone $zone_in_sql, 'YYYY-MM-DD HH24:MI:SS.MS')"

# Seventy hours, through the night in which Berlin's clocks go back. One tag comes and goes, one has no value at
# all, one never moves. Values are quarters, so that sums are exact.
case='three days'
fresh_database
sql "alter database $database set timezone = 'Asia/Kolkata'"
awk 'BEGIN {
  print "time,a,b.level,Höhe,empty,still"
  for (i = 0; i < 5000; ++i) {
    at = 50 * i
    height = i % 3 == 0 || at % 36000 < 7200 ? "" : i * i % 977 / 4
    printf "2017-10-%dT%02d:%02d:%02d.%03dZ,%s,%s,%s,,7\n", 28 + int(at / 86400), at / 3600 % 24, at / 60 % 60,
      at % 60, i * 37 % 72 * 10, i * 7919 % 1009 / 4, int(100 * sin(i / 50)) / 4, height
  }
}' >"$file"
run "$file" --zone "$zone"
expect_status 0
[ -z "$err" ] || fail "$case: said $err"
expect_same alarms "$expected_alarms" "$stored_alarms"
expect_same hours "$expected_hours" "$stored_hours"
expect_out "$(sql "select ' alarms     ' || count(*) filter (where status = 0) || ' occurred, ' ||
                          count(*) filter (where status = 1) || ' cleared in ' from alarm")"
expect_out 'every alarm is in the database as it was raised'
hours=$(sql 'select count(*) from report_data_analog_hour')
expect_out " hours      $hours rows, one per tag and hour with a value, in "
expect_out "hours are reported from 2017-10-28 02:00:00 to $end"
expect_out 'every hour is in the database as it was reported'
[ "$(sql "select extract(epoch from hour) from report_data_time where type = 'analog'")" = 1509400800.000000 ] ||
  fail "$case: the watermark is elsewhere"
limit=$(sql "select percentile_disc(0.99) within group (order by value) from datalog where tag_name = 'a'")
[ "$(sql "select distinct label from alarm where tag_name = 'a'")" = "above its limit of $limit" ] ||
  fail "$case: alarms have another label"
expect_out "$(sql "select ' a        $limit │ ' || lpad(count(*) over () || '  ', 8) ||
                          lpad(round(extract(epoch from free_time - occ_time), 1) || ' s', 10) || ' │ ' ||
                          to_char(occ_time $in_zone
                   from alarm where tag_name = 'a' and status = 1 order by free_time - occ_time desc, time limit 1")"
expect_out ' b.level  24.75 │      0           – │ –
'
expect_out ' empty        0 │      – │      –  –           │       –  –
 still       70 │  7.000 │  7.000  10-28 02:00 │   7.000  10-28 02:00
'

case='the same again, in an environment with a zone of its own'
PGTZ=America/St_Johns run "$file"
expect_status 0
expect_same alarms "$expected_alarms" "$stored_alarms"
expect_same hours "$expected_hours" "$stored_hours"

case='alarms and hours that are other ones'
changed="tag_name = 'Höhe' and time = (select min(time) from alarm where tag_name = 'Höhe' and status = 1)"
expected="plant_history: alarm of Höhe at $(sql "select to_char(time $in_zone from alarm where $changed"): \
occurrence was $(sql "select to_char(occ_time $in_zone from alarm where $changed"), the database has none
plant_history: hour of still from 2017-10-28 22:00:00: diff_max was 0, the database has 77"
sql "update alarm set occ_time = '1970-01-01' where $changed"
sql "update report_data_analog_hour set diff_max = 77 where tag_name = 'still' and time = '2017-10-28 20:00'"
run "$file" --zone "$zone"
expect_status 1
expect_out '1 alarm is not as it was raised'
expect_out '1 hour is not as it was reported'
[ "$err" = "$expected" ] || fail "$case: said $err"

case='a watermark ahead of the file'
sql "truncate alarm, report_data_analog_hour; update report_data_time set hour = '2024-05-01' where type = 'analog'"
run "$file"
expect_status 0
expect_out 'hours are reported from 2017-10-28 00:00:00 to 2024-05-01 00:00:00'

case='alarms and hours that do not arrive'
fresh_database
echo 'time,a' >"$file"
seq 1 100 | awk '{ printf "2024-05-01T00:%02d:%02dZ,%d\n", $1 / 60, $1 % 60, $1 == 50 ? 1000 : $1 }' >>"$file"
run "$file"
expect_status 0
sql "truncate alarm, report_data_analog_hour;
     create function lose() returns trigger language plpgsql as 'begin return null; end';
     create trigger lose before insert on alarm for each row execute function lose();
     create trigger lose before insert on report_data_analog_hour for each row execute function lose()"
run "$file"
expect_status 1
expected='plant_history: alarm of a at 2024-05-01 00:00:50: the database has no such alarm
plant_history: alarm of a at 2024-05-01 00:00:51: the database has no such alarm
plant_history: hour of a from 2024-05-01 00:00:00: the database has no such hour'
[ "$err" = "$expected" ] || fail "$case: said $err"
expect_out '2 alarms are not as it was raised'

case='an alarm that stands at the end'
fresh_database
{
  echo 'time,a'
  seq 1 199 | awk '{ printf "2024-05-01T00:%02d:%02dZ,%d\n", $1 / 60, $1 % 60, $1 == 199 ? 2 : 1 }'
} >"$file"
run "$file"
expect_status 0
expect_out ' alarms     1 occurred, 0 cleared in '
expect_out '   not cleared since 2024-05-01 00:03:19'
[ "$(sql 'select free_time is null from alarm')" = t ] || fail "$case: the alarm is cleared"

case='hours at both ends of what reads back'
fresh_database
printf 'time,a\n1970-01-01T00:00:00.001Z,1\n2038-01-19T02:59:59Z,2\n2038-01-19T03:00:00Z,3\n2040-01-01T00:00:00Z,4\n' \
  >"$file"
run "$file"
expect_status 0
expect_out ' hours      2 rows, one per tag and hour with a value, in '
expect_out '2 left out: from January 2038 on they do not read back'
expect_out 'hours are reported from 1970-01-01 00:00:00 to 2038-01-19 03:00:00'

case='no sample at all'
fresh_database
echo 'time,a' >"$file"
run "$file"
expect_status 0
expect_out ' alarms     0 occurred, 0 cleared in '
expect_out ' hours      0 rows, one per tag and hour with a value, in '
[ "$(sql "select hour is null from report_data_time where type = 'analog'")" = t ] || fail "$case: moved the watermark"

finish 'plant_history derives what the server derives'
