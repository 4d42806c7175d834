#!/usr/bin/env bash
# What plant_history refuses: exit status 2, one line that says where and why, nothing stored of the damaged batch:
# refusals.sh PLANT_HISTORY
set -euo pipefail
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"

file=$work/plant.csv
fresh_database

# refuse CASE CONTENT MESSAGE STORED
refuse() {
  case=$1
  printf '%b' "$2" >"$file"
  run "$file"
  expect_status 2
  expect_error "$file: $3"
  expect_stored "$4"
}

# refuse_line CASE MESSAGE ARGUMENT...
refuse_line() {
  case=$1
  local message=$2
  shift 2
  run "$@"
  expect_status 2
  expect_error "$message"
  expect_stored none
}

refuse_line 'no file at all' 'needs a file; --help tells more'
refuse_line 'a missing file' "$work/missing.csv: there is no such file" "$work/missing.csv"
refuse_line 'a folder' "$work: is not a file of data" "$work"
printf 'time,a\n2024-05-01 00:00,1\n' >"$file"
hint=
[ -z "${EXAMPLES_EMULATOR:-}" ] || hint='; here are UTC and offsets from it such as +01:00'
refuse_line 'an unknown zone' "there is no time zone \"Mars/Olympus\"$hint" "$file" --zone Mars/Olympus
refuse_line 'an unknown option' 'there is no option --quick' "$file" --quick yes
refuse_line 'a bad port' '--port takes a number from 1 to 65535, not "none"' "$file" --port none

# A damaged header: the server is not even asked.
refuse 'an empty file' '' 'line 1: the file is empty, where a header row should name the tags' none
refuse 'an empty tag name' 'time,a,,c\n' 'line 1, column 3: the tag has no name' none
refuse 'a tag named twice' 'time,a,b,a\n' 'line 1, column 4: the tag "a" has a column already' none
refuse 'a quote in a tag name' "time,a'b\n" "line 1, column 2: the tag name \"a'b\" holds a single quote" none

# A damaged row: its batch is not stored.
good='time,a,b\n2024-05-01 00:00:00,1,2\n2024-05-01 00:00:01,,2.5\n'
refuse 'a bad number' "${good}2024-05-01 00:00:02,1,two\n" 'line 4, column 3 (b): "two" is not a number' 0
refuse 'a bad time' "${good}2024-05-01 25:00:02,1,2\n" \
  'line 4, column 1 (time): "2024-05-01 25:00:02" is not a time of the day' 0
refuse 'too few cells' "${good}2024-05-01 00:00:02,1\n" 'line 4, column 3 (b): the row has 2 cells, the header row 3' 0
refuse 'too many cells' "${good}2024-05-01 00:00:02,1,2,3\n" 'line 4, column 4: the row has 4 cells, the header row 3' 0
refuse 'an open quote' "${good}2024-05-01 00:00:02,1,\"2\n" \
  'line 4, column 3 (b): the quote that opens the cell is never closed' 0
refuse 'control characters' "${good}2024-05-01 00:00:02,1,\\033[31m\n" \
  'line 4, column 3 (b): " [31m" is not a number' 0

# Batches before the damaged one are stored, and the line says so. With two tags a batch has 5,000 rows.
case='damage in the second batch'
{
  echo time,a,b
  seq 1 5002 | awk '{ printf "2024-05-01 %02d:%02d:%02d,%d,\n", $1 / 3600, $1 / 60 % 60, $1 % 60, $1 }'
  echo 2024-05-01 12:00:00,1,x
} >"$file"
run "$file"
expect_status 2
expect_error "$file: line 5004, column 3 (b): \"x\" is not a number (the first 5,000 rows are stored)"
expect_stored 10000

case='a time that the zone skips'
fresh_database
if [ -n "${EXAMPLES_EMULATOR:-}" ]; then
  printf 'time,a\n2017-03-26 01:00,1\n' >"$file"
  refuse_line 'a zone by its name' "there is no time zone \"Europe/Berlin\"$hint" "$file" --zone Europe/Berlin
  finish 'plant_history refuses what it should'
  exit
fi
printf 'time,a\n2017-03-26 01:00,1\n2017-03-26 02:00,2\n' >"$file"
run "$file" --zone Europe/Berlin
expect_status 2
expect_error "$file: line 3, column 1 (time): \"2017-03-26 02:00\" does not exist in this time zone: its clocks were set \
forward"
expect_stored 0

finish 'plant_history refuses what it should'
