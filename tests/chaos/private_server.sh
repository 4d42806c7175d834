#!/usr/bin/env bash
# Runs a command with a private server that the command may stop, freeze and start:
#
#   private_server.sh BUILD_FOLDER COMMAND [ARGUMENT]...
#
# The command finds the server as tools/server.sh says. DBMSAPI_SERVER_CONTROL is a command that returns when it has done
# what its argument says:
#
#   stop         stops it at once, as when its machine loses power
#   start        starts it
#   restart      stops it in order, without waiting for its clients, and starts it
#   freeze       holds all its processes; thaw lets them go on
#   start-up     starts it, and keeps it from completing that until finish-start-up
#   shut-down    stops it in order, when its clients are gone; does not wait for that
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools=$here/../../tools
# shellcheck source=tools/lib/server.sh
. "$tools/lib/server.sh"

[ $# -ge 2 ] || die "usage: private_server.sh BUILD_FOLDER COMMAND [ARGUMENT]..."

pg_ctl() {
  server_as_owner "$(server_programs)/pg_ctl" --pgdata "$server_folder/data" --timeout 60 --silent "$@" \
    --log "$server_folder/server.log" --options "-p $SERVER_PORT" </dev/null >/dev/null 2>&1
}

# Until a command succeeds; gives up after two minutes.
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

signal_all() {
  local postmaster
  postmaster=$(head -n 1 "$server_folder/data/postmaster.pid")
  # shellcheck disable=SC2046  # a list of numbers
  kill -s "$1" "$postmaster" $(pgrep --parent "$postmaster")
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
    *) return 1 ;;
  esac
}

if [ "$1" = --control ]; then
  server_folder=$DBMSAPI_SERVER_FOLDER SERVER_PORT=$DBMSAPI_TEST_PORT
  control "$2"
  exit
fi

thaw_and_stop() {
  signal_all CONT 2>/dev/null || true
  server_stop
}

build=$1
shift
# What is confirmed is in the log by then, where a hard stop leaves it; the disk itself does not fail.
server_start "$build" fsync=off max_connections=80
trap thaw_and_stop EXIT
server_export
export DBMSAPI_SERVER_FOLDER=$server_folder DBMSAPI_SERVER_CONTROL="$here/private_server.sh --control"
run_to_the_end "$@"
