#!/usr/bin/env bash
# Installs a build tree into a clean folder and uses it there as a client's own project does:
#
#   run.sh BUILD_FOLDER [CMAKE OPTION]...
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

build=$(cd "$1" && pwd)
shift
cmake --install "$build" --prefix "$work/here" >"$work/install.log" || {
  cat "$work/install.log"
  exit 1
}
# Installed trees are moved and packaged, so nothing in them may contain the path they were installed to.
if grep -rlF -e "$work/here" -e "$build" "$work/here/lib" --include='*.cmake' --include='*.pc'; then
  echo 'names the folder it was installed to or built in'
  exit 1
fi
mv "$work/here" "$work/elsewhere"

"$here/against.sh" "$work/elsewhere" "$@"
