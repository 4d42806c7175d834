#!/usr/bin/env bash
# Fetches uPlot, which draws the charts of historian serve: uplot.sh FOLDER
#
# The package's files in FOLDER are dist/uPlot.iife.min.js, dist/uPlot.min.css, LICENSE (MIT).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tools/lib/say.sh
. "$here/../lib/say.sh"
# shellcheck source=tools/lib/fetch.sh
. "$here/../lib/fetch.sh"

[ $# -eq 1 ] || die "usage: uplot.sh FOLDER"
fetch_package "$1" uplot@1.6.32 4b8a8191e425658e3ea8c8c1314b0fc679c861ee3a1af2b20c7b16ba50b5133d "uPlot, the charts of the page"
