#!/usr/bin/env bash
# Tests with a server of their own, where the server offers TimescaleDB: server.sh BUILD_FOLDER TESTS [VERSION|all]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
export PGHOST=$DBMSAPI_TEST_HOST PGPORT=$DBMSAPI_TEST_PORT PGUSER=$DBMSAPI_TEST_USER PGPASSWORD=$DBMSAPI_TEST_PASSWORD
if [ -z "$(psql -XAtqd postgres -c "select 1 from pg_available_extensions where name = 'timescaledb'")" ]; then
  echo 'the server does not offer TimescaleDB: HistorianServer is not tested with it'
  exit 0
fi
exec "$here/../server/private_server.sh" "$1" "$here/releases.sh" "$2" "${3:-}"
