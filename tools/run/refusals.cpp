#include "tools/run/refusals.h"

#include "orb3core/settings/gameswitches.h"
#include "tools/run/words.h"

namespace tool {

std::vector<std::string> ExplainRefusals(const GameStatus& game) {
    std::vector<std::string> sentences;
    if (!game.profile.empty()) return sentences;
    for (std::size_t i = 0; i < orb3::gameSwitches.size(); ++i) {
        if (game.refusals[i] == 0) continue;
        const orb3::GameSwitchRow& row = orb3::gameSwitches[i];
        const std::string name(row.name);
        sentences.push_back("'" + game.program + "' asked for " + std::string(row.asked) + ", which " + name +
                            " would allow: tessarune-config game set " + ForShell(game.program) + " " + name +
                            " True");
    }
    return sentences;
}

}  // namespace tool
