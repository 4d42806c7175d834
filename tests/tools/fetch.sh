#!/usr/bin/env bash
# A package that cannot be fetched, or is not the expected one, ends the script with the reason. An existing one is not
# fetched again: fetch.sh TOOLS_DIRECTORY
set -euo pipefail
tools=$1
# shellcheck source=tests/check.sh
. "$(dirname "$0")/../check.sh"

# Replaces npm: delivers the package of this directory, or fails as for a registry that cannot be reached.
mkdir -p "$work/bin" "$work/package"
echo 'a program' >"$work/package/program"
tar -czf "$work/good.tgz" -C "$work" package
sha256=$(sha256sum "$work/good.tgz" | cut -d' ' -f1)
cat >"$work/bin/npm" <<'END'
#!/usr/bin/env bash
echo "$*" >>"$WORK/asked"
[ -e "$WORK/reachable" ] || { echo 'npm ERR! network request failed' >&2; exit 1; }
cp "$WORK/good.tgz" thing-1.0.0.tgz
END
chmod +x "$work/bin/npm"

# fetch SHA256: its exit status is in $status, what it said in $work/said.
fetch() {
  status=0
  PATH=$work/bin:$PATH WORK=$work bash -euo pipefail -c '. "$1/lib/say.sh"; . "$1/lib/fetch.sh"
    fetch_package "$2/there" thing@1.0.0 "$3" "a thing"; echo done' fetch "$tools" "$work" "$1" >"$work/said" 2>&1 || status=$?
}
expect_refusal() {
  [ "$status" -ne 0 ] || fail "$1: exit status 0"
  grep -q "$2" "$work/said" || fail "$1: said $(cat "$work/said")"
  ! grep -q '^done$' "$work/said" || fail "$1: went on"
}

fetch "$sha256"
expect_refusal 'out of reach' 'network request failed'
touch "$work/reachable"
fetch "${sha256//[0-9]/0}"
expect_refusal 'another package' 'thing@1.0.0 is not what it was'
fetch "$sha256"
[ "$status" -eq 0 ] || fail "a good package: $(cat "$work/said")"
[ "$(cat "$work/there/program")" = 'a program' ] || fail 'a good package: its program is not there'
grep -q 'thing@1.0.0' "$work/asked" || fail "asked for $(cat "$work/asked")"
rm "$work/asked" "$work/reachable"
fetch "$sha256"
[ "$status" -eq 0 ] || fail "the same again: $(cat "$work/said")"
[ ! -e "$work/asked" ] || fail 'the same again: fetched once more'

finish 'a package is fetched once, in the version named'
