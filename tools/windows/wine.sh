#!/usr/bin/env bash
# Runs a Windows program under Wine, without a display: wine.sh PROGRAM.exe [ARGUMENT]...
#
# DBMSAPI_WINEPREFIX names Wine's folder, build/wine by default; tools/test_windows.sh makes it. Standard input is
# read where it is a file. The output is shown when the program has ended, without carriage returns. It goes through a
# file, because Wine's services outlive the program and would keep a pipe open. SIGINT and SIGTERM are passed on; Wine
# turns the first into Ctrl-C.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
prefix=${DBMSAPI_WINEPREFIX:-$(dirname "$(dirname "$here")")/build/wine}
[ -d "$prefix/drive_c" ] || {
  echo "wine.sh: there is no Wine folder $prefix; tools/test_windows.sh makes it" >&2
  exit 1
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [ -f /dev/stdin ]; then exec 3<&0; else exec 3</dev/null; fi
signalled=

# start WINEDEBUG PROGRAM.exe [ARGUMENT]...: sets status to the exit status of the program.
start() {
  env -u DISPLAY -u TZ WINEPREFIX="$prefix" WINEDEBUG="$1" WINEDLLOVERRIDES='mscoree,mshtml=' LC_ALL=C.UTF-8 \
    --default-signal=INT /usr/lib/wine/wine64 "${@:2}" <&3 >"$work/out" 2>"$work/err" &
  program=$!
  trap 'signalled=1; kill -s INT "$program" 2>/dev/null || true' INT
  trap 'signalled=1; kill -s TERM "$program" 2>/dev/null || true' TERM

  # A signal ends the wait, not the program.
  status=0
  wait "$program" || status=$?
  while kill -0 "$program" 2>/dev/null; do
    status=0
    wait "$program" || status=$?
  done
}

start "${WINEDEBUG:--all}" "$@"

# In about one of ten thousand starts, Wine fails before it starts the program, and prints nothing.
if [ "$status" -ne 0 ] && [ -z "$signalled" ] && [ ! -s "$work/out" ] && [ ! -s "$work/err" ]; then
  echo "wine.sh: $1 ended with status $status and printed nothing: starting it once more" >&2
  start "${WINEDEBUG:-err+all}" "$@"
fi

tr -d '\r' <"$work/out"
tr -d '\r' <"$work/err" >&2
exit "$status"
