#!/usr/bin/env bash
# docs/running.md: backup and restore on a server that offers TimescaleDB: backup.sh PROGRAM
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
export PGHOST=$DBMSAPI_TEST_HOST PGPORT=$DBMSAPI_TEST_PORT PGUSER=$DBMSAPI_TEST_USER PGPASSWORD=$DBMSAPI_TEST_PASSWORD
if [ -z "$(psql -XAtqd postgres -c "select 1 from pg_available_extensions where name = 'timescaledb'")" ]; then
  echo 'the server does not offer TimescaleDB: backup and restore are not tested with it'
  exit 0
fi
exec "$root/tests/historian/command/backup.sh" "$1" "$root/docs/running.md" timescaledb
