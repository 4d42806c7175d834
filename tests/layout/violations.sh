#!/usr/bin/env bash
# Adds violations to a small valid tree, one at a time, and expects the check to report each: violations.sh
# CHECK_INCLUDES
set -euo pipefail
check=$1
# shellcheck source=tests/check.sh
. "$(dirname "$0")/../check.sh"
tree=$work/tree

mkdir -p "$tree"/{port/posix,client/include,client/pq,DbmsAPI/{frame,history,reports,records,config},tests,examples/demo,historian/command/posix}
write() { printf '%s\n' "${@:2}" >"$tree/$1"; }
write port/Utf8.h '#include <string>'
write port/posix/Utf8.cpp '#include "../Utf8.h"' '#include <utf8.h>' '#ifdef _WIN32' '#endif'
write client/include/SQLAPI.h '#include <string>'
write client/include/SQLAPIExport.h '#ifdef _WIN32' '#endif'
write client/pq/Session.h '#include <libpq-fe.h>' '#include "port/Utf8.h"'
write client/SAString.cpp '#include "SQLAPI.h"' '#include "pq/Session.h"'
write DbmsAPI/Dbms.h '#include <vector>'
write DbmsAPI/TirelScada.h '#include "Dbms.h"'
write DbmsAPI/frame/Operation.h '#include <SQLAPI.h>' '#include "../TirelScada.h"' '} catch (const SAException& error) {'
write DbmsAPI/frame/Format.h '#include <fmt/xchar.h>'
write DbmsAPI/history/Alarm.cpp '#include "../frame/Operation.h"' '#include "port/Utf8.h"'
write DbmsAPI/reports/Report.h '#include <map>'
write historian/Recorder.h '#include "DbmsAPI/Dbms.h"'
write historian/Spool.cpp '#include "historian/Recorder.h"' '#include <SQLAPI.h>' '#include <sqlite3.h>' '#include "port/Utf8.h"'
write historian/command/main.cpp '#include "historian/Recorder.h"' '#include <CLI/CLI.hpp>'
write historian/command/posix/Console.cpp '#include <unistd.h>'
write port/Debug.h '#include <string>'
write historian/Spool.h '#include <string>'
write historian/command/Table.h '#include <string>'
write examples/demo/main.cpp '#include <DbmsAPI/Dbms.h>' '#include <SQLAPI.h>' '#include <unistd.h>'
write tests/All_test.cpp '#include "DbmsAPI/frame/Operation.h"' '#include <libpq-fe.h>'

# expect FILE LINE MESSAGE: with the line added to the file, the check fails with the message.
expect() {
  local said status=0 kept=$work/kept
  rm -f "$kept"
  mkdir -p "$(dirname "$tree/$1")"
  [ ! -f "$tree/$1" ] || cp "$tree/$1" "$kept"
  printf '%s\n' "$2" >>"$tree/$1"
  said=$("$check" "$tree") || status=$?
  [ "$status" -eq 1 ] || fail "$1 with '$2': status $status"
  [[ $said == *"$3"* ]] || fail "$1 with '$2': expected '$3', said '$said'"
  if [ -f "$kept" ]; then mv "$kept" "$tree/$1"; else rm "$tree/$1"; fi
}

"$check" "$tree" >/dev/null || fail "the valid tree does not pass: $("$check" "$tree")"

expect port/Utf8.h '#include "client/include/SQLAPI.h"' 'port/Utf8.h:2: port does not include client/include/SQLAPI.h'
expect client/SAString.cpp '#include "DbmsAPI/Dbms.h"' 'client does not include DbmsAPI/Dbms.h'
expect client/include/SQLAPI.h '#include "pq/Session.h"' 'client does not include client/pq/Session.h'
expect client/SAString.cpp '#include <libpq-fe.h>' 'libpq-fe.h is included outside client/pq'
expect DbmsAPI/frame/Operation.h '#include <libpq-fe.h>' 'libpq-fe.h is included outside client/pq'
expect client/SAString.cpp '#include <unistd.h>' '<unistd.h> belongs into port/'
expect DbmsAPI/Dbms.h '#include "port/Utf8.h"' 'the interface includes the standard library only, not port/Utf8.h'
expect DbmsAPI/Dbms.h '#include <SQLAPI.h>' 'the interface includes the standard library only'
expect DbmsAPI/TirelScada.h '#include "frame/Operation.h"' 'implementation does not include DbmsAPI/frame/Operation.h'
expect DbmsAPI/frame/Operation.h '#include "../reports/Report.h"' 'frame does not include DbmsAPI/reports/Report.h'
expect DbmsAPI/history/Alarm.cpp '#include "../reports/Report.h"' 'history does not include DbmsAPI/reports/Report.h'
expect DbmsAPI/history/Alarm.cpp '#  include	"../reports/Report.h"' 'history does not include DbmsAPI/reports/Report.h'
expect DbmsAPI/history/Alarm.cpp '#include "client/pq/Session.h"' 'by SQLAPI.h and pgAPI.h only'
expect DbmsAPI/history/Alarm.cpp '#include "Missing.h"' '"Missing.h" is not to be found'
expect DbmsAPI/alarms/Alarm.cpp '#include "../Dbms.h"' 'DbmsAPI/alarms/Alarm.cpp is in no layer'
expect DbmsAPI/history/Alarm.cpp '#ifdef _WIN32' 'DbmsAPI/history/Alarm.cpp: _WIN32 belongs into port/'
expect DbmsAPI/history/Alarm.cpp '} catch (const SAException& e) {' 'one handler of SAException'
expect DbmsAPI/history/Alarm.cpp "$(printf '//\n%.0s' {1..300})" 'DbmsAPI/history/Alarm.cpp: has 302 lines'
expect tests/unit/CMakeLists.txt 'add_test(NAME a COMMAND b)' './tests/unit/CMakeLists.txt:1:add_test(NAME a COMMAND b)'
expect tests/unit/CMakeLists.txt 'gtest_discover_tests(a)' 'tests without a time limit'
expect examples/demo/main.cpp '#include "port/Utf8.h"' 'examples use the public headers only, not port/Utf8.h'
expect examples/demo/main.cpp '#include <DbmsAPI/TirelScada.h>' 'examples use the public headers only'
expect examples/demo/main.cpp '#include "DbmsAPI/frame/Operation.h"' 'examples use the public headers only'
expect historian/Spool.cpp '#include "DbmsAPI/frame/Operation.h"' 'by its public headers only, not by DbmsAPI/frame/Operation.h'
expect historian/Recorder.h '#include "DbmsAPI/TirelScada.h"' 'by its public headers only, not by DbmsAPI/TirelScada.h'
expect historian/Spool.cpp '#include "client/pq/Session.h"' 'by SQLAPI.h and pgAPI.h only, not by client/pq/Session.h'
expect historian/Spool.cpp '#include "port/Debug.h"' 'historian does not include port/Debug.h'
expect historian/Spool.cpp '#include <libpq-fe.h>' 'libpq-fe.h is included outside client/pq'
expect historian/Spool.cpp '#include <unistd.h>' '<unistd.h> belongs into port/'
expect historian/Spool.cpp '#include "command/Table.h"' 'historian does not include historian/command/Table.h'
expect DbmsAPI/frame/Operation.h '#include "historian/Recorder.h"' 'frame does not include historian/Recorder.h'
expect DbmsAPI/frame/Operation.h '#include <fmt/xchar.h>' '<fmt/xchar.h> is included outside DbmsAPI/frame/Format.h'
expect historian/command/main.cpp '#include <unistd.h>' '<unistd.h> belongs into port/'
expect DbmsAPI/frame/Operation.h '#include <sqlite3.h>' '<sqlite3.h> belongs into port/'
expect examples/demo/main.cpp '#include "historian/Spool.h"' 'examples use the public headers only, not historian/Spool.h'
expect port/Utf8.h '#include "tests/Fixture.h"' '"tests/Fixture.h" is not to be found'

write DbmsAPI/frame/Operation.h '#include <SQLAPI.h>'
"$check" "$tree" >/dev/null && fail 'no handler at all passes'

finish 'the check finds each violation'
