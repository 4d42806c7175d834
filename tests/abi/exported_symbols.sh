#!/usr/bin/env bash
# Checks what the shared libraries export: exported_symbols.sh LIBDBMSAPI LIBSQLAPI
set -euo pipefail

# Exported symbols that belong to neither of the names given; weak ones of the standard library's templates aside.
foreign() {
  nm --dynamic --defined-only --demangle "$1" | awk '$2 != "W" && $2 != "V" && $2 != "u" { $1 = ""; $2 = ""; print }' |
    grep -vE "$2" || true
}

# Operations by number and their shape are told apart by the other test; here only names count.
stray=$(foreign "$1" '^ *(Dbms::|vtable for Dbms|typeinfo (name )?for Dbms|SetDbmsDebugSink|SetDbmsInvalidParameterHandler)')
stray+=$(foreign "$2" '^ *(SA[A-Z][A-Za-z]+::|sa(API|ConnectionHandles)::|pg(API|ConnectionHandles)::|(vtable|typeinfo|typeinfo name) for (SA|sa|pg)[A-Za-z]+)')
if [ -n "$stray" ]; then
  echo "exported without need:"
  echo "$stray"
  exit 1
fi

for name in 'Dbms::GetDbms(' 'Dbms::BroadcastRoleChange()' 'Dbms::NotifyRoleChange()' 'Dbms::GetConnection()' \
  'Dbms::GetLastError()' 'Dbms::Dbms(Dbms const&)' 'Dbms::operator=(Dbms const&)' 'Dbms::~Dbms()' \
  'Dbms::Dbms(wchar_t const*, int, wchar_t const*, wchar_t const*, wchar_t const*)' 'vtable for Dbms'; do
  nm --dynamic --defined-only --demangle "$1" | grep -qF "$name" || {
    echo "not exported: $name"
    exit 1
  }
done
readelf -d "$1" | grep -qE 'SONAME.*libDbmsAPI\.so\.[0-9]+' || {
  echo "no versioned soname"
  exit 1
}
echo "the libraries export their interface and nothing else"
