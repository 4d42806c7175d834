#!/usr/bin/env bash
# The recording that comes with the project is stored and read back whole: recording.sh PLANT_HISTORY RECORDING
set -euo pipefail
# shellcheck source=tests/examples/program.sh
. "$(dirname "$0")/program.sh"

case='the recording'
fresh_database
run "$2"
expect_status 0
expect_out '2,100 rows, 58,800 samples in'
expect_out 'every sample is in the database as in the file'
[ -z "$err" ] || fail "$case: said $err"
expect_stored 58800

finish 'plant_history stores the recording'
