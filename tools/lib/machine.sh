# shellcheck shell=bash
# Describes the machine of a measurement. Needs server.sh.

machine_processor() { awk -F': *' '/^model name/ { print $2; exit }' /proc/cpuinfo; }

machine_memory() { awk '/^MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo; }

machine_system() { (. /etc/os-release && printf '%s, Linux %s' "$PRETTY_NAME" "$(uname -r)"); }

machine_load() { cut -d' ' -f1-3 /proc/loadavg; }

# describe_machine: one line per property.
describe_machine() {
  printf 'processor   %s, %s cores\n' "$(machine_processor)" "$(nproc)"
  printf 'memory      %s\n' "$(machine_memory)"
  printf 'system      %s\n' "$(machine_system)"
  printf 'compiler    %s\n' "$(c++ --version | head -n 1)"
  printf 'server      %s\n' "$("$(server_programs)/postgres" --version)"
  printf 'libpq       %s\n' "$(pkg-config --modversion libpq)"
  printf 'load        %s (1, 5, 15 minutes, before the first figure)\n' "$(machine_load)"
}
