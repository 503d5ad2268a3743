#include "tools/run/refusals.h"

#include <array>
#include <string_view>

#include "orb3core/settings/gameswitches.h"
#include "tools/run/words.h"

namespace tool {
namespace {

struct Wording {
    std::string_view switchName;
    const char* asked;  // after "asked for"
};

constexpr std::array<Wording, orb3::gameSwitchNames.size()> wordings{{
    {"QuietLookups", "functions or extensions that there aren't, and took the error for a fault"},
    {"ThreadContexts", "a context of its own for a thread"},
    {"SeveralContexts", "a second context"},
    {"StandardErrors", "what another library answers with another error code"},
    {"Capture", "a microphone"},
}};

consteval bool AreInOrder() {
    for (std::size_t i = 0; i < wordings.size(); ++i)
        if (wordings[i].switchName != orb3::gameSwitchNames[i]) return false;
    return true;
}
static_assert(AreInOrder());

}  // namespace

std::vector<std::string> ExplainRefusals(const GameStatus& game) {
    std::vector<std::string> sentences;
    if (!game.profile.empty()) return sentences;
    for (std::size_t i = 0; i < wordings.size(); ++i) {
        if (game.refusals[i] == 0) continue;
        const std::string name(wordings[i].switchName);
        sentences.push_back("'" + game.program + "' asked for " + wordings[i].asked + ", which " + name +
                            " would allow: tessarune-config game set " + ForShell(game.program) + " " + name +
                            " True");
    }
    return sentences;
}

}  // namespace tool
