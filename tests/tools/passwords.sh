#!/usr/bin/env bash
# A test server's password is found anywhere in the output of a test: passwords.sh TOOLS_DIRECTORY
set -euo pipefail
tools=$1
# shellcheck source=tools/lib/say.sh
. "$tools/lib/say.sh"
# shellcheck source=tools/lib/passwords.sh
. "$tools/lib/passwords.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/dev/Testing/Temporary" "$work/dbmsapi-server.1"
echo 'nothing of interest' >"$work/dev.test.log"
new_password >"$work/dbmsapi-server.1/server.log"
(refuse_passwords "$work") || die 'a password is found where none is'

for log in dev.test.log dev/Testing/Temporary/LastTest.log dev/Testing/Temporary/LastTest.log.tmp; do
  cp /dev/null "$work/kept"
  [ ! -e "$work/$log" ] || cp "$work/$log" "$work/kept"
  echo "cannot connect as plant/$(new_password)" >>"$work/$log"
  if said=$(refuse_passwords "$work" 2>&1); then die "a password in $log is not found"; fi
  [[ $said == *"$work/$log"* ]] || die "$log is not named: $said"
  [[ $said != *"$password_mark"* ]] || die "the message shows the password: $said"
  cp "$work/kept" "$work/$log"
done

# The servers of the tests have such passwords.
said=$("$tools/server.sh" bash -c 'echo "$DBMSAPI_TEST_PASSWORD"')
[[ $said == "$password_mark"* ]] || die "the server's password is another one"
echo 'a password in an output is found'
