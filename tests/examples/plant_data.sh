#!/usr/bin/env bash
# The demo on the hourly measurements of a transformer, which are not part of the project:
#
#   plant_data.sh BUILD_FOLDER FILE.csv
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
exec "$here/says.sh" "121,940 in 17,420 rows" "every sample is in the database as in the file" \
  "from 2016-07-01 00:00:00 to 2018-06-26 19:00:00" "above its 99th percentile" -- "$here/../../tools/demo.sh" --build "$1" "$2"
