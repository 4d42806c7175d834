#!/usr/bin/env bash
# Builds and runs the consumer project against an installed tree, once as find_package finds it and once as
# pkg-config does, each on a fresh database of the test server:
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

# quietly COMMAND...: shows what a command says only when it fails.
quietly() {
  "$@" >"$work/log" 2>&1 || {
    cat "$work/log"
    echo "failed: $*"
    exit 1
  }
}

# uses_the_library HOW PROGRAM...: the program stores a sample and reads it back.
uses_the_library() {
  local how=$1 said
  shift
  database=consumer_${how}_$$
  on_server "create database $database"
  said=$("$@" "$DBMSAPI_TEST_HOST" "$DBMSAPI_TEST_PORT" "$database" "$DBMSAPI_TEST_USER" "$DBMSAPI_TEST_PASSWORD") || {
    echo "by $how: exit status $?: $said"
    exit 1
  }
  [ "$said" = 'one sample stored and read back' ] || {
    echo "by $how: said '$said'"
    exit 1
  }
  on_server "drop database $database"
  database=
  echo "by $how: $said"
}

by_cmake() {
  quietly cmake -G Ninja -S "$here" -B "$work/by_cmake" -DCMAKE_PREFIX_PATH="$prefix" "$@"
  grep -q "^DbmsAPI_DIR:PATH=$prefix/" "$work/by_cmake/CMakeCache.txt" || {
    echo "find_package took another tree: $(grep '^DbmsAPI_DIR' "$work/by_cmake/CMakeCache.txt")"
    exit 1
  }
  quietly cmake --build "$work/by_cmake"
}

by_pkg_config() {
  local flags libraries file folder
  file=$(find "$prefix" -name DbmsAPI.pc)
  folder=$(dirname "$(dirname "$file")")
  export PKG_CONFIG_PATH=${file%/*}
  read -ra flags < <(pkg-config --cflags DbmsAPI)
  read -ra libraries < <(pkg-config --libs DbmsAPI)
  quietly "${CXX:-g++}" -std=c++20 "${flags[@]}" "$here/main.cpp" -o "$work/by_pkg_config" "${libraries[@]}"
  uses_the_library pkg_config env LD_LIBRARY_PATH="$folder" "$work/by_pkg_config"
}

by_cmake "$@"
if [ -n "${CONSUMER_EMULATOR:-}" ]; then
  # What has to lie beside a program there.
  cp "$prefix"/bin/*.dll "${CONSUMER_LIBPQ:?}"/*.dll "$work/by_cmake"
  uses_the_library cmake "$CONSUMER_EMULATOR" "$work/by_cmake/consumer.exe"
else
  uses_the_library cmake "$work/by_cmake/consumer"
  by_pkg_config
fi
