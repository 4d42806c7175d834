#!/usr/bin/env bash
# Draws the charts of docs/performance/ from the last results of tools/bench.sh:
#
#   tools/charts.sh
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"

results=$root/build/bench/results
charts=$root/docs/performance
tab=$(printf '\t')
for file in insert_history.tsv read_rows.tsv copy_text.csv; do
  [ -f "$results/$file" ] || die "run tools/bench.sh first: there is no $file"
done
mkdir -p "$charts"

# draw FILE KIND TITLE SUBTITLE [UNIT]: draws the data on standard input.
draw() {
  awk -v kind="$2" -v title="$3" -v subtitle="$4" -v unit="${5:-}" -f "$here/lib/chart.awk" >"$charts/$1"
  say "docs/performance/$1"
}

# The bulk insert: contender, batch size, samples per turn, seconds, processor seconds. Some sizes were measured twice,
# since slow contenders take part only in the smaller runs; the first result counts. Lines of results: subject, size,
# times, contender, seconds, ratio, processor seconds.
inserts() {
  awk -F'\t' -v OFS='\t' '$4 !~ /^copied/ && !(($2, $4) in seen) {
      seen[$2, $4] = 1
      print $4, $2, $2 * $3, $5, $7
    }' "$results/insert_history.tsv" | sort -t "$tab" -k2,2n -s
}

# "CopyTextBatch/tags_100/1000_median",...,"per_sample" in seconds as the last column.
text_costs() {
  awk -F, -v OFS='\t' '/^"CopyTextBatch.*_median"/ {
      split($1, part, "/")
      sub(/tags_/, "", part[2])
      sub(/_median"/, "", part[3])
      print "text alone, " part[2] " tags", part[3], $NF * 1e9
    }' "$results/copy_text.csv"
}

inserts | awk -F'\t' -v OFS='\t' '{ print $1, $2, $3 / $4 }' |
  draw insert.svg lines 'Samples stored per second' \
    'by batch size; 1,000 tags, PostgreSQL on the same machine'

{
  inserts | awk -F'\t' -v OFS='\t' '$1 == "library" || $1 == "baseline" { print $1, $2, $5 / $3 * 1e9 }'
  text_costs
} | sort -t "$tab" -k2,2n -s |
  draw cost.svg lines 'Nanoseconds of the client for a sample' \
    'by batch size; baseline and library run all statements, and the text of the baseline is made beforehand'

awk -F'\t' -v OFS='\t' '$4 !~ /^rows/ { print $4, $1 ", " $2 " rows", $2 / $5 / 1e6 }' "$results/read_rows.tsv" |
  draw queries.svg bars 'Rows read per second' 'in millions, into the same containers' ' M'
