#!/usr/bin/env bash
# Counts the instructions that the client executes for an operation, in hand-written libpq code (the baseline) and in
# the library, with valgrind. Unlike times, these numbers are nearly the same in every run and on every machine. For the
# library it lists the functions that execute most.
#
#   tools/count_instructions.sh [insert|read|alarms|report_rows|system_log|delete|report]...
#
# Work of the server and of the kernel is not counted. Run tools/bench.sh first: it installs and builds what this needs.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

program=$root/build/bench/benchmarks/one_operation
profile=$root/build/bench/callgrind.out
functions=8  # number of functions in the list
operations=(insert read alarms report_rows system_log delete report)
[ $# -eq 0 ] || operations=("$@")
command -v valgrind >/dev/null || die "needs valgrind"
[ -x "$program" ] || die "run tools/bench.sh first"

# profile OPERATION library|baseline|binary: writes the profile; prints how many things the operation did.
profile() {
  local log=$root/build/bench/callgrind.log
  valgrind --tool=callgrind --callgrind-out-file="$profile" --collect-atstart=no \
    --toggle-collect='bench::Profiled*' "$program" "$1" "$2" 2>"$log" || die "$(tail -n 3 "$log")"
}

# total THINGS: instructions per thing.
total() { awk -v things="$1" '/^(summary|totals):/ { printf "%.0f", $2 / things; exit }' "$profile"; }

# by_function THINGS: the functions that execute most.
by_function() {
  callgrind_annotate --auto=no --threshold=100 "$profile" | awk -v things="$1" -f "$here/lib/instructions.awk" |
    sort -rn | sed -n "1,${functions}p" | awk -F'\t' '{ printf "%12.0f  %s\n", $1, $2 }'
}

server_start "$root/build" fsync=off autovacuum=off
server_export

echo "instructions per sample, row, record or call"
for operation in "${operations[@]}"; do
  things=$(profile "$operation" baseline)
  baseline=$(total "$things")
  binary=
  case $operation in
    read | alarms | report_rows)
      things=$(profile "$operation" binary)
      binary=", hand-written in binary $(total "$things")"
      ;;
  esac
  things=$(profile "$operation" library)
  printf '\n%s: library %s, baseline %s%s\n' "$operation" "$(total "$things")" "$baseline" "$binary"
  by_function "$things"
done
