#!/usr/bin/env bash
# Builds and runs the consumer project, a program with DbmsAPI and one with historian, against an installed tree, once as
# find_package finds it and once as pkg-config does, each on a fresh database of the test server:
#
#   against.sh PREFIX [CMAKE OPTION]...
#
# For Windows CONSUMER_EMULATOR names a program that runs what is built, CONSUMER_LIBPQ the folder of libpq and its own
# libraries; there is no pkg-config then.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
prefix=$(cd "$1" && pwd)
shift
work=$(mktemp -d)
: "${DBMSAPI_TEST_HOST:?names the test server}" "${DBMSAPI_TEST_PORT:?names its port}"
: "${DBMSAPI_TEST_USER:?names its user}" "${DBMSAPI_TEST_PASSWORD:?is the password there}"
export PGPASSWORD=$DBMSAPI_TEST_PASSWORD
database=

on_server() {
  psql --no-psqlrc --quiet -v ON_ERROR_STOP=1 -h "$DBMSAPI_TEST_HOST" -p "$DBMSAPI_TEST_PORT" -U "$DBMSAPI_TEST_USER" \
    -d postgres -c "$1"
}

clear_up() {
  [ -z "$database" ] || on_server "drop database if exists $database with (force)" || true
  rm -rf "$work"
}
trap clear_up EXIT

# quietly COMMAND...: shows the output of a command only when it fails.
quietly() {
  "$@" >"$work/log" 2>&1 || {
    cat "$work/log"
    echo "failed: $*"
    exit 1
  }
}

# runs HOW OUTPUT PROGRAM...: the program prints exactly OUTPUT, on a fresh database.
runs() {
  local how=$1 wanted=$2 said
  shift 2
  database=consumer_${how}_$$
  on_server "create database $database"
  said=$("$@" "$DBMSAPI_TEST_HOST" "$DBMSAPI_TEST_PORT" "$database" "$DBMSAPI_TEST_USER" "$DBMSAPI_TEST_PASSWORD") || {
    echo "by $how: exit status $?: $said"
    exit 1
  }
  [ "$said" = "$wanted" ] || {
    echo "by $how: said '$said', not '$wanted'"
    exit 1
  }
  on_server "drop database $database"
  database=
  echo "by $how: $said"
}
with_dbmsapi='one sample stored and read back'
with_historian='two samples loaded'

by_cmake() {
  quietly cmake -G Ninja -S "$here" -B "$work/by_cmake" -DCMAKE_PREFIX_PATH="$prefix" "$@"
  grep -q "^DbmsAPI_DIR:PATH=$prefix/" "$work/by_cmake/CMakeCache.txt" || {
    echo "find_package took another tree: $(grep '^DbmsAPI_DIR' "$work/by_cmake/CMakeCache.txt")"
    exit 1
  }
  quietly cmake --build "$work/by_cmake"
}

# by_pkg_config PACKAGE SOURCE OUTPUT
by_pkg_config() {
  local flags libraries file folder
  file=$(find "$prefix" -name "$1.pc")
  folder=$(dirname "$(dirname "$file")")
  export PKG_CONFIG_PATH=${file%/*}
  read -ra flags < <(pkg-config --cflags "$1")
  read -ra libraries < <(pkg-config --libs "$1")
  quietly "${CXX:-g++}" -std=c++20 "${flags[@]}" "$here/$2" -o "$work/by_pkg_config" "${libraries[@]}"
  runs pkg_config "$3" env LD_LIBRARY_PATH="$folder" "$work/by_pkg_config"
}

by_cmake "$@"
if [ -n "${CONSUMER_EMULATOR:-}" ]; then
  # The DLLs that a program needs beside it.
  cp "$prefix"/bin/*.dll "${CONSUMER_LIBPQ:?}"/*.dll "$work/by_cmake"
  runs cmake "$with_dbmsapi" "$CONSUMER_EMULATOR" "$work/by_cmake/consumer.exe"
  runs cmake "$with_historian" "$CONSUMER_EMULATOR" "$work/by_cmake/historian_consumer.exe"
else
  runs cmake "$with_dbmsapi" "$work/by_cmake/consumer"
  runs cmake "$with_historian" "$work/by_cmake/historian_consumer"
  by_pkg_config DbmsAPI main.cpp "$with_dbmsapi"
  by_pkg_config historian historian.cpp "$with_historian"
fi
