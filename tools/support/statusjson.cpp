#include "tools/support/statusjson.h"

#include <cmath>

namespace tool {
namespace {

// So many as tell anything, for a document that is sent often.
double Rounded(double value, double perUnit) {
    return std::round(value * perUnit) / perUnit;
}

double Level(double linear) {
    return Rounded(Decibels(linear), 100);
}

Json Outputs(const GameStatus& game) {
    Json outputs = Json::array();
    for (const GameOutput& output : game.outputs)
        outputs.push_back({{"name", output.name}, {"peak", Level(output.peak)}, {"rms", Level(output.rms)}});
    return outputs;
}

Json Effects(const GameStatus& game) {
    Json effects = Json::array();
    for (const GameEffect& effect : game.effects)
        effects.push_back(
            {{"slot", effect.slot}, {"type", effect.type}, {"gain", Rounded(effect.gain, 10000)}});
    return effects;
}

Json Sources(const GameStatus& game) {
    Json sources = Json::array();
    for (const GameSource& source : game.sources)
        sources.push_back({{"number", source.number},
                           {"x", Rounded(source.x, 10000)},
                           {"y", Rounded(source.y, 10000)},
                           {"z", Rounded(source.z, 10000)},
                           {"distance", Rounded(source.distance, 1000)},
                           {"level", Level(source.level)},
                           {"relative", source.isRelative},
                           {"looping", source.isLooping},
                           {"channels", source.channels}});
    return sources;
}

}  // namespace

Json GameStatusJson(const GameStatus& game) {
    return {{"pid", game.pid},
            {"program", game.program},
            {"libraryVersion", game.libraryVersion},
            {"profile", game.profile},
            {"profileChanges", game.profileChanges},
            {"device", game.device},
            {"layout", game.layout},
            {"sampleRate", game.sampleRate},
            {"blockFrames", game.blockFrames},
            {"order", game.order},
            {"latencyFrames", game.latencyFrames},
            {"ringFrames", game.ringFrames},
            {"serverFrames", game.serverFrames},
            {"blocks", game.blocks},
            {"lateBlocks", game.lateBlocks},
            {"loadMean", Rounded(game.loadMean, 10000)},
            {"loadMax", Rounded(game.loadMax, 10000)},
            {"greatestLoad", Rounded(game.greatestLoad, 10000)},
            {"greatestPeak", Level(game.greatestPeak)},
            {"sourcesPlaying", game.sourcesPlaying},
            {"mostPlaying", game.mostPlaying},
            {"outputAway", game.isOutputAway},
            {"limiterGain", Level(game.limiterGain)},
            {"contextsAlive", game.contextsAlive},
            {"lastFailure", game.lastFailure},
            {"outputs", Outputs(game)},
            {"effects", Effects(game)},
            {"sources", Sources(game)}};
}

Json GamesJson(const std::vector<GameStatus>& games) {
    Json list = Json::array();
    for (const GameStatus& game : games)
        list.push_back(GameStatusJson(game));
    return {{"games", std::move(list)}};
}

}  // namespace tool
