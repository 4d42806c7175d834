#!/usr/bin/env bash
# Runs a command with a private server that the command may stop, freeze and fill:
#
#   own_server.sh BUILD_DIRECTORY FULL_DISK_LIBRARY COMMAND [ARGUMENT]...
#
# The command finds the server in DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD. It asks for what it wants done by making
# a file in DBMSAPI_REQUESTS, a number and one of these, as in 7-stop; the same name with .done is there when it is done:
#
#   stop     stops the server hard, as when its machine loses power        start   starts it again
#   freeze   stops its processes from running; what is sent to them waits  thaw    lets them run again
#   fill     no table or index can grow any more                           empty   they can again
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools=$here/../../../tools
# shellcheck source=tools/lib/server.sh
. "$tools/lib/server.sh"

[ $# -ge 3 ] || die "usage: own_server.sh BUILD_DIRECTORY FULL_DISK_LIBRARY COMMAND [ARGUMENT]..."
build=$1
library=$2
shift 2
watcher=

pg_ctl() {
  server_as_owner env LD_PRELOAD="$server_folder/full_disk.so" DBMSAPI_DISK_FULL="$server_folder/disk-full" \
    "$(server_programs)/pg_ctl" --pgdata "$server_folder/data" --wait --timeout 60 --silent "$@" </dev/null >/dev/null 2>&1
}

start() { pg_ctl --log "$server_folder/server.log" --options "-p $SERVER_PORT" start; }

# The postmaster first, so that it starts no further process.
signal_server() {
  local first
  first=$(head -n 1 "$server_folder/data/postmaster.pid")
  kill "-$1" "$first"
  # shellcheck disable=SC2046
  kill "-$1" $(pgrep --parent "$first") 2>/dev/null || true
}

carry_out() {
  case $1 in
    *-stop) pg_ctl --mode immediate stop ;;
    *-start) start ;;
    *-freeze) signal_server STOP ;;
    *-thaw) signal_server CONT ;;
    *-fill) : >"$server_folder/disk-full" ;;
    *-empty) rm -f "$server_folder/disk-full" ;;
    *) return 1 ;;
  esac
}

# Carries out requests until it is killed.
watch_requests() {
  local request
  trap - EXIT INT TERM HUP
  while sleep 0.02; do
    for request in "$requests"/*; do
      if [[ $request == *-* && $request != *.done ]] && [ ! -e "$request.done" ] && carry_out "$request"; then
        : >"$request.done"
      fi
    done
  done
}

stop_all() {
  [ -z "$watcher" ] || kill "$watcher" 2>/dev/null || true
  [ ! -f "$server_folder/data/postmaster.pid" ] || signal_server CONT 2>/dev/null || true
  server_stop
}

server_start "$build" fsync=off full_page_writes=off
trap stop_all EXIT
install -m 755 "$library" "$server_folder/full_disk.so"
pg_ctl --mode fast stop
start

requests=$(mktemp -d "$server_folder/requests.XXXXXX")
chmod 755 "$server_folder"
watch_requests &
watcher=$!

server_export
export DBMSAPI_REQUESTS=$requests
run_to_the_end "$@"
