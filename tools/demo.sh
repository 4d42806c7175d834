#!/usr/bin/env bash
# Shows the library at work: installs what is missing, builds, starts a private PostgreSQL, loads measurements into
# tag history, reads them back and compares every sample; then does the same with alarms and an hour report that it
# makes of them.
#
#   tools/demo.sh [FILE.csv] [--zone ZONE] [--retention DAYS]
#
# Without a file it takes half an hour of a machine's counters, examples/data/machine.csv.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=$root/build/release
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"
# shellcheck source=tools/lib/run.sh
. "$here/lib/run.sh"
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

# Whether a file stands among the arguments; every option but --help has a value behind it.
names_file() {
  while [ $# -gt 0 ]; do
    case $1 in
      --help) return 0 ;;
      --*) shift $(($# > 1 ? 2 : 1)) ;;
      *) return 0 ;;
    esac
  done
  return 1
}

names_file "$@" || set -- "$root/examples/data/machine.csv" "$@"

"$here/install_dependencies.sh" demo

started=$SECONDS
say "building the library and the example (the first time takes a minute or two)"
run_quietly "$build.configure.log" cmake -S "$root" --preset release
run_quietly "$build.build.log" cmake --build "$build" --target plant_history
say "built in $(elapsed_since "$started")"

server_start "$root/build"
say "a private PostgreSQL listens on $SERVER_HOST:$SERVER_PORT"
say ""
PGPASSWORD=$SERVER_PASSWORD run_to_the_end "$build/examples/plant_history" \
  --host "$SERVER_HOST" --port "$SERVER_PORT" --user "$SERVER_USER" --database postgres "$@"
