#!/usr/bin/env bash
# A day at the operator station in a fresh database: operator_station.sh OPERATOR_STATION
set -euo pipefail
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"

case='a start-up in a fresh database'
fresh_database
run "$PGHOST" "$PGPORT" "$database" "$PGUSER" "$PGPASSWORD"
expect_status 0
expected="server: $(sql "select substring(version() for position(' on ' in version()) - 1)")
signed on: op1
pump: 900 samples, mean 1479.5, 1450 to 1509
alarm: TANK.LEVEL level high, cleared
alarm: TANK.LEVEL level high
batch: 17, lemonade
recipe: lemonade {\"sugar\": 80, \"water\": 920}
event report: level high
pump state: stopped"
[ "$out" = "$expected" ] || fail "said $out"

# expect_value QUERY VALUE
expect_value() {
  local value
  value=$(sql "$1")
  [ "$value" = "$2" ] || fail "$1 gives '$value', expected '$2'"
}
expect_value 'select count(*), count(value) from datalog' '1800|1797'
expect_value 'select count(*), count(free_time) from alarm' '2|1'
expect_value 'select number, litres, product from user_batches' '17|1250.5|lemonade'
expect_value 'select tag_name, tag_value from shift_report order by tag_name' 'PUMP.SPEED|1450 rpm
TANK.LEVEL|2.00 m'
expect_value 'select count, sum, avg, first, last from report_data_analog_hour' '900|1331550|1479.5|1450|1509'
expect_value "select hour - (select time from report_data_analog_hour) from report_data_time where type = 'analog'" \
  '01:00:00'
expect_value "select message from system_log order by time" 'station started
station stopped'

case='no server'
run 127.0.0.1 1 "$database" "$PGUSER" "$PGPASSWORD"
expect_status 1
[[ $err == *'(0x0000274D/10061)'* ]] || fail "said $err"

case='no arguments'
run
expect_status 2
[ "$err" = 'usage: operator_station HOST PORT DATABASE USER PASSWORD' ] || fail "said $err"

finish 'operator_station does what it should'
