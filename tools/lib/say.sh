# shellcheck shell=bash
# Messages of the scripts. They go to standard error, so that standard output has only the output of the program.

say() { printf '%s\n' "$*" >&2; }

die() {
  say "$(basename "$0"): $*"
  exit 1
}

# run_quietly LOG COMMAND...: writes the command's output to LOG, and shows it when the command fails.
run_quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    die "failed: $*"
  fi
}

# elapsed_since START: the time since $SECONDS was START, as 1 min 05 s.
elapsed_since() {
  local seconds=$((SECONDS - $1))
  if [ "$seconds" -lt 60 ]; then
    printf '%d s' "$seconds"
  else
    printf '%d min %02d s' $((seconds / 60)) $((seconds % 60))
  fi
}
