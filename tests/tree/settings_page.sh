#!/bin/sh
# settings_page.sh PROGRAM PAGE: the page about the settings is the one that `tessarune-config` prints.
set -u
program=$1 page=$2
"$program" get --markdown | diff -u "$page" - && exit 0
echo "Print the page anew: tessarune-config get --markdown >docs/settings.md"
exit 1
