#!/usr/bin/env bash
# Makes the zip for Windows and uses its contents as a client's own project does:
#
#   zip.sh BUILD_FOLDER [CMAKE OPTION]...
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || {
  cat "$work/log"
  exit 1
}
cd "$work"
archives=(dbmsapi-*-win64.zip)
[ -f "${archives[0]}" ] || {
  echo "made another archive: $(ls)"
  exit 1
}
cmake -E tar xf "${archives[0]}"
prefix=$work/${archives[0]%.zip}

# The zip has the C++ runtime but not libpq, which each site has already.
found=$(cd "$prefix/bin" && printf '%s\n' * | sort | xargs)
wanted='DbmsAPI.dll historian.dll historian.exe libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll sqlapi.dll'
[ "$found" = "$wanted" ] || {
  echo "bin/ holds $found, not $wanted"
  exit 1
}
for file in LICENSE CHANGELOG.md copyright README.md docs/windows.md docs/program.md examples/first_steps.cpp; do
  [ -s "$prefix/share/doc/DbmsAPI/$file" ] || {
    echo "has no $file: $(cd "$prefix" && find share)"
    exit 1
  }
done
"$here/../consumer/against.sh" "$prefix" "$@"

# The unpacked program runs with the site's libpq beside it.
cp "${CONSUMER_LIBPQ:?}"/*.dll "$prefix/bin"
said=$("${CONSUMER_EMULATOR:?}" "$prefix/bin/historian.exe" --version)
[[ $said == 'historian 0.'* ]] || {
  echo "historian.exe said '$said'"
  exit 1
}
