#include "tools/run/faring.h"

#include <cmath>

namespace tool {
namespace {

std::string Lateness(const GameStatus& game) {
    const std::string load = std::to_string(std::lround(100 * game.greatestLoad)) + "%";
    std::string line = "'" + game.program + "': blocks were late " + std::to_string(game.lateBlocks) +
                       (game.lateBlocks == 1 ? " time" : " times") + ", and the sound was interrupted. ";
    if (game.greatestLoad < 1)
        return line + "No block took more than " + load +
               " of its time, so more buffers help: tessarune-config set SuggestedBufferCount 8";
    return line + "One took " + load +
           " of its time: the machine was busy, or has too much to do. Real-time rights help, as the user "
           "guide "
           "says, or: tessarune-config set EffectsQuality Low";
}

}  // namespace

std::vector<std::string> ExplainFaring(const GameStatus& game) {
    constexpr double quietest = 1e-5;  // -100 dB
    std::vector<std::string> sentences;
    if (game.lateBlocks > 0) sentences.push_back(Lateness(game));
    if (game.mostPlaying > 0 && game.greatestPeak < quietest)
        sentences.push_back("'" + game.program +
                            "' played sounds, but was silent throughout: it may have turned its volume down. "
                            "'tessarune-config doctor' looks at the rest.");
    return sentences;
}

}  // namespace tool
