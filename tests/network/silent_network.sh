#!/usr/bin/env bash
# Runs a command with a private server, each in a network namespace of its own. The command may silence the network
# between them: packets are lost in both directions, and no side is notified.
#
#   silent_network.sh BUILD_DIRECTORY COMMAND [ARGUMENT]...
#
# The command finds the server in DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD, and shell commands in
# DBMSAPI_SILENCE_NETWORK and DBMSAPI_RESTORE_NETWORK. Needs root.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tools=$here/../../tools
# shellcheck source=tools/lib/server.sh
. "$tools/lib/server.sh"

[ $# -ge 2 ] || die "usage: silent_network.sh BUILD_DIRECTORY COMMAND [ARGUMENT]..."
# The rest of this script runs in the namespace of the server.
[ -n "${DBMSAPI_OWN_NETWORK:-}" ] || exec env DBMSAPI_OWN_NETWORK=yes unshare --net -- "$0" "$@"
build=$1
shift

# Addresses that are reserved for documentation, and a hardware address that no station has.
readonly server_address=192.0.2.1 client_address=192.0.2.2 nobody=02:00:00:00:00:99
client=

stop_all() {
  [ -z "$client" ] || kill "$client" 2>/dev/null || true
  server_stop
}

ip link add server type veth peer name client
ip address add "$server_address/24" dev server
ip link set lo up
ip link set server up
SERVER_HOST=$server_address
server_start "$build" fsync=off
trap stop_all EXIT
echo "host all all $client_address/32 scram-sha-256" >>"$server_folder/data/pg_hba.conf"
server_as_owner "$(server_programs)/pg_ctl" --pgdata "$server_folder/data" --silent reload

unshare --net sleep infinity &
client=$!
for ((try = 0; ; ++try)); do
  [ "$(readlink "/proc/$client/ns/net")" = "$(readlink /proc/self/ns/net)" ] || break
  [ "$try" -lt 600 ] || die 'a namespace was not made'
  sleep 0.05
done
at_client=(nsenter --net="/proc/$client/ns/net")
at_server=(nsenter --net="/proc/$$/ns/net")
ip link set client netns "$client"
"${at_client[@]}" ip address add "$client_address/24" dev client
"${at_client[@]}" ip link set lo up
"${at_client[@]}" ip link set client up

lose_to_client="ip neighbour replace $client_address lladdr $nobody nud permanent dev server"
lose_to_server="ip neighbour replace $server_address lladdr $nobody nud permanent dev client"
export DBMSAPI_SILENCE_NETWORK="$lose_to_server && ${at_server[*]} $lose_to_client"
export DBMSAPI_RESTORE_NETWORK="ip neighbour flush dev client nud permanent && \
  ${at_server[*]} ip neighbour flush dev server nud permanent"
server_export
run_to_the_end "${at_client[@]}" "$@"
