#!/usr/bin/env bash
# Runs a command against a private PostgreSQL that lives as long as the command:
#
#   tools/server.sh [--set NAME=VALUE]... COMMAND [ARGUMENT]...
#
# The command finds the server in DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD, as the tests expect it:
#
#   tools/server.sh ctest --preset dev
#   tools/server.sh bash -c 'PGPASSWORD=$DBMSAPI_TEST_PASSWORD psql -h $DBMSAPI_TEST_HOST ...'
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

settings=()
while [ $# -ge 2 ] && [ "$1" = --set ]; do
  settings+=("$2")
  shift 2
done
[ $# -gt 0 ] || die "usage: server.sh [--set NAME=VALUE]... COMMAND [ARGUMENT]..."

server_start "$here/../build" ${settings[@]+"${settings[@]}"}
server_export
run_to_the_end "$@"
