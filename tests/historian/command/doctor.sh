#!/usr/bin/env bash
# historian doctor: what it reports and its exit status: doctor.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

case='no database'
run doctor
expect_status 2
expect_out 'failed'
expect_out "database \"$database\" does not exist"

fresh_database
case='no tables'
run doctor --json
expect_status 2
expect_equal "$(json .verdict)" failed 'the verdict'
expect_equal "$(json '[.findings[] | select(.check == "table datalog") | .verdict] | tostring')" '["failed"]' 'the finding'

# The exit status is that of the worst finding. The test server itself fails some checks, such as the one for durability.
expect_worst() {
  expect_status "$(json '[.findings[].verdict | {ok: 0, warning: 1, failed: 2}[.]] | max')"
  expect_equal "$(json .verdict)" "$(json '["ok", "warning", "failed"][[.findings[].verdict | {ok: 0, warning: 1, failed: 2}[.]] | max]')" 'the verdict'
}

run init
sql "insert into datalog select now() - i * interval '1 s', 'A', i from generate_series(1, 100) i"
case='a store that works'
run doctor --json
expect_worst
expect_equal "$(json '[.findings[] | select(.check == "table datalog") | .verdict] | tostring')" '["ok"]' 'the finding'

case='late samples'
sql "truncate datalog; insert into datalog values (now() - interval '20 minutes', 'A', 1)"
warnings() { json '.findings | map(select(.verdict != "ok")) | length'; }
run doctor --json
usual=$(warnings)
run doctor --json --late-after 10
expect_worst
expect_equal "$(warnings)" "$((usual + 1))" 'the number of warnings'
worst=$status

case='for people'
run doctor --quiet --late-after 10
expect_status "$worst"
expect_out 'warning '
expect_out '        do: '
[[ $out != *$'\nok '* ]] || fail 'shows what is ok'
expect_equal "$(tail -n 1 "$work/out" | sed -E 's/^[0-9]+ ok, [0-9]+ warnings?, [0-9]+ failed$/counted/')" counted 'the last line'

finish 'the doctor finds what is wrong'
