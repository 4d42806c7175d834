#!/usr/bin/env bash
# The demo on the hourly measurements of a transformer, which are not part of the project: plant_data.sh FILE.csv
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
exec "$here/says.sh" "17,420 rows, 121,940 samples" "428 occurred, 428 cleared" \
  "121,940 rows, one per tag and hour with a value" "2016-07-01 00:00:00 to 2018-06-26 20:00:00" \
  -- "$here/../../tools/demo.sh" "$1"
