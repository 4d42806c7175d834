# shellcheck shell=bash
# What run.sh does to the primary of the cluster, and how it undoes it.

describe_fault() {
  case $1 in
    crash) echo 'kill -9 of all processes of the primary server; Patroni goes on' ;;
    switchover) echo 'another node becomes the primary as planned' ;;
    freeze) echo 'SIGSTOP for all processes of the node of the primary' ;;
    silence) echo 'all packets to and from the node of the primary are lost' ;;
    loss) echo 'the node of the primary loses power: no process, no packets' ;;
  esac
}

# The processes in the network namespace of a node, except the one that keeps the namespace.
node_processes() {
  local process
  for process in /proc/[0-9]*; do
    [ "$(readlink "$process/ns/net" 2>/dev/null)" = "$(readlink "/proc/${holder[$1]}/ns/net")" ] || continue
    [ "${process#/proc/}" = "${holder[$1]}" ] || echo "${process#/proc/}"
  done
}
server_processes() {
  local process
  for process in $(node_processes "$1"); do
    [ "$(cat "/proc/$process/comm" 2>/dev/null)" != postgres ] || echo "$process"
  done
}

broken=
has_primary() { broken=$(primary); }
choose_primary() { wait_until 60 has_primary || die "there is no primary: $(cluster_state)"; }

# shellcheck disable=SC2046
fault_crash() {
  choose_primary
  kill -9 $(server_processes "$broken")
}
fault_switchover() {
  choose_primary
  at_node "$broken" patronictl -c "$folder/node$broken/patroni.yml" switchover --leader "node$broken" --force plant \
    >"$folder/switchover.log" 2>&1 || die "no switchover: $(cat "$folder/switchover.log")"
}
# shellcheck disable=SC2046
fault_freeze() {
  choose_primary
  kill -STOP $(node_processes "$broken")
}
fault_silence() {
  choose_primary
  cut_off "$broken"
}
# shellcheck disable=SC2046
fault_loss() {
  choose_primary
  cut_off "$broken"
  kill -9 $(node_processes "$broken")
}

# shellcheck disable=SC2046
heal() {
  join_again "$broken"
  if [ -n "$(node_processes "$broken")" ]; then
    kill -CONT $(node_processes "$broken")
  else
    start_patroni "$broken"
  fi
}
