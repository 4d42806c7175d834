#!/usr/bin/env bash
# historian can import the file that record_machine writes: record_machine.sh RECORD_MACHINE HISTORIAN
set -euo pipefail
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"

case='two seconds'
run "$work/machine.csv" 2
expect_status 0
understood=$("$2" import "$work/machine.csv" --dry-run --json) || fail "cannot be imported"
[[ $understood == *'"bad_rows": 0'* && $understood == *'"rows": 2,'* ]] || fail "understood as $understood"
head -n 1 "$work/machine.csv" | grep -q '^time,cpu.user_percent,' || fail "begins with $(head -n 1 "$work/machine.csv")"

finish 'what is recorded can be imported'
