#!/usr/bin/env bash
# Tests everything: installs what is missing, builds, starts a private PostgreSQL and runs
#
#   dev      unit, server, binary interface, installed tree, examples and demo, built by g++
#   asan     unit and server tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   tsan     tests that use threads, under ThreadSanitizer
#   clang    builds with clang++; a warning is an error
#   windows  the DLLs for Windows, cross-built, under Wine: tools/test_windows.sh
#
#   tools/test.sh [--timescale VERSION|all] [-R REGEX] [dev|asan|tsan|clang|windows]...
#
# -R runs the tests of matching names only, of dev unless others are named. --timescale also tests against that
# release of TimescaleDB.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"
# shellcheck source=tools/lib/run.sh
. "$here/lib/run.sh"
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

stages=()
selection=()
summary=()
last_line=    # of the ctest run before, that counts its tests
closing_line=  # the same of the first run, of dev unless it is left out

while [ $# -gt 0 ]; do
  case $1 in
    --timescale)
      export DBMSAPI_TEST_TIMESCALE=${2:?--timescale needs a version or all}
      shift
      ;;
    -R)
      selection=(-R "${2:?-R needs a regular expression}")
      shift
      ;;
    dev | asan | tsan | clang | windows) stages+=("$1") ;;
    *) die "usage: test.sh [--timescale VERSION|all] [-R REGEX] [dev|asan|tsan|clang|windows]..." ;;
  esac
  shift
done
if [ ${#stages[@]} -eq 0 ]; then
  stages=(dev)
  [ ${#selection[@]} -gt 0 ] || stages+=(asan tsan clang windows)
fi

# build STAGE TARGET [CMAKE OPTION]...
build() {
  local stage=$1 target=$2 folder=$root/build/$1 preset=$1
  shift 2
  [ "$stage" != clang ] || preset=dev
  say "building $stage"
  run_quietly "$folder.configure.log" cmake -S "$root" --preset "$preset" -B "$folder" "$@"
  run_quietly "$folder.build.log" cmake --build "$folder" --target "$target"
}

# run_tests STAGE [CTEST OPTION]...: no test at all is a failure.
run_tests() {
  local stage=$1 folder=$root/build/$1
  shift
  run_to_the_end ctest --test-dir "$folder" --parallel 2 --output-on-failure --no-tests=error \
    --output-log "$folder.test.log" "${selection[@]}" "$@"
  last_line=$(grep 'tests passed' "$folder.test.log")
}

# Outside ctest: a server without the extension runs none of these tests, and none may count as passed.
run_timescale() {
  local since=$SECONDS log=$root/build/timescale.test.log
  run_to_the_end "$root/tests/timescale/releases.sh" "$root/build/dev/tests/timescale/timescale_tests" \
    "${DBMSAPI_TEST_TIMESCALE:-}" >"$log" 2>&1 || {
    cat "$log" >&2
    die "the TimescaleDB tests failed"
  }
  run_to_the_end "$root/tests/timescale/program.sh" "$root/build/dev/historian/command/historian" >>"$log" 2>&1 || {
    cat "$log" >&2
    die "the TimescaleDB tests of the program failed"
  }
  note timescale "$since" "$(grep -v '^$' "$log" | tail -n 1)"
}

# A bonus, as the checkout does not have the data: the demo on measurements of a plant.
run_plant_data() {
  local since=$SECONDS log=$root/build/plant_data.test.log data=$root/../shared/data/transformer_hourly.csv
  if [ ! -f "$data" ]; then
    note 'plant data' "$since" "not run: there is no $data"
    return
  fi
  run_quietly "$log" "$root/tests/examples/plant_data.sh" "$data"
  note 'plant data' "$since" "the demo is right on $(basename "$data") too"
}

# note STAGE SINCE WHAT
note() { summary+=("$(printf '%-10s %-12s %s' "$1" "$(elapsed_since "$2")" "$3")"); }

run_stage() {
  local stage=$1 since=$SECONDS
  case $stage in
    dev)
      build dev all
      run_tests dev
      if [ ${#selection[@]} -eq 0 ]; then
        run_timescale
        run_plant_data
      fi
      ;;
    asan)
      build asan all
      run_tests asan --label-regex '^(unit|server)$'
      ;;
    tsan)
      build tsan thread_tests -DDBMSAPI_BUILD_EXAMPLES=OFF
      run_tests tsan --label-regex '^threads$'
      ;;
    clang)
      build clang all -DCMAKE_CXX_COMPILER=clang++
      note clang "$since" 'builds without a warning'
      return
      ;;
    windows)
      run_to_the_end "$here/test_windows.sh" "${selection[@]}"
      last_line=$(grep 'tests passed' "$root/build/windows.test.log")
      ;;
  esac
  note "$stage" "$since" "$last_line"
  closing_line=${closing_line:-$last_line}
}

"$here/install_dependencies.sh" test

# The server holds nothing that would have to survive a power failure.
# TimescaleDB has a worker process for each database.
server_start "$root/build" fsync=off synchronous_commit=off full_page_writes=off max_worker_processes=64
export DBMSAPI_TEST_HOST=$SERVER_HOST DBMSAPI_TEST_PORT=$SERVER_PORT
export DBMSAPI_TEST_USER=$SERVER_USER DBMSAPI_TEST_PASSWORD=$SERVER_PASSWORD
say "tests run against PostgreSQL on $SERVER_HOST:$SERVER_PORT"

for stage in "${stages[@]}"; do run_stage "$stage"; done

say ""
printf '%s\n' "${summary[@]}"
[ -z "$closing_line" ] || printf '\n%s\n' "$closing_line"
