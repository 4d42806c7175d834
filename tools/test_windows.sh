#!/usr/bin/env bash
# Tests the libraries for Windows: installs what is missing, fetches libpq for Windows (for tests only), cross-builds
# with the preset windows and runs all that can run there under Wine, against a private PostgreSQL or the one that
# DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD name:
#
#   tools/test_windows.sh [CTEST OPTION]...
#   tools/test_windows.sh --build             builds only
#
# docs/windows.md describes what differs there, and what cannot run under Wine.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=$root/build/windows
# shellcheck source=tools/lib/server.sh
. "$here/lib/server.sh"

export DBMSAPI_WINEPREFIX=$root/build/wine

# Starts Wine's services. Their output is discarded, because they would keep this script's output open.
wine_start() {
  local program=/usr/lib/wine/wineserver
  mkdir -p "$DBMSAPI_WINEPREFIX"
  WINEPREFIX=$DBMSAPI_WINEPREFIX "$program" --persistent >/dev/null 2>&1 </dev/null
  env -u DISPLAY WINEPREFIX="$DBMSAPI_WINEPREFIX" WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=' LC_ALL=C.UTF-8 \
    wineboot --update >/dev/null 2>&1 </dev/null || die "Wine cannot make its directory $DBMSAPI_WINEPREFIX"
}

wine_stop() {
  WINEPREFIX=$DBMSAPI_WINEPREFIX /usr/lib/wine/wineserver --kill >/dev/null 2>&1 </dev/null || true
}

clear_up() {
  wine_stop
  server_stop
}

use_server() {
  if [ -z "${DBMSAPI_TEST_HOST:-}" ]; then
    server_start "$root/build" fsync=off synchronous_commit=off full_page_writes=off max_worker_processes=64
    server_export
  fi
  trap clear_up EXIT
}

"$here/install_dependencies.sh" windows
"$here/windows/root.sh" "$root/build/windows-root"

say 'building windows'
started=$SECONDS
run_quietly "$build.configure.log" cmake -S "$root" --preset windows
run_quietly "$build.build.log" cmake --build "$build"
say "built in $(elapsed_since "$started")"

[ "${1:-}" != --build ] || exit 0

use_server
wine_start
say "tests run under Wine against PostgreSQL on $DBMSAPI_TEST_HOST:$DBMSAPI_TEST_PORT"
run_to_the_end ctest --test-dir "$build" --parallel "$((2 * $(nproc)))" --output-on-failure --no-tests=error \
  --output-log "$build.test.log" "$@"
