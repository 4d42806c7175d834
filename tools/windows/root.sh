#!/usr/bin/env bash
# Gathers what the library builds on for Windows, for tests only: root.sh FOLDER
#
# FOLDER gets include/ (libpq, {fmt}), lib/ (libpq's import library) and bin/ (libpq and what it loads). libpq comes out of
# a package that carries PostgreSQL's programs for Windows. The package states no licence for these files: they stay
# below build/ and are not handed on. A site builds against the libpq that it has.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/say.sh
. "$here/../lib/say.sh"

package=@embedded-postgres/windows-x64@15.18.0-beta.17
archive=embedded-postgres-windows-x64-15.18.0-beta.17.tgz
sha256=f97238cf4ff03182da7cb4294f694ebf219eac851a6635820549a41d6e8d0be7
libraries=(libpq.dll libssl-3-x64.dll libcrypto-3-x64.dll libintl-9.dll libiconv-2.dll)
readonly package archive sha256 libraries

[ $# -eq 1 ] || die "usage: root.sh FOLDER"
folder=$1
[ ! -f "$folder/complete" ] || [ "$(cat "$folder/complete")" != "$sha256" ] || exit 0

rm -rf "$folder"
mkdir -p "$folder"/{download,include,lib,bin}
cd "$folder"

say "fetching libpq for Windows, for tests only"
(cd download && run_quietly npm.log npm pack --silent "$package")
echo "$sha256  download/$archive" | sha256sum --check --quiet || die "$package is not what it was"
tar -xzf "download/$archive" -C bin --strip-components=3 "${libraries[@]/#/package/native/bin/}"
rm -r download

# The headers of Debian's libpq-dev fit, but for the name of a 64-bit integer.
postgresql=$(pg_config --includedir)
cp "$postgresql/libpq-fe.h" "$postgresql/postgres_ext.h" include
sed 's/^#define PG_INT64_TYPE .*/#define PG_INT64_TYPE long long int/' "$postgresql/pg_config_ext.h" >include/pg_config_ext.h
grep -q '^#define PG_INT64_TYPE long long int' include/pg_config_ext.h || die 'pg_config_ext.h is not what it was'
cp -r /usr/include/fmt include

(cd lib && run_quietly gendef.log gendef ../bin/libpq.dll)
x86_64-w64-mingw32-dlltool -d lib/libpq.def -D libpq.dll -l lib/libpq.dll.a -m i386:x86-64
echo "$sha256" >complete
