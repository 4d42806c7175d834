# shellcheck shell=bash
# The cluster of run.sh: three nodes with PostgreSQL and Patroni, each in a network namespace of its own, joined by
# the namespace of the script, in which etcd, HAProxy and the clients run.

readonly nodes=(1 2 3) nobody=02:00:00:00:00:99
readonly all_nodes=10.77.1.2,10.77.2.2,10.77.3.2
declare -A holder # of each node's namespace

# wait_until SECONDS COMMAND...: false when it does not succeed in that time.
wait_until() {
  local end=$((SECONDS + $1))
  shift
  until "$@" 2>/dev/null; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.2
  done
}

as_owner() { setpriv --reuid postgres --regid postgres --init-groups -- "$@"; }
at_node() {
  local node=$1
  shift
  nsenter --net="/proc/${holder[$node]}/ns/net" -- "$@"
}

other_network() { [ "$(readlink "/proc/$1/ns/net")" != "$(readlink /proc/self/ns/net)" ]; }

make_network() {
  local node
  ip link set lo up
  ip address add 10.77.0.1/32 dev lo
  echo 1 >/proc/sys/net/ipv4/ip_forward
  for node in "${nodes[@]}"; do
    unshare --net sleep infinity &
    holder[$node]=$!
    wait_until 30 other_network "${holder[$node]}" || die 'a namespace was not made'
    ip link add "node$node" type veth peer name hub netns "${holder[$node]}"
    ip address add "10.77.$node.1/24" dev "node$node"
    ip link set "node$node" up
    at_node "$node" ip link set lo up
    at_node "$node" ip address add "10.77.$node.2/24" dev hub
    at_node "$node" ip link set hub up
    at_node "$node" ip route add default via "10.77.$node.1"
  done
}

# Packets to and from a node go to a hardware address that no station has.
cut_off() {
  ip neighbour replace "10.77.$1.2" lladdr "$nobody" nud permanent dev "node$1"
  at_node "$1" ip neighbour replace "10.77.$1.1" lladdr "$nobody" nud permanent dev hub
}
join_again() {
  ip neighbour flush dev "node$1" nud permanent
  at_node "$1" ip neighbour flush dev hub nud permanent
}

patroni_configuration() {
  local address=10.77.$1.2
  cat <<YML
scope: plant
name: node$1
restapi: {listen: '$address:8008', connect_address: '$address:8008'}
etcd: {host: '10.77.0.1:2379'}
bootstrap:
  dcs:
    synchronous_mode: true
    postgresql: {use_pg_rewind: true, use_slots: true}
  initdb: [encoding: UTF8, locale: C.UTF-8, no-sync]
postgresql:
  listen: '$address:5432'
  connect_address: '$address:5432'
  data_dir: $folder/node$1/data
  bin_dir: $postgres_programs
  pgpass: $folder/node$1/pgpass
  authentication:
    superuser: {username: postgres, password: $password}
    replication: {username: replicator, password: $password}
  pg_hba: ['host replication replicator 10.77.0.0/16 scram-sha-256', 'host all all 10.77.0.0/16 scram-sha-256']
  parameters: {unix_socket_directories: '', fsync: 'off', shared_buffers: 32MB, max_connections: 50}
YML
}

start_patroni() {
  at_node "$1" setpriv --reuid postgres --regid postgres --init-groups -- patroni "$folder/node$1/patroni.yml" \
    >>"$folder/node$1/patroni.log" 2>&1 &
}

configure_haproxy() {
  local node
  cat <<CFG
defaults
  mode tcp
  timeout connect 3s
  timeout client 1h
  timeout server 1h
  timeout check 2s
listen primary
  bind 127.0.0.1:5000
  option httpchk OPTIONS /primary
  http-check expect status 200
  default-server inter 1s fall 3 rise 2 on-marked-down shutdown-sessions
CFG
  for node in "${nodes[@]}"; do echo "  server node$node 10.77.$node.2:5432 check port 8008"; done
}

# Whichever node is the primary answers.
sql() {
  PGPASSWORD=$password PGCONNECT_TIMEOUT=2 "$postgres_programs/psql" --no-psqlrc --tuples-only --no-align --quiet \
    "host=$all_nodes dbname=${2:-plant} user=postgres target_session_attrs=read-write" --command "$1"
}

primary() { sql 'select split_part(host(inet_server_addr()), $$.$$, 3)' postgres; }
is_complete() {
  [ "$(sql "select count(*) = 2 and bool_or(sync_state = 'sync') from pg_stat_replication where state = 'streaming'" \
    postgres)" = t ]
}
# The ends of the logs, and which processes of the servers are left: their titles say what they do.
cluster_state() {
  tail -n 20 "$folder"/*.log "$folder"/node*/patroni.log
  ps -C postgres -o pid,ppid,stat,etimes,wchan:20,args
}

start_cluster() {
  local node
  say 'starting etcd, three nodes and HAProxy'
  chmod 755 "$folder"
  make_network
  install -d -o postgres -m 700 "$folder/etcd" "$folder"/node{1,2,3}
  as_owner etcd --data-dir "$folder/etcd" --enable-v2=true --listen-client-urls http://10.77.0.1:2379 \
    --advertise-client-urls http://10.77.0.1:2379 >"$folder/etcd.log" 2>&1 &
  for node in "${nodes[@]}"; do
    patroni_configuration "$node" >"$folder/node$node/patroni.yml"
    start_patroni "$node"
  done
  configure_haproxy >"$folder/haproxy.cfg"
  as_owner haproxy -f "$folder/haproxy.cfg" >"$folder/haproxy.log" 2>&1 &
  wait_until 180 is_complete || die "the cluster does not start: $(cluster_state)"
  sql 'create database plant' postgres
}
