#!/usr/bin/env bash
# Tests with a server and a disk of its own, where the server offers TimescaleDB: server.sh BUILD_FOLDER TESTS [VERSION|all]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tests/timescale/offered.sh
. "$(dirname "$0")/offered.sh"
end_unless_offered 'HistorianServer is not tested with it'
exec "$here/../historian/disk/small_disk.sh" "$1" "$here/releases.sh" "$2" "${3:-}"
