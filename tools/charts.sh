#!/usr/bin/env bash
# Draws the charts of docs/performance/ from what tools/bench.sh has measured last:
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

# draw FILE KIND TITLE SUBTITLE [UNIT]: of the lines on standard input.
draw() {
  awk -v kind="$2" -v title="$3" -v subtitle="$4" -v unit="${5:-}" -f "$here/lib/chart.awk" >"$charts/$1"
  say "docs/performance/$1"
}

# The bulk insert: contender, size of a batch, samples a turn, seconds, processor seconds. A size was measured more than
# once where contenders differ in how much they can do; the first counts. Results are: subject, size, times, contender,
# seconds, ratio, processor seconds.
inserts() {
  awk -F'\t' -v OFS='\t' '$4 !~ /^copied/ && !(($2, $4) in told) {
      told[$2, $4] = 1
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
    'over the samples of a batch; 1,000 tags, PostgreSQL on the same machine'

{
  inserts | awk -F'\t' -v OFS='\t' '$1 == "library" || $1 == "by hand" { print $1, $2, $5 / $3 * 1e9 }'
  text_costs
} | sort -t "$tab" -k2,2n -s |
  draw cost.svg lines 'Nanoseconds of the client for a sample' \
    'over the samples of a batch; by hand and library with all statements, by hand the text is made beforehand'

awk -F'\t' -v OFS='\t' '$4 !~ /^rows/ { print $4, $1 ", " $2 " rows", $2 / $5 / 1e6 }' "$results/read_rows.tsv" |
  draw queries.svg bars 'Rows read per second' 'in millions, into the same containers' ' M'
