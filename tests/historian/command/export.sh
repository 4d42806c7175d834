#!/usr/bin/env bash
# historian export: its output, and that import reads it back: export.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

fresh_database
run export
expect_status 2
expect_err 'has no table datalog'
run init

sql "insert into datalog values
  ('2026-03-02 06:00:00Z', 'A', 1.5), ('2026-03-02 06:00:00Z', 'B', null), ('2026-03-02 06:00:00.007Z', 'A', -2e-7),
  ('2026-03-02 06:00:01Z', 'a,b \"c\"', 3), ('2026-03-02 06:00:01Z', 'it''s 5% 😀', 4), ('2026-03-02 06:00:02Z', ' #x ', 5),
  ('2026-03-02 06:00:02Z', '#y', 6), ('2026-07-01 06:00:00Z', E'two\nlines\tand \\\\', 1234567.125), ('2026-07-01 06:00:00Z', 'null', 7)"
rows=$(stored)

case='long'
run export
expect_status 0
expect_err '9 samples exported'
expect_equal "$(head -n 4 "$work/out")" 'time,tag,value
2026-03-02T06:00:00Z,A,1.5
2026-03-02T06:00:00Z,B,null
2026-03-02T06:00:00.007Z,A,-2e-07' 'the beginning'

case='tags and a range'
run export A B --from 2026-03-02T06:00:00.007Z --to 2026-03-02T06:00:02Z
expect_equal "$out" 'time,tag,value
2026-03-02T06:00:00.007Z,A,-2e-07' 'what is written'
expect_equal "$err" '1 sample exported; none of B' 'what is said'

case='wide'
run export A B --format wide --zone +01:00
expect_equal "$out" 'time,A,B
2026-03-02T07:00:00+01:00,1.5,null
2026-03-02T07:00:00.007+01:00,-2e-07,' 'what is written'

case='JSON lines'
run export B "it's 5% 😀" --json
expect_equal "$out" '{"time":"2026-03-02T06:00:00Z","tag":"B","value":null}
{"time":"2026-03-02T06:00:01Z","tag":"it'"'"'s 5% 😀","value":4}' 'what is written'

for format in long wide jsonl; do
  case="$format, there and back"
  run export --format $format -o "$work/$format.txt"
  expect_status 0
  [ ! -e "$work/$format.txt.part" ] || fail 'leaves a partial file'
  sql 'truncate datalog'
  run import "$work/$format.txt"
  expect_status 0
  expect_equal "$(stored)" "$rows" 'what is stored'
done

case='a file that is there'
echo old >"$work/there.csv"
run export A --format wide -o "$work/there.csv"
expect_status 0
expect_equal "$(head -n 1 "$work/there.csv")" time,A 'the beginning'

case='many samples'
sql "truncate datalog; insert into datalog select to_timestamp(1772431200 + i), 'T' || t, i * t / 7.0 from generate_series(1, 20000) i, generate_series(1, 5) t"
sql "update datalog set value = round(value::numeric, 4)"
rows=$(stored)
run export --format wide -o "$work/many.csv"
expect_equal "$(wc -l <"$work/many.csv")" 20001 'the number of lines'
sql 'truncate datalog'
run import "$work/many.csv"
expect_equal "$(stored)" "$rows" 'what is stored'

case='a full disk'
if [ -e /dev/full ] && [ -z "${COMMAND_EMULATOR:-}" ]; then
  status=0
  "${program[@]}" export >/dev/full 2>"$work/err" || status=$?
  err=$(cat "$work/err")
  expect_status 1
  expect_err 'cannot write'
fi

case='misuse'
run export --from yesterday
expect_refused '--from: "yesterday" is not a time; write 2026-11-21, "2026-11-21 20:40", 24h or 7d (that long ago), or now'
run export --from 2026-03-03 --to 2026-03-02
expect_refused '--to lies before --from'
run export --format excel
expect_status 2
run export -o "$work/no/such/directory.csv"
expect_refused "$work/no/such/directory.csv.part: cannot be written"

finish 'what is exported imports again to the same rows'
