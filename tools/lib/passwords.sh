# shellcheck shell=bash
# The passwords of test servers begin with a text that appears nowhere else, so that a password in any output can be
# found. Needs say.sh.
#
#   new_password                       prints one
#   refuse_passwords DIRECTORY...      dies, naming the files, when a log or a record of ctest below them holds one

password_mark=kT9-never-shown-

new_password() { printf '%s%s' "$password_mark" "$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')"; }

refuse_passwords() {
  local found
  found=$(grep -rlF --include='*.log' --include='LastTest*' --exclude-dir='dbmsapi-server.*' -- "$password_mark" "$@" || true)
  [ -z "$found" ] || die "the password of a test server is in $(tr '\n' ' ' <<<"$found")"
}
