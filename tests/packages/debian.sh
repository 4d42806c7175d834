#!/usr/bin/env bash
# Makes the Debian packages, a pair for each of DbmsAPI and historian and one of the program, checks their contents, and
# uses them as a client's own project does: debian.sh SOURCE_FOLDER
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
# Hardening needs optimisation; compiling with -Og takes no longer than without.
quietly cmake --preset package -B build/package.test -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-Og
quietly cmake --build build/package.test --parallel 2
quietly cpack --config build/package.test/CPackConfig.cmake -B "$work/packages"

cd "$work/packages"
runtime=(libdbmsapi[0-9]*_*.deb)
development=(libdbmsapi-dev_*.deb)
historian=(libhistorian[0-9]*_*.deb)
historian_development=(libhistorian-dev_*.deb)
program=(historian_*.deb)
found=(*.deb)
for package in "${program[0]}" "${runtime[0]}" "${development[0]}" "${historian[0]}" "${historian_development[0]}"; do
  [ -f "$package" ] || fail "made other packages: $(ls)"
done
[ ${#found[@]} -eq 5 ] || fail "made other packages: ${found[*]}"

# depends PACKAGE NAME...: checks the dependencies of a package, without versions.
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
depends "${historian[0]}" libc6 "$name" libgcc-s1 libsqlite3-0 libstdc++6
depends "${historian_development[0]}" libdbmsapi-dev "$(dpkg-deb --field "${historian[0]}" Package)"
depends "${program[0]}" libc6 libcpp-httplib0.11 libdate-tz3 "$name" libgcc-s1 "$(dpkg-deb --field "${historian[0]}" Package)" libsqlite3-0 \
  libstdc++6 zlib1g
for package in "${development[0]}" "${historian_development[0]}" "${historian[0]}" "${program[0]}"; do
  [[ $(dpkg-deb --field "$package" Depends) == *"(= $version)"* ]] || fail 'the packages may be of different versions'
done

# extract FOLDER PACKAGE...
extract() {
  local package
  mkdir "$1"
  for package in "${@:2}"; do dpkg-deb --extract "$package" "$1"; done
}

# Programs run with the runtime packages and are built with the -dev packages.
extract "$work/runtime" "${runtime[0]}" "${historian[0]}"
if find "$work/runtime" -name '*.h' -o -name '*.so' -o -name '*.pc' -o -name '*.cmake' | grep .; then
  fail 'is not for running programs'
fi

mapfile -t binaries < <(find "$work/runtime" -name '*.so.*.*.*' -type f)
dpkg-deb --fsys-tarfile "${program[0]}" | tar -x -C "$work" ./usr/bin/historian
"$source/tests/packages/hardened.sh" "${binaries[@]}" "$work/usr/bin/historian"

# The program runs with the packages of the libraries, and its package has the manual and the completion.
extract "$work/installed" "${runtime[0]}" "${historian[0]}" "${program[0]}"
"$work/installed/usr/bin/historian" import "$source/examples/data/machine.csv" --dry-run --json >/dev/null
# packs FILE.gz: whether the file is as gzip makes it without a time, so that the same sources make the same package.
packs() { gzip --decompress --stdout "$1" | gzip -9 -n | cmp -s - "$1"; }
subcommands=$("$work/installed/usr/bin/historian" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(wc -w <<<"$subcommands")" -ge 10 ] || fail "--help names the subcommands $subcommands"
for page in historian $(printf 'historian-%s ' $subcommands); do
  file=$work/installed/usr/share/man/man1/$page.1.gz
  [ -s "$file" ] || fail "the program's package has no packed manual page of $page"
  packs "$file" || fail "the manual page of $page is packed with a time"
  head=$(gzip --decompress --stdout "$file" | sed -n '1{s/\\//g;p}')
  [[ $head == ".TH ${page^^} 1 "* ]] || fail "the manual page of $page begins with $head"
done
if find "$work/installed/usr/share/man" -name '*.1' | grep .; then fail 'manual pages are not packed'; fi
bash -c "$(cat <<'EOF'
. "$1"
COMP_WORDS=(historian import --dr) COMP_CWORD=2
_historian
[ "${COMPREPLY[*]}" = --dry-run ]
EOF
)" bash "$work/installed/usr/share/bash-completion/completions/historian" || fail 'bash does not complete an option of the program'

# Each package has the licence and the changes; some have further documents. brings PACKAGE FILE...: its directory of
# documents has exactly these files of the sources.
brings() {
  local name folder found
  name=$(dpkg-deb --field "$1" Package)
  rm -rf "$work/documents"
  extract "$work/documents" "$1"
  folder=$work/documents/usr/share/doc
  [ "$(ls "$folder")" = "$name" ] || fail "$1 has documents in $(ls "$folder")"
  cd "$folder/$name"
  cmp -s copyright "$source/cmake/copyright" || fail "$1 has no copyright file"
  packs changelog.gz || fail "$1 has a changelog that is packed with a time"
  gzip --decompress --stdout changelog.gz | cmp -s - "$source/CHANGELOG.md" || fail "$1 does not bring its changes"
  found=$(find . -type f | sed 's,^\./,,' | sort | xargs)
  [ "$found" = "$(printf '%s\n' changelog.gz copyright "${@:2}" | sort | xargs)" ] || fail "$1 brings the documents $found"
  for file in "${@:2}"; do cmp -s "$file" "$source/$file" || fail "$1 brings another $file"; done
  cd "$work/packages"
}
head -n 1 "$source/cmake/copyright" | grep -qx 'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' ||
  fail 'the copyright file is not machine-readable'
mapfile -t documents < <(cd "$source" && find docs -type f)
brings "${runtime[0]}"
brings "${development[0]}" README.md "${documents[@]}" examples/first_steps.cpp examples/operator_station.cpp
brings "${historian[0]}"
brings "${historian_development[0]}" docs/historian.md examples/keep_recording.cpp examples/recorder.cpp
brings "${program[0]}" docs/program.md docs/schema.md docs/historian.md

# DbmsAPI's packages work without historian's.
# finds FOLDER [ARGUMENT]...: whether find_package finds DbmsAPI there.
finds() {
  mkdir -p "$work/finds"
  printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(finds LANGUAGES CXX)' "find_package(DbmsAPI ${*:2})" \
    >"$work/finds/CMakeLists.txt"
  rm -rf "$work/finds/build"
  cmake -S "$work/finds" -B "$work/finds/build" -DCMAKE_PREFIX_PATH="$1" >"$work/log" 2>&1
}
extract "$work/alone" "${runtime[0]}" "${development[0]}"
finds "$work/alone/usr" REQUIRED || fail "the pair of DbmsAPI is not found alone: $(cat "$work/log")"
if finds "$work/alone/usr" REQUIRED COMPONENTS historian; then fail 'historian is found without its packages'; fi
grep -q "component historian is not installed" "$work/log" || fail "the missing component is not named: $(cat "$work/log")"

extract "$work/root" "${found[@]}"
"$source/tests/consumer/against.sh" "$work/root/usr"
