#!/usr/bin/env bash
# The built library exports the public names and nothing else: what its dynamic symbol table defines is what the
# public headers declare. Each of these calls has the type of its pointer type, in C99.
#     exported_names.sh LIBRARY
set -euo pipefail
headers=$(dirname "$(readlink -f "$0")")/../../include/AL
declared=$(sed 's://.*$::' "$headers"/*.h | tr '\n' ' ' | grep -oE 'APIENTRY +(alc?|tsr)[A-Z][A-Za-z0-9]* *\(' |
    grep -oE '(alc?|tsr)[A-Z][A-Za-z0-9]*' | sort -u)
exported=$(nm --dynamic --defined-only --format=posix "$1" | cut -d ' ' -f 1 | sort)
if [ "$declared" != "$exported" ]; then
    echo "Declared (<) and exported (>) names differ:"
    diff <(echo "$declared") <(echo "$exported")
    exit 1
fi
count=$(echo "$exported" | wc -l)
if [ "$count" != 130 ]; then
    echo "There are $count exported names, not 130."
    exit 1
fi
{
    printf '#include "%s"\n' "$headers"/{al,alc,efx,tessarune}.h
    for name in $declared; do echo "LP${name^^} to_$name = $name;"; done
} | "${CC:-cc}" -std=c99 -Wall -Wextra -Wpedantic -Werror -DAL_ALEXT_PROTOTYPES -I "$headers/.." -fsyntax-only -x c -
