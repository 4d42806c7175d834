#!/usr/bin/env bash
# Collects the libraries that the project needs for Windows, for tests only: root.sh FOLDER
#
# FOLDER gets include/ (libpq, SQLite, and the header-only libraries that Debian packages), lib/ (libpq's import library,
# SQLite) and bin/ (libpq and the libraries that it loads). libpq comes from a package that carries PostgreSQL's programs
# for Windows; a site builds against the libpq that it has. SQLite is built from the one source file that its authors
# publish, which is in the public domain, as another package carries it.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/say.sh
. "$here/../lib/say.sh"
# shellcheck source=tools/lib/fetch.sh
. "$here/../lib/fetch.sh"

package=@embedded-postgres/windows-x64@15.18.0-beta.17
sha256=f97238cf4ff03182da7cb4294f694ebf219eac851a6635820549a41d6e8d0be7
libraries=(libpq.dll libssl-3-x64.dll libcrypto-3-x64.dll libintl-9.dll libiconv-2.dll)
sqlite_package=better-sqlite3@12.4.1
sqlite_sha256=14398acbf00d1e8fe0a2753df7d4f15c13138e4b874f4e6e96791f65b4536d0d

[ $# -eq 1 ] || die "usage: root.sh FOLDER"
folder=$(mkdir -p "$1" && cd "$1" && pwd)
header_only=(fmt CLI date nlohmann)
stamp="$sha256 $sqlite_sha256 ${header_only[*]}"
[ ! -f "$folder/complete" ] || [ "$(cat "$folder/complete")" != "$stamp" ] || exit 0

rm -rf "$folder"
mkdir -p "$folder"/{include,lib,bin}
cd "$folder"
fetch_package package "$package" "$sha256" "libpq for Windows"
(cd package/native/bin && cp "${libraries[@]}" "$folder/bin")
fetch_package sqlite "$sqlite_package" "$sqlite_sha256" "SQLite's source"
cp sqlite/deps/sqlite3/sqlite3.h include

# The headers of Debian's libpq-dev fit, except for the name of a 64-bit integer.
postgresql=$(pg_config --includedir)
cp "$postgresql"/{libpq-fe,libpq-events,postgres_ext}.h include
sed 's/^#define PG_INT64_TYPE .*/#define PG_INT64_TYPE long long int/' "$postgresql/pg_config_ext.h" >include/pg_config_ext.h
grep -q '^#define PG_INT64_TYPE long long int' include/pg_config_ext.h || die 'pg_config_ext.h is not what it was'
cp -r "${header_only[@]/#//usr/include/}" include

(cd lib && run_quietly gendef.log gendef ../bin/libpq.dll)
x86_64-w64-mingw32-dlltool -d lib/libpq.def -D libpq.dll -l lib/libpq.dll.a -m i386:x86-64

x86_64-w64-mingw32-gcc-posix -O2 -DSQLITE_DQS=0 -DSQLITE_OMIT_LOAD_EXTENSION -c sqlite/deps/sqlite3/sqlite3.c \
  -o sqlite3.o
x86_64-w64-mingw32-ar rcs lib/libsqlite3.a sqlite3.o
rm -r package sqlite sqlite3.o
echo "$stamp" >complete
