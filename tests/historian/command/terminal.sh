#!/usr/bin/env bash
# Output for a terminal only: its width, colours, progress: terminal.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

# Runs the program in a terminal with this many columns.
run_in_terminal() {
  local command
  command="stty cols $1; exec $(printf '%q ' "${program[@]}" "${@:2}")"
  status=0
  script --quiet --return --command "$command" /dev/null </dev/null >"$work/out" || status=$?
  out=$(tr -d '\r' <"$work/out")
  err=$out
}
# The width of the widest line, without colours.
width() { sed 's/\x1b\[[0-9]*m//g' <<<"$out" | wc --max-line-length; }

fresh_database
run init
run import "$data/boiler.csv"

case='a chart is as wide as the terminal, each tag has its colour'
for columns in 72 110; do
  run_in_terminal $columns trend BOILER.TEMP PUMP.FLOW --height 4
  expect_status 0
  expect_equal "$(LC_ALL=C.UTF-8 width)" "$columns" 'the width'
  expect_out $'\x1b[1;36mBOILER.TEMP\x1b[0m'
  expect_out $'\x1b[1;33mPUMP.FLOW\x1b[0m'
done
case='no colours where they are not wanted'
NO_COLOR=1 run_in_terminal 72 trend BOILER.TEMP
[[ $out != *$'\x1b'* ]] || fail "colours: $out"

case='progress'
awk 'BEGIN { print "time,A"; for (i = 0; i < 3000; ++i) print 1772431200 + i "," i }' >"$work/many.csv"
run_in_terminal 100 import "$work/many.csv"
expect_status 0
expect_out 'reading'
for step in reading storing; do
  drawn=$(tr '\r' '\n' <"$work/out" | sed 's/\x1b\[[0-9]*[mK]//g' | grep -m 1 "^ $step ") || fail "shows no progress of $step"
  [[ $drawn =~ (█|▏|▎|▍|▌|▋|▊|▉|░).*[0-9]\ samples\ \ [0-9,]+/s ]] || fail "shows progress as $drawn"
done
[[ $(tr '\r' '\n' <"$work/out") =~ /s\ \ [0-9.]+\ (ms|s|min)\ left ]] || fail 'does not say how much time is left'

finish 'a terminal gets what fits it'
