#!/usr/bin/env bash
# Instructions that each effect executes per sample, counted by callgrind: the same on every run of one build on
# one machine, where times differ. The difference of two runs leaves out how an effect begins. Callgrind knows
# vectors up to AVX2. The argument is the program effect_instructions.
set -euo pipefail

program=$1
blocks=${2:-40}  # of 512 frames

count() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect='EffectRun::Process()' "$program" "$@" 2>&1 |
        sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}

printf '%-14s %-7s %s\n' effect quality 'instructions a sample'
"$program" | while read -r effect quality; do
    once=$(count "$effect" "$quality" "$blocks")
    twice=$(count "$effect" "$quality" $((2 * blocks)))
    printf '%-14s %-7s %s\n' "$effect" "$quality" \
        "$(awk "BEGIN { printf \"%.1f\", ($twice - $once) / ($blocks * 512) }")"
done
