#!/usr/bin/env bash
# Tests the page of historian serve in chromium, over a fresh database: page.sh PROGRAM
set -euo pipefail
: "${DBMSAPI_TEST_HOST:?names no test server}"
export PGHOST=$DBMSAPI_TEST_HOST PGPORT=$DBMSAPI_TEST_PORT PGUSER=$DBMSAPI_TEST_USER PGPASSWORD=$DBMSAPI_TEST_PASSWORD
psql --no-psqlrc --quiet --dbname postgres --command 'create database plant'
export PGDATABASE=plant
exec node "$(dirname "$0")/page.mjs" "$1"
