#!/usr/bin/env bash
# The commands of docs/running.md dump a store and restore the same store: backup.sh PROGRAM DOCUMENT [timescaledb]
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"
document=$2
if [ "${3:-}" = timescaledb ]; then section='With TimescaleDB'; else section='Plain PostgreSQL'; fi
restored=${database}_restored
clear_up_both() {
  psql --no-psqlrc --quiet --dbname postgres --command "drop database if exists $restored with (force)" || true
  clear_up
}
trap clear_up_both EXIT

awk -v heading="### $section" '$0 == heading { inside = 1; next } /^#/ { inside = 0 }
  inside && /^```$/ { block = 0 } inside && block { print } inside && /^```sh$/ { block = 1 }' "$document" |
  sed -E "s/plant_restored/$restored/g; s/ plant\$/ $database/; s,plant\.dump,$work/plant.dump,g" >"$work/commands"
[ "$(wc -l <"$work/commands")" -ge 3 ] || fail "has no commands under $section"

fresh_database
[ "${3:-}" != timescaledb ] || sql 'create extension timescaledb'
run init
expect_status 0
run import "$data/boiler.csv"
expect_status 0
if [ "${3:-}" = timescaledb ]; then
  run chunks --compress
  expect_status 0
fi
before=$(stored)

case='the commands'
bash -euo pipefail "$work/commands" >"$work/said" 2>&1 || fail "$(cat "$work/said")"

export PGDATABASE=$restored
case='the restored store'
expect_equal "$(stored)" "$before" 'the samples'
run init
expect_status 0
run import "$data/boiler.csv" --json
expect_status 0
expect_equal "$(json '.files[0] | [.stored, .duplicates] | @csv')" '0,140' 'samples that it has'
printf 'time,BOILER.TEMP\n2026-03-20T00:00:00Z,1\n' >"$work/new.csv"
run import "$work/new.csv" --json
expect_status 0
expect_equal "$(json '.files[0] | [.stored, .duplicates] | @csv')" '1,0' 'a sample that is new'

finish "what is backed up as under '$section' comes back"
