#!/usr/bin/env bash
# Checks the layout of the sources: check_includes.sh [ROOT]
#
# - Every include goes to the same group or to a lower layer (docs/architecture.md).
# - libpq's header is included below client/pq only; tests and benchmarks may.
# - Only port/, historian/command/posix and windows, and the export headers depend on the operating system.
# - {fmt} is included by DbmsAPI/frame/Format.h only.
# - The library has one handler of SAException.
# - historian/ includes only DbmsAPI's public headers, client/include and port/; not the parts of port/ that keep state,
#   because each library has its own copy of them.
# - No source file is longer than 300 lines.
# - Every test has a time limit.
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

most_lines=300
# The interface: 69 operations, each with its contract.
may_be_longer=' DbmsAPI/Dbms.h '

problems=0
problem() {
  echo "$*"
  problems=$((problems + 1))
}

# Sets $layer and $group of a file. Files of one group may include each other; other files may include only lower
# layers.
place() {
  case $1 in
    port/*) layer=1 group=port ;;
    client/include/*) layer=2 group=client ;;
    client/*) layer=3 group=client ;;
    DbmsAPI/TirelScada.h | DbmsAPI/PostgreSQL.h) layer=5 group=implementation ;;
    DbmsAPI/frame/*) layer=6 group=frame ;;
    DbmsAPI/history/*) layer=7 group=history ;;
    DbmsAPI/reports/*) layer=7 group=reports ;;
    DbmsAPI/records/*) layer=7 group=records ;;
    DbmsAPI/config/*) layer=7 group=config ;;
    DbmsAPI/*/*) layer=0 group=unknown ;;
    DbmsAPI/*) layer=4 group=interface ;;
    historian/command/* | historian/web/*) layer=9 group=command ;;
    historian/*) layer=8 group=historian ;;
    examples/*) layer=10 group=examples ;;
    benchmarks/*) layer=11 group=benchmarks ;;
    tests/*) layer=12 group=tests ;;
    *) layer=0 group=unknown ;;
  esac
}

# Sets $resolved to the file that an include names, as the compiler finds it; empty for a header from outside the
# project.
resolve() {
  local from=$1 target=$2 folder
  for folder in "${from%/*}/" '' client/include/ client/ tests/ tests/unit/; do
    resolved=$folder$target
    if [ -f "$resolved" ]; then
      while [[ $resolved =~ ^(.*/)?[^/.][^/]*/\.\./(.*)$ ]]; do resolved=${BASH_REMATCH[1]}${BASH_REMATCH[2]}; done
      return
    fi
  done
  resolved=
}

is_public() {
  case $1 in
    client/include/*) return 0 ;;
    DbmsAPI/Dbms.h | DbmsAPI/Diagnostics.h | DbmsAPI/Export.h | DbmsAPI/*Types.h) return 0 ;;
    historian/Backfill.h | historian/Error.h | historian/Export.h | historian/Health.h) return 0 ;;
    historian/Recorder.h | historian/Time.h | historian/Trend.h) return 0 ;;
    *) return 1 ;;
  esac
}

# Whether a header is of a library that historian or its program uses.
is_historians() { [[ $1 =~ ^(sqlite3\.h|httplib\.h|zlib\.h|(CLI|date|nlohmann)/.*)$ ]]; }

is_standard_header() { [[ $1 =~ ^[a-z_0-9]+$ ]]; }

# Checks the include of a header from outside the project: FILE:LINE FILE HEADER.
check_foreign() {
  case $2 in
    port/* | historian/command/posix/* | historian/command/windows/* | tests/* | benchmarks/* | examples/*) return 0 ;;
  esac
  if [[ $3 == libpq-fe.h || $3 == libpq-events.h ]]; then
    [[ $2 == client/pq/* ]] || problem "$1: $3 is included outside client/pq"
  elif [[ $2 == historian/* ]] && is_historians "$3"; then
    return 0
  elif [[ $3 == fmt/* ]]; then
    [ "$2" = DbmsAPI/frame/Format.h ] || problem "$1: <$3> is included outside DbmsAPI/frame/Format.h"
  elif ! is_standard_header "$3"; then
    problem "$1: <$3> belongs into port/"
  fi
}

# Checks the include of a header of the project: FILE:LINE FILE INCLUDED.
check_direction() {
  local at=$1 from=$2 to=$3 layer group from_layer from_group to_layer to_group
  place "$from"
  from_layer=$layer from_group=$group
  place "$to"
  to_layer=$layer to_group=$group
  if [ "$from_layer" = 0 ]; then
    problem "$at: $from is in no layer"
  elif [ "$to_layer" = 0 ]; then
    problem "$at: $to is in no layer"
  elif [[ $from == DbmsAPI/* && $to == client/* && $to != client/include/SQLAPI.h && $to != client/include/pgAPI.h ]]; then
    problem "$at: the library knows the client layer by SQLAPI.h and pgAPI.h only, not by $to"
  elif [[ $from_group == interface && $to_group != interface ]]; then
    problem "$at: the interface includes the standard library only, not $to"
  elif [[ $from == historian/* && $to == DbmsAPI/* ]] && ! is_public "$to"; then
    problem "$at: historian knows DbmsAPI by its public headers only, not by $to"
  elif [[ $from == historian/* && $to == client/* ]] && ! is_public "$to"; then
    problem "$at: historian knows the client layer by SQLAPI.h and pgAPI.h only, not by $to"
  elif [[ $from == historian/* && $to == port/@(Debug|InvalidParameter).h ]]; then
    problem "$at: historian does not include $to, whose state is DbmsAPI's"
  elif [[ $from_group == examples && $to_group != examples ]] && ! is_public "$to"; then
    problem "$at: examples use the public headers only, not $to"
  elif [ "$from_layer $from_group" != "$to_layer $to_group" ] && [ "$to_layer" -ge "$from_layer" ]; then
    problem "$at: $from_group does not include $to, which is not below it"
  fi
}

check_includes() {
  local file line kind target resolved
  while IFS=$'\t' read -r file line kind target; do
    resolve "$file" "$target"
    if [ -n "$resolved" ]; then
      check_direction "$file:$line" "$file" "$resolved"
    elif [ "$kind" = '"' ]; then
      problem "$file:$line: \"$target\" is not to be found"
    else
      check_foreign "$file:$line" "$file" "$target"
    fi
  done < <(awk 'match($0, /^[ \t]*#[ \t]*include[ \t]*["<][^">]+/) {
      text = substr($0, RSTART, RLENGTH)
      sub(/^[ \t]*#[ \t]*include[ \t]*/, "", text)
      print FILENAME "\t" FNR "\t" substr(text, 1, 1) "\t" substr(text, 2)
    }' "${sources[@]}")
}

check_platforms() {
  local file
  while IFS= read -r file; do
    [[ $file == port/* || $file == *Export.h ]] || problem "$file: _WIN32 belongs into port/ or an export header"
  done < <(grep -l '_WIN32' "${sources[@]}")
}

check_handlers() {
  local found
  found=$(grep -rnE --include='*.h' --include='*.cpp' 'catch *\((const )?SAException' DbmsAPI || true)
  [ "$(printf '%s' "$found" | grep -c .)" -eq 1 ] ||
    problem "DbmsAPI/ must have exactly one handler of SAException, but has:"$'\n'"$found"
}

check_lengths() {
  local file lines
  while read -r lines file; do
    [ "$file" = total ] || [ "$lines" -le "$most_lines" ] || [[ $may_be_longer == *" $file "* ]] ||
      problem "$file: has $lines lines"
  done < <(wc -l "${sources[@]}")
}

# dbmsapi_add_test and dbmsapi_discover_tests give every test a time limit.
check_time_limits() {
  local found
  found=$(grep -rnE --include=CMakeLists.txt '^ *(add_test|gtest_discover_tests)\(' --exclude-dir=build . |
    grep -v '^./tests/CMakeLists.txt:' || true)
  [ -z "$found" ] || problem "tests without a time limit, use dbmsapi_add_test or dbmsapi_discover_tests:"$'\n'"$found"
}

mapfile -t sources < <(find port client DbmsAPI historian tests benchmarks examples \( -name '*.h' -o -name '*.cpp' \) \
  -type f 2>/dev/null | sort)
[ ${#sources[@]} -gt 0 ] || problem "found no source file"
check_includes
check_platforms
check_handlers
check_lengths
check_time_limits
[ "$problems" -eq 0 ] || exit 1
echo "${#sources[@]} source files are where they belong"
