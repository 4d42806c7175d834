#!/usr/bin/env bash
# The tables have the columns that docs/schema.md lists, and its queries run: schema.sh PROGRAM DOCUMENT
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"
document=$2

fresh_database
run init
run import "$data/boiler.csv"
# Plain views instead of TimescaleDB's aggregates, with the same columns.
for view in '1m 1min' '1h 1h'; do
  read -r name width <<<"$view"
  sql "create view datalog_$name as select date_bin('$width', time, '2000-01-01') as bucket, tag_name, avg(value) as avg_val, max(value) as max_val, min(value) as min_val from datalog group by 1, 2"
done
sql "insert into datalog values ('2026-03-02 06:00Z', 'STOPPED', 1)
; insert into alarm values ('2026-03-02 07:00Z', 'BOILER.TEMP', 70, 'too hot', 1, 0, 1, 0, '2026-03-02 07:00Z', '2026-03-02 07:30Z')
; insert into system_log values ('2026-03-02 07:00Z', 1, 1, 1, 1, null, 'started')
; insert into audit_table (time, ip_addr, user_id, message) values ('2026-03-02 07:00Z', '10.0.0.1', 'jo', 'set')
; insert into report_data_analog_hour select '2026-03-02 07:00Z', 'BOILER.TEMP', 1, 1, 1, 1, 1, 1, 1, now(), 1, now(), 1, 1, 1, now(), 1, now()"

# columns TABLE: the columns that the document lists, as lines of "name type".
documented() {
  awk -v heading="### \`$1\`" '$0 == heading { inside = 1; next } /^#/ { inside = 0 }
    inside && /^\| `/ { split($0, cell, /[|` ]+/); print cell[2], cell[3] }' "$document"
}
actual() {
  sql "select column_name || ' ' || udt_name from information_schema.columns where table_name = '$1' order by ordinal_position"
}
tables=0
while read -r table; do
  case=$table
  [ -n "$(documented "$table")" ] || fail 'lists no column'
  expect_equal "$(documented "$table")" "$(actual "$table")" 'the columns'
  tables=$((tables + 1))
done < <(sed -n 's/^### `\([a-z_0-9]*\)`$/\1/p' "$document")
case=tables
expect_equal "$tables" 6 'the number of tables'

# Each query returns at least one row for a day with samples, with the columns that Grafana needs.
awk -v dir="$work" '/^```sql$/ { file = dir "/query" ++n ".sql"; next } /^```$/ { file = "" } file { print > file }' "$document"
queries=0
for file in "$work"/query*.sql; do
  case=$(tr '\n' ' ' <"$file")
  query=$(sed -E 's/\$__timeFilter\(([a-z_]+)\)/\1 between '"'2026-03-01' and '2026-03-04'"'/g' "$file")
  [[ $query == *"between '2026-03-01'"* ]] || fail 'has no range'
  rows=$(sql "$query" 2>&1) || fail "$rows"
  [ -n "$rows" ] || fail 'gives no row'
  names=$(psql --no-psqlrc --quiet --no-align --pset footer=off --field-separator ' ' --command "$query" | sed -n 1p)
  [[ $names == time* ]] || fail "begins with $names"
  queries=$((queries + 1))
done
case=queries
expect_equal "$queries" 18 'the number of queries'

finish "$tables tables and $queries queries are as described"
