#!/usr/bin/env bash
# The demo on the recording that comes with the project: recording.sh [OPTION OF tools/demo.sh]...
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
exec "$here/says.sh" "every sample is in the database as in the file" "56,825 samples" "state changes, newest first" \
  "the server is killed" "every sample is in the database as it was recorded" " failed" -- "$here/../../tools/demo.sh" "$@"
