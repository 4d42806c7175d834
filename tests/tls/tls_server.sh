#!/usr/bin/env bash
# Runs a command with a private server that offers TLS:
#
#   tls_server.sh BUILD_DIRECTORY COMMAND [ARGUMENT]...
#
# The command finds the server in DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD, and certificates in DBMSAPI_TLS:
#
#   authority.crt    the authority that has signed the server's
#   other.crt        another authority
#   right, name, expired (.crt and .key)   for localhost, for another name, and for localhost but expired
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools=$here/../../tools
# shellcheck source=tools/lib/server.sh
. "$tools/lib/server.sh"

[ $# -ge 2 ] || die "usage: tls_server.sh BUILD_DIRECTORY COMMAND [ARGUMENT]..."
build=$1
shift

# authority NAME: makes NAME.crt and NAME.key.
authority() {
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj "/CN=$1 of a test" \
    -keyout "$tls/$1.key" -out "$tls/$1.crt" 2>>"$tls/log"
}

# certificate NAME HOST DAYS: makes NAME.crt and NAME.key for the host, signed by the authority.
certificate() {
  openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj "/CN=$2" -keyout "$tls/$1.key" \
    -out "$tls/$1.csr" 2>>"$tls/log"
  openssl x509 -req -in "$tls/$1.csr" -CA "$tls/authority.crt" -CAkey "$tls/authority.key" -CAcreateserial -days "$3" \
    -extfile <(echo "subjectAltName=DNS:$2") -out "$tls/$1.crt" 2>>"$tls/log"
}

server_start "$build" fsync=off full_page_writes=off
tls=$server_folder/tls
mkdir "$tls"
{
  authority authority
  authority other
  certificate right localhost 2
  certificate name elsewhere 2
  certificate expired localhost -1
} || die "openssl failed: $(cat "$tls/log")"
chmod 600 "$tls"/*.key
chown -R "$(server_owner)" "$tls"

server_export
export DBMSAPI_TLS=$tls
run_to_the_end "$@"
