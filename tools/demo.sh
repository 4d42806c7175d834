#!/usr/bin/env bash
# Shows the program historian at work on a private server: creates the tables, loads a recording, compares every sample,
# shows trends, hours and alarms, records while the server is killed, and checks the store.
#
#   tools/demo.sh [--keep] [--no-serve] [--build FOLDER] [FILE.csv [OPTION OF historian import]...]
#   tools/demo.sh --stop
#
# Without a file it loads half an hour of a machine's counters, examples/data/machine.csv. At the end, in a terminal, it
# serves a page with the data until Ctrl-C, unless --no-serve is given. --keep keeps server and data and says how to
# connect; --stop stops the server and removes both. --build uses the programs of an existing build folder instead of
# building the preset release.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=$root/build/release
place=$root/build/demo
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

keep= serve= is_built=
[ ! -t 1 ] || serve=1
while [[ ${1:-} == --* ]]; do
  case $1 in
    --keep) keep=1 ;;
    --no-serve) serve= ;;
    --build)
      build=$(cd "${2:?--build needs a folder}" && pwd)
      is_built=1
      shift
      ;;
    --stop)
      for folder in "$place"/dbmsapi-server.*; do
        [ ! -d "$folder" ] || server_remove "$folder"
      done
      exit 0
      ;;
    --help)
      sed -n '2,/^set/s/^# \{0,1\}//p' "$0"
      exit 0
      ;;
    *) die "knows no option $1; --help lists those it knows" ;;
  esac
  shift
done
[ $# -gt 0 ] || set -- "$root/examples/data/machine.csv"

step() { printf '— %s\n' "$*"; }
historian() { run_to_the_end "$build/historian/command/historian" "$@"; }
query() { psql --no-psqlrc --tuples-only --no-align --quiet --command "$1"; }

# Raises an alarm each time a tag rises above its 99th percentile, cleared when it falls again.
raise_alarms() {
  query "with limits as (
           select tag_name, percentile_cont(0.99) within group (order by value) as most from datalog group by tag_name),
         steps as (
           select time, tag_name, value, value > most as above,
                  lag(value > most, 1, false) over (partition by tag_name order by time) as before
           from datalog join limits using (tag_name) where value is not null),
         changes as (
           select *, lead(time) over (partition by tag_name order by time) as cleared from steps where above <> before)
         insert into alarm
         select time, tag_name, value, 'above its 99th percentile', 1, 0, 1, 0, time, cleared from changes where above"
}

# Records for a while; meanwhile the server is killed and started again.
record_through_a_crash() {
  local recorder
  (cd "$server_folder" && exec "$build/examples/recorder" "$PGHOST" "$PGPORT" "$PGDATABASE" "$PGUSER" "$PGPASSWORD" 12) &
  recorder=$!
  sleep 4
  echo 'the server is killed'
  server_as_owner "$(server_programs)/pg_ctl" --pgdata "$server_folder/data" --mode immediate --silent stop
  sleep 4
  echo 'the server is started again'
  server_as_owner "$(server_programs)/pg_ctl" --pgdata "$server_folder/data" --log "$server_folder/server.log" \
    --options "-p $SERVER_PORT" --wait --silent start >/dev/null
  wait "$recorder"
}

"$here/install_dependencies.sh" demo

if [ -z "$is_built" ]; then
  started=$SECONDS
  say "building the libraries, the program and an example (the first time takes a minute or two)"
  run_quietly "$build.configure.log" cmake -S "$root" --preset release
  run_to_the_end cmake --build "$build" --target historian_program recorder >&2
  say "built in $(elapsed_since "$started")"
fi

server_start "$place"
export PGHOST=$SERVER_HOST PGPORT=$SERVER_PORT PGUSER=$SERVER_USER PGPASSWORD=$SERVER_PASSWORD PGDATABASE=plant
PGDATABASE=postgres query 'create database plant'
say "a private PostgreSQL listens on $PGHOST:$PGPORT"

step 'historian init: creates the tables'
historian init | sed -n 1,2p
step 'historian import: reads the complete file, stores it, compares every sample'
historian import "$@" --verify

# The two tags with the most different values.
mapfile -t tags < <(query 'select tag_name from datalog group by tag_name order by count(distinct value) desc, tag_name limit 2')
step 'historian trend: two of the tags, from minimum to maximum in each column'
historian trend "${tags[@]}" --height 4
step 'historian trend --every 1h --table: the last hours of a tag'
historian trend "${tags[0]}" --every 1h --from 2h --table

raise_alarms
step 'historian alarms: a tag rose above its 99th percentile; the newest two'
historian alarms --limit 2

step 'examples/recorder: 500 tags a second, while the server is killed and started again'
record_through_a_crash

step 'historian doctor: what is wrong with this store, and what to do'
historian doctor --quiet || true

if [ -n "$keep" ]; then
  # Keeps the server running after this script.
  trap - EXIT
  printf '\nServer and data are kept. To connect:\n\n  export PGHOST=%s PGPORT=%s PGUSER=%s PGPASSWORD=%s PGDATABASE=plant\n' \
    "$PGHOST" "$PGPORT" "$PGUSER" "$PGPASSWORD"
  printf '  %s tags\n\nTo stop the server and remove its data: tools/demo.sh --stop\n' "$build/historian/command/historian"
fi

if [ -n "$serve" ]; then
  step 'historian serve: a page with all of this; open it in a browser'
  historian serve --listen :0
fi
