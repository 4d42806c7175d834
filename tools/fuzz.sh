#!/usr/bin/env bash
# Runs the fuzz targets of tests/fuzz by libFuzzer:
#
#   tools/fuzz.sh [TARGET]... [--seconds N]
#
# each for N seconds (60), as many at once as there are processors. An input that makes a target fail is kept in
# build/fuzz.findings. After the fix the file belongs in tests/fuzz/corpus/TARGET, where an ordinary test reads it. The
# inputs found on the way stay in build/fuzz.corpus for the next run.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
# shellcheck source=tools/lib/say.sh
. "$here/lib/say.sh"
# shellcheck source=tools/lib/run.sh
. "$here/lib/run.sh"

mapfile -t all < <(ls "$root/tests/fuzz/corpus")
readonly build=$root/build/fuzz corpus=$root/build/fuzz.corpus findings=$root/build/fuzz.findings
targets=()
seconds=60
while [ $# -gt 0 ]; do
  case $1 in
    --seconds)
      seconds=${2:?--seconds needs a number}
      shift
      ;;
    -*) die 'usage: fuzz.sh [TARGET]... [--seconds N]' ;;
    *)
      [[ " ${all[*]} " == *" $1 "* ]] || die "knows the targets ${all[*]}, not \"$1\""
      targets+=("$1")
      ;;
  esac
  shift
done
[ ${#targets[@]} -gt 0 ] || targets=("${all[@]}")

"$here/install_dependencies.sh" fuzz
run_quietly "$build.configure.log" cmake -S "$root" --preset fuzz
run_quietly "$build.build.log" cmake --build "$build" --target fuzz_targets

# fuzz TARGET: files that the target writes go to memory, if the system has a directory there.
fuzz() {
  local target=$1 log=$build.$1.log
  mkdir -p "$corpus/$target" "$findings"
  [ ! -d /dev/shm ] || export TMPDIR=/dev/shm
  if "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 -malloc_limit_mb=3000 \
    -max_len=4096 -close_fd_mask=1 -print_final_stats=1 -artifact_prefix="$findings/$target-" "$corpus/$target" \
    "$root/tests/fuzz/corpus/$target" >"$log" 2>&1; then
    say "$target: $(sed -nE 's/^stat::number_of_executed_units: +//p' "$log") inputs in $seconds s, no finding"
  else
    say "$target: a finding; $log ends with"
    tail -n 40 "$log" >&2
    return 1
  fi
}
export -f fuzz say
export build corpus findings root seconds
run_to_the_end bash -c 'printf "%s\n" "$@" | xargs --max-procs="$(nproc)" --replace=TARGET bash -euc "fuzz TARGET"' fuzz \
  "${targets[@]}"
say "${#targets[@]} targets, $seconds s each, without a finding"
