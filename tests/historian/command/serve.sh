#!/usr/bin/env bash
# historian serve: its messages, its refusals, and how it ends: serve.sh PROGRAM
set -euo pipefail
# shellcheck source=tests/historian/command/program.sh
. "$(dirname "$0")/program.sh"

case='no database'
run serve --listen :0
expect_status 1
expect_err "historian: cannot connect: "

fresh_database
case='no tables'
run serve --listen :0
expect_refused "the database $database has no table datalog; create it with: historian init"
run init

case='misuse'
run serve --listen 127.0.0.1:http
expect_refused '--listen "127.0.0.1:http": the port must be a number up to 65535'
run serve --listen ::1
expect_refused '--listen "::1": an IPv6 address goes in brackets: [::1]:8470'
run serve --listen 192.0.2.1:0
expect_refused 'cannot listen there: the address is in use or not of this machine; --listen names another'
run serve --connections 0
expect_status 2
run serve --database "dbname=$database options=-cjit=off"
expect_refused '--database sets options of the session, which serve sets itself; use PGOPTIONS'
export HISTORIAN_TOKEN=short
run serve --listen :0 --token
expect_refused 'HISTORIAN_TOKEN has to be at least 16 letters, digits, - or _'
unset HISTORIAN_TOKEN

# Starts it with the options given; $url is the page.
start() {
  rm -f "$work/out"
  "${program[@]}" serve --json "$@" >"$work/out" 2>"$work/complaint" &
  served=$!
  until [ -s "$work/out" ]; do
    kill -0 "$served" 2>/dev/null || { fail "ended: $(cat "$work/complaint")"; return; }
    sleep 0.05
  done
  url=$(json .url)
}

# Sends it a signal and expects that it ends with status 0 and without a message.
end_by() {
  kill -s "$1" "$served"
  status=0
  wait "$served" || status=$?
  expect_status 0
  expect_equal "$(cat "$work/complaint")" '' 'standard error'
}

http_status() { curl --silent --output "$work/answer" --write-out '%{http_code}' "$@"; }

case='a page on loopback'
start --listen :0
[[ $url =~ ^http://127\.0\.0\.1:[0-9]+/$ ]] || fail "the page is $url"
expect_equal "$(json .database)" "$database" 'the database'
expect_equal "$(http_status "$url")" 200 'the status'
expect_equal "$(http_status "${url}api/state")" 200 'the status'
expect_equal "$(jq -r .database "$work/answer")" "$database" 'the database'
expect_equal "$(http_status --header 'Host: evil.example' "$url")" 421 'the status for another name'

case='the same port twice'
port=${url##*:}
run serve --listen "127.0.0.1:${port%/}"
expect_refused 'cannot listen there: the address is in use or not of this machine; --listen names another'
case='SIGTERM'
end_by TERM

case='another address asks for a token'
start --listen 0.0.0.0:0 --name Plant.Example
[[ $url =~ ^http://0\.0\.0\.0:[0-9]+/\?token=[0-9a-f]{32}$ ]] || fail "the page is $url"
token=${url##*=} page=${url%\?*}
expect_equal "$(http_status "$page")" 401 'the status without the token'
expect_equal "$(http_status "${page}api/state")" 401 'the status of data without the token'
expect_equal "$(http_status --header "Authorization: Bearer $token" "${page}api/state")" 200 'the status with the token'
expect_equal "$(http_status --location --cookie-jar "$work/cookies" "$url")" 200 'the status of the address printed'
expect_equal "$(http_status --header "Authorization: Bearer $token" --header 'Host: plant.example' "$page")" 200 'the status of the name'
case='SIGINT, with a statement that waits'
psql --no-psqlrc --quiet --command 'begin' --command 'lock table datalog' --command 'select pg_sleep(100)' >"$work/lock" 2>&1 &
locker=$!
until [ "$(sql "select count(*) from pg_locks where granted and mode = 'AccessExclusiveLock' and relation = 'datalog'::regclass")" = 1 ]; do sleep 0.05; done
http_status --header "Authorization: Bearer $token" "${page}api/trend?tag=A&from=0&to=1000" >"$work/status" &
asker=$!
until [ "$(sql "select count(*) from pg_locks where not granted and relation = 'datalog'::regclass")" = 1 ]; do sleep 0.05; done
end_by INT
wait "$asker" || true
kill "$locker" 2>/dev/null || true
wait "$locker" || true

case='a token of its own'
export HISTORIAN_TOKEN=abcdefghijklmnop
start --listen :0 --token
[[ $url == http://127.0.0.1:*/?token=abcdefghijklmnop ]] || fail "the page is $url"
end_by INT

finish 'the page is served and ends as asked'
