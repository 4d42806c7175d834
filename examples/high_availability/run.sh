#!/usr/bin/env bash
# Brings up a cluster of three servers, breaks it in turn while clients write, and prints what each fault costs:
#
#   examples/high_availability/run.sh WRITER [FAULT]...
#
# WRITER is the program made of writer.cpp. The faults are crash, switchover, freeze, silence and loss; by default all
# of them. Needs root, and Debian's packages patroni, etcd-server, haproxy and postgresql.
#
# Everything runs in network namespaces and a process namespace of its own, on a private data folder: the script does
# not see or touch anything else on the machine, and leaves nothing when it ends, however it ends.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

say() { printf '%s\n' "$*" >&2; }
die() {
  say "$(basename "$0"): $*"
  exit 1
}

[ $# -ge 1 ] || die "usage: run.sh WRITER [crash|switchover|freeze|silence|loss]..."
[ "$(id -u)" -eq 0 ] || die 'needs root, to make network namespaces'
PATH=$PATH:/usr/sbin:/sbin
postgres_programs=$(dirname "$(printf '%s\n' /usr/lib/postgresql/*/bin/postgres | sort -V | tail -n 1)")
for program in patroni patronictl etcd haproxy ip unshare nsenter setpriv "$postgres_programs/postgres"; do
  command -v "$program" >/dev/null || die "needs $program"
done

# The script runs itself again as the first process of the namespaces, so that everything in them ends with it.
if [ -z "${HA_FOLDER:-}" ]; then
  HA_FOLDER=$(mktemp -d "${TMPDIR:-/tmp}/high-availability.XXXXXX")
  export HA_FOLDER
  inner=
  trap '[ -z "$inner" ] || kill -9 "$inner" 2>/dev/null || true; wait || true; rm -rf "$HA_FOLDER"' EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM HUP
  unshare --net --pid --fork --kill-child --mount-proc -- "$0" "$@" &
  inner=$!
  wait "$inner"
  exit
fi

writer=$(realpath "$1")
shift
faults=("$@")
[ ${#faults[@]} -gt 0 ] || faults=(crash switchover freeze silence loss)
folder=$HA_FOLDER
password=$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')
# shellcheck source=examples/high_availability/cluster.sh
. "$here/cluster.sh"
# shellcheck source=examples/high_availability/faults.sh
. "$here/faults.sh"

# The clients: how they name the servers, and the text of the database.
readonly limits='connect_timeout=2 tcp_user_timeout=3000 keepalives_idle=2 keepalives_interval=1 keepalives_count=3'
readonly longest_fault=120 # seconds; after that the fault is undone in any case
clients=(hosts proxy defaults)
declare -A host=([hosts]=$all_nodes [proxy]=127.0.0.1 [defaults]=$all_nodes)
declare -A port=([hosts]=5432 [proxy]=5000 [defaults]=5432)
declare -A database=(
  [hosts]="dbname=plant target_session_attrs=read-write $limits"
  [proxy]="dbname=plant $limits"
  [defaults]='dbname=plant target_session_attrs=read-write')

# Starts the client. It ends after the next line on its standard input, a named pipe.
start_client() {
  local client=$1 name=$2
  mkfifo "$folder/$name.in"
  (cd "$folder" && exec "$writer" "$name" "${host[$client]}" "${port[$client]}" "${database[$client]}" postgres \
    "$password" <"$folder/$name.in" >"$folder/$name.out" 2>&1) &
  exec {input[$client]}>"$folder/$name.in"
  process[$client]=$!
  wait_until 60 grep -q "^writing$" "$folder/$name.out" || die "$name does not write: $(cat "$folder/$name.out")"
}

# Waits for the client, and adds its line to the table.
finish_client() {
  local client=$1 name=$2 seconds samples records twice error stored
  wait "${process[$client]}" || die "$name did not come to its end: $(cat "$folder/$name.out")"
  read -r seconds samples records twice error <<<"$(tail -n 1 "$folder/$name.out")"
  stored=$(sql "select (select count(*) from datalog where tag_name = '$name') +
    (select count(*) from system_log where user_id = '$name')")
  printf '%-12s %-10s %9s %10s %9s %6s  %.60s\n' "${name%%.*}" "$client" "$seconds" $((samples + records)) "$stored" \
    "$twice" "$error" | tee -a "$folder/table" >&2
  [ "$stored" -eq $((samples + records)) ] && [ "$twice" -eq 0 ] || wrong+=("$name")
}

clients_have_ended() {
  local client
  for client in "${clients[@]}"; do ! kill -0 "${process[$client]}" || return 1; done
}

# The clients end when they have stored something after the fault; a client that waits for the frozen server ends
# when it runs again.
run_fault() {
  local fault=$1 client
  declare -A input process
  say "$fault: $(describe_fault "$fault")"
  for client in "${clients[@]}"; do start_client "$client" "$fault.$client"; done
  "fault_$fault"
  for client in "${clients[@]}"; do
    echo >&"${input[$client]}"
    exec {input[$client]}>&-
  done
  wait_until "$longest_fault" clients_have_ended || say "the node is mended after $longest_fault s"
  heal
  for client in "${clients[@]}"; do finish_client "$client" "$fault.$client"; done
  wait_until 180 is_complete || die "the cluster does not recover from $fault: $(cluster_state)"
}

wrong=()
start_cluster
for fault in "${faults[@]}"; do run_fault "$fault"; done
printf '%-12s %-10s %9s %10s %9s %6s  %s\n' fault client seconds confirmed stored twice 'last error'
cat "$folder/table"
[ ${#wrong[@]} -eq 0 ] || die "not stored as confirmed, or twice: ${wrong[*]}"
echo 'everything confirmed is stored, and nothing twice'
