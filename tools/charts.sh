#!/usr/bin/env bash
# Draws the charts of docs/performance/ from what tools/bench.sh has measured:
#
#   tools/charts.sh [FOLDER OF THE RESULTS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"

results=${1:-$root/build/bench}
charts=$root/docs/performance
[ -f "$results/results.tsv" ] && [ -f "$results/copy_text.csv" ] || die "run tools/bench.sh first"
mkdir -p "$charts"

# draw FILE KIND TITLE SUBTITLE [UNIT]: of the lines on standard input.
draw() {
  awk -v kind="$2" -v title="$3" -v subtitle="$4" -v unit="${5:-}" -f "$here/lib/chart.awk" >"$charts/$1"
  say "docs/performance/$1"
}

# Results are: subject, size, times, contender, seconds, ratio, processor seconds.
awk -F'\t' -v OFS='\t' '$1 == "InsertLogData" && $4 !~ /^copied/ && !(($2, $4) in seen) {
    seen[$2, $4] = 1
    print $4, $2, $2 * $3 / $5
  }' "$results/results.tsv" | sort -t "$(printf '\t')" -k2,2n -s |
  draw insert.svg lines 'Samples stored per second' 'over the samples of a batch; 1,000 tags, PostgreSQL on the same machine'

# "CopyTextBatch/tags_100/1000_median",...,"per_sample" in seconds as the last column.
awk -F, -v OFS='\t' '/^"CopyTextBatch.*_median"/ {
    split($1, part, "/")
    sub(/tags_/, "", part[2])
    sub(/_median"/, "", part[3])
    print part[2] " tags", part[3], $NF * 1e9
  }' "$results/copy_text.csv" |
  draw copy_text.svg lines 'Nanoseconds to make the COPY text of a sample' 'over the samples of a batch; ten-digit values'

awk -F'\t' -v OFS='\t' '$1 ~ /^Get/ && $4 !~ /^rows/ { print $4, $1 ", " $2 " rows", $2 / $5 / 1e6 }' "$results/results.tsv" |
  draw queries.svg bars 'Rows read per second' 'in millions, into the same containers' ' M'
