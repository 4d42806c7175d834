#!/usr/bin/env bash
# Files and results that are larger than the memory that the program may use: memory.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

limit=$((160 * 1024)) # KiB of address space, of which the program's libraries take about half
run_within_limit() {
  status=0
  (
    ulimit -v "$limit"
    exec "${program[@]}" "$@"
  ) >"$work/out" 2>"$work/err" || status=$?
  out=$(head -c 4096 "$work/out")
  err=$(cat "$work/err")
}
expect_larger() { [ "$(wc -c <"$1")" -gt $((limit * 1024)) ] || fail "$1 is no larger than the limit"; }

case='the limit holds'
status=0
(
  ulimit -v "$limit"
  head -c $((limit * 1024)) /dev/zero | tail -n 1 >/dev/null
) 2>"$work/err" || status=$?
[ "$status" -ne 0 ] || fail 'what takes more memory than that succeeds'

fresh_database
run init
case='a file'
awk 'BEGIN { text = sprintf("%1000s", ""); gsub(" ", "x", text); print "time,A,B,remark"
  for (i = 0; i < 200000; ++i) print 1772431200 + i "," i "," (i % 9 ? "" : -i) "," text }' >"$work/large.csv"
expect_larger "$work/large.csv"
run_within_limit import "$work/large.csv" --ignore remark --json
expect_status 0
expect_equal "$(json '.files[0] | [.rows, .stored] | @csv')" '200000,222223' 'the outcome'
expect_equal "$(sql "select count(*), count(distinct value), min(value) from datalog")" '222223|222222|-199998' 'what is stored'

case='standard input, packed'
gzip --fast <"$work/large.csv" >"$work/large.csv.gz"
rm "$work/large.csv"
run_within_limit import - --ignore remark --json <"$work/large.csv.gz"
expect_status 0
expect_equal "$(json '.files[0] | [.rows, .stored, .duplicates] | @csv')" '200000,0,222223' 'the outcome'

# A view makes the rows, so that they need not be stored.
sql "drop table datalog"
sql "create view datalog as select to_timestamp(1772431200 + i) as time, repeat('x', 1000) as tag_name, i::float8 as value from generate_series(1, 200000) i"
for format in long wide; do
  case="$format"
  run_within_limit export --format $format -o "$work/result"
  expect_status 0
  expect_err '200,000 samples exported'
  [ $format = wide ] || expect_larger "$work/result"
done

finish 'neither files nor results are held in memory'
