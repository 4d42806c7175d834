#!/usr/bin/env bash
# Checks the exported symbols of the shared libraries, and the names by which programs load them:
#
#   exported_symbols.sh LIBDBMSAPI LIBSQLAPI [LIBHISTORIAN] OBJDUMP
#
# For Windows, OBJDUMP is that of the cross compiler.
set -euo pipefail
objdump=${*: -1}
historian_library=
[ $# -lt 4 ] || historian_library=$3

# Exported symbols of a DLL, one per line.
exported_by_dll() {
  "$objdump" --private-headers "$1" |
    awk '/^\[Ordinal\/Name Pointer\] Table/ { table = 1; next } table && /\[/ { print $NF } NF == 0 { table = 0 }' |
    c++filt | sort -u
}

# Exported symbols, one per line, without templates of the standard library, which are weak.
exported() {
  if [[ $1 == *.dll ]]; then
    exported_by_dll "$1"
    return
  fi
  nm --dynamic --defined-only --demangle "$1" | sed -E 's/^[0-9a-f]+ //' | grep -vE '^[WVu] .*std::' |
    sed -E 's/^[A-Za-z] //' | sort -u
}

# The symbols of the list that match none of the patterns.
stray() {
  grep -vE "^($2)" <<<"$1" || true
}

library=$(exported "$1")
client=$(exported "$2")
historian=
[ -z "$historian_library" ] || historian=$(exported "$historian_library")

found=$(
  stray "$library" 'Dbms::|(vtable|typeinfo|typeinfo name) for Dbms$|SetDbmsDebugSink\(|SetDbmsInvalidParameterHandler\(|LastSqlState\[abi:cxx11\]\('
  stray "$client" '(operator==\()?SA[A-Z][A-Za-z]+|sa(API|ConnectionHandles)::|pg(API|ConnectionHandles)::|ErrorText\[abi:cxx11\]\(|(vtable|typeinfo|typeinfo name) for (SA|sa|pg)[A-Za-z]+'
  [ -z "$historian" ] || stray "$historian" 'historian::(Backfill|CheckHealth|Read[A-Z][A-Za-z]+)(\[abi:cxx11\])?\(|historian::(Error|HealthReport|Recorder)::|(vtable|typeinfo|typeinfo name) for historian::Error$'
)
if [ -n "$found" ]; then
  printf 'exported without need:\n%s\n' "$found"
  exit 1
fi

for name in 'Dbms::GetDbms(DbmsType, wchar_t const*, int, wchar_t const*, wchar_t const*, wchar_t const*)' \
  'Dbms::BroadcastRoleChange()' 'Dbms::NotifyRoleChange()' 'Dbms::GetConnection()' 'Dbms::GetLastError()' \
  'Dbms::Dbms(wchar_t const*, int, wchar_t const*, wchar_t const*, wchar_t const*)' 'Dbms::Dbms(Dbms const&)' \
  'Dbms::operator=(Dbms const&)' 'Dbms::~Dbms()' 'vtable for Dbms' 'LastSqlState[abi:cxx11](Dbms const&)'; do
  grep -qxF "$name" <<<"$library" || {
    echo "not exported: $name"
    exit 1
  }
done

expect_dll_name() {
  "$objdump" --private-headers "$1" | grep -E "^Name[[:space:]]+[0-9a-f]+ $2\$" >/dev/null || {
    echo "$1 is not called $2"
    exit 1
  }
}

if [[ $1 == *.dll ]]; then
  expect_dll_name "$1" DbmsAPI.dll
  expect_dll_name "$2" sqlapi.dll
  [ -z "$historian" ] || expect_dll_name "$historian_library" historian.dll
  echo 'the DLLs export their interface and nothing else'
  exit
fi

expect_soname() {
  local soname
  soname=$(readelf --dynamic "$1" | grep SONAME)
  grep -qE "$2\.so\.[0-9]+" <<<"$soname" || {
    echo "no versioned soname: $soname"
    exit 1
  }
}
expect_soname "$1" libDbmsAPI
[ -z "$historian" ] || expect_soname "$historian_library" libhistorian
echo "the libraries export their interface and nothing else"
