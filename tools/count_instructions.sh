#!/usr/bin/env bash
# Counts the instructions that the client spends on an operation, by hand and in the library, by valgrind: unlike a
# time, nearly the same on every run and machine. For the library it lists the functions that spend them.
#
#   tools/count_instructions.sh [insert|read|alarms|system_log|delete|report]...
#
# The server's work and the insides of system calls are not counted. Needs what tools/bench.sh has installed and built.
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
profile=$root/build/bench/callgrind.out
functions=8  # to be listed
operations=(insert read alarms system_log delete report)
[ $# -eq 0 ] || operations=("$@")
command -v valgrind >/dev/null || die "needs valgrind"
[ -x "$program" ] || die "run tools/bench.sh first"

# profile OPERATION WHO: leaves the profile; writes how many things the operation has done.
profile() {
  local log=$root/build/bench/callgrind.log
  valgrind --tool=callgrind --callgrind-out-file="$profile" --collect-atstart=no \
    --toggle-collect='bench::Profiled*' "$program" "$1" "$2" 2>"$log" || die "$(tail -n 3 "$log")"
}

# total THINGS: instructions per thing.
total() { awk -v things="$1" '/^(summary|totals):/ { printf "%.0f", $2 / things; exit }' "$profile"; }

# by_function THINGS: those that spend most.
by_function() {
  callgrind_annotate --auto=no --threshold=100 "$profile" | awk -v things="$1" -f "$here/lib/instructions.awk" |
    sort -rn | sed -n "1,${functions}p" | awk -F'\t' '{ printf "%12.0f  %s\n", $1, $2 }'
}

server_start "$root/build" fsync=off autovacuum=off
export DBMSAPI_TEST_HOST=$SERVER_HOST DBMSAPI_TEST_PORT=$SERVER_PORT
export DBMSAPI_TEST_USER=$SERVER_USER DBMSAPI_TEST_PASSWORD=$SERVER_PASSWORD

echo "instructions per sample, row, record or call"
for operation in "${operations[@]}"; do
  things=$(profile "$operation" hand)
  by_hand=$(total "$things")
  things=$(profile "$operation" library)
  printf '\n%s: library %s, by hand %s\n' "$operation" "$(total "$things")" "$by_hand"
  by_function "$things"
done
