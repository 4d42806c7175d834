# shellcheck shell=bash
# Runs a program from a script that must clean up when a signal ends it.
#
#   run_to_the_end COMMAND [ARGUMENT]...   gives the command's exit status
#
# A signal is passed on to the command, and the script ends after the command. The command runs in the background, since
# only then does the shell run traps at once. A shell makes background commands ignore Ctrl-C; that is undone.

run_to_the_end_process=

# A script may have been started without standard input.
[ -e /dev/fd/0 ] || exec </dev/null

run_to_the_end() {
  local status=0
  env --default-signal=INT --default-signal=QUIT "$@" <&0 &
  run_to_the_end_process=$!
  wait "$run_to_the_end_process" || status=$?
  run_to_the_end_process=
  return "$status"
}

# end_by SIGNAL STATUS: passes the signal on, waits for the command and ends the script.
end_by() {
  if [ -n "$run_to_the_end_process" ]; then
    kill -s "$1" "$run_to_the_end_process" 2>/dev/null || true
    while kill -0 "$run_to_the_end_process" 2>/dev/null; do
      wait "$run_to_the_end_process" 2>/dev/null || true
    done
  fi
  exit "$2"
}

trap 'end_by INT 130' INT
trap 'end_by TERM 143' TERM
trap 'end_by HUP 129' HUP
