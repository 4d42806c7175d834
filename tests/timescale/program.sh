#!/usr/bin/env bash
# The program historian on a server that offers TimescaleDB: retention, aggregates, chunks: program.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/../historian/command/program.sh"

if [ -z "$(PGDATABASE=postgres sql "select 1 from pg_available_extensions where name = 'timescaledb'")" ]; then
  echo 'the server does not offer TimescaleDB: historian is not tested with it'
  exit 0
fi
fresh_database
sql 'create extension timescaledb'

retention() { sql "select coalesce(max(config->>'drop_after'), 'none') from timescaledb_information.jobs where proc_name = 'policy_retention' and hypertable_name = 'datalog'"; }

case='a new store'
run init --retention 30 --json
expect_status 0
expect_equal "$(json '[.timescaledb, .retention_days] | @csv')" 'true,30' 'the answer'
expect_equal "$(retention)" '30 days' 'the retention'

case='data that the retention would drop'
run import "$data/boiler.csv"
expect_status 2
expect_err 'the data begins on 2026-03-02, and the server drops samples older than 30 days; keep them (historian init --retention '
expect_err 'or load them all the same (--allow-drop)'
expect_equal "$(sql 'select count(*) from datalog')" 0 'the number of samples'
run import "$data/boiler.csv" --allow-drop --verify
expect_status 0
expect_equal "$(sql 'select count(*) from datalog')" 140 'the number of samples'

case='the aggregates of what was loaded'
expect_equal "$(sql 'select count(*), round(sum(avg_val)::numeric, 6) from datalog_1h')" \
  "$(sql "select count(*), round(sum(mean)::numeric, 6) from (select avg(value) as mean from datalog group by date_trunc('hour', time), tag_name) hours")" 'the hours'

case='a retention in force'
run init
expect_status 0
expect_equal "$(retention)" '30 days' 'the retention'
run init --retention 10
expect_status 2
expect_err 'samples go back to 2026-03-02T06:00:00Z, and a retention of 10 days drops those older; --allow-drop if that is meant'
expect_equal "$(retention)" '30 days' 'the retention'
run init --retention 0
expect_status 0
expect_equal "$(retention)" none 'the retention'
run import "$data/boiler.csv"
expect_status 0

case='chunks'
run chunks --json
expect_status 0
due=$(json '.chunks | length')
[ "$due" -ge 2 ] || fail "only $due chunks are due: $out"
expect_equal "$(json '[.chunks[].hypertable] | unique | @csv')" '"datalog"' 'the hypertables'
run trend BOILER.TEMP --from 2026-03-01 --to 2026-03-04 --every 6h --json
before=$out
run chunks --compress
expect_status 0
expect_out "$due chunks of"
run chunks
expect_equal "$out" 'no chunk is due for compression' 'what is written'
run trend BOILER.TEMP --from 2026-03-01 --to 2026-03-04 --every 6h --json
expect_equal "$out" "$before" 'the trend'

case='into compressed chunks'
run import "$data/boiler.csv" --verify --json
expect_status 0
expect_equal "$(json '.files[0] | [.stored, .duplicates, .differing] | @csv')" '0,140,0' 'the outcome'
run chunks
expect_equal "$out" 'no chunk is due for compression' 'what is written'

finish 'the program keeps to retention, refreshes aggregates, compresses chunks'
