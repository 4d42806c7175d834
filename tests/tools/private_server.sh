#!/usr/bin/env bash
# tools/server.sh removes the server and its files however its command ends: private_server.sh SERVER_SH
set -euo pipefail
script=$1
# shellcheck source=tests/check.sh
. "$(dirname "$0")/../check.sh"

# Writes the port and the folder of the server, then waits to be killed.
cat >"$work/report" <<'END'
#!/usr/bin/env bash
set -euo pipefail
export PGPASSWORD=$DBMSAPI_TEST_PASSWORD
folder=$(psql --no-psqlrc -h "$DBMSAPI_TEST_HOST" -p "$DBMSAPI_TEST_PORT" -U "$DBMSAPI_TEST_USER" -d postgres -Atc \
  "select current_setting('data_directory') || ' ' || current_setting('work_mem')")
echo "$$" >"$1/process"
echo "$DBMSAPI_TEST_PORT $folder" >"$1/reported"
case $2 in
  wait) exec sleep 1000 ;;
  *) exit "$2" ;;
esac
END
chmod +x "$work/report"

expect_gone() {
  local port folder setting
  read -r port folder setting <"$work/reported"
  rm "$work/reported"
  [ "$setting" = 5MB ] || fail "$1: work_mem is $setting"
  [ ! -e "$folder" ] || fail "$1: $folder is still there"
  ! (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null || fail "$1: port $port still answers"
}

for wanted in 0 7; do
  status=0
  "$script" --set work_mem=5MB "$work/report" "$work" "$wanted" || status=$?
  [ "$status" -eq "$wanted" ] || fail "exit status $status instead of $wanted"
  expect_gone "after status $wanted"
done

# From here on it is kept in memory if there is room.
#
# Commands in the background are started with SIGINT ignored, which bash cannot undo; env can.
for signal in INT=130 TERM=143 HUP=129; do
  env --default-signal=INT "$script" --set fsync=off --set work_mem=5MB "$work/report" "$work" wait &
  running=$!
  until [ -s "$work/reported" ]; do sleep 0.05; done
  kill -s "${signal%=*}" "$running"
  status=0
  wait "$running" || status=$?
  [ "$status" -eq "${signal#*=}" ] || fail "SIG${signal%=*}: exit status $status"
  expect_gone "after SIG${signal%=*}"
done

# After SIGKILL, the next one cleans up.
"$script" --set fsync=off --set work_mem=5MB "$work/report" "$work" wait &
running=$!
until [ -s "$work/reported" ]; do sleep 0.05; done
kill -KILL "$running" "$(cat "$work/process")"
wait "$running" 2>/dev/null || true
mv "$work/reported" "$work/left"
"$script" --set fsync=off --set work_mem=5MB "$work/report" "$work" 0
expect_gone 'of its own'
mv "$work/left" "$work/reported"
expect_gone 'after SIGKILL'

status=0
"$script" --set no_such_setting=1 true 2>"$work/err" || status=$?
[ "$status" -eq 1 ] || fail "a server that does not start: exit status $status"
grep -q 'no_such_setting' "$work/err" || fail "a server that does not start: no reason given: $(cat "$work/err")"

status=0
DBMSAPI_PG_BINDIR=/nowhere "$script" true 2>"$work/err" || status=$?
[ "$status" -eq 1 ] || fail "no server: exit status $status"
grep -q 'found no PostgreSQL server' "$work/err" || fail "no server: no reason given: $(cat "$work/err")"

finish 'no server is left running'
