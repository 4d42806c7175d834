#!/usr/bin/env bash
# Runs a command with a private server that the command may stop, freeze, fill and start:
#
#   private_server.sh [--full-disk LIBRARY] BUILD_FOLDER COMMAND [ARGUMENT]...
#
# The command finds the server as tools/server.sh says. DBMSAPI_SERVER_CONTROL is a command that does what its argument
# says, and then returns:
#
#   stop         stops it immediately, as when its machine loses power
#   start        starts it
#   restart      stops it in order, without waiting for its clients, and starts it
#   freeze       stops all its processes with SIGSTOP; thaw lets them go on
#   start-up     starts it, but keeps the start-up from completing until finish-start-up
#   shut-down    stops it in order, when its clients are gone; does not wait for that
#   fill         keeps its tables and indexes from growing, which needs the library full_disk; empty lets them grow
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools=$here/../../tools
# shellcheck source=tools/lib/server.sh
. "$tools/lib/server.sh"

# Every start loads the library full_disk, once it is in the folder of the server.
pg_ctl() {
  local variables=()
  if [ -f "$server_folder/full_disk.so" ]; then
    variables=(LD_PRELOAD="$server_folder/full_disk.so" DBMSAPI_DISK_FULL="$server_folder/disk-full")
  fi
  server_as_owner env ${variables[@]+"${variables[@]}"} "$(server_programs)/pg_ctl" --pgdata "$server_folder/data" \
    --timeout 60 --silent "$@" --log "$server_folder/server.log" --options "-p $SERVER_PORT" </dev/null >/dev/null 2>&1
}

# Waits until a command succeeds; gives up after two minutes.
wait_for() {
  local end=$((SECONDS + 120))
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.02
  done
}
is_stopping() { grep -q stopping "$server_folder/data/postmaster.pid"; }
is_ready() { grep -q ready "$server_folder/data/postmaster.pid"; }
listens() { (: <"/dev/tcp/$SERVER_HOST/$SERVER_PORT") 2>/dev/null; }

# Signals the postmaster first, so that it starts no further process.
signal_all() {
  local postmaster
  postmaster=$(head -n 1 "$server_folder/data/postmaster.pid")
  kill -s "$1" "$postmaster"
  # shellcheck disable=SC2046  # a list of numbers
  kill -s "$1" $(pgrep --parent "$postmaster")
}

# Recovery from an archive asks for a file first. It waits for the answer while the file go is missing.
start_up() {
  server_as_owner tee -a "$server_folder/data/postgresql.conf" >/dev/null \
    <<<"restore_command = 'until [ -e $server_folder/go ]; do sleep 0.02; done; exit 1'"
  server_as_owner touch "$server_folder/data/recovery.signal"
  pg_ctl --no-wait start
  wait_for listens
}

control() {
  case $1 in
    stop) pg_ctl --wait --mode immediate stop ;;
    start) pg_ctl --wait start ;;
    restart) pg_ctl --wait --mode fast restart ;;
    freeze) signal_all STOP ;;
    thaw) signal_all CONT ;;
    start-up) start_up ;;
    finish-start-up) server_as_owner touch "$server_folder/go" && wait_for is_ready ;;
    shut-down) pg_ctl --no-wait --mode smart stop && wait_for is_stopping ;;
    fill) [ -f "$server_folder/full_disk.so" ] && touch "$server_folder/disk-full" ;;
    empty) rm "$server_folder/disk-full" ;;
    *) return 1 ;;
  esac
}

if [ "${1:-}" = --control ]; then
  server_folder=$DBMSAPI_SERVER_FOLDER SERVER_PORT=$DBMSAPI_TEST_PORT
  control "$2"
  exit
fi

thaw_and_stop() {
  signal_all CONT 2>/dev/null || true
  server_stop
}

library=
if [ "${1:-}" = --full-disk ]; then
  library=$2
  shift 2
fi
[ $# -ge 2 ] || die "usage: private_server.sh [--full-disk LIBRARY] BUILD_FOLDER COMMAND [ARGUMENT]..."
build=$1
shift
# Without fsync, because even a hard stop of the processes loses nothing: the system keeps its cache.
server_start "$build" fsync=off max_connections=80
trap thaw_and_stop EXIT
chmod 755 "$server_folder"
if [ -n "$library" ]; then
  install -m 755 "$library" "$server_folder/full_disk.so"
  control restart || die "the server did not start with $library"
fi
server_export
export DBMSAPI_SERVER_FOLDER=$server_folder DBMSAPI_SERVER_CONTROL="$here/private_server.sh --control"
run_to_the_end "$@"
