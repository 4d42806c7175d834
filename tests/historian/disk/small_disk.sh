#!/usr/bin/env bash
# Runs a command with a private server whose disk is small:
#
#   small_disk.sh BUILD_FOLDER COMMAND [ARGUMENT]...
#
# The command finds the server as tests/server/private_server.sh says, and may control it as said there.
# DBMSAPI_RESIZE_DISK is a command that resizes the disk to its argument, for instance 1900M. Needs root.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
readonly disk=/mnt  # visible only in this namespace

# The processes have a namespace of their own, too, so that all end with this script.
[ -n "${DBMSAPI_OWN_DISK:-}" ] ||
  exec env DBMSAPI_OWN_DISK=yes unshare --mount --pid --fork --kill-child --mount-proc -- "$0" "$@"
shift
mount -t tmpfs -o size=1900M,mode=755 tmpfs "$disk"
export DBMSAPI_RESIZE_DISK="mount $disk -o remount,size="
# The server's files belong on that disk.
DBMSAPI_SERVER_MEMORY='' exec "$here/../../server/private_server.sh" "$disk" "$@"
