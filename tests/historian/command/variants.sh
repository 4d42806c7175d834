#!/usr/bin/env bash
# One recording in the variants of CSV that occur in practice. Each must give the same samples, or be refused with the
# option that helps: variants.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

original=$data/boiler.csv
fresh_database
run init
expect_status 0
run import "$original"
expect_status 0
expected=$(stored)
expect_equal "${expected%%|*}" 140 "the number of samples"
refused=0 loaded=0

# variant NAME FILE [OPTION]...: the file, read with the options, has the same samples.
variant() {
  case=$1
  local file=$2
  shift 2
  sql 'truncate datalog'
  run import "$file" "$@"
  expect_status 0
  expect_equal "$(stored)" "$expected" "what is stored"
  loaded=$((loaded + 1))
}

# refused NAME FILE WORDS: nothing is stored, and the error message has the words.
refused() {
  case="$1, as it is"
  sql 'truncate datalog'
  run import "$2"
  expect_status 2
  [ "$(wc -l <"$work/err")" -eq 1 ] || fail "not one line: $err"
  expect_err "$3"
  expect_equal "$(sql 'select count(*) from datalog')" 0 "the number of samples"
  refused=$((refused + 1))
}

# Rewrites the rows after the header. A row has a time with the parts y, mo, d, h, mi, s, and the values $2 to $4.
rewrite() {
  awk -F, -v OFS="${2:-,}" "NR > 1 { split(\$1, t, /[- :]/); y = t[1]; mo = t[2]; d = t[3]; h = t[4]; mi = t[5]; s = t[6]
    $1 } { \$1 = \$1; print }" "$original"
}
epoch='(((y - 1970) * 365 + 14 + (mo > 2 ? 59 : mo > 1 ? 31 : 0) + d - 1) * 86400 + h * 3600 + mi * 60 + s)'

tr , ';' <"$original" | sed '2,$s/\./,/g' >"$work/decimal_comma.csv"
variant 'semicolons and decimal commas' "$work/decimal_comma.csv"

rewrite '$1 = d "." mo "." y " " h ":" mi; gsub(/\./, ",", $2); gsub(/\./, ",", $3); gsub(/\./, ",", $4)' ';' >"$work/german.csv"
variant 'German' "$work/german.csv"

rewrite '$1 = mo "/" d "/" y " " (h % 12 == 0 ? 12 : h % 12) ":" mi ":" s (h < 12 ? " AM" : " PM")' >"$work/us.csv"
variant 'US' "$work/us.csv"

rewrite '$1 = d "-Mar-" y " " h ":" mi ":" s ".000"' $'\t' >"$work/opc.txt"
variant 'tabs and OPC dates' "$work/opc.txt"

rewrite "\$1 = $epoch" >"$work/epoch.csv"
variant 'epoch seconds' "$work/epoch.csv"

rewrite "\$1 = $epoch \"000\"" >"$work/epoch_ms.csv"
variant 'epoch milliseconds' "$work/epoch_ms.csv"

{
  echo '# written by a historian of long ago'
  sed '1a[-],degC,bar,m3/h' "$original" | sed 's/$/,/; 5G; 9a# a comment' | sed 's/$/\r/'
} >"$work/decorated.csv"
variant 'comments, units, trailing separators, blank rows and CR LF' "$work/decorated.csv"

awk '{ printf "%s%s", $0, NR % 3 == 0 ? "\n" : NR % 3 == 1 ? "\r\n" : "\r" }' "$original" >"$work/line_ends.csv"
variant 'line ends of three kinds' "$work/line_ends.csv"

sed 's/FLOW/DURCHFLU\xDF/' "$original" >"$work/latin1.csv"
case='Latin-1'
sql 'truncate datalog'
run import "$work/latin1.csv"
expect_equal "$(sql "select count(*) from datalog where tag_name = 'PUMP.DURCHFLUß'")" 44 "the number of samples"

iconv -f utf-8 -t utf-16 "$original" >"$work/utf16.csv"
variant 'UTF-16' "$work/utf16.csv"

sed 's/^/"/; s/,/","/g; s/$/"/' "$original" | iconv -f utf-8 -t utf-16be >"$work/utf16be.csv"
variant 'UTF-16 without a mark, quoted' "$work/utf16be.csv"

gzip -c "$original" >"$work/packed.csv.gz"
if [ -n "${COMMAND_EMULATOR:-}" ]; then
  refused 'gzip' "$work/packed.csv.gz" 'is a gzip file; unpack it first'
else
  variant 'gzip' "$work/packed.csv.gz"
fi

{ head -n 1 "$original"; tail -n +2 "$original" | sort -r; tail -n 3 "$original"; } >"$work/unsorted.csv"
variant 'unsorted, with duplicates' "$work/unsorted.csv"

awk -F, 'NR == 1 { print "time,tag,value"; for (i = 2; i <= 4; ++i) n[i] = $i }
  NR > 1 { for (i = 2; i <= 4; ++i) if ($i != "") print $1 "," n[i] "," $i }' "$original" >"$work/long.csv"
variant 'long' "$work/long.csv"

awk -F, -v OFS=, 'NR == 1 { $1 = "date,clock" } NR > 1 { sub(/ /, ",", $1) } { print }' "$original" >"$work/two_columns.csv"
variant 'date and time of day in two columns' "$work/two_columns.csv"

tail -n +2 "$original" >"$work/headless.csv"
refused 'without a header row' "$work/headless.csv" '--columns'
variant 'without a header row' "$work/headless.csv" --columns time,BOILER.TEMP,BOILER.PRESSURE,PUMP.FLOW

rewrite '$1 = mo "/" d "/" y " " h ":" mi' | sed -n 1,30p >"$work/ambiguous.csv"
refused 'ambiguous dates' "$work/ambiguous.csv" '--time-format us or eu'

awk -F, -v OFS=, 'NR > 1 { gsub(/[- :]/, "", $1) } { print }' "$original" >"$work/pattern.csv"
refused 'a format of its own' "$work/pattern.csv" '--time-format'
variant 'a format of its own' "$work/pattern.csv" --time-format '%Y%m%d%H%M%S'

rewrite "\$1 = sprintf(\"%.5f\", $epoch / 86400 + 25569)" >"$work/excel.csv"
refused 'days of a spreadsheet' "$work/excel.csv" '--time-format excel'
variant 'days of a spreadsheet' "$work/excel.csv" --time-format excel
rewrite "\$1 = sprintf(\"%.5f\", $epoch / 86400 + 25569)" ';' | sed '2,$s/\./,/g' >"$work/excel_comma.csv"
refused 'days of a spreadsheet with decimal commas' "$work/excel_comma.csv" '--time-format excel'
variant 'days of a spreadsheet with decimal commas' "$work/excel_comma.csv" --time-format excel

awk -F, -v OFS=, 'NR > 1 && $4 == "" { $4 = "offline" } { print }' "$original" >"$work/word.csv"
refused 'a word for no value' "$work/word.csv" '--null WORD'

awk -F, -v OFS=, '{ print $0, NR == 1 ? "operator" : "Jo" }' "$original" >"$work/operator.csv"
refused 'a column of texts' "$work/operator.csv" '--ignore COLUMN'
variant 'a column of texts' "$work/operator.csv" --ignore operator

head -n 1 "$original" >"$work/header.csv"
refused 'nothing but a header row' "$work/header.csv" 'needs rows of data'

: >"$work/empty.csv"
refused 'an empty file' "$work/empty.csv" 'is empty'

finish "$loaded variants load the same samples, $refused are refused with what helps"
