#!/bin/sh
# Runs the tests of the page in a browser: run.sh BUILD_TREE. Where that isn't set up says so, and ends with 77.
set -e
here=$(dirname "$(readlink -f "$0")")
CHROMIUM=$(command -v chromium || true)
if [ -z "$CHROMIUM" ] || ! command -v node >/dev/null || [ ! -d "$here/../../build/page/node_modules" ]; then
    echo "The tests of the page are left out: './dev setup page' installs a browser and what drives it."
    exit 77
fi
export CHROMIUM TESSARUNE_BUILD="$1"
mkdir -p "$1/page"
exec node --test "$here"/*.test.mjs
