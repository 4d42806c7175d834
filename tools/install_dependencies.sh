#!/usr/bin/env bash
# Installs the missing Debian packages for a purpose, and lists them:
#
#   tools/install_dependencies.sh demo|package|test|fuzz|cluster|bench|windows...
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"

# Compiler and build tools, the libraries that the project needs, the private server, the time zones of --zone.
demo=(g++ cmake ninja-build pkg-config libpq-dev libfmt-dev libutfcpp-dev libsqlite3-dev libcli11-dev
  libhowardhinnant-date-dev nlohmann-json3-dev libcpp-httplib-dev zlib1g-dev postgresql-15 tzdata)
# What cpack needs to make Debian packages.
package=("${demo[@]}" dpkg-dev file)
# The second compiler, the test framework, the tools that the checks call, a pooler.
test=("${package[@]}" clang clang-format libgtest-dev libgmock-dev binutils git groff-base
  jq openssl sqlite3 curl chromium pgbouncer iproute2)
# The sanitizers and libFuzzer of the second compiler.
fuzz=("${test[@]}" libclang-rt-14-dev)
# The cluster of tools/test.sh --cluster.
cluster=(patroni etcd-server haproxy iproute2)
# The compiler for Windows, Wine to run its programs, the test framework in source.
windows=("${demo[@]}" g++-mingw-w64-x86-64-posix mingw-w64-tools wine wine64 googletest binutils
  groff-base jq)
# The benchmark framework, the other libraries of the benchmarks, and valgrind to count instructions.
bench=("${demo[@]}" libbenchmark-dev libpqxx-dev libsoci-dev libboost-dev qtbase5-dev libqt5sql5-psql unixodbc-dev
  odbc-postgresql valgrind)

policy=/usr/sbin/policy-rc.d
policy_mark='# Made by install_dependencies.sh of DbmsAPI for one installation.'
no_main_cluster=/etc/postgresql-common/createcluster.d/dbmsapi-no-main-cluster.conf

# npm fetches the charts of the page, and packages for tests. It need not be Debian's.
need_npm() { command -v npm >/dev/null || echo npm; }

packages_for() {
  case $1 in
    demo) printf '%s\n' "${demo[@]}" && need_npm ;;
    package) printf '%s\n' "${package[@]}" && need_npm ;;
    test) printf '%s\n' "${test[@]}" && need_npm ;;
    fuzz) printf '%s\n' "${fuzz[@]}" && need_npm ;;
    cluster) printf '%s\n' "${cluster[@]}" ;;
    bench) printf '%s\n' "${bench[@]}" && need_npm ;;
    windows) printf '%s\n' "${windows[@]}" && need_npm ;;
    *) die "knows demo, package, test, fuzz, cluster, bench and windows, not \"$1\"" ;;
  esac
}

is_installed() {
  [ "$(dpkg-query --show --showformat '${db:Status-Status}' "$1" 2>/dev/null || true)" = installed ]
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  else
    sudo "$@"
  fi
}

# When it is first installed, the server's package starts a server on port 5432. Only its programs are needed here,
# so this is switched off for this installation, unless the system has been set up for PostgreSQL already.
forbid_main_cluster() {
  [ ! -e /etc/postgresql-common/createcluster.conf ] || return 0
  as_root mkdir -p "$(dirname "$no_main_cluster")"
  echo 'create_main_cluster = false' | as_root tee "$no_main_cluster" >/dev/null
}

allow_main_cluster() {
  [ ! -e "$no_main_cluster" ] || as_root rm -f "$no_main_cluster"
}

# Poolers and other services would start when they are installed, too, unless the system's policy forbids it.
forbid_services() {
  [ ! -e "$policy" ] || return 0
  printf '#!/bin/sh\n%s\nexit 101\n' "$policy_mark" | as_root tee "$policy" >/dev/null
  as_root chmod 755 "$policy"
}

allow_services() {
  if grep -qsF "$policy_mark" "$policy"; then as_root rm -f "$policy"; fi
}

install_packages() {
  local log
  log=$(mktemp)
  trap 'allow_main_cluster; allow_services' EXIT
  forbid_main_cluster
  forbid_services
  run_quietly "$log" as_root apt-get update
  run_quietly "$log" as_root env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends "$@"
  rm -f "$log"
}

[ $# -gt 0 ] || die "usage: install_dependencies.sh demo|package|test|fuzz|cluster|bench|windows..."
wanted=$(for purpose in "$@"; do packages_for "$purpose"; done | sort -u)
command -v dpkg-query >/dev/null || die "installs Debian packages; this system has none. Needed: $(echo "$wanted" | xargs)"

missing=()
for package in $wanted; do is_installed "$package" || missing+=("$package"); done
[ ${#missing[@]} -gt 0 ] || exit 0

say "installing ${missing[*]}"
[ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null ||
  die "needs root or sudo for that; as root run: apt-get install ${missing[*]}"
install_packages "${missing[@]}"
