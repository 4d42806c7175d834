#!/usr/bin/env bash
# Tests: installs what is missing, builds, starts a private PostgreSQL and runs
#
#   dev        unit, server, binary interface, installed tree, examples and demo, a page in a browser, built by g++
#   timescale  the tests of TimescaleDB, against the extension in a WebAssembly build of PostgreSQL
#   postgres   the server tests against other versions of PostgreSQL, with the programs of dev
#
# with --all, as CI does, also
#
#   release    what is released: the Debian packages, in use by a client's own project, and the demo with its own build
#   asan       unit and server tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   tsan       tests that use threads, under ThreadSanitizer
#   clang      compiles all but the tests with clang++; a warning is an error
#   windows    the cross-built DLLs for Windows, under Wine (tools/test_windows.sh)
#
# and on request
#
#   fuzz       the fuzz targets, a minute each (tools/fuzz.sh)
#   cluster    clients that write while a cluster is broken in turn, with the programs of dev: some minutes
#
#   tools/test.sh [--all] [--timescale VERSION|all] [--postgres VERSION,...|all] [--cluster] [--fuzz] [-R REGEX] [STAGE]...
#
# and prints how long each part took; README.md says how long to expect. If stages are named, these run instead of the
# first three. A password of a test server in any output is a failure. -R runs only tests with matching names, of dev
# unless stages are named. --timescale also tests against that release of TimescaleDB, which the server has to offer.
# --postgres names the versions of the stage postgres and has it run the tests of faults as well; without it they are 14
# and 18, without those. --cluster and --fuzz are the stages of that name.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

# More than there are processors, because many tests wait for a server, a connection or a clock.
readonly parallel=$((4 * $(nproc)))
readonly usage='usage: test.sh [--all] [--timescale VERSION|all] [--postgres VERSION,...|all] [--cluster] [--fuzz] [-R REGEX] [STAGE]...'
stages=()
selection=()
postgres_versions=14,18
postgres_labels=server
dev_is_built=
summary=()
last_line=     # the line of the last ctest run with the number of its tests
closing_line=  # the same line of the first run, which is that of dev unless dev is left out

while [ $# -gt 0 ]; do
  case $1 in
    --all) stages+=(dev timescale postgres release asan tsan clang windows) ;;
    --timescale)
      export DBMSAPI_TEST_TIMESCALE=${2:?--timescale needs a version or all}
      shift
      ;;
    --postgres)
      postgres_versions=${2:?--postgres needs versions or all}
      postgres_labels='server|fault'
      [ "$postgres_versions" != all ] || postgres_versions=14,15,16,17,18
      shift
      ;;
    --cluster) stages+=(cluster) ;;
    --fuzz) stages+=(fuzz) ;;
    -R)
      selection=(-R "${2:?-R needs a regular expression}")
      shift
      ;;
    dev | timescale | postgres | release | asan | tsan | clang | windows | fuzz) stages+=("$1") ;;
    *) die "$usage" ;;
  esac
  shift
done
if [ ${#stages[@]} -eq 0 ]; then
  stages=(dev)
  [ ${#selection[@]} -gt 0 ] || stages+=(timescale postgres)
fi

# note STAGE PART SINCE [RESULT]: adds a line to the summary.
note() {
  local line
  line=$(printf '%-10s %-10s %-12s %s' "$1" "$2" "$(elapsed_since "$3")" "${4:-}")
  summary+=("$line")
  say "$line"
}

# build STAGE TARGET [CMAKE OPTION]...
build() {
  local stage=$1 target=$2 folder=$root/build/$1 since=$SECONDS
  shift 2
  say "building $stage"
  run_quietly "$folder.configure.log" cmake -S "$root" --preset "$stage" -B "$folder" "$@"
  run_quietly "$folder.build.log" cmake --build "$folder" --target "$target"
  note "$stage" build "$since"
}

# Steps that several stages need, run once.
build_dev() {
  [ -n "$dev_is_built" ] || build dev all
  dev_is_built=yes
}

# report_disabled STAGE LOG: names the tests that the system does not allow to run. For root it fails then, since root
# may run all of them; so no test is missing in CI.
report_disabled() {
  local names
  names=$(sed -nE 's/^[[:space:]]*[0-9]+ - (.*) \(Disabled\).*$/\1/p' "$2" | tr '\n' ' ')
  [ -n "$names" ] || return 0
  note "$1" 'not run' "$SECONDS" "this system does not allow: $names"
  [ "$(id -u)" -ne 0 ] || die "root may run every test, but these were not run: $names"
}

# run_tests STAGE [CTEST OPTION]...: runs the tests; fails when there are none.
run_tests() {
  local stage=$1 folder=$root/build/$1 since=$SECONDS
  shift
  run_to_the_end ctest --test-dir "$folder" --parallel "$parallel" --output-on-failure --no-tests=error \
    --output-log "$folder.test.log" "${selection[@]}" "$@"
  last_line=$(grep 'tests passed' "$folder.test.log")
  closing_line=${closing_line:-$last_line}
  note "$stage" tests "$since" "$last_line"
  report_disabled "$stage" "$folder.test.log"
}

# Runs the demo on measurements of a plant if the data is there; it is not part of the checkout.
run_plant_data() {
  local since=$SECONDS data=$root/../shared/data/transformer_hourly.csv
  if [ ! -f "$data" ]; then
    note dev 'plant data' "$since" "not run: there is no $data"
    return
  fi
  run_quietly "$root/build/plant_data.test.log" run_to_the_end "$root/tests/examples/plant_data.sh" "$root/build/dev" "$data"
  note dev 'plant data' "$since" "the demo is right on $(basename "$data") too"
}

# Not part of ctest: on a server without the extension none of these tests runs, and none may count as passed.
run_timescale() {
  local since=$SECONDS log=$root/build/timescale.test.log tests=$root/build/dev/tests/timescale/timescale_tests
  build_dev
  run_quietly "$log" run_to_the_end "$root/tests/timescale/wasm.sh" "$root/build" "$tests"
  note timescale WebAssembly "$since" "$(tail -n 1 "$log")"
  note timescale '' "$SECONDS" 'which cannot show sessions, locks, background jobs, authentication, a 64-bit server'

  since=$SECONDS
  run_quietly "$log" run_to_the_end "$root/tests/timescale/releases.sh" "$tests" "${DBMSAPI_TEST_TIMESCALE:-}"
  note timescale native "$since" "$(grep -v '^$' "$log" | tail -n 1)"
  since=$SECONDS
  run_quietly "$log" run_to_the_end "$root/tests/timescale/server.sh" "$root/build" \
    "$root/build/dev/tests/timescale/timescale_server_tests" "${DBMSAPI_TEST_TIMESCALE:-}"
  note timescale server "$since" "$(grep -v '^$' "$log" | tail -n 1)"
  since=$SECONDS
  run_quietly "$log" run_to_the_end "$root/tests/timescale/program.sh" "$root/build/dev/historian/command/historian"
  note timescale program "$since" "$(tail -n 1 "$log")"
  since=$SECONDS
  run_quietly "$log" run_to_the_end "$root/tests/timescale/backup.sh" "$root/build/dev/historian/command/historian"
  note timescale backup "$since" "$(tail -n 1 "$log")"
}

run_postgres() {
  local version since log programs=$root/build/dev
  build_dev
  for version in ${postgres_versions//,/ }; do
    since=$SECONDS log=$root/build/postgres-$version.test.log
    run_quietly "$log" run_to_the_end "$here/postgres.sh" "$version" ctest --test-dir "$programs" --parallel "$parallel" \
      --output-on-failure --no-tests=error --label-regex "^($postgres_labels)\$" "${selection[@]}"
    note postgres "$version" "$since" "$(grep 'tests passed' "$log"), labels $postgres_labels"
    report_disabled postgres "$log"
  done
}

# Warnings come from the compiler's front end, so no code is generated.
run_clang() {
  local folder=$root/build/clang since=$SECONDS
  say 'compiling with clang++'
  run_quietly "$folder.configure.log" cmake -S "$root" --preset dev -B "$folder" \
    -DCMAKE_CXX_COMPILER=clang++ -DDBMSAPI_BUILD_TESTS=OFF
  ninja -C "$folder" -t commands all |
    sed -nE 's/ -MD -MT [^ ]+ -MF [^ ]+ -o [^ ]+ -c / -fsyntax-only /p' >"$folder.commands"
  [ -s "$folder.commands" ] || die 'found no command that compiles'
  run_quietly "$folder.build.log" run_to_the_end xargs --arg-file="$folder.commands" --delimiter='\n' \
    --max-procs="$(nproc)" --replace=COMMAND sh -c 'cd "$0" && COMMAND' "$folder"
  note clang compile "$since" "$(wc -l <"$folder.commands") files without a warning"
}

run_windows() {
  local since=$SECONDS
  run_to_the_end "$here/test_windows.sh" --build
  note windows build "$since"
  since=$SECONDS
  run_to_the_end "$here/test_windows.sh" "${selection[@]}"
  last_line=$(grep 'tests passed' "$root/build/windows.test.log")
  closing_line=${closing_line:-$last_line}
  note windows tests "$since" "$last_line"
}

run_fuzz() {
  local since=$SECONDS
  run_to_the_end "$here/fuzz.sh"
  note fuzz targets "$since" 'without a finding'
}

run_stage() {
  local since=$SECONDS
  case $1 in
    dev)
      build_dev
      run_tests dev --label-exclude '^(cluster|release)$'
      [ ${#selection[@]} -gt 0 ] || run_plant_data
      ;;
    timescale) run_timescale ;;
    postgres) run_postgres ;;
    release)
      build_dev
      run_tests dev --label-regex '^release$'
      ;;
    cluster)
      "$here/install_dependencies.sh" cluster
      build_dev
      run_tests dev --label-regex '^cluster$' --verbose
      ;;
    asan)
      build asan all
      run_tests asan --label-regex '^(unit|server|fault)$'
      ;;
    tsan)
      build tsan thread_tests -DDBMSAPI_BUILD_EXAMPLES=OFF
      run_tests tsan --label-regex '^threads$'
      ;;
    clang) run_clang ;;
    windows) run_windows ;;
    fuzz) run_fuzz ;;
  esac
  refuse_passwords "$root/build"
  note "$1" 'in all' "$since"
}

"$here/install_dependencies.sh" test

# Nothing on this server has to survive a power failure.
# TimescaleDB has a worker process for each database.
server_start "$root/build" fsync=off synchronous_commit=off full_page_writes=off max_worker_processes=64
server_export
say "tests run against PostgreSQL on $SERVER_HOST:$SERVER_PORT"

for stage in "${stages[@]}"; do run_stage "$stage"; done

say ""
printf '%s\n' "${summary[@]}"
[ -z "$closing_line" ] || printf '\n%s\n' "$closing_line"
