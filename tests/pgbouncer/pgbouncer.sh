#!/usr/bin/env bash
# Runs a command against a private server through a private PgBouncer:
#
#   pgbouncer.sh session|transaction BUILD_DIRECTORY COMMAND [ARGUMENT]...
#
# The command finds PgBouncer in DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD, and the server in DBMSAPI_DIRECT_PORT.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools=$here/../../tools
# shellcheck source=tools/lib/server.sh
. "$tools/lib/server.sh"

[ $# -ge 3 ] || die "usage: pgbouncer.sh session|transaction BUILD_DIRECTORY COMMAND [ARGUMENT]..."
mode=$1
build=$2
shift 2
pooler=
pooler_port=

# The pooler itself: a signal to the command that runs it as the server's user does not reach it.
stop_all() {
  [ -z "$pooler" ] || kill "$(cat "$server_folder/pgbouncer/pid" 2>/dev/null)" 2>/dev/null || true
  server_stop
}

configure_pooler() {
  local folder=$server_folder/pgbouncer
  server_as_owner mkdir "$folder"
  (umask 077 && printf '"%s" "%s"\n' "$SERVER_USER" "$SERVER_PASSWORD" >"$folder/users")
  cat >"$folder/pgbouncer.ini" <<INI
[databases]
* = host=$SERVER_HOST port=$SERVER_PORT
[pgbouncer]
listen_addr = $SERVER_HOST
listen_port = $pooler_port
unix_socket_dir =
auth_type = scram-sha-256
auth_file = $folder/users
pool_mode = $mode
pidfile = $folder/pid
INI
  chown "$(server_owner)" "$folder"/*
}

# Another program may take the port between choice and start.
start_pooler() {
  local server_port=$SERVER_PORT try program
  program=$(PATH=$PATH:/usr/sbin command -v pgbouncer) || die 'needs pgbouncer'
  for try in 1 2 3; do
    server_choose_port
    pooler_port=$SERVER_PORT SERVER_PORT=$server_port
    rm -rf "$server_folder/pgbouncer"
    configure_pooler
    server_as_owner "$program" --quiet "$server_folder/pgbouncer/pgbouncer.ini" >"$server_folder/pgbouncer.log" 2>&1 &
    pooler=$!
    while kill -0 "$pooler" 2>/dev/null; do
      if (: <"/dev/tcp/$SERVER_HOST/$pooler_port") 2>/dev/null; then return; fi
      sleep 0.05
    done
    say "pgbouncer did not start (attempt $try)"
  done
  cat "$server_folder/pgbouncer.log" >&2
  die 'pgbouncer does not start'
}

server_start "$build" fsync=off synchronous_commit=off full_page_writes=off
trap stop_all EXIT
start_pooler
server_export
export DBMSAPI_TEST_PORT=$pooler_port DBMSAPI_DIRECT_PORT=$SERVER_PORT
run_to_the_end "$@"
