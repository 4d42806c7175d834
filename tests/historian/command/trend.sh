#!/usr/bin/env bash
# historian trend and tags: trend.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

fresh_database
run init
case='no tags'
run tags
expect_status 0
expect_equal "$out" 'no tags' 'what is written'
run trend BOILER.TEMP
expect_refused 'there is no sample of the tag "BOILER.TEMP"; historian tags lists those there are'

run import "$data/boiler.csv"
sql "insert into datalog values ('2026-03-01 12:00Z', 'it''s 5% 😀', 1), ('2026-03-01 12:00:10Z', 'it''s 5% 😀', null), ('2026-03-01 12:00:20Z', 'it''s 5% 😀', 3)"

case='tags'
run tags --count --json
expect_equal "$(json '[.[] | [.tag, .first, .last, .samples, .stopped]] | tostring')" \
  "[[\"BOILER.PRESSURE\",\"2026-03-02T06:00:00Z\",\"2026-03-03T05:30:00Z\",48,false],[\"BOILER.TEMP\",\"2026-03-02T06:00:00Z\",\"2026-03-03T05:30:00Z\",48,false],[\"PUMP.FLOW\",\"2026-03-02T06:00:00Z\",\"2026-03-03T05:30:00Z\",44,false],[\"it's 5% 😀\",\"2026-03-01T12:00:00Z\",\"2026-03-01T12:00:20Z\",3,true]]" 'the tags'
expect_equal "$(json '.[3].per_second')" 0.1 'the rate'
run tags BOILER. --json
expect_equal "$(json 'map(.tag) | join(" ")')" 'BOILER.PRESSURE BOILER.TEMP' 'the tags'
run tags --stopped --zone +01:00
expect_out '2026-03-01 13:00:00'
expect_out ' 1 tag, times in +01:00; stopped: no sample for 2h before the newest of all tags'
run tags --stopped --stopped-after 7d
expect_equal "$out" 'no tags' 'what is written'

case='JSON, against plain SQL'
run trend BOILER.TEMP --from 2026-03-02T06:00Z --to 2026-03-03T06:00Z --every 6h --json
expect_equal "$(json '.tags[0].buckets[] | [.time, .min, .max, (.mean * 1e6 | round)] | @csv' | tr -d '"')" \
  "$(sql "select to_char(date_bin('6h', time, '2026-03-02 06:00Z') at time zone 'UTC', 'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"') || ',' || min(value) || ',' || max(value) || ',' || round((avg(value) * 1e6)::numeric) from datalog where tag_name = 'BOILER.TEMP' group by date_bin('6h', time, '2026-03-02 06:00Z') order by 1")" 'the buckets'

case='days of the zone'
run trend PUMP.FLOW --from 2026-03-02 --every 1d --zone +01:00 --json
expect_equal "$(json '.from + " " + .to')" '2026-03-01T23:00:00Z 2026-03-03T23:00:00Z' 'the range'

case='a table'
run trend PUMP.FLOW --from 1h --table
expect_status 0
expect_out '2026-03-03 05:30:00  PUMP.FLOW'
expect_equal "$(grep -c PUMP.FLOW "$work/out")" 2 'the number of rows'

case='a chart'
run trend BOILER.TEMP "it's 5% 😀" --from 2026-03-01
expect_status 0
expect_out 'BOILER.TEMP  min 5'
expect_out "it's 5% 😀  min 1.000"
LC_ALL=C grep -q $'\xe2[\xa0-\xa3]' "$work/out" || fail "draws nothing: $out"
expect_out '2026-03-02'
expect_out '2026-03-01 00:00:00 to 2026-03-03 05:30:00, UTC; from samples'
[[ $out != *$'\x1b'* ]] || fail 'colours in a file'

case='less than a day of samples'
run trend "it's 5% 😀" --json
expect_equal "$(json '[.from, .to, (.tags[0].buckets | length)] | @csv')" '"2026-03-01T12:00:00Z","2026-03-01T12:00:20.001Z",3' 'the range'

case='a page'
run trend BOILER.TEMP '<script>' --html "$work/page.html"
expect_refused 'there is no sample of the tag "<script>"; historian tags lists those there are'
sql "insert into datalog values ('2026-03-03 00:00Z', '<b>&\"', 1)"
run trend BOILER.TEMP '<b>&"' --html "$work/page.html"
expect_status 0
page=$(cat "$work/page.html")
[[ $page == *'<h2>&lt;b&gt;&amp;&quot;</h2>'* ]] || fail 'does not escape the name of a tag'
[[ $page == *'class="mean" d="M'* ]] || fail 'draws no line'
[[ $page != *'http'* && $page != *'<script'* ]] || fail 'needs something else'
run trend BOILER.TEMP --html "$work/no/such/page.html"
expect_refused "$work/no/such/page.html: cannot be written"

case='misuse'
run trend
expect_refused 'TAG is required (historian trend --help shows how)'
run trend BOILER.TEMP --from 2027-01-01
expect_refused 'the range ends before it begins'
run trend BOILER.TEMP --from 2000-01-01 --every 1s
expect_status 2
expect_err 'at most 1,000,000 can be shown'
run trend BOILER.TEMP --every 0s
expect_status 2

finish 'trends show what is stored'
