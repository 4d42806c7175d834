#!/usr/bin/env bash
# Counts the instructions that the client spends on an operation, in the library and by hand, by valgrind: unlike a
# time, nearly the same on every run.
#
#   tools/count_instructions.sh [insert|read|alarms|system_log|delete|report]...
#
# The server's work and the insides of system calls are not counted. Needs valgrind and what tools/bench.sh has built.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"
# shellcheck source=tools/lib/run.sh
. "$here/lib/run.sh"
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

program=$root/build/bench/benchmarks/one_operation
operations=(insert read alarms system_log delete report)
[ $# -eq 0 ] || operations=("$@")
command -v valgrind >/dev/null || die "needs valgrind"
[ -x "$program" ] || die "run tools/bench.sh first"

# count OPERATION WHO: instructions per thing done.
count() {
  local log=$root/build/bench/count.log things
  things=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --collect-atstart=no \
    --toggle-collect='bench::Profiled*' "$program" "$1" "$2" 2>"$log") || die "$(tail -n 3 "$log")"
  awk -v things="$things" '/Collected :/ { printf "%.0f", $4 / things }' "$log"
}

server_start "$root/build" fsync=off autovacuum=off
export DBMSAPI_TEST_HOST=$SERVER_HOST DBMSAPI_TEST_PORT=$SERVER_PORT
export DBMSAPI_TEST_USER=$SERVER_USER DBMSAPI_TEST_PASSWORD=$SERVER_PASSWORD

printf '%-12s %10s %10s\n' 'per thing' 'by hand' library
for operation in "${operations[@]}"; do
  printf '%-12s %10s %10s\n' "$operation" "$(count "$operation" hand)" "$(count "$operation" library)"
done
