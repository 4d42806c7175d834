#!/usr/bin/env bash
# Runs a command with a disk of 40 MiB in DBMSAPI_SMALL_DISK, which only the command sees.
set -euo pipefail
DBMSAPI_SMALL_DISK=$(mktemp -d)
export DBMSAPI_SMALL_DISK
trap 'rmdir "$DBMSAPI_SMALL_DISK"' EXIT
user=(--user --map-root-user)
[ "$(id -u)" -ne 0 ] || user=()
# shellcheck disable=SC2016  # expanded by the inner shell
unshare ${user[@]+"${user[@]}"} --mount sh -c 'mount -t tmpfs -o size=40m none "$DBMSAPI_SMALL_DISK" && "$@"' sh "$@"
