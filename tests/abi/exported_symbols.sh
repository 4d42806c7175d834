#!/usr/bin/env bash
# Checks what the shared libraries export: exported_symbols.sh LIBDBMSAPI LIBSQLAPI
set -euo pipefail

# Exported symbols, one a line; templates of the standard library, which are weak, aside.
exported() {
  nm --dynamic --defined-only --demangle "$1" | sed -E 's/^[0-9a-f]+ //' | grep -vE '^[WVu] .*std::' |
    sed -E 's/^[A-Za-z] //' | sort -u
}

# What is in the list and of none of the names given.
stray() {
  grep -vE "^($2)" <<<"$1" || true
}

library=$(exported "$1")
client=$(exported "$2")

found=$(
  stray "$library" 'Dbms::|(vtable|typeinfo|typeinfo name) for Dbms$|SetDbmsDebugSink\(|SetDbmsInvalidParameterHandler\('
  stray "$client" '(operator==\()?SA[A-Z][A-Za-z]+|sa(API|ConnectionHandles)::|pg(API|ConnectionHandles)::|(vtable|typeinfo|typeinfo name) for (SA|sa|pg)[A-Za-z]+'
)
if [ -n "$found" ]; then
  printf 'exported without need:\n%s\n' "$found"
  exit 1
fi

for name in 'Dbms::GetDbms(DbmsType, wchar_t const*, int, wchar_t const*, wchar_t const*, wchar_t const*)' \
  'Dbms::BroadcastRoleChange()' 'Dbms::NotifyRoleChange()' 'Dbms::GetConnection()' 'Dbms::GetLastError()' \
  'Dbms::Dbms(wchar_t const*, int, wchar_t const*, wchar_t const*, wchar_t const*)' 'Dbms::Dbms(Dbms const&)' \
  'Dbms::operator=(Dbms const&)' 'Dbms::~Dbms()' 'vtable for Dbms'; do
  grep -qxF "$name" <<<"$library" || {
    echo "not exported: $name"
    exit 1
  }
done

soname=$(readelf --dynamic "$1" | grep SONAME)
grep -qE 'libDbmsAPI\.so\.[0-9]+' <<<"$soname" || {
  echo "no versioned soname: $soname"
  exit 1
}
echo "the libraries export their interface and nothing else"
