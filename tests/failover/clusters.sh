#!/usr/bin/env bash
# Runs a command with two private clusters, the second a synchronous streaming replica of the first, on two loopback
# addresses with one port. The replica is made with exactly the commands of docs/scaling.md:
#
#   clusters.sh BUILD_FOLDER COMMAND [ARGUMENT]...
#
# The command finds them in DBMSAPI_PRIMARY_HOST, DBMSAPI_STANDBY_HOST and DBMSAPI_TEST_PORT, _USER, _PASSWORD. To
# request an action it creates a file in DBMSAPI_REQUESTS; a file of that name with .done appended appears when the
# action is done:
#
#   stop-primary      stops the first cluster immediately, as a power failure does
#   promote-standby   promotes the second one
#   fence-primary     makes the first one read-only, as an operator does before the second takes over
#   return-primary    starts the stopped first one again, read-only
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools=$here/../../tools
# shellcheck source=tools/lib/server.sh
. "$tools/lib/server.sh"

[ $# -ge 2 ] || die "usage: clusters.sh BUILD_FOLDER COMMAND [ARGUMENT]..."
build=$1
shift

readonly primary_host=127.0.0.1 standby_host=127.0.0.2
watcher=

pg_ctl() {
  server_as_owner "$(server_programs)/pg_ctl" --wait --timeout 60 --silent "$@" </dev/null >/dev/null 2>&1
}

# documented LANGUAGE NUMBER: prints a block of commands of the page, with the first cluster's address.
documented() {
  awk -v first='```'"$1" -v number="$2" '/^## / { inside = /^## A synchronous standby/ }
    $0 == "```" { shown = 0 }
    shown { print }
    inside && $0 == first { shown = ++blocks == number }' "$here/../../docs/scaling.md" |
    sed "s/host=primary/host=$primary_host port=$SERVER_PORT/" | grep . || die "docs/scaling.md has no block $2 of $1"
}

# Runs SQL on the first cluster.
run_on_primary() {
  PGPASSWORD=$SERVER_PASSWORD psql --no-psqlrc --quiet --tuples-only --no-align --set ON_ERROR_STOP=1 \
    "host=$primary_host port=$SERVER_PORT user=$SERVER_USER dbname=postgres"
}

# Waits until a query of the first cluster says true.
wait_on_primary() {
  local end=$((SECONDS + 120))
  until [ "$(run_on_primary <<<"$1")" = t ]; do
    [ $SECONDS -lt $end ] || die "never true: $1"
    sleep 0.05
  done
}

# Waits until a column of pg_stat_replication, or an expression of them, has a value.
wait_for_standby() {
  wait_on_primary "select ($1) = '$2' from pg_stat_replication where application_name = 'standby1'"
}

# Makes the second cluster, and makes commits on the first one wait for it.
start_standby() {
  local folder=$server_folder/standby programs
  programs=$(server_programs)
  documented sql 1 | run_on_primary >/dev/null
  documented sh 1 | server_as_owner env PATH="$programs:$PATH" PGDATA="$folder" bash -euo pipefail -s
  echo "listen_addresses = '$standby_host'" | server_as_owner tee -a "$folder/postgresql.conf" >/dev/null
  pg_ctl --pgdata "$folder" --log "$server_folder/standby.log" --options "-p $SERVER_PORT" start || {
    tail -n 20 "$server_folder/standby.log" >&2
    die "the replica did not start"
  }
  wait_for_standby state streaming
  documented sql 2 | run_on_primary >/dev/null
  wait_for_standby sync_state sync
}

# Makes the first cluster read-only for what begins then; its commits no longer wait for the second. ALTER SYSTEM writes
# the same file, which overrides postgresql.conf.
make_read_only() {
  printf '%s\n' "synchronous_standby_names = ''" 'default_transaction_read_only = on' |
    server_as_owner tee -a "$server_folder/data/postgresql.auto.conf" >/dev/null
}

# What began before may still write, and has to end and to reach the second cluster before that takes over.
fence_primary() {
  local since end_of_log
  make_read_only && pg_ctl --pgdata "$server_folder/data" reload || return 1
  wait_on_primary "select current_setting('default_transaction_read_only') = 'on'"
  since=$(run_on_primary <<<'select clock_timestamp()')
  wait_on_primary "select count(*) = 0 from pg_stat_activity where xact_start < '$since'"
  end_of_log=$(run_on_primary <<<'select pg_current_wal_lsn()')
  wait_for_standby "flush_lsn >= '$end_of_log'" true
}

carry_out() {
  case $1 in
    fence-primary) fence_primary ;;
    return-primary)
      make_read_only &&
        pg_ctl --pgdata "$server_folder/data" --log "$server_folder/server.log" --options "-p $SERVER_PORT" start
      ;;
    stop-primary) pg_ctl --pgdata "$server_folder/data" --mode immediate stop ;;
    promote-standby) pg_ctl --pgdata "$server_folder/standby" promote ;;
    *) return 1 ;;
  esac
}

# Carries out requests until it is killed.
watch_requests() {
  local request
  trap - EXIT INT TERM HUP
  while sleep 0.05; do
    for request in stop-primary promote-standby fence-primary return-primary; do
      if [ -e "$requests/$request" ] && [ ! -e "$requests/$request.done" ] && carry_out "$request"; then
        : >"$requests/$request.done"
      fi
    done
  done
}

# Stops them immediately, since the first cluster would wait for a replica that is gone.
stop_clusters() {
  [ -z "$watcher" ] || kill "$watcher" 2>/dev/null || true
  if [ -n "$server_folder" ]; then
    pg_ctl --pgdata "$server_folder/standby" --mode immediate stop || true
    pg_ctl --pgdata "$server_folder/data" --mode immediate stop || true
  fi
  server_stop
}

server_start "$build"
trap stop_clusters EXIT
start_standby

requests=$(mktemp -d "$server_folder/requests.XXXXXX")
chmod 755 "$server_folder"
watch_requests &
watcher=$!

server_export
export DBMSAPI_PRIMARY_HOST=$primary_host DBMSAPI_STANDBY_HOST=$standby_host DBMSAPI_REQUESTS=$requests
run_to_the_end "$@"
