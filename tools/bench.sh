#!/usr/bin/env bash
# Compares the library with hand-written libpq code that does the same work, on a private PostgreSQL:
#
#   tools/bench.sh [--rounds N] [--timescale VERSION] [PROGRAM]...
#
# Installs what is missing, builds, and runs the programs of benchmarks/ (all, or those named). The contenders take
# turns, N rounds (default 9). Times are medians; the last column is the ratio to the first contender of the same round.
# Other work on the machine disturbs the times more than the ratios. --timescale uses hypertables of that TimescaleDB
# version, which the server must offer.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"
# shellcheck source=tools/lib/machine.sh
. "$here/lib/machine.sh"

programs=(copy_text memory_use read_rows insert_history single_statements eight_threads
  tuning backfill recorder history_size)
folder=$root/build/bench

while [ $# -gt 0 ]; do
  case $1 in
    --rounds) export DBMSAPI_BENCH_ROUNDS=${2:?--rounds needs a number} ;;
    --timescale) export DBMSAPI_BENCH_TIMESCALE=${2:?--timescale needs a version} ;;
    *) break ;;
  esac
  shift 2
done
[ $# -eq 0 ] || programs=("$@")

results=$folder/results${DBMSAPI_BENCH_TIMESCALE:+.timescale}  # a file for each program
mkdir -p "$results"

run() { run_to_the_end "$folder/benchmarks/$1" "${@:2}"; }

run_program() {
  case $1 in
    copy_text)
      run copy_text --benchmark_repetitions=7 --benchmark_report_aggregates_only=true \
        --benchmark_out="$results/copy_text.csv" --benchmark_out_format=csv
      ;;
    memory_use)
      run memory_use insert 10000000
      run memory_use read 1000000
      ;;
    backfill)
      run backfill race
      run backfill processors
      ;;
    *) run "$1" ;;
  esac
}

"$here/install_dependencies.sh" bench
say "building"
run_quietly "$folder.configure.log" cmake -S "$root" --preset bench
run_quietly "$folder.build.log" cmake --build "$folder"

# Durable, as by default. Checkpoints and autovacuum would disturb single turns, so the programs request them between
# the turns.
server_start "$root/build" max_wal_size=8GB checkpoint_timeout=1h autovacuum=off
server_export

describe_machine
for program in "${programs[@]}"; do
  echo
  export DBMSAPI_BENCH_RESULTS=$results/$program.tsv
  rm -f "$DBMSAPI_BENCH_RESULTS"
  run_program "$program"
done
echo
printf 'load        %s (after the last measurement)\n' "$(machine_load)"
