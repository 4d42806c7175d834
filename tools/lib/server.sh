# shellcheck shell=bash
# A private PostgreSQL for as long as a script runs, with a fresh data folder, a free loopback port and a random
# password. The system's clusters are not used. Also loads say.sh and run.sh.
#
#   server_start FOLDER [NAME=VALUE]...   starts a server below FOLDER, with settings
#   server_export                         exports where it is in DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD
#   server_stop                           stops it and removes its files; called automatically when the script ends
#
# Sets SERVER_HOST, SERVER_PORT, SERVER_USER and SERVER_PASSWORD; the user is a superuser. If the user that
# the server runs as cannot reach the folder, one below the system's temporary folder is used. With fsync=off the server
# keeps its files in memory, in DBMSAPI_SERVER_MEMORY (/dev/shm; none if empty), if there is room.

server_library=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=tools/lib/say.sh
. "$server_library/say.sh"
# shellcheck source=tools/lib/run.sh
. "$server_library/run.sh"
# shellcheck source=tools/lib/passwords.sh
. "$server_library/passwords.sh"

SERVER_HOST=127.0.0.1
SERVER_PORT=
SERVER_USER=dbmsapi
SERVER_PASSWORD=
server_folder=
readonly server_memory=${DBMSAPI_SERVER_MEMORY-/dev/shm}

# The folder of the server's programs: DBMSAPI_PG_BINDIR, else the newest that is installed.
server_programs() {
  local newest
  if [ -n "${DBMSAPI_PG_BINDIR:-}" ]; then
    printf '%s' "$DBMSAPI_PG_BINDIR"
    return
  fi
  newest=$(printf '%s\n' /usr/lib/postgresql/*/bin/postgres | sort -V | tail -n 1)
  if [ -x "$newest" ]; then
    dirname "$newest"
  elif command -v pg_config >/dev/null; then
    pg_config --bindir
  fi
}

# The user that the server runs as. It refuses to run as root, so the package's user postgres is used then.
server_owner() {
  if [ "$(id -u)" -eq 0 ]; then echo postgres; else id -un; fi
}

# Runs a command as that user, from a folder that every user may enter.
server_as_owner() {
  if [ "$(id -u)" -eq 0 ]; then
    (cd / && runuser -u postgres -- "$@")
  else
    "$@"
  fi
}

# Stops what runs in a folder, if anything does, and removes the folder.
server_remove() {
  local folder=$1
  if [ -f "$folder/data/postmaster.pid" ]; then
    server_as_owner "$(server_programs)/pg_ctl" --pgdata "$folder/data" --mode fast --wait stop >/dev/null 2>&1 ||
      server_as_owner "$(server_programs)/pg_ctl" --pgdata "$folder/data" --mode immediate --wait stop >/dev/null 2>&1 ||
      true
  fi
  rm -rf "$folder"
}

server_stop() {
  local folder=$server_folder
  trap '' INT TERM HUP
  server_folder=
  [ -z "$folder" ] || server_remove "$folder"
}

# A script that was killed leaves its server running; the next one in the same folder removes it. Process numbers of
# another namespace mean nothing here.
server_clear_strays() {
  local folder script namespace
  for folder in "$1"/dbmsapi-server.*; do
    if [ ! -f "$folder/script" ] || [ "$(stat -c %U "$folder")" != "$(server_owner)" ]; then continue; fi
    read -r script namespace 2>/dev/null <"$folder/script" || continue
    if [ "$namespace" = "$(readlink /proc/self/ns/pid)" ] && [ ! -e "/proc/$script" ]; then
      say "removing the server of an earlier run that was killed"
      server_remove "$folder"
    fi
  done
}

# Whether there is room in memory, from where libraries can be loaded. A database is 300 files, and the more files have just
# been removed the longer ext4 takes to make new ones: with a database for each test, most of the time of the tests.
server_has_memory() {
  local room available options
  [ -n "$server_memory" ] || return 1
  room=$(df --output=avail --block-size=1M "$server_memory" 2>/dev/null | tail -n 1) || return 1
  available=$(awk '/^MemAvailable:/ { print int($2 / 1024) }' /proc/meminfo)
  options=$(findmnt --noheadings --output OPTIONS --target "$server_memory" | tail -n 1)
  [ "$room" -ge 2048 ] && [ "$available" -ge 3072 ] && [[ ,$options, != *,noexec,* ]]
}

# Makes server_folder in the first of the folders that the server's user can reach: nobody may enter root's home.
server_make_folder() {
  local place
  for place in "$@"; do
    mkdir -p "$place"
    place=$(cd "$place" && pwd)
    server_clear_strays "$place"
    server_folder=$(mktemp -d "$place/dbmsapi-server.XXXXXX")
    chown "$(server_owner)" "$server_folder"
    echo "$$ $(readlink /proc/self/ns/pid)" >"$server_folder/script"
    if server_as_owner test -w "$server_folder" 2>/dev/null; then return; fi
    rm -rf "$server_folder"
    server_folder=
  done
  die "user postgres can write below none of $*"
}

server_initialise() {
  local programs=$1 secret=$server_folder/secret
  SERVER_PASSWORD=$(new_password)
  (umask 077 && printf '%s\n' "$SERVER_PASSWORD" >"$secret")
  chown "$(server_owner)" "$secret"
  server_as_owner "$programs/initdb" --pgdata "$server_folder/data" --username "$SERVER_USER" --pwfile "$secret" \
    --auth scram-sha-256 --encoding UTF8 --locale C.UTF-8 --no-sync >"$server_folder/initdb.log" 2>&1 || {
    cat "$server_folder/initdb.log" >&2
    die "initdb failed"
  }
  rm -f "$secret"
}

# TimescaleDB, if the server offers it, has to be loaded at the start.
server_timescale_settings() {
  local library
  library=$("$1/pg_config" --pkglibdir 2>/dev/null || true)
  if [ -f "${library:-$1/../lib}/timescaledb.so" ]; then
    printf '%s\n' "shared_preload_libraries = 'timescaledb'" "timescaledb.telemetry_level = off"
  fi
}

server_configure() {
  local programs=$1 setting
  shift
  {
    echo "listen_addresses = '$SERVER_HOST'"
    echo "unix_socket_directories = ''"
    server_timescale_settings "$programs"
    [ "$(dirname "$server_folder")" != "$server_memory" ] || echo "max_wal_size = '256MB'"
    for setting in "$@"; do printf "%s = '%s'\n" "${setting%%=*}" "${setting#*=}"; done
  } >>"$server_folder/data/postgresql.conf"
}

# A port of 20000 to 29999 on which nothing listens. Another program may still take it before the server does.
server_choose_port() {
  local try
  for try in 1 2 3 4 5 6 7 8 9 10; do
    SERVER_PORT=$((20000 + (RANDOM * 32768 + RANDOM + try) % 10000))
    (: <"/dev/tcp/$SERVER_HOST/$SERVER_PORT") 2>/dev/null || return 0
  done
  die "found no free port"
}

server_launch() {
  local programs=$1 try
  for try in 1 2 3; do
    server_choose_port
    if server_as_owner "$programs/pg_ctl" --pgdata "$server_folder/data" --log "$server_folder/server.log" \
      --options "-p $SERVER_PORT" --wait --timeout 60 --silent start >/dev/null 2>&1 </dev/null; then
      return
    fi
    grep -q 'Address already in use' "$server_folder/server.log" || break
    say "port $SERVER_PORT has just been taken, trying another (attempt $try)"
  done
  tail -n 20 "$server_folder/server.log" >&2
  die "the server did not start"
}

server_start() {
  local places=("$1" "${TMPDIR:-/tmp}") programs
  shift
  if [[ " $* " == *' fsync=off '* ]] && server_has_memory; then places=("$server_memory" "${places[@]}"); fi
  programs=$(server_programs)
  [ -x "$programs/initdb" ] || die "found no PostgreSQL server; DBMSAPI_PG_BINDIR can name its programs' folder"
  trap server_stop EXIT
  server_make_folder "${places[@]}"
  server_initialise "$programs"
  server_configure "$programs" "$@"
  server_launch "$programs"
}

server_export() {
  export DBMSAPI_TEST_HOST=$SERVER_HOST DBMSAPI_TEST_PORT=$SERVER_PORT
  export DBMSAPI_TEST_USER=$SERVER_USER DBMSAPI_TEST_PASSWORD=$SERVER_PASSWORD
}
