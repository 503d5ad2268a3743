// Runs one effect for a number of blocks and prints nothing, so that a counter of instructions can watch it
// (effectinstructions.sh). Without arguments prints what there is to run.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/support/effectrun.h"

namespace {

void PrintChoices() {
    for (const BenchedEffect& effect : BenchedEffects())
        for (const EffectQuality& quality : EffectQualities())
            if (effect.hasQualities || &quality == &EffectQualities().back())
                std::printf("%s %s\n", effect.name, quality.name);
}

template <typename Row>
const Row* Find(std::span<const Row> rows, const char* name) {
    const auto found =
        std::ranges::find_if(rows, [&](const Row& row) { return std::strcmp(row.name, name) == 0; });
    return found == rows.end() ? nullptr : &*found;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        PrintChoices();
        return 0;
    }
    const BenchedEffect* const effect = argc == 4 ? Find(BenchedEffects(), argv[1]) : nullptr;
    const EffectQuality* const quality = argc == 4 ? Find(EffectQualities(), argv[2]) : nullptr;
    if (effect == nullptr || quality == nullptr) {
        std::fprintf(stderr, "Use: %s EFFECT QUALITY BLOCKS, or no argument for a list.\n", argv[0]);
        return 2;
    }
    EffectRun run(effect->type, *quality);
    for (long blocks = std::strtol(argv[3], nullptr, 10); blocks > 0; --blocks)
        run.Process();
}
