#!/usr/bin/env bash
# Runs the TimescaleDB tests against the test server (DBMSAPI_TEST_HOST, ...), release by release:
#
#   releases.sh TIMESCALE_TESTS [VERSION|all]
#
# Without a version, the server's default is tested. On a server that does not offer the extension nothing runs, as the
# last line says; naming a version is a failure there.
set -euo pipefail
tests=$1
wanted=${2:-}
not_run=77  # the program's exit status when nothing was run

query() {
  PGPASSWORD=${DBMSAPI_TEST_PASSWORD:-} psql --no-psqlrc --tuples-only --no-align --quiet --host "$DBMSAPI_TEST_HOST" \
    --port "$DBMSAPI_TEST_PORT" --username "$DBMSAPI_TEST_USER" --dbname postgres --command "$1"
}

offered=$(query "select version from pg_available_extension_versions where name = 'timescaledb' and version ~ '^[0-9.]+\$'
                 order by string_to_array(version, '.')::int[]")

older() { [ "$1" != "$2" ] && [ "$(printf '%s\n' "$1" "$2" | sort --version-sort | head -n 1)" = "$1" ]; }

# The tests that cannot run on a release or on this server.
not_for() {
  local names=()
  ! older "$1" 2.15.0 || names+=(HistorianJobs.ARefreshCountedAsFailedIsToComeBackSoon)
  # The release that historian doctor advises.
  ! older "$1" 2.20.0 || grep -qxF 2.28.3 <<<"$offered" || names+=(HistorianHealth.AReleaseWithFaultsIsToBeUpdated)
  (IFS=: && echo "${names[*]}")
}

case $wanted in
  '')
    default=$(query "select default_version from pg_available_extensions where name = 'timescaledb'")
    if [ -z "$default" ]; then
      status=0
      "$tests" || status=$?
      [ "$status" -eq "$not_run" ] && exit 0
      exit 1
    fi
    releases=$default
    ;;
  all) releases=$offered ;;
  *) releases=$(grep -xF "$wanted" <<<"$offered" || true) ;;
esac
if [ -z "$releases" ]; then
  echo "the server does not offer TimescaleDB $wanted; it offers: $(tr '\n' ' ' <<<"$offered")"
  exit 1
fi

failed=() left_out=
for release in $releases; do
  without=$(not_for "$release")
  [ -z "$without" ] || left_out+="; not run on $release: $without"
  DBMSAPI_TEST_TIMESCALE=$release "$tests" --gtest_brief=1 --gtest_filter="-$without" || failed+=("$release")
done
if [ ${#failed[@]} -gt 0 ]; then
  echo "TimescaleDB releases that failed: ${failed[*]}"
  exit 1
fi
echo "TimescaleDB releases tested: $(tr '\n' ' ' <<<"$releases")$left_out"
