#!/usr/bin/env bash
# docs/running.md: backup and restore on a server that offers TimescaleDB: backup.sh PROGRAM
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
# shellcheck source=tests/timescale/offered.sh
. "$(dirname "$0")/offered.sh"
end_unless_offered 'backup and restore are not tested with it'
exec "$root/tests/historian/command/backup.sh" "$1" "$root/docs/running.md" timescaledb
