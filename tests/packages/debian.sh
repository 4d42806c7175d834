#!/usr/bin/env bash
# Makes the pair of Debian packages and uses what is in them as a client's own project does: debian.sh SOURCE_FOLDER
set -euo pipefail
source=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$*"
  exit 1
}

quietly() {
  "$@" >"$work/log" 2>&1 || {
    cat "$work/log"
    fail "failed: $*"
  }
}

cd "$source"
# What is tested is not the optimiser: without it the libraries build in half the time.
quietly cmake --preset package -B build/package.test -DCMAKE_BUILD_TYPE=
quietly cmake --build build/package.test --parallel 2
quietly cpack --config build/package.test/CPackConfig.cmake -B "$work/packages"

cd "$work/packages"
runtime=(libdbmsapi[0-9]*_*.deb)
development=(libdbmsapi-dev_*.deb)
[ -f "${runtime[0]}" ] && [ -f "${development[0]}" ] || fail "made other packages: $(ls)"

# depends PACKAGE NAME...: what a package depends on, versions aside.
depends() {
  local found wanted
  found=$(dpkg-deb --field "$1" Depends | sed 's/, /\n/g; s/ ([^)]*)//g' | sort | xargs)
  wanted=${*:2}
  [ "$found" = "$wanted" ] || fail "$1 depends on $found, not on $wanted"
}
name=$(dpkg-deb --field "${runtime[0]}" Package)
version=$(dpkg-deb --field "${runtime[0]}" Version)
depends "${runtime[0]}" libc6 libgcc-s1 libpq5 libstdc++6
depends "${development[0]}" "$name"
[[ $(dpkg-deb --field "${development[0]}" Depends) == *"(= $version)"* ]] || fail 'the packages may be of different versions'

# Programs are run with the one package, and built with both.
dpkg-deb --extract "${runtime[0]}" "$work/runtime"
if find "$work/runtime" -name '*.h' -o -name '*.so' -o -name '*.pc' -o -name '*.cmake' | grep .; then
  fail 'is not for running programs'
fi
mkdir "$work/root"
for package in "${runtime[0]}" "${development[0]}"; do dpkg-deb --extract "$package" "$work/root"; done
"$source/tests/consumer/against.sh" "$work/root/usr"
