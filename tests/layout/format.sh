#!/usr/bin/env bash
# Checks that every source file is formatted by .clang-format.
set -euo pipefail
cd "$(dirname "$0")/../.."
command -v clang-format >/dev/null || { echo 'needs clang-format'; exit 1; }
version=$(clang-format --version)
[[ $version == *'version 14.'* ]] || { echo "needs clang-format 14, another version formats differently: $version"; exit 1; }

mapfile -t sources < <(find ./*/ \( -name build -o -name '.*' \) -prune -o -type f \( -name '*.h' -o -name '*.cpp' \) -print)
[ ${#sources[@]} -gt 0 ] || { echo 'found no source file'; exit 1; }
clang-format --dry-run -Werror "${sources[@]}"
echo "${#sources[@]} source files are formatted"
